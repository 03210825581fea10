"""Shows a compound file as python3-olefile reads it: a line "path size crc32" for every stream, in the order of
the directory, after its siblings have been held against the rules of their tree."""
import sys
import zlib

import olefile

BLACK = 1
NONE = 0xFFFFFFFF
END_OF_CHAIN = 0xFFFFFFFE
LOCK_OFFSET = 0x7FFFFF00  # no stream may lie there


def check_tree(ole, number, is_below_red, order):
    """The number of black entries on every way down from that entry."""
    if number == NONE:
        return 0
    entry = ole.direntries[number] or ole._load_direntry(number)
    is_red = entry.color != BLACK
    assert not (is_red and is_below_red), f"{entry.name}: red below red"
    left = check_tree(ole, entry.sid_left, is_red, order)
    order.append((len(entry.name.encode("utf-16-le")), [ord(c) for c in entry.name.upper()]))
    right = check_tree(ole, entry.sid_right, is_red, order)
    assert left == right, f"{entry.name}: {left} black entries to the left, {right} to the right"
    return left + (0 if is_red else 1)


with olefile.OleFileIO(sys.argv[1], raise_defects=olefile.DEFECT_POTENTIAL) as ole:
    for entry in ole.direntries:
        if entry is not None and entry.entry_type in (olefile.STGTY_STORAGE, olefile.STGTY_ROOT):
            names = []
            check_tree(ole, entry.sid_child, True, names)
            assert names == sorted(names), f"{entry.name}: siblings out of order"
    lock_sector = LOCK_OFFSET // ole.sector_size - 1
    if lock_sector < len(ole.fat):
        assert ole.fat[lock_sector] == END_OF_CHAIN and lock_sector not in ole.fat, "a stream over the lock bytes"
    for path in ole.listdir():
        size = ole.get_size(path)
        crc = zlib.crc32(ole.openstream(path).read()) if size < 1 << 30 else 0
        print("/".join(path), size, crc)
