#!/usr/bin/env python3
"""How the time of a run grows with each list that a file may hold: measured with n, 2n and 4n elements.

Prints a table (Markdown) of the user times and the exponent that they follow, what one element-free run takes left
out. An exponent above 1.3 fails: the list is read in more than its own length. Usage: growth.py PROGRAM [ROW...]
"""
import math
import os
import resource
import shutil
import struct
import sys
import tempfile

from compound_file import CompoundFile
from object_partition import record_manager
from part_files import MARKER, part_header, part_stream, solid, write_container, xxh32

PART = "/Root/VR_PART/VR_PART"
LIMIT = 1.3
RUNS = 3
LONGEST = 60  # seconds; a run that takes more is killed, and the measuring ends
SHORTEST = 0.02  # seconds; below that the clock tells nothing


def modeller(header_text=b"", data=b"body", linked=None):
    """A plain Brepsolid partition; `linked` is the id in an extension of version 1."""
    extension = b"" if linked is None else struct.pack("<ihBBi", 0, 1, 0, 0, linked)
    bits = len(header_text) | (0 if linked is None else 0x40000000)
    return struct.pack("<II", bits, len(data)) + extension + header_text + data


def fast_part_stream(partitions, back_and_forth=False):
    """As part_stream, in time that grows with the partitions; the index may go back and forth in the file."""
    offset = len(part_header()) + 12 + 20 * len(partitions)
    entries, body = [], []
    for number, (kind, data) in enumerate(partitions, 1):
        offset += len(MARKER)
        entries.append(struct.pack("<iiqi", number, kind, offset, 1))
        body += [MARKER, data]
        offset += len(data)
    if back_and_forth:
        entries[1::2] = reversed(entries[1::2])
    return (part_header() + struct.pack("<iii", 2, len(partitions), len(partitions) + 1) + b"".join(entries) +
            b"".join(body) + b"\xFF")


def flat(path, data):
    with open(path, "wb") as out:
        out.write(data)


def contained(path, streams, footer_entries=()):
    write_container(path, {PART: part_stream([(7, b"\r\n" * 100)]), **streams}, footer_entries)


def partitions(path, n):
    flat(path, fast_part_stream([(9, b"12")] * n))


def directories(path, n):
    """A chain of directories of an older file, each of which names the next."""
    start, size = 22, 10
    words = [struct.pack("<H10H", 10, *[0, 0, 0, 20, 0, 0, 0, 0, 0, 2])]
    for i in range(n):
        after = start + size * (i + 1) if i + 1 < n else 0
        words.append(struct.pack("<HHHHH", 4, 9, after >> 16, after & 0xFFFF, 1))
    flat(path, b"".join(words))


def borrowers(path, n):
    flat(path, fast_part_stream([(10, modeller())] * n + [(10, modeller(b"FORMAT=binary;"))]))


def links(path, n):
    flat(path, fast_part_stream([(16, modeller(b"h", b"", linked=i)) for i in range(n)]))


def latent_bodies(path, n):
    flat(path, fast_part_stream([(12, solid(b"1234", True)) for _ in range(n)]))


def jt_stream(entries, bodies=b""):
    table = b"".join(struct.pack("<II", *entry) for entry in entries)
    return struct.pack("<iI", 7, len(entries)) + table + bodies


def jt_table(path, n):
    start = 8 + 8 * n
    contained(path, {"/Root/JT": jt_stream([(i, start + i) for i in range(n)], b"b" * n)})


def jt_impossible(path, n):
    contained(path, {"/Root/JT": jt_stream([(i, 0xFFFFFFF0) for i in range(n)])})


def index_entries(path, n):
    contained(path, {}, [(f"/Root/shelf{i % 100:03}/stream_{i:022}", 25, 1) for i in range(n)])


def storages_in_storages(path, n):
    contained(path, {}, [("/Root/" + "s/" * n + "leaf", 25, 1)])


def toggles(path, n):
    data = struct.pack("<BI", 1, n) + struct.pack("<I8s", 8, b"toggle 1") * n
    contained(path, {"/Root/VR_PART/LastSavedToggleInfoStream": data + struct.pack("<I", xxh32(data))})


def compatibility(path, n):
    contained(path, {"/Root/VR_PART/COMPATIBILITY": b"a line of text\n" * n})


def references(path, n):
    names = b"".join(struct.pack("<I", len(name)) + name for name in (b"part_%d.prt\0" % i for i in range(n)))
    contained(path, {"/Root/VR_PART/ExternalReferences": names})


def objects(**lists):
    return lambda path, n: flat(path, part_stream([(7, record_manager(**{"saves": 1, **{k: n for k in lists}}))]))


def compound(path, part, add):
    file = CompoundFile()
    storage = file.storage(0, "VR_PART")
    file.stream(storage, "VR_PART", part, scattered=True)
    add(file)
    file.write(path)


def compound_runs(path, n):
    compound(path, part_stream([(7, b"\r\n" * 256 * n)]), lambda file: None)


def scattered_partitions(path, n):
    """Many partitions in any order in a stream whose every sector is a run."""
    compound(path, fast_part_stream([(9, b"x" * 16384)] * n, back_and_forth=True), lambda file: None)


def compound_entries(path, n):
    def add(file):
        for i in range(n):
            file.stream(0, f"stream {i}", b"")
    compound(path, part_stream([(7, b"\r\n" * 2000)]), add)


ROWS = {  # name: n, switches, what composes the file
    "partitions": (40000, [], partitions),
    "directories of an older file": (40000, [], directories),
    "partitions that borrow a header": (40000, [], borrowers),
    "linked partitions": (10000, ["-extract", "{n}"], links),
    "latent bodies": (10000, ["-check_checksums"], latent_bodies),
    "JT bodies listed": (100000, [], jt_table),
    "JT bodies written": (8000, ["-extract_jt"], jt_table),
    "JT bodies that cannot be": (200000, ["-extract_jt"], jt_impossible),
    "index entries": (100000, [], index_entries),
    "index entries listed": (50000, ["-storages"], index_entries),
    "levels of storages": (4000, ["-storages"], storages_in_storages),
    "feature toggles": (100000, ["-feature_toggle_info"], toggles),
    "compatibility lines": (100000, ["-compatibility"], compatibility),
    "references": (50000, ["-all_refs", "-refs"], references),
    "saves": (50000, ["-path"], objects(saves=0)),
    "shared strings": (100000, ["-path"], objects(strings=0)),
    "schemas": (24000, ["-path"], objects(schemas=0)),
    "classes": (2400, ["-path"], objects(classes=0)),
    "fields traced": (5000, ["-trace"], objects(saves=0)),
    "compound runs": (40000, ["-scan"], compound_runs),
    "partitions over compound runs": (1000, [], scattered_partitions),
    "compound entries": (20000, ["-storages"], compound_entries),
}


def user_time(command, folder):
    """Of the fastest of some runs, in seconds."""
    times = []
    for _ in range(RUNS):
        child = os.fork()
        if child == 0:
            resource.setrlimit(resource.RLIMIT_CPU, (LONGEST, LONGEST))
            null = os.open(os.devnull, os.O_WRONLY)
            os.dup2(null, 1)
            os.dup2(null, 2)
            os.chdir(folder)
            os.execv(command[0], command)
        _, status, usage = os.wait4(child, 0)
        if not os.WIFEXITED(status) or os.WEXITSTATUS(status) > 1:
            raise SystemExit(f"{command} ended with status {status}")
        times.append(usage.ru_utime)
    return min(times)


def measure(program, name, folder):
    n, switches, compose = ROWS[name]
    part, out = os.path.join(folder, "part.prt"), os.path.join(folder, "out")
    times = []
    for count in (n, 2 * n, 4 * n):
        shutil.rmtree(out, ignore_errors=True)
        os.mkdir(out)
        compose(part, count)
        command = [program, *(s.replace("{n}", str(count)) for s in switches), part]
        times.append(user_time(command, out))
    first, last = (max(times[i], SHORTEST) for i in (0, 2))
    return n, " ".join(switches) or "none", times, math.log(last / first, 4)


def main():
    program, names = os.path.abspath(sys.argv[1]), sys.argv[2:] or list(ROWS)
    steep = []
    print("| List | Switches | n | Seconds at n | 2n | 4n | Exponent |\n|---|---|---|---|---|---|---|")
    for name in names:
        with tempfile.TemporaryDirectory() as folder:
            n, switches, times, exponent = measure(program, name, folder)
        print(f"| {name} | {switches.replace('{n}', 'n')} | {n:,} | " + " | ".join(f"{t:.2f}" for t in times) +
              f" | {exponent:.2f} |", flush=True)
        if exponent > LIMIT:
            steep.append(name)
    if steep:
        sys.exit(f"grows faster than with an exponent of {LIMIT}: {', '.join(steep)}")


main()
