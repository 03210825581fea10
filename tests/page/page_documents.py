"""Documents for the test of the page: the two real ones, and those that a page must withstand."""

import copy
import json
import pathlib

FOLDER = pathlib.Path(__file__).parent / "documents"

SOUND = json.loads((FOLDER / "bracket.json").read_text())
DAMAGED = json.loads((FOLDER / "damaged_zero_blocks.json").read_text())

# Whatever a part can be made to say: what would end the element, start another, reorder or hide text.
HOSTILE_TEXT = ("</script><script>window.injected = 1</script><img src=x onerror='window.injected = 2'>"
                "<!--<script>]]>&lt;b&gt; \u2028\u2029 \u202egpj.trp\u202c \u0000\u0007\u001b[31m \u200b\ufeff \U0001f600 "
                "${window.injected=3} javascript:window.injected=4 \"'`")


def replace_texts(value, text):
    if isinstance(value, dict):
        changed = {key: replace_texts(one, text) for key, one in value.items()}
        return {**changed, text: text} if value else changed
    if isinstance(value, list):
        return [replace_texts(one, text) for one in value]
    return text if isinstance(value, str) else value


def hostile():
    document = replace_texts(DAMAGED, HOSTILE_TEXT)
    document["verdict"] = "not_a_part"
    for finding, kept in zip(document["findings"], DAMAGED["findings"]):
        finding["severity"] = kept["severity"]
    for one, kept in zip(document["bytes"]["map"], DAMAGED["bytes"]["map"]):
        one["protection"] = kept["protection"]
    return document


def long_one(ranges=100_000, failed=70_001, finding_count=3_000):
    """Very many ranges, of which a single short one has failed; long lists of everything else."""
    owners = ["partition 10.data", "partition 1.object_manager_data", "stream FastLoad/JT", None]
    document = copy.deepcopy(SOUND)
    at = 0
    document["bytes"]["map"] = []
    for number in range(ranges):
        length = 4 if number == failed else 300 + number % 977
        protection = "failed" if number == failed else "decoded" if number % 4 else "verified"
        document["bytes"]["map"].append({"offset": at, "length": length, "owner": owners[number % 4],
                                         "protection": protection})
        at += length
    document["file"]["size"] = document["bytes"]["total"] = at
    document["findings"] = [{"rule": "solid.adler32-stored", "severity": "note", "where": {"file_offset": number * 7},
                             "message": f"note {number}"} for number in range(finding_count)]
    document["filing_history"] = [{"saved_at": f"{1996 + number % 30}-{1 + number % 12:02}-{1 + number % 28:02}T08:00:00Z",
                                   "user": f"user{number % 7}", "part_version": number, "program_version": "KX 2506"}
                                  for number in range(5_000)]
    document["partitions"] = document["partitions"] * 500
    return document


def summary_only():
    document = {key: SOUND[key] for key in ("schema", "program", "file", "verdict", "findings", "release")}
    return {**document, "bytes": {key: SOUND["bytes"][key] for key in ("total", "by_protection")}}


UNREADABLE = {"schema": "vr-part-report/1", "file": {"name": "gone.prt", "size": None}, "verdict": "unreadable",
              "findings": [{"rule": "file.not-opened", "severity": "error", "where": {},
                            "message": "could not be opened: No such file or directory"}]}

# Nothing that a program should write; a page of many documents must still show the others.
MISSHAPEN = [
    "{}", "[]", "null", "{\"verdict\":", "",
    json.dumps({"verdict": 7, "file": "x", "findings": 5, "bytes": "y", "partitions": [None, 3, {}], "jt": [1]}),
    json.dumps({"findings": [None, {}, {"where": {"file_offset": -5}}, {"where": {"file_offset": 1e300, "length": -1},
                "caused_by": {"rule": "a"}}, {"caused_by": 99, "found": {"a": {"b": [[[]]]}}}],
                "bytes": {"total": 10, "map": [{"offset": 5, "length": 3}, {"offset": 0, "length": 0}, {}, None,
                          {"offset": 1, "length": 1, "protection": "none such", "owner": 4}]},
                "streams": [{}], "filing_history": [{}, {"saved_at": "yesterday"}], "references": [[]]}),
    '{"file": {"name": "n", "size": 18446744073709551615}, "verdict": "sound", "header": {"count": 18446744073709551615}}',
]
