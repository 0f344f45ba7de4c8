#!/usr/bin/env python3
"""Draws the pictures that the sample campaigns show, as PNG files beside this script."""

import math
import pathlib
import struct
import zlib

FOLDER = pathlib.Path(__file__).resolve().parent


def mix(a, b, share):
    return tuple(round(x + (y - x) * share) for x, y in zip(a, b))


def hero(x, y, width, height):
    """A sun over hills by a lake."""
    sky = mix((255, 176, 122), (86, 118, 196), max(0.0, 1 - y / (height * 0.62)))
    color = sky
    if math.hypot(x - width * 0.68, y - height * 0.36) < height * 0.13:
        color = (255, 238, 200)
    for depth, base, tone in ((0.9, 0.50, (120, 126, 176)), (1.7, 0.60, (82, 92, 142)), (2.6, 0.68, (48, 60, 100))):
        crest = base + 0.06 * math.sin(x / width * 5 * depth + depth) + 0.03 * math.sin(x / width * 13 * depth)
        if y > height * crest:
            color = tone
    if y > height * 0.82:
        wave = 0.5 + 0.5 * math.sin(y * 0.35 + 3 * math.sin(x / width * 9))
        color = mix((60, 84, 132), (120, 148, 196), wave * 0.5)
    return color


def cup(x, y, width, height):
    """A cup seen from above."""
    distance = math.hypot(x - width / 2, y - height / 2)
    coffee, rim, saucer = (height * part for part in (0.26, 0.31, 0.45))
    color = mix((96, 58, 34), (140, 92, 56), min(distance / coffee, 1))
    for radius, outside in ((coffee, (250, 250, 248)), (rim, (228, 225, 218)), (saucer, (196, 164, 124))):
        color = mix(color, outside, min(max(distance - radius + 0.5, 0), 1))  # a soft edge of one pixel
    return color


def write(name, width, height, color_at):
    rows = b"".join(
        b"\0" + bytes(channel for x in range(width) for channel in color_at(x, y, width, height)) for y in range(height))

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    (FOLDER / name).write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) +
                                chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))


if __name__ == "__main__":
    write("hero.png", 640, 480, hero)
    write("cup.png", 600, 400, cup)
