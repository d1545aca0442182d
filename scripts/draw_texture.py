#!/usr/bin/env python3
"""Draws the launcher's crate texture as a PNG: a 64 x 64 tile of warm planks inside a darker
frame, with a diagonal brace. Written with the standard library only, so the build needs
nothing more to make it.

    draw_texture.py OUTPUT.png
"""
import struct
import sys
import zlib

SIZE = 64
FRAME = 6


def colour(x, y):
    if x < FRAME or y < FRAME or x >= SIZE - FRAME or y >= SIZE - FRAME:
        return (92, 58, 30, 255)
    if abs(x - y) <= 3:
        return (120, 76, 40, 255)
    plank = (y - FRAME) // 13
    grain = 14 if (x * 7 + plank * 29) % 23 < 3 else 0
    shade = 24 if (y - FRAME) % 13 == 0 else 0
    return (196 - shade - grain, 140 - shade - grain, 78 - shade // 2, 255)


def chunk(kind, data):
    body = kind + data
    return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body) & 0xFFFFFFFF)


def write_png(path, width, height, colour):
    """Writes an 8-bit RGBA PNG whose pixel (x, y), y from the top, is colour(x, y)."""
    rows = b"".join(
        b"\x00" + bytes(channel for x in range(width) for channel in colour(x, y))
        for y in range(height))
    header = struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0)
    with open(path, "wb") as out:
        out.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) +
                  chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))


def main(path):
    write_png(path, SIZE, SIZE, colour)


if __name__ == "__main__":
    main(sys.argv[1])
