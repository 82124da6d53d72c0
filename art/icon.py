#!/usr/bin/env python3
"""Draws the program's icon, a wave that breaks into bytes, and writes it in all its sizes:  icon.py TARGET.ico"""

import math
import struct
import sys
import zlib

SIZES = (16, 24, 32, 48, 64, 256)
NIGHT, WATER, FOAM, LAMP = (22, 36, 66), (30, 110, 160), (226, 240, 246), (250, 196, 84)
FINE = 4  # samples along each side of a pixel


def colour_at(x, y):
    """The colour at a place of the unit square, y downwards; None outside of the rounded plate."""
    corner = 0.18
    dx, dy = max(corner - x, x - 1 + corner, 0), max(corner - y, y - 1 + corner, 0)
    if math.hypot(dx, dy) > corner:
        return None
    crest = 0.56 + 0.09 * math.sin(2 * math.pi * (x * 1.15 + 0.05))
    if crest - 0.05 < y < crest:
        return FOAM
    if y >= crest:
        # Bytes in the water: two rows of lit and dark cells.
        row, column = int((y - 0.70) / 0.13), int((x - 0.14) / 0.12)
        in_cell = (y - 0.70) % 0.13 < 0.08 and (x - 0.14) % 0.12 < 0.08
        if 0 <= row < 2 and 0 <= column < 6 and in_cell and y >= 0.70 and x >= 0.14:
            return FOAM if "101100011010"[row * 6 + column] == "1" else NIGHT
        return WATER
    if math.hypot(x - 0.70, y - 0.27) < 0.11:
        return LAMP
    return NIGHT


def picture(size):
    """The rows of a picture, RGBA."""
    rows = []
    for py in range(size):
        row = bytearray()
        for px in range(size):
            found = [colour_at((px + (i + 0.5) / FINE) / size, (py + (j + 0.5) / FINE) / size)
                     for i in range(FINE) for j in range(FINE)]
            seen = [colour for colour in found if colour]
            row += bytes(sum(c[k] for c in seen) // max(len(seen), 1) for k in range(3))
            row.append(255 * len(seen) // len(found))
        rows.append(bytes(row))
    return rows


def png(size):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    data = zlib.compress(b"".join(b"\0" + row for row in picture(size)), 9)
    head = struct.pack(">IIBBBBB", size, size, 8, 6, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + chunk(b"IDAT", data) + chunk(b"IEND", b"")


def bitmap(size):
    """The form that every Windows reads: rows from the bottom, BGRA, then a mask that is not used."""
    rows = picture(size)
    pixels = b"".join(bytes(row[i + k] for i in range(0, len(row), 4) for k in (2, 1, 0, 3)) for row in reversed(rows))
    mask = bytes((size + 31) // 32 * 4 * size)
    return struct.pack("<IiiHHIIiiII", 40, size, size * 2, 1, 32, 0, len(pixels) + len(mask), 0, 0, 0, 0) + pixels + mask


def main():
    images = [png(size) if size == 256 else bitmap(size) for size in SIZES]
    offset = 6 + 16 * len(images)
    entries = b""
    for size, image in zip(SIZES, images):
        entries += struct.pack("<BBBBHHII", size % 256, size % 256, 0, 0, 1, 32, len(image), offset)
        offset += len(image)
    with open(sys.argv[1], "wb") as file:
        file.write(struct.pack("<HHH", 0, 1, len(images)) + entries + b"".join(images))


main()
