#!/usr/bin/env python3
"""usage: make_frames.py FOLDER

Writes the frames of a sweep to the right along a painted wall: FOLDER/frame000.ppm and so on.
"""
import random
import sys

WIDTH, HEIGHT, STEP, FRAMES = 320, 240, 8, 40
LENGTH = WIDTH + STEP * FRAMES


def spots(cell):
    """Random brightness at every corner of a grid, smooth in between."""
    corners = [[random.random() for _ in range(LENGTH // cell + 2)] for _ in range(HEIGHT // cell + 2)]

    def brightness(x, y):
        (i, u), (j, v) = divmod(x / cell, 1), divmod(y / cell, 1)
        i, j = int(i), int(j)
        above = corners[j][i] * (1 - u) + corners[j][i + 1] * u
        below = corners[j + 1][i] * (1 - u) + corners[j + 1][i + 1] * u
        return above * (1 - v) + below * v

    return brightness


random.seed(1)
large, small = spots(40), spots(8)
wall = []
for y in range(HEIGHT):
    light = [int(160 * large(x, y) + 90 * small(x, y)) for x in range(LENGTH)]
    wall.append(b"".join(bytes((value, value, 250 - value)) for value in light))

for frame in range(FRAMES):
    left = 3 * STEP * frame
    with open(f"{sys.argv[1]}/frame{frame:03}.ppm", "wb") as file:
        file.write(b"P6 %d %d 255\n" % (WIDTH, HEIGHT))
        file.writelines(row[left : left + 3 * WIDTH] for row in wall)
