"""Composes an object-manager partition of version 10, compact, with one program version and many saves."""
import struct

USERS = [b"lfontaine", b"o.svensson", b"tanaka", b"rpatel", b"build"]


def compact_int(value):
    if -1 <= value <= 126:
        return bytes([value + 1])
    if -4096 <= value < 4096:
        return struct.pack(">H", 0x8000 | (value & 0x1FFF))
    return b"\xE0" + struct.pack(">i", value)


def compact_short(value):
    return bytes([value + 1]) if -1 <= value <= 126 else b"\xC0" + struct.pack(">h", value)


def class_entry(name):
    return (compact_short(0) + compact_short(len(name)) + name + compact_int(1) + compact_short(-1) +
            struct.pack("<2i", 1, 2))


def audit_trail(saves):
    """The saves nest: each entry begins before the next one and ends behind it."""
    begins = [compact_short(1) + b"\x05" + compact_int(i % len(USERS)) for i in range(saves)]
    ends = [compact_int(1500000000 + i * 60) + compact_int(123456789 + i) + compact_int(100000 + i) +
            compact_short(i % 60) + compact_short(9) for i in range(saves)]
    return (compact_short(0) + b"\x03" + compact_int(7) + b"KX 2606" + compact_short(-1) + b"".join(begins) +
            compact_short(-1) + b"".join(reversed(ends)))


def entity_type_chains():
    """The newer layout: two versions, no heads, no creation display data, three labels, no types."""
    return compact_short(1) + compact_short(2) + b"\x01\x01" + b"\x01\x01" + b"\xFF\xFF\xFF" + b"\x01\x01"


def record_manager(saves, schemas=1, classes=0, strings=0):
    """`classes` and `strings` are those beside the two of the audit trail and the users."""
    class_count = classes + 2
    head = (b"OM\x01\x02\x03\x04\x05" + struct.pack("<4i", 10, 4, 1700000000, 6) + b"x86_64" +
            struct.pack("<i", 4) + b"a.pr" + struct.pack("<9i", 2, 2, 1, class_count, 0, 0, 0, 0, 0))
    classes = (compact_int(schemas) + (compact_short(2) + b"AB" + compact_int(7)) * schemas +
               class_entry(b"AuditObject") + class_entry(b"AuditEntry") +
               b"".join(class_entry(b"Class%d" % i) for i in range(classes)) + b"\xFF\xFF" * class_count)
    strings_at = len(head) + len(classes) + 14
    strings = (compact_int(len(USERS) + strings) + compact_int(0) +
               b"".join(compact_int(len(u)) + u for u in USERS + [b"string %d" % i for i in range(strings)]))
    table_at = strings_at + len(strings)
    places = struct.pack("<IIi", table_at, strings_at, 1) + compact_short(0) + compact_short(1)
    root = b"\x05\x00"
    data = (head + classes + places + strings + struct.pack("<2I", 0, table_at + 8) + root + audit_trail(saves) +
            entity_type_chains())
    return struct.pack("<i", len(data)) + data
