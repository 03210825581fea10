"""The files whose documents are looked at: samples, damaged copies of them, and what is no part at all."""

import os
import random

BLOCK = 8192


def cuts(sample):
    """Every length in the head and at the end, where each byte decides something, and many between them."""
    size = len(sample)
    lengths = {*range(1, 72), *range(size - 40, size), *range(72, size, size // 120)}
    return [(f"cut_{length}", sample[:length]) for length in sorted(lengths)]


def zeroed_blocks(sample):
    return [(f"zeroed_{at}", sample[:at] + bytes(len(sample[at:at + BLOCK])) + sample[at + BLOCK:])
            for at in range(0, len(sample), BLOCK)]


def flips(sample, count, chance):
    """One to four bits each; half of them where headers and indexes lie."""
    copies = []
    for number in range(count):
        changed = bytearray(sample)
        for _ in range(1 + number % 4):
            end = min(2048, len(changed)) if number % 2 else len(changed)
            changed[chance.randrange(end)] ^= 1 << chance.randrange(8)
        copies.append((f"flip_{number}", bytes(changed)))
    return copies


def write_copies(folder, samples):
    """Damaged copies of three samples of different kinds, in `folder`; their names in order."""
    chance = random.Random(1)
    names = []
    for sample in ("bracket.prt", "gearbox.prt", "solids_be.prt"):
        whole = (samples / sample).read_bytes()
        for damage, content in cuts(whole) + zeroed_blocks(whole) + flips(whole, 60, chance):
            path = os.path.join(folder, f"{sample[:-4]}_{damage}.prt")
            with open(path, "wb") as file:
                file.write(content)
            names.append(os.fsencode(path))
    return names


def write_oddities(folder):
    """Names with the verdicts that their files must have; None for those that a folder stands for."""
    path = os.path.join(os.fsencode(folder), b"odd")
    os.makedirs(os.path.join(path, b"folder", b"below"))
    files = {b"empty.prt": b"", b"text.prt": b"Dear reader,\nthis is a letter.\n", b"new\nline.prt": b"%PDF-1.7\n",
             b"no\xfftf8\xe2\x82\xed\xaf\xbf.prt": b"PK\x03\x04", b"\"quoted\\\t\x1b[31m.prt": b"\x7fELF",
             b"folder/b.prt": b"text", b"folder/below/z.prt": b"text", b"folder/a.prt": b"\0" * 9000}
    for name, content in files.items():
        with open(os.path.join(path, name), "wb") as file:
            file.write(content)
    verdicts = {b"missing.prt": "unreadable", b"empty.prt": "unreadable", b"text.prt": "not_a_part",
                b"new\nline.prt": "not_a_part", b"no\xfftf8\xe2\x82\xed\xaf\xbf.prt": "not_a_part",
                b"\"quoted\\\t\x1b[31m.prt": "not_a_part", b"text.prt/below": "unreadable"}
    return path, verdicts
