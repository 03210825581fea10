"""Holds what vr_report writes against the schema of its documents.

    documents_test.py PROGRAM SOURCES

The schema lets members be added; here every member that is written must be described in it.
"""

import base64
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

import jsonschema

import document_files

PROGRAM = sys.argv.pop(1)
SOURCES = pathlib.Path(sys.argv.pop(1))
SCHEMA = json.loads((SOURCES / "docs/schema/vr-part-report-1.schema.json").read_text())
SAMPLES = SOURCES / "samples"
LIMIT_SECONDS = 120


def closed(schema):
    """The same schema without leave for members that it does not describe."""
    if isinstance(schema, list):
        return [closed(one) for one in schema]
    if not isinstance(schema, dict):
        return schema
    tight = {key: closed(value) for key, value in schema.items()}
    if "properties" in schema and "object" in schema.get("type", ()):
        tight.setdefault("additionalProperties", False)
    return tight


class Validator:
    """Rows of long lists are validated once: they repeat from one document to the next."""

    ROWS = {"streams": "stream", "partitions": "partition", "findings": "finding", "references": "reference",
            "map": "owned_range"}

    def __init__(self, schema):
        self.document = jsonschema.Draft202012Validator(schema)
        self.rows = {name: jsonschema.Draft202012Validator({"$defs": schema["$defs"], **schema["$defs"][row]})
                     for name, row in self.ROWS.items()}
        self.seen = set()

    def faults(self, document):
        found = []
        rest = dict(document)
        for holder in (rest, rest.get("bytes", {})):
            for name in self.rows.keys() & holder.keys():
                for number, row in enumerate(holder[name]):
                    key = (name, json.dumps(row))
                    if key in self.seen:
                        continue
                    self.seen.add(key)
                    found += [(name, number, *fault.path, fault.message) for fault in self.rows[name].iter_errors(row)]
                holder[name] = holder[name][:1]
        return found + [(*fault.path, fault.message) for fault in self.document.iter_errors(rest)]


def report(names, *options, folder=None, status):
    """The documents of all names, from one process that ends with one of the statuses."""
    run = subprocess.run([PROGRAM, "--format", "jsonl", "--files0-from", "-", *options],
                         input=b"".join(name + b"\0" for name in names), cwd=folder, capture_output=True,
                         timeout=LIMIT_SECONDS, check=False)
    assert run.returncode in status, (run.returncode, run.stderr[-2000:])
    assert run.stdout.endswith(b"\n"), run.stderr[-2000:]
    lines = run.stdout[:-1].split(b"\n")
    return [json.loads(line.decode("utf-8", "strict"), object_pairs_hook=unique) for line in lines]


def unique(pairs):
    members = dict(pairs)
    assert len(members) == len(pairs), f"a name stands twice among {[name for name, _ in pairs]}"
    return members


def name_of(document):
    exact = document["file"].get("name_base64")
    return base64.b64decode(exact) if exact else document["file"]["name"].encode()


class Documents(unittest.TestCase):
    def setUp(self):
        self.validator = Validator(closed(SCHEMA))
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = scratch.name

    def check(self, document):
        account = document.get("bytes")
        if account is None:
            self.assertEqual(document["verdict"], "unreadable")
            return self.assertEqual(self.validator.faults(document), [])
        self.assertEqual(account["total"], document["file"]["size"])
        self.assertEqual(sum(account["by_protection"].values()), account["total"])
        if "map" in account:
            self.check_map(account)
        self.assertEqual(self.validator.faults(document), [])

    def check_map(self, account):
        at = 0
        sums = dict.fromkeys(account["by_protection"], 0)
        for owned in account["map"]:
            self.assertEqual(owned["offset"], at)
            at += owned["length"]
            sums[owned["protection"]] += owned["length"]
            self.assertEqual(owned["owner"] is None, owned["protection"] == "unclaimed")
        self.assertEqual(at, account["total"])
        self.assertEqual(sums, account["by_protection"])

    def check_all(self, documents, names):
        self.assertEqual([name_of(document) for document in documents], names)
        for document in documents:
            with self.subTest(file=document["file"]["name"]):
                self.check(document)

    def test_schema(self):
        jsonschema.Draft202012Validator.check_schema(SCHEMA)

    def test_samples(self):
        names = sorted(os.fsencode(path.name) for path in SAMPLES.glob("*.prt"))
        for options in ([], ["--no-map", "--sha256"], ["--summary"]):
            documents = report(names, *options, folder=SAMPLES, status=[1])
            self.check_all(documents, names)
            for document in documents:
                damaged = document["file"]["name"].startswith("damaged_")
                self.assertEqual(document["verdict"], "damaged" if damaged else "sound", document["file"]["name"])
                self.assertEqual("sha256" in document["file"], "--sha256" in options)
                if "--summary" in options:
                    self.assertEqual(set(document), {*SCHEMA["required"], "bytes"})

    def test_damaged_copies(self):
        names = document_files.write_copies(self.folder, SAMPLES)
        documents = report(names, "-j", "2", status=[1, 2])
        self.check_all(documents, names)

    def test_what_is_no_part(self):
        folder, verdicts = document_files.write_oddities(self.folder)
        below = [b"folder/a.prt", b"folder/b.prt", b"folder/below/z.prt"]
        for options in ([], ["--no-map"], ["--summary"], ["-j", "2"]):
            documents = report([*verdicts, b"folder"], *options, folder=folder, status=[2])
            self.check_all(documents, [*verdicts, *below])
            self.assertEqual([document["verdict"] for document in documents[:len(verdicts)]], [*verdicts.values()])

    def test_files_that_cost_their_workers(self):
        name = os.fsencode(SAMPLES / "bracket.prt")
        documents = report([name], "--limit-memory", "1K", status=[2])
        self.check_all(documents, [name])
        self.assertEqual([finding["rule"] for finding in documents[0]["findings"]], ["file.not-examined"])


if __name__ == "__main__":
    unittest.main(verbosity=2)
