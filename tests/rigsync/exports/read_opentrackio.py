#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
#
# read_opentrackio.py SAMPLE POINTS: where the camera of an OpenTrackIO sample sees points of the
# scene. POINTS has "x y z" in each line, metres; prints "u v" for each, pixels whose centres are
# whole numbers. Written from the format's description, and without any package.
import json
import math
import sys


def rotation(pan, tilt, roll):
    """Turns about Z, then X, then Y of the turned body, each by the right-hand rule."""
    cz, sz = math.cos(math.radians(pan)), math.sin(math.radians(pan))
    cx, sx = math.cos(math.radians(tilt)), math.sin(math.radians(tilt))
    cy, sy = math.cos(math.radians(roll)), math.sin(math.radians(roll))
    about_z = [[cz, -sz, 0], [sz, cz, 0], [0, 0, 1]]
    about_x = [[1, 0, 0], [0, cx, -sx], [0, sx, cx]]
    about_y = [[cy, 0, sy], [0, 1, 0], [-sy, 0, cy]]
    return product(product(about_z, about_x), about_y)


def product(left, right):
    return [[sum(left[r][k] * right[k][c] for k in range(3)) for c in range(3)] for r in range(3)]


def into_child(transform, point):
    turn = rotation(**transform["rotation"])
    away = [point[i] - transform["translation"]["xyz"[i]] for i in range(3)]
    return [sum(turn[r][c] * away[r] for r in range(3)) for c in range(3)]


def pixel(sample, point):
    for transform in sample["transforms"]:
        point = into_child(transform, point)
    right, forward, up = point
    lens, camera = sample["lens"], sample["static"]["camera"]
    focal = lens["pinholeFocalLength"]
    x, y = focal * right / forward, -focal * up / forward  # mm on the sensor, y down
    model = lens["distortion"][0]
    assert model["model"] == "Brown-Conrady U-D"
    squared = x * x + y * y
    above = 1 + sum(factor * squared ** (i + 1) for i, factor in enumerate(model["radial"][0::2]))
    below = 1 + sum(factor * squared ** (i + 1) for i, factor in enumerate(model["radial"][1::2]))
    x, y = x * above / below, y * above / below
    size, count = camera["activeSensorPhysicalDimensions"], camera["activeSensorResolution"]
    # From the image's upper left corner; the first pixel's centre is half a pixel into the image.
    u = (x + lens["projectionOffset"]["x"]) * count["width"] / size["width"] + count["width"] / 2
    v = (y + lens["projectionOffset"]["y"]) * count["height"] / size["height"] + count["height"] / 2
    return u - 0.5, v - 0.5


with open(sys.argv[1], encoding="utf-8") as source:
    SAMPLE = json.load(source)
with open(sys.argv[2], encoding="utf-8") as source:
    for line in source:
        print("%.9f %.9f" % pixel(SAMPLE, [float(word) for word in line.split()]))
