#include "vault/schema.h"

namespace vault {

// Times are seconds since 1970 in UTC, sizes and offsets bytes. Names are BLOBs: their bytes are what counts.
const char* const kSchema = R"sql(
CREATE TABLE run (
  id INTEGER PRIMARY KEY,
  kind TEXT NOT NULL CHECK (kind IN ('update', 'import')),
  sources BLOB NOT NULL,
  started INTEGER NOT NULL,
  finished INTEGER,
  files INTEGER,
  bytes INTEGER,
  sound INTEGER,
  suspect INTEGER,
  damaged INTEGER,
  unreadable INTEGER,
  not_a_part INTEGER
) STRICT;

CREATE TABLE file (
  id INTEGER PRIMARY KEY,
  name BLOB NOT NULL,
  base_name BLOB NOT NULL,
  present INTEGER NOT NULL CHECK (present IN (0, 1)),
  verdict TEXT NOT NULL CHECK (verdict IN ('sound', 'suspect', 'damaged', 'unreadable', 'not_a_part')),
  verdict_since INTEGER NOT NULL,
  looks_like TEXT,
  size INTEGER,
  modified INTEGER,
  sha256 TEXT,
  release TEXT,
  release_number INTEGER,
  errors INTEGER NOT NULL,
  warnings INTEGER NOT NULL,
  notes INTEGER NOT NULL,
  verified_bytes INTEGER,
  failed_bytes INTEGER,
  decoded_bytes INTEGER,
  opaque_bytes INTEGER,
  unclaimed_bytes INTEGER,
  container TEXT,
  units TEXT,
  description TEXT,
  customer_area TEXT,
  part_identifier TEXT,
  machine_name TEXT,
  brepsolid_version TEXT,
  first_run INTEGER NOT NULL REFERENCES run (id)
) STRICT;
CREATE UNIQUE INDEX file_name ON file (name) WHERE present = 1;
CREATE INDEX file_gone_name ON file (name) WHERE present = 0;
CREATE INDEX file_base_name ON file (base_name);
CREATE INDEX file_verdict ON file (verdict, present);
CREATE INDEX file_release ON file (release);
CREATE INDEX file_sha256 ON file (sha256) WHERE sha256 IS NOT NULL;

CREATE TABLE identity (
  file INTEGER PRIMARY KEY REFERENCES file (id),
  device INTEGER NOT NULL,
  inode INTEGER NOT NULL,
  size INTEGER NOT NULL,
  modified_ns INTEGER NOT NULL
) STRICT;
CREATE INDEX identity_inode ON identity (inode);

CREATE TABLE observation (
  file INTEGER NOT NULL REFERENCES file (id),
  run INTEGER NOT NULL REFERENCES run (id),
  name BLOB NOT NULL,
  present INTEGER NOT NULL CHECK (present IN (0, 1)),
  verdict TEXT NOT NULL,
  size INTEGER,
  modified INTEGER,
  sha256 TEXT,
  release TEXT,
  errors INTEGER NOT NULL,
  warnings INTEGER NOT NULL,
  notes INTEGER NOT NULL,
  PRIMARY KEY (file, run)
) STRICT, WITHOUT ROWID;
CREATE INDEX observation_run ON observation (run);

CREATE TABLE finding (
  file INTEGER NOT NULL REFERENCES file (id),
  number INTEGER NOT NULL,
  rule TEXT NOT NULL,
  severity TEXT NOT NULL,
  caused_by TEXT,
  message TEXT,
  file_offset INTEGER,
  length INTEGER,
  stream BLOB,
  stream_offset INTEGER,
  partition INTEGER,
  field TEXT,
  found TEXT,
  expected TEXT,
  effect TEXT,
  PRIMARY KEY (file, number)
) STRICT, WITHOUT ROWID;
CREATE INDEX finding_rule ON finding (rule);

CREATE TABLE partition (
  file INTEGER NOT NULL REFERENCES file (id),
  number INTEGER NOT NULL,
  id INTEGER,
  type INTEGER,
  type_name TEXT,
  data INTEGER,
  marker TEXT,
  file_offset INTEGER,
  length INTEGER,
  stream BLOB,
  stream_offset INTEGER,
  om_version INTEGER,
  om_objects INTEGER,
  om_saved_at INTEGER,
  om_carries_checksum INTEGER,
  PRIMARY KEY (file, number)
) STRICT, WITHOUT ROWID;

CREATE TABLE stream (
  file INTEGER NOT NULL REFERENCES file (id),
  number INTEGER NOT NULL,
  path BLOB NOT NULL,
  listed_in TEXT,
  file_offset INTEGER,
  length INTEGER,
  framed INTEGER,
  beyond_end_of_file INTEGER,
  PRIMARY KEY (file, number)
) STRICT, WITHOUT ROWID;

CREATE TABLE solid (
  file INTEGER NOT NULL,
  partition_number INTEGER NOT NULL,
  brepsolid_version TEXT,
  file_format TEXT,
  body_id INTEGER,
  compressed INTEGER,
  stored_length INTEGER,
  expanded_length INTEGER,
  extract_possible INTEGER,
  extract_sound INTEGER,
  PRIMARY KEY (file, partition_number),
  FOREIGN KEY (file, partition_number) REFERENCES partition (file, number)
) STRICT, WITHOUT ROWID;

CREATE TABLE jt_body (
  file INTEGER NOT NULL REFERENCES file (id),
  number INTEGER NOT NULL,
  kind TEXT NOT NULL,
  stream BLOB,
  id INTEGER,
  stream_offset INTEGER,
  length INTEGER,
  file_offset INTEGER,
  PRIMARY KEY (file, number)
) STRICT, WITHOUT ROWID;

CREATE TABLE reference (
  file INTEGER NOT NULL REFERENCES file (id),
  number INTEGER NOT NULL,
  name BLOB NOT NULL,
  base_name BLOB NOT NULL,
  stream BLOB,
  times INTEGER,
  names_part INTEGER,
  PRIMARY KEY (file, number)
) STRICT, WITHOUT ROWID;
CREATE INDEX reference_base_name ON reference (base_name);
CREATE INDEX reference_name ON reference (name);

CREATE TABLE save (
  file INTEGER NOT NULL REFERENCES file (id),
  number INTEGER NOT NULL,
  saved_at INTEGER,
  user TEXT,
  part_version INTEGER,
  machine_type INTEGER,
  program_version TEXT,
  PRIMARY KEY (file, number)
) STRICT, WITHOUT ROWID;
CREATE INDEX save_user ON save (user);

CREATE VIRTUAL TABLE search USING fts5 (name, description, customer_area, users);

CREATE VIEW bad AS
  SELECT * FROM file WHERE present = 1 AND verdict IN ('damaged', 'suspect', 'unreadable');

CREATE VIEW newly_bad AS
  SELECT bad.* FROM bad
  JOIN observation AS now ON now.file = bad.id AND now.run = (SELECT max(id) FROM run)
  WHERE NOT EXISTS (
    SELECT 1 FROM observation AS before
    WHERE before.file = bad.id AND before.present = 1
      AND before.verdict IN ('damaged', 'suspect', 'unreadable')
      AND before.run = (SELECT max(run) FROM observation WHERE file = bad.id AND run < now.run));

CREATE VIEW vanished AS
  SELECT file.*, run.started AS vanished_at FROM file
  JOIN run ON run.id = (SELECT max(run) FROM observation WHERE observation.file = file.id)
  WHERE file.present = 0;

CREATE VIEW where_used AS
  SELECT DISTINCT reference.name AS name, target.id AS target, target.name AS target_name,
    user.id AS file, user.name AS used_by
  FROM reference
  JOIN file AS user ON user.id = reference.file AND user.present = 1
  LEFT JOIN file AS target ON target.base_name = reference.base_name AND target.present = 1;

CREATE VIEW releases AS
  SELECT release, release_number, count(*) AS files, sum(size) AS bytes,
    sum(verdict IN ('damaged', 'suspect', 'unreadable')) AS bad
  FROM file WHERE present = 1 GROUP BY release, release_number;
)sql";

}  // namespace vault
