#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""lens_script_check.py RIGSYNC: runs the scripts that 'rigsync export --to unreal-lens' and
'rigsync lens-table' write against the stand-in of the editor's module, and compares what they hand
over with numbers that are computed here from result.json in another way: rotations as products of
matrices, the same numbers as 'rigsync export --to ue4' for its axes.

Exit status 0 if all is as expected; otherwise an assertion says what is not.
"""
import contextlib
import io
import json
import math
import pathlib
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent / "stand_in"))
import unreal  # noqa: E402

RIGSYNC = sys.argv[1]

# Numbers below 100, with a few roundings.
ROUNDING = 1e-12
# The angles of --to ue4 are single-precision degrees, up to 180 with steps of 1.5e-5, converted
# with a factor that is off by 1.2e-8 of them.
ANGLE_ROUNDING = math.radians(1.5e-5 + 180 * 1.2e-8)
# Its centimetres are single-precision numbers below 64.
LOCATION_ROUNDING = 4e-6

# Of body axes to those of the object that moves with the tracker.
UE4_AXES = [[0, 0, 1], [-1, 0, 0], [0, 1, 0]]
STREAM_AXES = [[0, 1, 0], [1, 0, 0], [0, 0, 1]]
Z_UP_AXES = [[1, 0, 0], [0, -1, 0], [0, 0, 1]]

# The engine's camera in Cam, by columns: x along the view, y right, z up.
CAMERA_AXES = [[0, 1, 0], [0, 0, -1], [1, 0, 0]]
# Of the body in Tc, and back.
RELABELLED = [[-1, 0, 0], [0, 0, -1], [0, -1, 0]]


def product(*matrices):
    result = matrices[0]
    for right in matrices[1:]:
        result = [[sum(row[k] * right[k][c] for k in range(3)) for c in range(3)]
                  for row in result]
    return result


def transposed(matrix):
    return [list(column) for column in zip(*matrix)]


def times(matrix, vector):
    return [sum(a * b for a, b in zip(row, vector)) for row in matrix]


def turn(axis, degrees):
    c, s = math.cos(math.radians(degrees)), math.sin(math.radians(degrees))
    return {"x": [[1, 0, 0], [0, c, -s], [0, s, c]],
            "y": [[c, 0, s], [0, 1, 0], [-s, 0, c]],
            "z": [[c, -s, 0], [s, c, 0], [0, 0, 1]]}[axis]


def of_quaternion(x, y, z, w):
    """Its rotation, by where it turns the axes: v + 2 w (q x v) + 2 q x (q x v)."""
    def cross(a, b):
        return [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]]
    columns = []
    for v in ([1, 0, 0], [0, 1, 0], [0, 0, 1]):
        once = cross((x, y, z), v)
        twice = cross((x, y, z), once)
        columns.append([v[i] + 2 * w * once[i] + 2 * twice[i] for i in range(3)])
    return transposed(columns)


def farthest(left, right):
    """The largest difference of two matrices or lists of one length; NaN if one of them is."""
    if isinstance(left, (list, tuple)):
        assert len(left) == len(right), (left, right)
        apart = [farthest(a, b) for a, b in zip(left, right)]
        return math.nan if any(map(math.isnan, apart)) else max(apart)
    return abs(left - right)


def pose_in_tracker(root, axes):
    """The camera below the object with these axes: rotation and centimetres."""
    flat = root["transform_cam_tc"]
    rotation_tc_cam = transposed([flat[4 * r:4 * r + 3] for r in range(3)])
    shift = [flat[4 * r + 3] for r in range(3)]
    to_object = product(axes, RELABELLED)
    location = times(to_object, [-c for c in times(rotation_tc_cam, shift)])
    return product(to_object, rotation_tc_cam, CAMERA_AXES), [100 * c for c in location]


def result(folder, name, size=(1920, 1080), focal=(1490.0, 1501.0), centre=(970.25, 525.5),
           shift=(0.061, -0.14, -0.079), labels=None):
    """A result.json with a mount that is turned about all axes."""
    rotation = product(turn("y", 31.0), turn("x", -17.0), turn("z", 112.0))
    pose = [n for row, last in zip(rotation, shift) for n in row + [last]] + [0, 0, 0, 1]
    root = {"format": "rigsync-result", "format_version": 1, "code": 0, "message": "",
            "lens": {"image_size": list(size),
                     "norm_fxy": [focal[0] / size[0], focal[1] / size[1]],
                     "norm_cxy": [centre[0] / size[0], centre[1] / size[1]],
                     "distortion": [-0.0931, 0.0312, 0, 0, 0]},
            "transform_cam_tc": pose,
            "inputs": {"camera_tracker_axes": labels}}
    path = folder / name
    path.write_text(json.dumps(root))
    return path, root


def rigsync(*arguments):
    done = subprocess.run([RIGSYNC, *map(str, arguments)], capture_output=True, text=True,
                          check=False)
    assert done.returncode == 0, (arguments, done.returncode, done.stderr)
    return done.stdout


def run_script(file):
    """The calls that the script makes."""
    unreal.CALLS.clear()
    with contextlib.redirect_stdout(io.StringIO()):
        exec(compile(file.read_text(encoding="utf-8"), str(file), "exec"),
             {"__name__": "__main__"})
    return list(unreal.CALLS)


def pair(struct):
    return [struct.get_editor_property(name) for name in "xy"]


def points_of(calls):
    """The four structs of each focus and zoom. Each call is made once for a point."""
    points = {}
    for name, focus, zoom, *structs in calls:
        point = points.setdefault((focus, zoom), {})
        assert name not in point, (name, focus, zoom)
        point[name] = structs
    for at, point in points.items():
        assert set(point) == {"add_focal_length_point", "add_image_center_point",
                              "add_distortion_point", "add_nodal_offset_point"}, at
    return points


def check_point(point, root, axes, size=(1920, 1080), focal=(1490.0, 1501.0),
                centre=(970.25, 525.5)):
    fx_fy = [f / side for f, side in zip(focal, size)]
    (info,) = point["add_focal_length_point"]
    assert farthest(pair(info.get_editor_property("fx_fy")), fx_fy) < ROUNDING
    # The centre of the first pixel is half a pixel from the frame's edge.
    (info,) = point["add_image_center_point"]
    expected = [(c + 0.5) / side for c, side in zip(centre, size)]
    assert farthest(pair(info.get_editor_property("principal_point")), expected) < ROUNDING
    info, focal_info = point["add_distortion_point"]
    assert info.get_editor_property("parameters") == [-0.0931, 0.0312, 0.0, 0.0, 0.0]
    assert farthest(pair(focal_info.get_editor_property("fx_fy")), fx_fy) < ROUNDING
    (info,) = point["add_nodal_offset_point"]
    location = [info.get_editor_property("location_offset").get_editor_property(n) for n in "xyz"]
    quaternion = [info.get_editor_property("rotation_offset").get_editor_property(n)
                  for n in "xyzw"]
    rotation, expected = pose_in_tracker(root, axes)
    assert farthest(location, expected) < ROUNDING * 100
    assert abs(sum(c * c for c in quaternion) - 1.0) < ROUNDING
    assert farthest(of_quaternion(*quaternion), rotation) < ROUNDING
    return location, of_quaternion(*quaternion)


def check_one_result(folder):
    path, root = result(folder, "result.json")
    script = folder / "lens.py"
    unreal.ASSETS.clear()
    rigsync("export", path, "--to", "unreal-lens", "-o", script, "--focus", "0.25", "--zoom", "35",
            "--sensor", "23.76x13.365")
    calls = run_script(script)
    assert calls[0] == ("create_asset", "/Game/rigsync/lens"), calls[0]
    assert calls[-1][0] == "save_loaded_asset"
    info = calls[-1][1].get_editor_property("lens_info")
    assert info.get_editor_property("lens_model") is unreal.SphericalLensModel
    assert pair(info.get_editor_property("sensor_dimensions")) == [23.76, 13.365]
    assert pair(info.get_editor_property("image_dimensions")) == [1920, 1080]
    points = points_of(calls[1:-1])
    assert list(points) == [(0.25, 35.0)]
    location, rotation = check_point(points[(0.25, 35.0)], root, UE4_AXES)

    # The same pose as the numbers of --to ue4: Rz(yaw) * Ry(-pitch) * Rx(-roll).
    fields = json.loads(rigsync("export", path, "--to", "ue4", "--json"))
    typed = [fields["location_cm"][n] for n in "xyz"]
    assert farthest(location, typed) < LOCATION_ROUNDING, (location, typed)
    angles = fields["rotation_deg"]
    typed = product(turn("z", angles["yaw"]), turn("y", -angles["pitch"]),
                    turn("x", -angles["roll"]))
    assert farthest(rotation, typed) < 3 * ANGLE_ROUNDING, (rotation, typed)

    # Run again, it fills the LensFile that is there.
    again = run_script(script)
    assert again[0] == ("load_asset", "/Game/rigsync/lens"), again[0]
    assert list(points_of(again[1:-1])) == [(0.25, 35.0)]


def check_axes(folder):
    path, root = result(folder, "result.json", size=(1080, 1920), centre=(551.0, 940.0))
    script = folder / "lens.py"
    rigsync("export", path, "--to", "unreal-lens", "-o", script, "--tracker-axes", "z-up")
    points = points_of(run_script(script)[1:-1])
    assert list(points) == [(0.0, 0.0)]
    check_point(points[(0.0, 0.0)], root, Z_UP_AXES, size=(1080, 1920), centre=(551.0, 940.0))


def check_axes_of_a_stream(folder):
    """x right, y forward, z up: the engine's object has x forward, y right, z up."""
    path, root = result(folder, "result.json", labels="right_forward_up")
    script = folder / "lens.py"
    rigsync("export", path, "--to", "unreal-lens", "-o", script)
    check_point(points_of(run_script(script)[1:-1])[(0.0, 0.0)], root, STREAM_AXES)


def check_table(folder):
    """Three results in any order become points by focus and zoom, in one run."""
    wide = {"focal": (1490.0, 1501.0), "centre": (970.25, 525.5)}
    tele = {"focal": (4100.0, 4105.0), "centre": (955.0, 541.75)}
    far = {"focal": (4000.0, 4004.0), "centre": (954.0, 541.0)}
    path_tele, root_tele = result(folder, "tele.json", shift=(0.061, -0.14, -0.041), **tele)
    path_far, root_far = result(folder, "far.json", shift=(0.061, -0.14, -0.043), **far)
    path_wide, root_wide = result(folder, "wide.json", **wide)
    script = folder / "table.py"
    rigsync("lens-table", path_tele, path_far, path_wide, "--at", "0.5,70", "--at", "0.25,70",
            "--at", "0.25,24", "--to", "unreal-lens", "-o", script)
    unreal.ASSETS.clear()
    calls = run_script(script)
    points = points_of(calls[1:-1])
    assert list(points) == [(0.25, 24.0), (0.25, 70.0), (0.5, 70.0)], list(points)
    check_point(points[(0.25, 24.0)], root_wide, UE4_AXES, **wide)
    check_point(points[(0.25, 70.0)], root_far, UE4_AXES, **far)
    check_point(points[(0.5, 70.0)], root_tele, UE4_AXES, **tele)


def check_asset_of_another_kind(folder):
    """What is no LensFile is left alone."""
    path, _ = result(folder, "result.json")
    script = folder / "lens.py"
    rigsync("export", path, "--to", "unreal-lens", "-o", script)
    unreal.ASSETS["/Game/rigsync/lens"] = unreal.LensModel()
    try:
        run_script(script)
    except RuntimeError as error:
        assert "is no LensFile" in str(error)
    else:
        raise AssertionError("a script filled what is no LensFile")
    unreal.ASSETS.clear()


def check_refusals():
    """The stand-in refuses what the documentation does not have."""
    lens = unreal.LensFile()
    focal = unreal.FocalLengthInfo()
    wrong = [
        lambda: unreal.LensData,
        lambda: lens.add_focal_point(0.0, 0.0, focal),
        lambda: lens.add_focal_length_point(0.0, focal),
        lambda: lens.add_focal_length_point(0.0, 0.0, focal_length=focal),
        lambda: lens.add_focal_length_point("0", 0.0, focal),
        lambda: lens.add_focal_length_point(0.0, 0.0, [1.0, 1.0]),
        lambda: lens.add_image_center_point(0.0, 0.0, focal),
        lambda: lens.add_distortion_point(0.0, 0.0, unreal.DistortionInfo([0.0] * 5), focal),
        lambda: focal.set_editor_property("fxfy", unreal.Vector2D()),
        lambda: focal.set_editor_property("fx_fy", (1.0, 1.0)),
        lambda: unreal.FocalLengthInfo(fxfy=unreal.Vector2D()),
        lambda: unreal.Vector2D(1.0, 2.0, 3.0),
        lambda: unreal.IntPoint(1.0, 2.0),
        lambda: unreal.NodalPointOffset(rotation_offset=unreal.Vector()),
        lambda: unreal.DistortionInfo(parameters=(0.0, 0.0)),
        lambda: unreal.LensInfo(lens_model=unreal.SphericalLensModel()),
        lambda: unreal.EditorAssetLibrary.does_asset_exist("lens"),
        lambda: unreal.AssetTools().create_asset("a/b", "/Game", unreal.LensFile,
                                                 unreal.LensFileFactoryNew()),
    ]
    for call in wrong:
        try:
            call()
        except (AttributeError, TypeError, ValueError, RuntimeError):
            continue
        raise AssertionError(f"the stand-in accepts {call.__code__.co_consts}")


def main():
    check_refusals()
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        check_one_result(folder)
        check_axes(folder)
        check_axes_of_a_stream(folder)
        check_table(folder)
        check_asset_of_another_kind(folder)
    print("the scripts hand the LensFile what was computed")


main()
