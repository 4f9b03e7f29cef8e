# SPDX-License-Identifier: Apache-2.0
"""Mounts on which exports are compared: random ones, and those at the hard places."""
import itertools

import numpy as np

# Of the exports with angles, by docs/conventions.md: rows are the axes of the export's tracker in
# Tc, and columns the axes of its camera in Cam.
TRACKER = {"ue4": np.array([[0, -1, 0], [1, 0, 0], [0, 0, -1]]),
           "aximmetry": np.array([[1, 0, 0], [0, 0, -1], [0, -1, 0]])}
CAMERA = {"ue4": np.array([[0, 1, 0], [0, 0, -1], [1, 0, 0]]),
          "aximmetry": np.array([[1, 0, 0], [0, -1, 0], [0, 0, 1]])}


def turn(axis, angle_deg):
    """Rx, Ry or Rz by an angle."""
    sine, cosine = np.sin(np.radians(angle_deg)), np.cos(np.radians(angle_deg))
    rotation = np.eye(3)
    i, j = (axis + 1) % 3, (axis + 2) % 3
    rotation[i, i] = rotation[j, j] = cosine
    rotation[j, i], rotation[i, j] = sine, -sine
    return rotation


def rotation_of(engine, angles_deg):
    """The rotation that an export gives these angles for, by docs/conventions.md."""
    a, b, c = angles_deg
    if engine == "ue4":  # roll, pitch, yaw
        return turn(2, c) @ turn(1, -b) @ turn(0, -a)
    return turn(1, b) @ turn(0, a) @ turn(2, c)


def mount(rotation_cam_tc, position):
    transform = np.eye(4)
    transform[:3, :3] = rotation_cam_tc
    transform[:3, 3] = position
    return transform


def mount_with_angles(engine, angles_deg, position):
    """Transform_Cam_Tc whose export has these angles."""
    rotation = TRACKER[engine].T @ rotation_of(engine, angles_deg) @ CAMERA[engine].T
    return mount(rotation.T, position)


def random_rotation(random):
    w, x, y, z = (lambda q: q / np.linalg.norm(q))(random.normal(size=4))
    return np.array([[1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)],
                     [2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)],
                     [2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)]])


def near_gimbal_lock(random, engine):
    """On both sides of the limit, which is 0.08 or 0.09 degrees from 90, and at 90 itself."""
    locked = random.choice([-90.0, 90.0]) + random.choice(
        [0.0, random.uniform(-0.2, 0.2), random.uniform(0.07, 0.1), random.normal() * 1e-6])
    free = random.choice([-180.0, -90.0, 0.0, 90.0, random.uniform(-180, 180)], size=2)
    angles = {"ue4": (free[0], locked, free[1]), "aximmetry": (locked, *free)}[engine]
    return mount_with_angles(engine, angles, random.uniform(-2, 2, size=3))


def near_half_turn(random, engine):
    """Angles near 180 and -180 degrees, where the sign is decided by the last bits."""
    angles = random.choice([-180.0, 180.0, 0.0], size=3) + random.choice(
        [0.0, 1e-15, -1e-15, 1e-6, -1e-6, 1e-3], size=3)
    return mount_with_angles(engine, angles, random.uniform(-2, 2, size=3))


def square_mounts():
    """The 24 rotations by quarter turns, with every sign of the zeros in a few of them."""
    for order in itertools.permutations(range(3)):
        for signs in itertools.product((1.0, -1.0), repeat=3):
            rotation = np.diag(signs)[:, order]
            if np.linalg.det(rotation) > 0:
                yield mount(rotation, (0.0, -0.0, 0.3))
                yield mount(np.where(rotation == 0, -0.0, rotation), (-0.0, 0.0, -0.0))


def mounts(count=10000, seed=16):
    """So many mounts, half of them random, the others at the hard places."""
    random = np.random.default_rng(seed)
    made = list(square_mounts())
    engines = ("ue4", "aximmetry")
    while len(made) < count // 2:
        engine = engines[len(made) // 2 % 2]
        hard = near_gimbal_lock if len(made) % 2 else near_half_turn
        made.append(hard(random, engine))
    while len(made) < count:
        transform = mount(random_rotation(random), random.uniform(-2, 2, size=3))
        # A file may have fewer digits, and then the rotation is not quite one.
        made.append(np.round(transform, 6) if len(made) % 5 == 0 else transform)
    return made
