# SPDX-License-Identifier: Apache-2.0
"""Reads the conventions from what the library and the command give for chosen inputs.

Nothing here knows which way an axis points: directions, orders and signs are found by trying, and
a Wrong is raised where none fits or where more than one does.
"""

import itertools
import json
import math
import os
import subprocess
from types import SimpleNamespace

from geometry import (IDENTITY, LETTERS, as_axes, axis_name, column, cross, determinant, difference,
                      from_quaternion, product, scaled, times, transposed, turn)

ENGINES = ["ue4", "ue5", "ue5-xn", "aximmetry"]

# The names that --tracker-axes takes, and an engine of each space.
TRACKER_AXES = ["as-tracked", "z-up", "y-up"]
SPACES = {"ue5": "right-handed, z up", "ue4": "left-handed, z up",
          "aximmetry": "left-handed, y up"}


class Wrong(Exception):
    """The library does something that no drawing here can show."""


def only(found, what):
    found = list(found)
    if len(found) != 1:
        raise Wrong(f"{what}: {len(found)} fit instead of one: {found}")
    return found[0]


def rotation_of(pose):
    return [row[:3] for row in pose[:3]]


def translation_of(pose):
    return [row[3] for row in pose[:3]]


# --- what is asked ----------------------------------------------------------------------------

# A board of 12 by 9 squares, the top left one black, each SQUARE_PX pixels wide.
COLS, ROWS, SQUARE = 11, 8, 0.03
SQUARE_PX, LEFT_PX, TOP_PX, WIDTH_PX, HEIGHT_PX = 24, 60, 44, 420, 300
LENS = {"fx": 700.0, "fy": 600.0, "cx": 300.0, "cy": 200.0}
MARKS = [[0.0, 0.0], [1000.0, 0.0], [0.0, 1000.0]]
POINTS = [[0, 0, 1], [0.25, 0, 1], [0, 0.25, 1], [0.25, 0, 2]]
ESTIMATE_DEG = [25.0, 35.0, 30.0]
ESTIMATE_OFFSET = [0.1, 0.2, 0.3]
SENSE_DEG = 30.0


def rows_of_ones():
    """The fields that are 1 in each line, all others being 0: none, one, or two."""
    numbers = range(2, 16)
    return [(), *itertools.combinations(numbers, 1), *itertools.combinations(numbers, 2)]


def sense_rows():
    """For each axis a turn and its inverse, as w, x, y, z."""
    half = math.radians(SENSE_DEG / 2)
    for axis in range(3):
        for sign in (1, -1):
            parts = [math.cos(half), 0.0, 0.0, 0.0]
            parts[1 + axis] = sign * math.sin(half)
            yield axis, sign, parts


def write_board(path, half_turned):
    """A photograph of the board from straight ahead, as a PGM."""
    lines = []
    for v in range(HEIGHT_PX):
        line = bytearray(b"\xff" * WIDTH_PX)
        for u in range(WIDTH_PX):
            across, down = (u - LEFT_PX) // SQUARE_PX, (v - TOP_PX) // SQUARE_PX
            if 0 <= across <= COLS and 0 <= down <= ROWS and (across + down) % 2 == 0:
                line[u] = 0
        lines.append(bytes(line))
    pixels = b"".join(lines)
    if half_turned:
        pixels = pixels[::-1]
    with open(path, "wb") as target:
        target.write(b"P5\n%d %d\n255\n" % (WIDTH_PX, HEIGHT_PX) + pixels)


def write_json(path, content):
    with open(path, "w", encoding="utf-8") as target:
        json.dump(content, target)


def read_json(path):
    with open(path, encoding="utf-8") as source:
        return json.load(source)


def run(*command, whatever_comes=False):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                          check=False)
    if done.returncode and not whatever_comes:
        raise Wrong(f"{' '.join(command)} ended with {done.returncode}: {done.stderr}")
    return done.stdout


def ask_library(program, folder):
    def inside(name):
        return os.path.join(folder, name)

    with open(inside("rows.csv"), "w", encoding="utf-8") as target:
        for ones in rows_of_ones():
            row = ["1" if field in ones else "0" for field in range(2, 16)]
            target.write(",".join(["0", "photograph"] + row) + "\n")
        for _, _, parts in sense_rows():
            # In the order that read_rows demands.
            row = ["0"] * 3 + [repr(part) for part in parts]
            target.write(",".join(["0", "photograph"] + row + row) + "\n")
    write_board(inside("board.pgm"), False)
    write_board(inside("half_turned.pgm"), True)
    angles = [[ESTIMATE_DEG[k] if k in kept else 0.0 for k in range(3)]
              for kept in ({0}, {1}, {2}, {0, 1, 2})]
    write_json(inside("questions.json"), {
        "log": inside("log.txt"),
        "csv": inside("rows.csv"),
        "estimates": [{"euler_deg": three, "translation": ESTIMATE_OFFSET} for three in angles],
        "board": {"cols": COLS, "rows": ROWS, "square": SQUARE,
                  "photographs": [inside("board.pgm"), inside("half_turned.pgm")]},
        "lens": LENS, "marks": MARKS, "points": POINTS})
    run(program, inside("questions.json"), inside("answers.json"))
    return read_json(inside("answers.json"))


# --- what the answers tell ----------------------------------------------------------------------


def read_rows(answers):
    """Which field of the CSV is which number of which tracker, the relabelling, and the sense."""
    poses = dict(zip(rows_of_ones(), answers["rows"]))
    sensed = answers["rows"][len(poses):]
    trackers = {"camera": "Transform_Base_Tc", "board": "Transform_Base_Tr"}
    at_rest = [rotation_of(poses[()][key]) for key in trackers.values()]
    if at_rest[0] != at_rest[1]:
        raise Wrong("the two trackers' axes are relabelled differently")
    # Columns: the axes of Tc, or Tr, in the body's own.
    relabelled = as_axes(at_rest[0], "the relabelling")
    if determinant(relabelled) != 1:
        raise Wrong("the relabelling changes the hand")

    def body(pose, key):
        """The body's own axes, as columns, in Base."""
        return times(rotation_of(pose[key]), transposed(relabelled))

    fields = {}
    for of, key in trackers.items():
        for field in range(2, 16):
            place = translation_of(poses[(field,)][key])
            if any(place):
                fields[field] = (of, "position", axis_name(place))
        # A unit quaternion that is x, y or z turns by half a turn. With as much of w it turns by a
        # quarter, either way, and w alone doesn't turn.
        for field in range(2, 16):
            for letter in LETTERS:
                if difference(body(poses[(field,)], key), turn(letter, 180)) < 1e-6:
                    fields[field] = (of, "quaternion", letter)
        x = only((field for field in fields if fields[field] == (of, "quaternion", "x")),
                 f"x of the {of} tracker's quaternion")
        beside_x = {field: body(poses[tuple(sorted((field, x)))], key)
                    for field in range(2, 16) if field != x}
        w = only((field for field, axes in beside_x.items()
                  if min(difference(axes, turn("x", quarter)) for quarter in (90, -90)) < 1e-6),
                 f"w of the {of} tracker's quaternion")
        fields[w] = (of, "quaternion", "w")
    expected = [(of, what, letter) for of in trackers
                for what, letters in (("position", "xyz"), ("quaternion", "wxyz"))
                for letter in letters]
    if [fields.get(field) for field in range(2, 16)] != expected:
        raise Wrong(f"the CSV's fields are {fields}")

    # The sense: which of the two quaternions makes a body that is turned by SENSE_DEG in Base.
    signs = [sign for (axis, sign, _), pose in zip(sense_rows(), sensed)
             for key in trackers.values()
             if difference(body(pose, key), turn(LETTERS[axis], SENSE_DEG)) < 1e-6]
    if len(signs) != 6 or len(set(signs)) != 1:
        raise Wrong(f"the quaternion's sense differs between axes or trackers: {signs}")
    return SimpleNamespace(fields=fields, relabelled=relabelled, vector_sign=signs[0])


def read_estimates(answers):
    """The order in which the board's angles are composed."""
    poses = answers["estimates"]
    for pose in poses:
        if max(abs(a - b) for a, b in zip(translation_of(pose), ESTIMATE_OFFSET)) > 1e-9:
            raise Wrong("the board's offset isn't the translation of Transform_Tr_Chart")
    axes = [only((letter for letter in LETTERS
                  if difference(rotation_of(poses[k]), turn(letter, ESTIMATE_DEG[k])) < 1e-8),
                 f"the axis of board angle {k}") for k in range(3)]
    single = [turn(axes[k], ESTIMATE_DEG[k]) for k in range(3)]
    whole = rotation_of(poses[3])
    order = only((order for order in itertools.permutations(range(3))
                  if difference(whole, product(*(single[k] for k in order))) < 1e-8),
                 "the order of the board's angles")
    return SimpleNamespace(axes=axes, order=order,
                           text=" * ".join(f"R{axes[k]}(a{k})" for k in order))


def read_board(answers):
    """Where x and y of the board run in a photograph, in which order corners are listed, and where
    pixels are counted from."""
    points, (corners, half_turned) = answers["board"]["points"], answers["board"]["corners"]
    facts = SimpleNamespace(cols=COLS, rows=ROWS)
    if len(points) != COLS * ROWS or points[0] != [0, 0, 0] or any(z for _, _, z in points):
        raise Wrong(f"the board's points are {points}")

    def step(index):
        """Squares from the first point to this one, on the board and in the photograph."""
        return ([round(value / SQUARE, 3) for value in points[index][:2]],
                [round((a - b) / SQUARE_PX) for a, b in zip(corners[index], corners[0])])

    facts.next_corner = step(1)
    facts.next_line = only((k for k in range(2, COLS * ROWS) if step(k)[0][0] == 0
                            and step(k)[0][1] == 1), "the corner below the first")
    if step(1)[0] != [1, 0]:
        raise Wrong("the second corner isn't a step along x")
    # Directions of the board's x and y in the photograph: u to the right, v down.
    facts.x_in_image, facts.y_in_image = step(1)[1], step(facts.next_line)[1]
    facts.along_x = 1 + max(round(point[0] / SQUARE) for point in points)
    facts.along_y = 1 + max(round(point[1] / SQUARE) for point in points)
    # The first corner in squares from the board's top left corner, and half turned.
    where = [round((corners[0][0] + 0.5 - LEFT_PX) / SQUARE_PX),
             round((corners[0][1] + 0.5 - TOP_PX) / SQUARE_PX)]
    facts.first_corner = where
    turned = [WIDTH_PX - 1 - half_turned[0][0], HEIGHT_PX - 1 - half_turned[0][1]]
    if max(abs(a - b) for a, b in zip(turned, corners[0])) > 0.2:
        raise Wrong("a half-turned board starts at another corner")
    # A corner lies between two pixels: at half a pixel where pixel centres are whole numbers.
    for index, start in ((0, LEFT_PX), (1, TOP_PX)):
        edge = start + SQUARE_PX * where[index]
        offset = only((offset for offset in (0.0, -0.5, -1.0)
                       if abs(corners[0][index] - (edge + offset)) < 0.2), "the pixels' origin")
        if offset != -0.5:
            raise Wrong(f"a pixel's first edge is at {offset}")
    return facts


def predicted(distances):
    """The place that has these distances from the three MARKS."""
    side = MARKS[1][0]
    to_origin, to_right, to_below = (distance * distance for distance in distances)
    return [(to_origin - to_right + side * side) / (2 * side),
            (to_origin - to_below + side * side) / (2 * side)]


def read_camera(answers, board):
    """The axes of Cam in the photograph, and with them the board's z."""
    centre, right, below, far = map(predicted, answers["distances"])
    if max(abs(centre[0] - LENS["cx"]), abs(centre[1] - LENS["cy"])) > 0.1:
        raise Wrong("the principal point isn't where z of Cam is seen")
    step_x = [right[k] - centre[k] for k in range(2)]
    step_y = [below[k] - centre[k] for k in range(2)]
    expected_x, expected_y = [0.25 * LENS["fx"], 0], [0, 0.25 * LENS["fy"]]
    if max(abs(a - b) for a, b in zip(step_x + step_y, expected_x + expected_y)) > 0.2:
        raise Wrong(f"Cam's x and y are drawn as {step_x} and {step_y}")
    # Twice as far along z looks half as large, in front of the camera.
    if abs((far[0] - centre[0]) * 2 - step_x[0]) > 0.2:
        raise Wrong("z of Cam isn't along the view")
    # u runs along x of Cam and v along y, so the board's axes in Cam follow from the photograph.
    x, y = board.x_in_image + [0], board.y_in_image + [0]
    axes = transposed([x, y, cross(x, y)])
    if determinant(axes) != 1:
        raise Wrong("the board's axes aren't right-handed")
    return SimpleNamespace(chart=as_axes(axes, "the board's axes in Cam"))


# --- the exports ----------------------------------------------------------------------------------

# Three rotations that differ in every element, of fractions, as rows of Transform_Cam_Tc.
MOUNTS = [[[0.8, -0.36, -0.48], [0.0, 0.8, -0.6], [0.6, 0.48, 0.64]],
          [[0.36, 0.48, -0.8], [-0.8, 0.6, 0.0], [0.48, 0.64, 0.6]],
          [[0.28, -0.96, 0.0], [0.768, 0.224, -0.6], [0.576, 0.168, 0.8]]]
UNITS = IDENTITY


def logged_pose(log_path):
    """The result pose in an export's run log."""
    with open(log_path, encoding="utf-8") as source:
        lines = [line.rstrip("\n").split("\t", 1)[-1] for line in source]
    label = only((i for i, line in enumerate(lines) if line.startswith("Transform_Tc_Cam_")),
                 "the result pose in the run log")
    return [[float(value) for value in line.strip(" [],").split(",")]
            for line in lines[label + 1:label + 5]]


def write_result(folder, rotation, place, norm_cxy):
    """A result.json whose camera sits at 'place' in Tc, and whose tracker is known to have x to the
    right, y ahead and z up."""
    translation = scaled(times(rotation, place), -1)
    flat = [value for row, last in zip(rotation, translation) for value in row + [last]]
    path = os.path.join(folder, "result.json")
    write_json(path, {
        "format": "rigsync-result", "format_version": 1, "code": 0, "message": "good",
        "lens": {"image_size": [1920, 1080], "norm_fxy": [1, 1.5], "norm_cxy": norm_cxy,
                 "distortion": [0] * 5},
        "inputs": {"camera_tracker_axes": "right_forward_up"},
        "transform_cam_tc": flat + [0, 0, 0, 1]})
    return path


def euler_form(angles, rotations):
    """How three angles compose to a rotation: for each factor its axis, its angle and its sign."""
    def fits(order, names, signs):
        return all(difference(product(*(turn(names[k], signs[k] * three[k]) for k in order)),
                              rotation) < 1e-4 for three, rotation in zip(angles, rotations))
    # Every way is also one with two signs and no half turns more, so the axes come in their order:
    # the first angle turns about x, the second about y, the third about z.
    return only(((order, signs) for order in itertools.permutations(range(3))
                 for signs in itertools.product((1, -1), repeat=3)
                 if fits(order, LETTERS, signs)), "the angles")


def read_export(rigsync, engine, folder):
    """What an export makes of the camera's and the tracker's axes."""
    facts = SimpleNamespace(name=engine)
    results, poses, offsets = [], [], []
    norm_cxy = [0.6, 0.7]
    for rotation, unit in zip(MOUNTS, UNITS):
        if difference(times(rotation, transposed(rotation)), IDENTITY) > 1e-12:
            raise Wrong("a mount isn't a rotation")
        path = write_result(folder, rotation, unit, norm_cxy)
        # Calls of one second would share a run log in one folder.
        out = os.path.join(folder, f"{engine} {len(results)}")
        result = json.loads(run(rigsync, "export", path, "--to", engine, "--out", out, "--json"))
        poses.append(logged_pose(result["run_log"]))
        results.append(result)
        offsets.append([value / 100 for value in
                        result.get("location_cm", result.get("position_cm")).values()])

    # Pose = L * Transform_Tc_Cam * R. The camera is at x, y and z of Tc in turn, so the
    # translations are the columns of L.
    facts.tracker = as_axes(transposed([translation_of(pose) for pose in poses]),
                            "the tracker's axes in " + engine)
    cameras = [product(mount, transposed(facts.tracker), rotation_of(pose))
               for mount, pose in zip(MOUNTS, poses)]
    facts.camera = as_axes(cameras[0], "the camera's axes in " + engine)
    if any(difference(camera, facts.camera) > 1e-5 for camera in cameras):
        raise Wrong(f"{engine}: the camera's axes depend on the mount")
    if determinant(facts.camera) != determinant(facts.tracker):
        raise Wrong(f"{engine}: camera and tracker have different hands")
    facts.hand = "right-handed" if determinant(facts.camera) == 1 else "left-handed"
    # The fields of the position, each along an axis of Tc.
    facts.position = as_axes(transposed(offsets), "the position fields of " + engine)

    if "quaternion" in results[0]:
        facts.quaternion = list(results[0]["quaternion"])
        for result, pose in zip(results, poses):
            parts = result["quaternion"]
            made = from_quaternion(*(parts[letter] for letter in "wxyz"))
            if difference(made, rotation_of(pose)) > 1e-5:
                raise Wrong(f"{engine}: the quaternion isn't the logged rotation")
        facts.angles = None
    else:
        facts.quaternion = None
        names = list(results[0]["rotation_deg"])
        order, signs = euler_form([list(result["rotation_deg"].values()) for result in results],
                                  [rotation_of(pose) for pose in poses])
        facts.angle_names = names
        facts.angles = " * ".join(f"R{LETTERS[k]}({'-' if signs[k] < 0 else ''}{names[k]})"
                                  for k in order)
    if "centre_shift" in results[0]:
        shift = list(results[0]["centre_shift"].values())
        facts.shift = [round(a / (b - 0.5)) for a, b in zip(shift, norm_cxy)]
        if facts.shift != [1, -1] or abs(shift[0] - 0.1) > 1e-9 or abs(shift[1] + 0.2) > 1e-9:
            raise Wrong(f"{engine}: the centre shift is {shift}")
    told = run(rigsync, "export", os.path.join(folder, "result.json"), "--to", engine)
    expected = f"camera axes: {camera_words(facts)}; {facts.hand}"
    if expected not in told:
        raise Wrong(f"'rigsync export --to {engine}' doesn't say: {expected}")
    return facts


def read_object_axes(rigsync, engine, name, relabelled, folder):
    """The axes that --tracker-axes gives the tracker's object: row k is its axis k in the body's
    own axes. They are where a camera at x, y and z of Tc ends up."""
    places = []
    for rotation, unit in zip(MOUNTS, UNITS):
        path = write_result(folder, rotation, unit, [0.5, 0.5])
        out = os.path.join(folder, f"{engine} {name} {len(places)}")
        result = json.loads(run(rigsync, "export", path, "--to", engine, "--tracker-axes", name,
                                "--out", out, "--json"))
        places.append(translation_of(logged_pose(result["run_log"])))
    in_tc = as_axes(transposed(places), f"the axes {name} of {engine}")
    # Columns of the relabelling are the axes of Tc in the body's own.
    axes = as_axes(product(in_tc, transposed(relabelled)), f"the axes {name} of {engine}")
    told = ", ".join(map(axis_name, axes))
    if result["tracker_axes"] != told:
        raise Wrong(f"{engine}, {name}: the numbers are for {told}, and the program says "
                    f"{result['tracker_axes']}")
    return axes


# Directions of Cam in words; read_camera has seen to it that they are these.
WORDS = {"x": "right", "-x": "left", "y": "down", "-y": "up", "z": "along its view",
         "-z": "against its view"}


def camera_words(engine):
    """The engine's camera axes in words. Column k of the matrix is axis k in Cam."""
    return ", ".join(f"{letter} {WORDS[axis_name(column(engine.camera, k))]}"
                     for k, letter in enumerate(LETTERS))


# --- the lens -------------------------------------------------------------------------------------


def read_lens(rigsync, folder):
    """What the normalised lens is divided by, from a small simulated capture."""
    capture, out = os.path.join(folder, "capture"), os.path.join(folder, "out")
    run(rigsync, "simulate", capture, "--images", "12", "--size", "320x240", "--board", "5x4",
        "--blur", "0.3", "--seed", "5", "--focal", "1.1,1.3", "--principal-point", "0.53,0.46")
    # The lens is delivered whatever becomes of the poses.
    run(rigsync, "calibrate", os.path.join(capture, "capture.csv"), "--config",
        os.path.join(capture, "stage.json"), "--sensor", "16x12", "--out", out, whatever_comes=True)
    lens = read_json(os.path.join(out, "result.json"))["lens"]
    truth = read_json(os.path.join(capture, "truth.json"))["lens_pixels"]
    size = dict(zip(("width", "height"), lens["image_size"]))
    facts = SimpleNamespace(norms={})
    for key, names in (("norm_fxy", ("fx", "fy")), ("norm_cxy", ("cx", "cy"))):
        for index, value in enumerate(lens[key]):
            name, side = only(((name, side) for name in names for side in size
                               if abs(truth[name] / size[side] - value) < 0.02), key)
            facts.norms[name] = side
    for index, degrees in enumerate(lens["fov_deg"]):
        if abs(2 * math.degrees(math.atan(0.5 / lens["norm_fxy"][index])) - degrees) > 1e-4:
            raise Wrong("the field of view isn't 2 * atan(1 / (2 * Norm_Fxy))")
    return facts


def gather(library_answers, rigsync, folder):
    answers = ask_library(library_answers, folder)
    facts = SimpleNamespace(rows=read_rows(answers), estimate=read_estimates(answers),
                            board=read_board(answers))
    facts.camera = read_camera(answers, facts.board)
    facts.engines = [read_export(rigsync, engine, folder) for engine in ENGINES]
    facts.objects = {(name, engine): read_object_axes(rigsync, engine, name,
                                                      facts.rows.relabelled, folder)
                     for name in TRACKER_AXES for engine in SPACES}
    facts.lens = read_lens(rigsync, folder)
    return facts
