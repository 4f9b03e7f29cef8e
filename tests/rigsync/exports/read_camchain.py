#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
#
# read_camchain.py CAMCHAIN POINTS: where cam0 of a camchain of Kalibr sees points of the tracked
# body. POINTS has "x y z" in each line, metres along the body's axes; prints "u v" for each.
import sys

import yaml

with open(sys.argv[1], encoding="utf-8") as source:
    CAMERA = yaml.safe_load(source)["cam0"]
assert CAMERA["camera_model"] == "pinhole" and CAMERA["distortion_model"] == "radtan"
assert CAMERA["resolution"] == [1920, 1080] and CAMERA["rostopic"] == "/cam0/image_raw"
FX, FY, CX, CY = CAMERA["intrinsics"]
K1, K2, P1, P2 = CAMERA["distortion_coeffs"]
with open(sys.argv[2], encoding="utf-8") as source:
    for line in source:
        point = [float(word) for word in line.split()] + [1.0]
        camera = [sum(a * b for a, b in zip(row, point)) for row in CAMERA["T_cam_imu"]]
        x, y = camera[0] / camera[2], camera[1] / camera[2]
        squared = x * x + y * y
        radial = 1 + K1 * squared + K2 * squared * squared
        u = x * radial + 2 * P1 * x * y + P2 * (squared + 2 * x * x)
        v = y * radial + P1 * (squared + 2 * y * y) + 2 * P2 * x * y
        print("%.9f %.9f" % (FX * u + CX, FY * v + CY))
