"""Composes the files that the benchmarks inspect, apart from the program's own writers."""
import os
import struct
import subprocess
import zlib

MARKER = b"\xC0\xD1\xF1\xED"
HEADER_TEXT = b"Brepsolid transmit data\nAPPL=KX modeller 37.0;\nFORMAT=binary;\nSCH=SCH_3700241_37002;\n"


def part_header(version=70):
    """269 words, little-endian, metric."""
    words = [0] * 269
    words[3] = version
    words[203] = 1
    return struct.pack("<H269H", 269, *words)


def part_stream(partitions):
    """A part with an index of format 2; `partitions` are (type, bytes)."""
    start = len(part_header()) + 12 + 20 * len(partitions)
    index = struct.pack("<iii", 2, len(partitions), len(partitions) + 1)
    body = b""
    for number, (kind, data) in enumerate(partitions, 1):
        body += MARKER
        index += struct.pack("<iiqi", number, kind, start + len(body), 1)
        body += data
    return part_header() + index + body + b"\xFF"


def solid(data, compressed):
    """A Brepsolid partition; compressed data with its 12-byte trailer."""
    stored = zlib.compress(data, 6) if compressed else data
    head = struct.pack("<II", len(HEADER_TEXT) | (0x80000000 if compressed else 0), len(stored))
    if not compressed:
        return head + HEADER_TEXT + stored
    trailer = struct.pack(">III", zlib.adler32(data), len(data), zlib.adler32(stored))
    return head + HEADER_TEXT + stored + trailer + b"\0" * (len(stored) % 2)


def xxh32(data):
    """XXH32 with seed 0, by the tool of the library: its first output word."""
    out = subprocess.run(["xxhsum", "-H0", "-"], input=data, capture_output=True, check=True).stdout
    return int(out.split()[0].decode().removeprefix("XXH32_"), 16)


def index(signature, elements, tail=b""):
    """Elements are (path, offset, size) for streams and (path + "/",) for storages."""
    parts = [signature, struct.pack("<i", len(elements))]
    for element in elements:
        path = element[0].encode()
        parts.append(struct.pack("<i", len(path)) + path)
        parts.append(b"\0" * 16 if len(element) == 1 else struct.pack("<qq", *element[1:]))
    data = b"".join(parts) + tail
    return data + struct.pack("<I", xxh32(data))


def write_container(path, streams, footer_entries=()):
    """A maker's storage file of version 6. `streams` maps paths to bytes; `footer_entries` are further
    elements that are listed only."""
    start = 25 + 4096
    storages = sorted({p.rsplit("/", 1)[0] + "/" for p in streams} | {"/Root/"})
    elements, offset = [(s,) for s in storages], start
    for name, data in streams.items():
        elements.append((name, offset, len(data)))
        offset += len(data)
    header = index(b"HEADER", elements, struct.pack("<h", 0))
    with open(path, "wb") as out:
        out.write(b"KVPMSSTR\x06" + struct.pack("<qq", 0, offset) + header.ljust(start - 25, b"\0"))
        for data in streams.values():
            out.write(data)
        out.write(index(b"FOOTER", list(footer_entries)))


def literals(data):
    """An LZ4 block that holds the bytes as they are; lz4 stores a short last block outside the form."""
    if len(data) < 15:
        return bytes([len(data) << 4]) + data
    more, rest = divmod(len(data) - 15, 255)
    return b"\xF0" + b"\xFF" * more + bytes([rest]) + data


def lz4_framed(data, folder):
    """The bytes as linked LZ4 blocks of 64 KiB under the signature; and the plain lz4 frame beside it."""
    plain, frame = os.path.join(folder, "lz4.plain"), os.path.join(folder, "lz4.frame")
    with open(plain, "wb") as out:
        out.write(data)
    subprocess.run(["lz4", "-qf", "-B4", "-BD", "--no-frame-crc", plain, frame], check=True)
    os.unlink(plain)
    with open(frame, "rb") as source:
        source.seek(7)
        blocks = [b"LZ4\x01"]
        while (size := struct.unpack("<I", source.read(4))[0]) != 0:
            block = source.read(size & 0x7FFFFFFF)
            if size >> 31:
                block = literals(block)
            blocks.append(struct.pack("<i", len(block)) + block)
    return b"".join(blocks), frame


def text_like(size, seed=b"facet"):
    """Bytes that deflate about three to one: no run is longer than a few words."""
    import random
    numbers = random.Random(seed)
    words = [bytes(numbers.randrange(256) for _ in range(numbers.randrange(4, 12))) for _ in range(400)]
    block = b"".join(numbers.choices(words, k=1 << 18))
    return (block * (size // len(block) + 1))[:size]
