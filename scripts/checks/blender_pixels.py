# SPDX-License-Identifier: Apache-2.0
"""Runs in Blender: blender_pixels.py RIGSYNC FOLDER. For each rig writes FOLDER/result.json (or
takes that of a calibration, FOLDER/result/result.json), runs 'rigsync export --to blender', runs
the file, moves the tracker to several samples and asks Blender's own
bpy_extras.object_utils.world_to_camera_view for the pixels of points of the scene.

What they are compared with is computed here in double precision from the result.json alone, by the
equations of docs/conventions.md: the sample takes a point of the tracking system to the body, the
body's labels to Tc, transform_cam_tc to the camera, and fx, fy, cx, cy to a pixel. The scene has
the same point along the axes that the tracker's object was asked to have.
"""
import itertools
import json
import math
import pathlib
import random
import re
import subprocess
import sys

import bpy
from bpy_extras.object_utils import world_to_camera_view
from mathutils import Vector

# Blender keeps coordinates and matrices in single precision. At the places of these points, up to
# 8 m from the origin and from 3 m in front of the camera, coordinates are rounded by up to
# 2.4e-7 m, which is 1.2e-4 px for a focal length of 1500 px, and a handful of such roundings add
# up. So is the result of the projection, by up to 3e-8 of the frame's side, 6e-5 px.
TOLERANCE_PX = 0.001

POINTS = 250
SAMPLES = 5

# What --tracker-axes names in a right-handed scene with z up: x, y and z of the scene by axes of
# the tracking system.
AXES = {
    None: ("x", "y", "z"),
    "as-tracked": ("x", "y", "z"),
    "z-up": ("x", "y", "z"),
    "y-up": ("x", "-z", "y"),
    "-y,x,z": ("-y", "x", "z"),
}

# name, (width, height), (fx, fy), (cx, cy), --tracker-axes, --sensor, metres of a scene unit
RIGS = [
    ("square pixels", (1920, 1080), (1500.0, 1500.0), (959.5, 539.5), None, None, 1.0),
    ("off centre", (1920, 1080), (1480.0, 1480.0), (1101.25, 433.75), None, "23.76x13.365", 1.0),
    ("wide pixels", (1280, 720), (900.0, 1175.5), (655.5, 371.25), None, "36x24", 1.0),
    ("tall pixels", (1280, 720), (1175.5, 900.0), (612.0, 340.5), "as-tracked", None, 1.0),
    ("portrait", (1080, 1920), (1400.0, 1391.5), (500.5, 1003.0), "z-up", "20x36", 1.0),
    ("y up", (1920, 1080), (1300.0, 1296.5), (930.0, 560.0), "y-up", None, 1.0),
    ("axes written out", (1920, 1080), (1300.0, 1302.0), (990.0, 500.0), "-y,x,z", None, 1.0),
    ("scene in centimetres", (1920, 1080), (1500.0, 1497.0), (940.0, 555.0), "y-up", None, 0.01),
]


def rotation(rng):
    """A random rotation as rows, and as a quaternion w, x, y, z."""
    q = [rng.gauss(0, 1) for _ in range(4)]
    size = math.sqrt(sum(c * c for c in q))
    w, x, y, z = (c / size for c in q)
    return [
        [1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)],
        [2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)],
        [2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)],
    ], (w, x, y, z)


def times(rows, vector):
    return [sum(a * b for a, b in zip(row, vector)) for row in rows]


def transposed_times(rows, vector):
    return [sum(rows[r][c] * vector[r] for r in range(3)) for c in range(3)]


def scene_axes(names, vector):
    tracked = {"x": vector[0], "y": vector[1], "z": vector[2]}
    return [-tracked[name[1]] if name[0] == "-" else tracked[name] for name in names]


class Rig:
    """The camera of a result.json."""

    def __init__(self, root):
        lens = root["lens"]
        self.width, self.height = lens["image_size"]
        self.fx = lens["norm_fxy"][0] * self.width
        self.fy = lens["norm_fxy"][1] * self.height
        self.cx = lens["norm_cxy"][0] * self.width
        self.cy = lens["norm_cxy"][1] * self.height
        pose = root["transform_cam_tc"]
        self.turn = [pose[4 * r:4 * r + 3] for r in range(3)]
        self.shift = [pose[4 * r + 3] for r in range(3)]

    def pixel(self, sample, point_base):
        """Of a point in the tracking system."""
        attitude, place = sample
        body = transposed_times(attitude, [a - b for a, b in zip(point_base, place)])
        tc = [-body[0], -body[2], -body[1]]
        cam = [a + b for a, b in zip(times(self.turn, tc), self.shift)]
        return self.fx * cam[0] / cam[2] + self.cx, self.fy * cam[1] / cam[2] + self.cy

    def point_base(self, sample, pixel, depth):
        """The point that is seen there, or nearly so."""
        cam = [(pixel[0] - self.cx) / self.fx * depth, (pixel[1] - self.cy) / self.fy * depth,
               depth]
        tc = transposed_times(self.turn, [a - b for a, b in zip(cam, self.shift)])
        body = [-tc[0], -tc[2], -tc[1]]
        attitude, place = sample
        return [a + b for a, b in zip(times(attitude, body), place)]


def write_result(path, rng, size, focal, centre):
    turn, _ = rotation(rng)
    shift = [rng.uniform(-0.3, 0.3) for _ in range(3)]
    pose = [n for row, last in zip(turn, shift) for n in row + [last]] + [0, 0, 0, 1]
    root = {"format": "rigsync-result", "format_version": 1, "code": 0, "message": "",
            "lens": {"image_size": list(size),
                     "norm_fxy": [focal[0] / size[0], focal[1] / size[1]],
                     "norm_cxy": [centre[0] / size[0], centre[1] / size[1]],
                     "distortion": [-0.08, 0.02, 0, 0, 0]},
            "transform_cam_tc": pose}
    path.write_text(json.dumps(root))


def export(rigsync, result, axes, sensor):
    file = result.with_name("camera.py")
    command = [rigsync, "export", str(result), "--to", "blender", "-o", str(file)]
    # "=", because axes may begin with a minus.
    command += ["--tracker-axes=" + axes] if axes else []
    command += ["--sensor", sensor] if sensor else []
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return file


def larger(left, right):
    """The larger number, or NaN if either is: max() drops a NaN that comes second."""
    return left if right <= left or math.isnan(left) else right


def run_text(text):
    names = {"__name__": "__main__"}
    exec(compile(text, "camera.py", "exec"), names)
    return names


def run_file(file):
    return run_text(file.read_text())


def difference(rig, sample, axes, unit, rng):
    """The largest difference over the points, pixels."""
    bpy.context.view_layer.update()
    scene = bpy.context.scene
    worst = 0.0
    for _ in range(POINTS):
        seen = (rng.uniform(-0.5, rig.width - 0.5), rng.uniform(-0.5, rig.height - 0.5))
        point = rig.point_base(sample, seen, rng.uniform(3.0, 6.0))
        # Not where it was meant to be seen: a calibration's rotation is one to 1e-7 only.
        x, y = rig.pixel(sample, point)
        in_scene = Vector([c / unit for c in scene_axes(axes, point)])
        view = world_to_camera_view(scene, scene.camera, in_scene)
        # From parts of the frame, y up from its edge, to pixels whose centres are whole.
        blender = (view.x * scene.render.resolution_x - 0.5,
                   (1.0 - view.y) * scene.render.resolution_y - 0.5)
        worst = larger(worst, math.hypot(blender[0] - x, blender[1] - y))
    return worst


def fresh_scene(unit):
    bpy.ops.wm.read_factory_settings(use_empty=True)
    bpy.context.scene.unit_settings.scale_length = unit


def expect(holds, text):
    if not holds:
        raise SystemExit(f"blender: {text}")


def check(rig, file, axes, unit, rng):
    """Samples without and with keyframes; the file run a second time in between."""
    fresh_scene(unit)
    names = run_file(file)
    clip = (0.25, 77.0)
    camera = bpy.context.scene.camera
    camera.data.clip_start, camera.data.clip_end = clip
    samples = []
    for frame in range(1, SAMPLES + 1):
        attitude, quaternion = rotation(rng)
        samples.append((attitude, [rng.uniform(-1.5, 1.5) for _ in range(3)]))
        # Without a frame the sample would be that of set_tracker's caller alone.
        names["set_tracker"](samples[-1][1], quaternion, frame)
    worst = 0.0
    for _ in range(2):
        for frame, sample in enumerate(samples, 1):
            bpy.context.scene.frame_set(frame)
            worst = larger(worst, difference(rig, sample, axes, unit, rng))
        run_file(file)
    made = sorted(thing.name for thing in bpy.data.objects)
    expect(made == ["tracker", "tracker camera"] and len(bpy.data.cameras) == 1,
           f"run twice, the file leaves {made}")
    expect((camera.data.clip_start, camera.data.clip_end) == clip,
           "the file changes the clip range")
    attitude, quaternion = rotation(rng)
    sample = (attitude, [rng.uniform(-1.5, 1.5) for _ in range(3)])
    bpy.data.objects["tracker"].animation_data_clear()
    names["set_tracker"](sample[1], quaternion)
    return larger(worst, difference(rig, sample, axes, unit, rng))


def check_promises(file):
    """What the file says of itself, besides pixels."""
    text = file.read_text()
    fresh_scene(1.0)
    names = run_text(text)
    camera = bpy.context.scene.camera
    expect(camera.parent is bpy.data.objects["tracker"], "the camera isn't below the tracker")
    expect((camera.data["k1"], camera.data["k2"]) == (-0.08, 0.02), "k1 and k2 are lost")

    # The same attitude by its two quaternions: the tracker stands still between the keyframes.
    names["set_tracker"]((0, 0, 0), (0.6, 0.0, 0.8, 0.0), 1)
    names["set_tracker"]((0, 0, 0), (-0.6, 0.0, -0.8, 0.0), 11)
    turns = []
    for frame in (1, 6):
        bpy.context.scene.frame_set(frame)
        turns.append(bpy.data.objects["tracker"].matrix_world.to_quaternion())
    expect(turns[0].rotation_difference(turns[1]).angle < 1e-3, "the tracker turns the long way")

    # An object of that name that isn't the file's is left alone.
    fresh_scene(1.0)
    other = bpy.data.objects.new("tracker", None)
    bpy.context.scene.collection.objects.link(other)
    run_text(text)
    expect(other.name == "tracker" and not other.children, "somebody else's object is taken")

    # Other names make another pair.
    run_text(text.replace('TRACKER = "tracker"', 'TRACKER = "second"')
             .replace('CAMERA = "tracker camera"', 'CAMERA = "second camera"'))
    expect(len(bpy.data.cameras) == 2, "other names make no other camera")

    # Blender's lenses are 1 mm and longer.
    wrong = re.sub(r'"lens_mm": [^,]*,', '"lens_mm": 0.5,', text)
    expect(wrong != text, "there is no lens_mm")
    try:
        run_text(wrong)
    except ValueError as error:
        expect("Blender makes lens 1, not 0.5" in str(error), error)
    else:
        expect(False, "a number that Blender doesn't take passes")


def main():
    rigsync, folder = sys.argv[sys.argv.index("--") + 1:]
    folder = pathlib.Path(folder)
    rng = random.Random(1)
    failed = False
    calibrated = ("a calibration", None, None, None, "y-up", None, 1.0)
    print(f"{'Camera':<24}{'frame':>12}{'points':>8}{'worst, px':>12}   axes of the tracker")
    for name, size, focal, centre, axes, sensor, unit in itertools.chain(RIGS, [calibrated]):
        result = folder / "result.json" if size else folder / "result/result.json"
        if size:
            write_result(result, rng, size, focal, centre)
        rig = Rig(json.loads(result.read_text()))
        worst = check(rig, export(rigsync, result, axes, sensor), AXES[axes], unit, rng)
        points = POINTS * (2 * SAMPLES + 1)
        frame = f"{rig.width:.0f}x{rig.height:.0f}"
        agrees = worst <= TOLERANCE_PX
        failed = failed or not agrees
        print(f"{name:<24}{frame:>12}{points:>8}{worst:>12.6f}   {', '.join(AXES[axes])}"
              + ("" if agrees else f"   MORE THAN {TOLERANCE_PX} px"))
    write_result(folder / "result.json", rng, *RIGS[0][1:4])
    check_promises(export(rigsync, folder / "result.json", None, None))
    if failed:
        raise SystemExit("blender: Blender's pixels are not those of the solved camera")
    print("blender: Blender's own projection agrees with the solved camera")


main()
