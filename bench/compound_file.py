"""Composes Microsoft compound files of version 3, with streams of 4096 bytes and more only, or empty ones."""
import struct

SECTOR = 512
END, FREE, FAT_MARK, DIFAT_MARK = 0xFFFFFFFE, 0xFFFFFFFF, 0xFFFFFFFD, 0xFFFFFFFC


class CompoundFile:
    def __init__(self):
        self.sectors, self.fat = [], []
        self.entries = [["Root Entry", 5, [], END, 0]]

    def add(self, parent, name, kind, first=END, size=0):
        self.entries.append([name, kind, [], first, size])
        self.entries[parent][2].append(len(self.entries) - 1)
        return len(self.entries) - 1

    def storage(self, parent, name):
        return self.add(parent, name, 1)

    def stream(self, parent, name, data, scattered=False):
        return self.add(parent, name, 2, self.store(data, scattered), len(data))

    def store(self, data, scattered=False):
        """The first sector. A scattered stream lies backwards: each of its sectors is a run of its own."""
        pieces = [data[at:at + SECTOR].ljust(SECTOR, b"\0") for at in range(0, len(data), SECTOR)]
        if not pieces:
            return END
        start, count = len(self.sectors), len(pieces)
        if scattered:
            self.sectors += reversed(pieces)
            self.fat += [END] + list(range(start, start + count - 1))
            return start + count - 1
        self.sectors += pieces
        self.fat += list(range(start + 1, start + count)) + [END]
        return start

    def link(self, children, left, right):
        """A balanced tree over the children, who stand in their order; the top."""
        if left == right:
            return FREE
        middle = (left + right) // 2
        self.siblings[children[middle]] = (self.link(children, left, middle), self.link(children, middle + 1, right))
        return children[middle]

    def directory(self):
        self.siblings = {0: (FREE, FREE)}
        tops = []
        for entry in self.entries:
            order = sorted(entry[2], key=lambda i: (len(self.entries[i][0]), self.entries[i][0].upper()))
            tops.append(self.link(order, 0, len(order)))
        out = []
        for number, (name, kind, _, first, size) in enumerate(self.entries):
            text = name.encode("utf-16-le")
            out.append(text.ljust(64, b"\0") + struct.pack("<HBBIII", len(text) + 2, kind, 1, *self.siblings[number],
                                                           tops[number]) + b"\0" * 36 + struct.pack("<IQ", first, size))
        return b"".join(out)

    def write(self, path):
        first_directory = self.store(self.directory())
        per_sector, fats, difats = SECTOR // 4, 0, 0
        while fats * per_sector < len(self.fat) + fats + difats:
            fats += 1
            difats = -(-max(0, fats - 109) // (per_sector - 1))
        first_fat = len(self.fat)
        fat_sectors = list(range(first_fat, first_fat + fats))
        first_difat = first_fat + fats
        fat = self.fat + [FAT_MARK] * fats + [DIFAT_MARK] * difats
        fat += [FREE] * (fats * per_sector - len(fat))
        listed = fat_sectors[:109] + [FREE] * (109 - min(109, fats))
        head = (b"\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1" + b"\0" * 16 + struct.pack("<5H", 62, 3, 0xFFFE, 9, 6) + b"\0" * 6 +
                struct.pack("<9I", 0, fats, first_directory, 0, 4096, END, 0, first_difat if difats else END, difats))
        with open(path, "wb") as out:
            out.write(head + struct.pack("<109I", *listed))
            out.write(b"".join(self.sectors) + struct.pack(f"<{len(fat)}I", *fat))
            for number in range(difats):
                part = fat_sectors[109 + number * (per_sector - 1):][:per_sector - 1]
                part += [FREE] * (per_sector - 1 - len(part))
                out.write(struct.pack(f"<{per_sector}I", *part, first_difat + number + 1 if number + 1 < difats else END))
