#!/usr/bin/env python3
"""Tells whether a PNG written by the self-tests has content, by the host's own rule: more than
one pixel in 500 differs from the first pixel by 41 or more in |dr|+|dg|+|db|. Reads 8-bit RGB
and RGBA images without interlacing, which is what the host writes. Exit status 0 with content,
1 without, 2 for a file it cannot read. Prints the count of differing pixels.

    png_content.py FILE            the count
    png_content.py FILE X Y        the pixel at column X, row Y from the top, as "r,g,b".
    png_content.py FILE --near R,G,B
                                   the count of pixels within 30 of that colour in
                                   |dr|+|dg|+|db|; exit status 0 for at least 50 of them.
"""
import struct
import sys
import zlib


def read_png(path):
    with open(path, "rb") as f:
        data = f.read()
    if data[:8] != b"\x89PNG\r\n\x1a\n":
        raise ValueError("not a PNG")
    pos, idat, header = 8, b"", None
    while pos < len(data):
        (length,) = struct.unpack(">I", data[pos:pos + 4])
        kind, body = data[pos + 4:pos + 8], data[pos + 8:pos + 8 + length]
        pos += 12 + length
        if kind == b"IHDR":
            header = struct.unpack(">IIBBBBB", body)
        elif kind == b"IDAT":
            idat += body
        elif kind == b"IEND":
            break
    width, height, depth, colour, _, _, interlace = header
    channels = {2: 3, 6: 4}.get(colour)
    if depth != 8 or channels is None or interlace != 0:
        raise ValueError("unsupported PNG layout")
    raw = zlib.decompress(idat)
    stride = width * channels
    rows, previous = [], bytearray(stride)
    for y in range(height):
        start = y * (stride + 1)
        kind, line = raw[start], bytearray(raw[start + 1:start + 1 + stride])
        for i in range(stride):
            left = line[i - channels] if i >= channels else 0
            up = previous[i]
            corner = previous[i - channels] if i >= channels else 0
            if kind == 1:
                line[i] = (line[i] + left) & 255
            elif kind == 2:
                line[i] = (line[i] + up) & 255
            elif kind == 3:
                line[i] = (line[i] + (left + up) // 2) & 255
            elif kind == 4:
                p = left + up - corner
                pa, pb, pc = abs(p - left), abs(p - up), abs(p - corner)
                predictor = left if pa <= pb and pa <= pc else (up if pb <= pc else corner)
                line[i] = (line[i] + predictor) & 255
        rows.append(line)
        previous = line
    return width, height, channels, rows


def main():
    try:
        width, height, channels, rows = read_png(sys.argv[1])
    except (OSError, ValueError, zlib.error, TypeError, struct.error) as error:
        print(f"cannot read {sys.argv[1]}: {error}")
        return 2
    if len(sys.argv) == 4 and sys.argv[2] == "--near":
        wanted = [int(value) for value in sys.argv[3].split(",")]
        count = sum(1 for line in rows for x in range(0, width * channels, channels)
                    if sum(abs(line[x + k] - wanted[k]) for k in range(3)) <= 30)
        print(count)
        return 0 if count >= 50 else 1
    if len(sys.argv) == 4:
        x, y = int(sys.argv[2]), int(sys.argv[3])
        pixel = rows[y][x * channels:x * channels + 3]
        print(",".join(str(value) for value in pixel))
        return 0
    first = rows[0][0:3]
    count = 0
    for line in rows:
        for x in range(0, width * channels, channels):
            if (abs(line[x] - first[0]) + abs(line[x + 1] - first[1]) +
                    abs(line[x + 2] - first[2])) >= 41:
                count += 1
    print(count)
    return 0 if count * 500 > width * height else 1


if __name__ == "__main__":
    sys.exit(main())
