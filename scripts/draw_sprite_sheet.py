#!/usr/bin/env python3
"""Draws the launcher's 2D sprite sheet as a PNG: 64 x 32 pixels, frames of 16 x 16. The top row
is a coin turning round in four frames; the bottom row holds a critter, a tree, a rock and a
star. Written with the standard library only, like the crate texture.

    draw_sprite_sheet.py OUTPUT.png
"""
import math
import sys

from draw_texture import write_png

WIDTH, HEIGHT, CELL = 64, 32, 16
CLEAR = (0, 0, 0, 0)


def coin(x, y, frame):
    # The coin's width shrinks as it turns edge-on, then grows again.
    half_width = [7, 5, 2, 5][frame]
    dx, dy = (x - 7.5) / max(half_width, 0.5), (y - 7.5) / 7
    d = dx * dx + dy * dy
    if d > 1:
        return CLEAR
    return (255, 214, 64, 255) if d < 0.55 else (196, 140, 24, 255)


def critter(x, y):
    dx, dy = x - 7.5, y - 8.5
    if dx * dx / 49 + dy * dy / 36 > 1:
        return CLEAR
    if y == 6 and x in (5, 10):
        return (20, 20, 30, 255)
    return (120, 210, 120, 255)


def tree(x, y):
    if y >= 12:
        return (110, 72, 40, 255) if 6 <= x <= 9 else CLEAR
    dx, dy = x - 7.5, y - 6
    return (40, 140, 70, 255) if dx * dx + dy * dy <= 36 else CLEAR


def rock(x, y):
    dx, dy = x - 7.5, (y - 10) * 1.6
    if dx * dx + dy * dy > 42:
        return CLEAR
    return (150, 150, 160, 255) if y > 8 else (175, 175, 185, 255)


def star(x, y):
    dx, dy = x - 7.5, y - 7.5
    angle = math.atan2(dy, dx)
    reach = 4 + 3.5 * abs(math.cos(2.5 * angle))
    return (255, 240, 160, 255) if math.hypot(dx, dy) <= reach else CLEAR


def colour(x, y):
    cell, cx, cy = x // CELL, x % CELL, y % CELL
    if y < CELL:
        return coin(cx, cy, cell)
    return [critter, tree, rock, star][cell](cx, cy)


if __name__ == "__main__":
    write_png(sys.argv[1], WIDTH, HEIGHT, colour)
