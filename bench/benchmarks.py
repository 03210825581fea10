#!/usr/bin/env python3
"""The speed of each capability beside a tool that does the least that it could do.

Both commands of a row run in turn, as whole processes on files in the page cache; the table (Markdown) gives the
paired median ratio of their times with minimum and maximum, both goals (wished for / least), and the program's peak
memory. Above it stands the processor, below it each row that moved by more than the spread against the kept table.
Usage: benchmarks.py PROGRAM [ROW...]
"""
import os
import re
import shutil
import struct
import sys
import tempfile
import zlib

from kept_table import movement, read_kept
from object_partition import record_manager
from paired import compare, shown
from part_files import lz4_framed, part_stream, solid, text_like, write_container

MIB = 1 << 20
PART = "/Root/VR_PART/VR_PART"


class Bench:
    def __init__(self, program, folder):
        self.program, self.folder = os.path.abspath(program), folder
        self.reporter = os.path.join(os.path.dirname(self.program), "vr_report")

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, data):
        with open(self.path(name), "wb") as out:
            out.write(data)
        return self.path(name)

    def small_part(self):
        part = self.write("small.prt", part_stream([(7, b"\r\n" * 1000)]))
        return [self.program, part], ["cat", part], 200

    def many_parts(self, *switches):
        part = part_stream([(7, b"\r\n" * 1000)])
        os.mkdir(self.path("many"))
        names = [self.write(f"many/{i:05}.prt", part) for i in range(10000)]
        return [self.program, *switches, *names], ["wc", "-c", *names], 15

    def many_releases(self):
        shutil.rmtree(self.path("many"), ignore_errors=True)
        return self.many_parts("-release")

    def million_streams(self):
        path = self.path("million.prt")
        if not os.path.exists(path):
            entries = [(f"/Root/shelf{i % 1000:04}/stream_{i:022}", 25, 1) for i in range(1000000)]
            write_container(path, {PART: part_stream([(7, b"\r\n" * 100)])}, entries)
        return path

    def index(self):
        path = self.million_streams()
        return [self.program, path], ["xxhsum", "-H0", path], 11

    def listing(self):
        path, text = self.million_streams(), self.path("listing")
        os.system(f"{self.program} -storages {path} >{text}")
        return [self.program, "-storages", path], f"cut -d' ' -f1 {text} >/dev/null", 7, [self.program, path]

    def scan(self):
        path = self.path("large")
        block = text_like(4 * MIB) + b"\r\n\n\r\0"
        with open(path, "wb") as out:
            out.write(part_stream([(7, b"\r\n" * 100)]))
            while out.tell() < 2048 * MIB:
                out.write(block)
        return [self.program, "-scan", path], ["wc", "-l", path], 7

    def stream_copy(self):
        path, out = self.path("stream.prt"), self.path("stream.out")
        write_container(path, {PART: part_stream([(7, b"")]), "/Root/images/preview": text_like(128 * MIB)})
        self.write("stream", text_like(128 * MIB))
        return ([self.program, "-extract_stream", "images/preview", out, path],
                ["dd", "bs=1M", "if=" + self.path("stream"), "of=" + self.path("dd.out")], 11)

    def lz4(self):
        # The size of a framed stream is known only once all of it has been expanded.
        data = struct.pack("<iIIQQ", 9, 1, 0, 1, 28) + text_like(512 * MIB)
        framed, frame = lz4_framed(data, self.folder)
        path = self.path("framed.prt")
        write_container(path, {PART: part_stream([(7, b"")]), "/Root/JT": framed})
        return [self.program, path], ["lz4", "-t", frame], 11

    def saves(self):
        path = self.write("saves.prt", part_stream([(1, record_manager(200000))]))
        return [self.program, path], ["xxd", path], 21

    def solids(self, size):
        data = text_like(size)
        path = self.write("solid.prt", part_stream([(10, solid(data, True))]))
        self.write("solid.z", zlib.compress(data, 6))
        return path, self.path("solid.z")

    def check(self):
        path, deflated = self.solids(500 * MIB)
        return [self.program, "-check_checksums", path], ["pigz", "-t", "-p1", deflated], 7

    def extract(self):
        path, deflated = self.solids(128 * MIB)
        return ([self.program, "-extract", "1", path, self.path("body")],
                f"pigz -dc -p1 {deflated} >{self.path('pigz.out')}", 9)

    def summaries(self, *options):
        _, peer, runs = self.many_parts()
        return [self.reporter, "--format=jsonl", "--summary", *options, self.path("many")], peer, runs

    def two_workers(self):
        ours, _, runs = self.summaries("-j2")
        return ours, ["-j1" if word == "-j2" else word for word in ours], runs

    def all_checksums(self):
        samples = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "samples")
        folder = self.path("samples")
        os.mkdir(folder)
        for i in range(20000):
            name = ("bracket", "gearbox", "history", "solids_le")[i % 4]
            shutil.copyfile(f"{samples}/{name}.prt", f"{folder}/{i:05}.prt")
        return ([self.reporter, "--format=jsonl", "-j2", folder],
                f"find {folder} -type f -print0 | xargs -0 -n 100 -P2 sha256sum >/dev/null", 5)

    def entries(self):
        path = self.million_streams()
        return [self.reporter, "--no-map", path], [self.program, "-storages", path], 7


# Capability: method, input, goal, least.
ROWS = {
    "summary, small part": ("small_part", "1 flat part, 2.6 KB", 1.10, 1.30),
    "summary, many parts": ("many_parts", "10,000 flat parts, 2.6 KB each", 0.90, 1.10),
    "`-release`, many parts": ("many_releases", "the same", 0.90, 1.10),
    "summary, large index": ("index", "1,000,000 index entries, 65 MB", 3.5, 4.0),
    "`-storages`, large index": ("listing", "the same; less the time of the summary", 1.5, 2.5),
    "`-scan`": ("scan", "2 GiB", 0.95, 1.10),
    "`-extract_stream`": ("stream_copy", "128 MiB", 1.10, 1.25),
    "summary, LZ4-framed JT": ("lz4", "512 MiB expanded", 0.95, 1.10),
    "summary, long history": ("saves", "200,000 saves, 4 MB", 1.0, 1.0),
    "`-check_checksums`": ("check", "500 MiB expanded", 0.5, 0.6),
    "`-extract`": ("extract", "128 MiB expanded", 0.8, 0.9),
    "`vr_report --summary`": ("summaries", "10,000 flat parts, 2.6 KB each", 2.0, 3.0),
    "`vr_report -j2`": ("two_workers", "the same; beside one worker", 0.55, 0.65),
    "`vr_report`, all checksums": ("all_checksums", "20,000 samples, 1.8 GB", 0.6, 1.0),
    "`vr_report --no-map`": ("entries", "1,000,000 index entries, 65 MB", 1.5, 2.0),
}


def processor():
    with open("/proc/cpuinfo", encoding="utf-8") as told:
        fields = dict(re.findall(r"^(model name|cpu family|model|stepping)\s*: (.*)$", told.read(), re.MULTILINE))
    number = ", ".join(f"{field} {fields[field]}" for field in ("cpu family", "model", "stepping") if field in fields)
    return f"{fields.get('model name', os.uname().machine)} ({number or 'no further name'}), {os.cpu_count()} cores"


def measured(program, folder, name):
    """The row as it stands in the table, and what was found."""
    method, contents, goal, least = ROWS[name]
    ours, peer, runs, *left_out = getattr(Bench(program, folder), method)()
    found = compare(ours, peer, runs, *left_out)
    words = [word for word in shown(peer)[:60].split() if "/" not in word]
    return (f"| {name} | {contents} | `{' '.join(words[:3])}` | {found.median:.2f} | {found.low:.2f} to {found.high:.2f} | "
            f"{goal:.2f} / {least:.2f} | {found.our_seconds * 1e3:.1f} ms | {found.peer_seconds * 1e3:.1f} ms | "
            f"{found.our_peak_bytes / 1e6:.1f} MB |"), found


def main():
    program, wanted = sys.argv[1], sys.argv[2:]
    kept, moved = read_kept(), []
    print(f"Processor: {processor()}\n")
    print("| capability | input | beside | ratio | from, to | goal | ours | theirs | peak memory |")
    print("|---|---|---|---|---|---|---|---|---|", flush=True)
    for name, (method, *_) in ROWS.items():
        if wanted and not any(word in (name, method) for word in wanted):
            continue
        folder = tempfile.mkdtemp(prefix="vrii_bench_")
        try:
            row, found = measured(program, folder, name)
            print(row, flush=True)
            if name in kept and (change := movement(kept[name], found)):
                moved.append(f"- {name}: {change}")
        finally:
            shutil.rmtree(folder)
    print("\nMoved by more than the spread:" if moved else "\nNo row moved by more than its spread.", *moved, sep="\n")


if __name__ == "__main__":
    main()
