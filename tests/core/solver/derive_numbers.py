#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Derives the bit patterns that the solver tests expect, without the library.

    derive_numbers.py                  prints derived_numbers.h
    derive_numbers.py --check FILE     exit status 1 when FILE isn't what would be printed
    derive_numbers.py --seeds          besides, the seeds for START on standard error

How each number comes about:

- Single precision: Python's float is an IEEE double. A sum, difference, quotient or square root
  of floats, rounded to double and then to float, equals the float operation, because 53 bits are
  at least 2 * 24 + 2. The square of a float is exact in double, however it is computed.
- Inputs are chosen so that every other precision or order that someone could have taken by
  mistake gives other bits, and for logged numbers another text too. So a test on these inputs
  notices. Each case is drawn from a seed, and seeds are tried upwards until the case is such a
  one. The starting seeds below are those that were found; from 0 the search takes minutes.
- Angles are worked out to 50 digits and rounded once to float. A cosine is kept only when the
  exact angle lies within Margin of a unit in the last place of its nearest float, so that every
  mathematics library that errs by less than 1 - Margin units delivers that float.
- Nothing is taken from the library's own output.
"""

import math
import random
import struct
import sys
from decimal import Decimal, getcontext
from pathlib import Path

# Without a folder of compiled modules beside the sources.
sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "support"))
from exact_arcs import atan_positive  # noqa: E402

getcontext().prec = 60

PI_SHORT = 3.1415926535
MARGIN = Decimal("0.35")
SHOW_SEEDS = "--seeds" in sys.argv

# Where each search starts.
START = {
    "verdict x": 1668,
    "verdict y": 1099,
    "verdict z": 363,
    "filter x": 160779,
    "filter y": 57414,
    "filter z": 77002,
    "cosine, full pi": 290,
    "cosine, double angle": 9,
    "cosine, float quotient": 2,
    "rotations": 1026,
    "limit": 0,
    "float limit": 263,
    "float spread": 329,
    "norm": 644,
    "dot": 4,
    "mean x": 170,
    "mean y": 39,
    "mean z": 72,
    "reprojection": 22,
}


def f32(value):
    """One rounding to single precision."""
    return struct.unpack("<f", struct.pack("<f", value))[0]


def next_float(value, steps):
    """A positive float moved by that many units in its last place."""
    bits = struct.unpack("<i", struct.pack("<f", value))[0]
    return struct.unpack("<f", struct.pack("<i", bits + steps))[0]


# Only random.random() is the same in every Python.
def between(rng, low, high):
    return low + (high - low) * rng.random()


def found(name, trial, *arguments):
    """The first case, from the starting seed of this name, that the trial doesn't turn down."""
    seed = START.get(name, 0)
    while True:
        case = trial(random.Random("%s %d" % (name, seed)), *arguments)
        if case is not None:
            if SHOW_SEEDS:
                print('    "%s": %d,' % (name, seed), file=sys.stderr)
            return case
        seed += 1


def sum_in_order(values):
    """Python's own sum() compensates from version 3.12 on."""
    total = 0.0
    for value in values:
        total += value
    return total


def text(value):
    return "%.6f" % value


def all_differ(right, others, shown=True):
    """Whether each mistake would be noticed: in bits, and in the logged text too if shown."""
    return all(o != right and (not shown or text(o) != text(right)) for o in others)


# --- spreads: root mean square about a given mean ---------------------------------------------


def add_square(total, value):
    return f32(total + value * value)


def spread(differences, divisor=None):
    """Differences should be floats. Squares in double, sums narrowed after each, quotient and root
    in float."""
    total = 0.0
    for d in differences:
        total = add_square(total, d)
    return f32(math.sqrt(f32(total / f32(len(differences) if divisor is None else divisor))))


def spread_mistakes(differences):
    n = len(differences)
    stepwise = squares_narrowed = wide = mean = 0.0
    for d in differences:
        stepwise = add_square(stepwise, d)
        squares_narrowed = f32(squares_narrowed + f32(d * d))
        wide += d * d
        mean += d / n
    about_own_mean = 0.0
    for d in differences:
        about_own_mean += (d - mean) * (d - mean)
    return [
        f32(math.sqrt(f32(squares_narrowed / n))),
        f32(math.sqrt(wide / n)),
        f32(math.sqrt(f32(f32(wide) / n))),
        f32(math.sqrt(stepwise / n)),
        spread(differences, n - 1),
        spread(differences[::-1]),
        f32(math.sqrt(about_own_mean / n)),
    ]


def verdict_axis(rng, count):
    """Samples (floats), the mean (a double that isn't a float) and the spread."""
    mean = between(rng, 5.0, 90.0)
    samples = [f32(mean + between(rng, -70.0, 70.0)) for _ in range(count)]
    differences = [f32(s - f32(mean)) for s in samples]
    right = spread(differences)
    others = spread_mistakes(differences) + [
        spread([s - f32(mean) for s in samples]),
        spread([f32(s - mean) for s in samples]),
        f32(math.sqrt(sum_in_order((s - mean) * (s - mean) for s in samples) / count)),
    ]
    return (samples, mean, right) if all_differ(right, others) else None


def filter_axis(rng, count):
    """Samples (doubles that aren't floats), the mean likewise, differences and the spread. No
    difference is beyond 1.2 times the spread, so that nothing is removed."""
    mean = between(rng, 5.0, 90.0)
    samples = [mean + between(rng, -70.0, 70.0) for _ in range(count)]
    differences = [f32(f32(mean) - f32(s)) for s in samples]
    right = spread(differences)
    if max(abs(d) for d in differences) > 1.2 * right:
        return None
    others = spread_mistakes(differences) + [
        spread([f32(mean - s) for s in samples]),
        spread([f32(f32(mean) - s) for s in samples]),
    ]
    return (samples, mean, right) if all_differ(right, others) else None


# --- angles between rotation axes -------------------------------------------------------------


PI = 4 * atan_positive(Decimal(1))


def exact_acos(c):
    c = Decimal(c)
    return 2 * atan_positive(((1 - c) / (1 + c)).sqrt())


def acos_f(c):
    """The nearest float of acos, or None when it is too close to call."""
    exact = exact_acos(c)
    _, exponent = math.frexp(float(exact))
    unit = Decimal(2) ** (exponent - 24)
    steps = exact / unit
    nearest = steps.to_integral_value()
    return float(nearest * unit) if abs(steps - nearest) <= MARGIN else None


def degrees(angle):
    return f32(angle / PI_SHORT * 180.0)


# Every rotation of these cases turns by 1.5 rad, which is a float: the length of a rotation vector
# comes out as exactly 1.5, and the dot product of two directions as exactly their cosine.
TURN = 1.5


def length_is_exact(cosine):
    """Whether the float steps give the length TURN, also when the rotation vector's elements are
    off by a hundred units in the last place of a double."""
    sine = math.sqrt((1.0 - cosine) * (1.0 + cosine))
    for nudge in (1.0 - 2e-14, 1.0, 1.0 + 2e-14):
        total = 0.0
        for element in (TURN * cosine * nudge, TURN * sine * nudge, 0.0):
            total = f32(total + element * element)
        if f32(math.sqrt(total)) != TURN:
            return False
    return True


def cosine_case(rng, low, high, wanted):
    """A float cosine for which the mistakes wanted give another text, and its angle in degrees."""
    cosine = f32(between(rng, low, high))
    if not length_is_exact(cosine):
        return None
    near = f32(math.acos(cosine))
    right = degrees(near)
    others = {
        "full pi": f32(near / math.pi * 180.0),
        "double angle": degrees(math.acos(cosine)),
        "float quotient": f32(f32(near / f32(PI_SHORT)) * 180.0),
    }
    if not all_differ(right, [others[name] for name in wanted]):
        return None
    angle = acos_f(cosine)
    if angle is None:
        return None
    assert angle == near
    return cosine, right


def rotation_cases(rng, notable):
    """Cosines of one list of images, their deviations in degrees, and STD_R over them."""
    cases = list(notable)
    while len(cases) < 7:
        case = cosine_case(rng, 0.2, 0.85, [])
        if case is not None:
            cases.append(case)
    angles = [angle for _, angle in cases]
    return (cases, spread(angles)) if all_differ(spread(angles), spread_mistakes(angles)) else None


# --- the translation limit of the filter --------------------------------------------------------

FACTOR = f32(1.3)


def limit_case(rng, images):
    """Differences of one axis with a spread of exactly 1, so that the limit is the float 1.3, and
    three values of the first difference, under, on and over the limit, which leave the spread at
    exactly 1."""
    rest = [f32(between(rng, 0.7, 1.15)) for _ in range(images - 1)]
    missing = images - FACTOR * FACTOR - sum_in_order(r * r for r in rest[:-1])
    if not 0.3 < missing < 1.4:
        return None
    rest[-1] = f32(math.sqrt(missing))
    values = [next_float(FACTOR, -1), FACTOR, next_float(FACTOR, 1)]
    return (values, rest) if all(spread([v] + rest) == 1.0 for v in values) else None


def edge_case(rng, images, is_wanted):
    """Differences of one axis whose first lies so near the limit that the answer is wanted."""
    rest = [f32(between(rng, 0.4, 1.9)) for _ in range(images - 1)]
    squares = sum_in_order(r * r for r in rest)
    start = f32(math.sqrt(1.69 * squares / (images - 1.69)))
    if max(rest) > 0.9 * start:
        return None
    for steps in range(-3, 4):
        everything = [next_float(start, steps)] + rest
        if is_wanted(everything):
            return everything
    return None


def over_in_float_only(everything):
    """Above the limit by the float factor, and not by the double 1.3."""
    limit = spread(everything)
    return f32(limit * FACTOR) < everything[0] <= limit * 1.3


def over_by_float_spread_only(everything):
    """Above the limit by the float spread, and not by one that is summed in double."""
    wide = f32(math.sqrt(sum_in_order(d * d for d in everything) / len(everything)))
    return f32(spread(everything) * FACTOR) < everything[0] <= f32(wide * FACTOR)


# --- rotation vectors ---------------------------------------------------------------------------


def norm_case(rng):
    vector = [between(rng, -2.0, 2.0) for _ in range(3)]
    total = squares_narrowed = elements_narrowed = backwards = 0.0
    for v, w in zip(vector, vector[::-1]):
        total = f32(total + v * v)
        squares_narrowed = f32(squares_narrowed + f32(v * v))
        elements_narrowed = f32(elements_narrowed + f32(v) * f32(v))
        backwards = f32(backwards + w * w)
    wide = vector[0] * vector[0] + vector[1] * vector[1] + vector[2] * vector[2]
    length = f32(math.sqrt(total))
    others = [f32(math.sqrt(x)) for x in (squares_narrowed, elements_narrowed, wide, backwards)]
    others += [math.sqrt(total), math.sqrt(wide)]
    result = [v / length for v in vector]
    by_reciprocal = [v * (1.0 / length) for v in vector]
    if any(a == b for a, b in zip(result, by_reciprocal)):
        return None
    return (vector, result) if all_differ(length, others, shown=False) else None


def dot_case(rng):
    a = [between(rng, -2.0, 2.0) for _ in range(3)]
    b = [between(rng, -2.0, 2.0) for _ in range(3)]
    total = products_narrowed = elements_narrowed = backwards = 0.0
    for x, y in zip(a, b):
        total = f32(x * y + total)
        products_narrowed = f32(products_narrowed + f32(x * y))
        elements_narrowed = f32(elements_narrowed + f32(x) * f32(y))
    for x, y in zip(a[::-1], b[::-1]):
        backwards = f32(x * y + backwards)
    wide = f32(a[0] * b[0] + a[1] * b[1] + a[2] * b[2])
    others = [products_narrowed, elements_narrowed, wide, backwards]
    return (a, b, total) if all_differ(total, others, shown=False) else None


# --- pose averaging -----------------------------------------------------------------------------


def running_sum(values):
    total = 0.0
    for value in values:
        total = f32(total + value)
    return total


def mean_case(rng, count):
    """Translations (doubles) of one axis and their mean, a float widened."""
    samples = [between(rng, -3.0, 40.0) for _ in range(count)]
    narrowed = [f32(s) for s in samples]
    total = running_sum(narrowed)
    right = f32(total / count)
    wide = sum_in_order(narrowed)
    others = [
        total / count,
        f32(running_sum(narrowed[::-1]) / count),
        f32(running_sum(samples) / count),
        f32(wide / count),
        f32(sum_in_order(samples) / count),
        f32(f32(wide) / count),
        f32(total * f32(1.0 / count)),
    ]
    if text(f32(wide / count)) == text(right):
        return None
    return (samples, right) if all_differ(right, others, shown=False) else None


# --- reprojection error -------------------------------------------------------------------------


def distance(found_point, projected, narrow_x=f32, narrow_y=f32):
    dx = narrow_x(found_point[0] - projected[0])
    dy = narrow_y(found_point[1] - projected[1])
    return math.sqrt(dx * dx + dy * dy)


def distance_in_float(found_point, projected):
    dx, dy = (f32(f - p) for f, p in zip(found_point, projected))
    return f32(math.sqrt(f32(f32(dx * dx) + f32(dy * dy))))


def image_case(rng, projected):
    """Found points of one image, its error, and whether that tells apart a difference left in
    double on x alone or on y alone."""
    n = len(projected)
    points = [(f32(between(rng, 20.0, 900.0)), f32(between(rng, 20.0, 900.0))) for _ in range(n)]
    pairs = list(zip(points, projected))
    distances = [distance(f, p) for f, p in pairs]
    total = running_sum(distances)
    error = f32(total / n)
    wide = sum_in_order(distances)
    others = [
        f32(running_sum([distance(f, p, float, float) for f, p in pairs]) / n),
        f32(running_sum([f32(d) for d in distances]) / n),
        f32(running_sum([distance_in_float(f, p) for f, p in pairs]) / n),
        f32(wide / n),
        f32(f32(wide) / n),
        f32(running_sum(distances[::-1]) / n),
        f32(total * f32(1.0 / n)),
    ]
    if not all_differ(error, others):
        return None
    x_is_seen = f32(running_sum([distance(f, p, float, f32) for f, p in pairs]) / n) != error
    y_is_seen = f32(running_sum([distance(f, p, f32, float) for f, p in pairs]) / n) != error
    return points, error, x_is_seen, y_is_seen


def reproj_case(rng, images, corners):
    """Projected points, found points for each image, the images' errors and the average."""
    projected = [(f32(between(rng, -3.0, 3.0)), f32(between(rng, -3.0, 3.0)))]
    while len(projected) < corners:
        projected.append((f32(between(rng, -3.0, 3.0)), f32(between(rng, -3.0, 3.0))))
    cases = []
    while len(cases) < images:
        case = image_case(rng, projected)
        if case is not None:
            cases.append(case)
    if not (any(case[2] for case in cases) and any(case[3] for case in cases)):
        return None
    found_all = [case[0] for case in cases]
    errors = [case[1] for case in cases]
    total = running_sum(errors)
    average = f32(total / images)
    every = [distance(f, p) for points in found_all for f, p in zip(points, projected)]
    others = [
        f32(sum_in_order(every) / len(every)),
        f32(running_sum(every) / len(every)),
        f32(sum_in_order(errors) / images),
        f32(f32(sum_in_order(errors)) / images),
        f32(total * f32(1.0 / images)),
    ]
    return (projected, found_all, errors, average) if all_differ(average, others) else None


# --- the header ---------------------------------------------------------------------------------


def hex_float(value):
    """A C++ literal of the float, digits and exponent as short as they go."""
    digits, exponent = value.hex().split("p")
    head, _, tail = digits.partition(".")
    tail = tail.rstrip("0")
    return head + ("." + tail if tail else "") + "p" + exponent


def literal(value, single):
    return hex_float(value) + ("f" if single else "")


def row(values, single):
    return "{" + ", ".join(literal(v, single) for v in values) + "}"


def array(name, comment, values, single):
    kind = "float" if single else "double"
    lines = ["// " + c for c in comment]
    lines.append("constexpr %s %s[%d] = %s;" % (kind, name, len(values), row(values, single)))
    return lines + [""]


def table(name, comment, rows, single):
    kind = "float" if single else "double"
    lines = ["// " + c for c in comment]
    lines.append("constexpr %s %s[%d][%d] = {" % (kind, name, len(rows), len(rows[0])))
    lines += ["    " + row(r, single) + "," for r in rows]
    lines.append("};")
    return lines + [""]


def scalar(name, comment, value, single):
    kind = "float" if single else "double"
    lines = ["// " + c for c in comment]
    lines.append("constexpr %s %s = %s;" % (kind, name, literal(value, single)))
    return lines + [""]


def header():
    out = [
        "// SPDX-License-Identifier: Apache-2.0",
        "//",
        "// Inputs and expected bits of the solver tests. derive_numbers.py beside this file",
        "// derives and prints them; edit that and not this.",
        "#ifndef RIGSYNC_TESTS_CORE_SOLVER_DERIVED_NUMBERS_H",
        "#define RIGSYNC_TESTS_CORE_SOLVER_DERIVED_NUMBERS_H",
        "",
        "namespace derived {",
        "",
        "// clang-format off",
        "",
    ]

    axes = [found("verdict " + axis, verdict_axis, 7) for axis in "xyz"]
    out += table(
        "Verdict_Samples",
        ["Per-image translations x, y, z, their mean, and T_STD."],
        list(zip(*(a[0] for a in axes))),
        True,
    )
    out += array("Verdict_Mean", ["Doubles that aren't floats."], [a[1] for a in axes], False)
    out += array("Verdict_T_STD", ["In metres."], [a[2] for a in axes], True)

    axes = [found("filter " + axis, filter_axis, 7) for axis in "xyz"]
    out += table(
        "Filter_Samples",
        ["The same for the filter: nothing here is a float before it is narrowed."],
        list(zip(*(a[0] for a in axes))),
        False,
    )
    out += array("Filter_Mean", ["Doubles that aren't floats."], [a[1] for a in axes], False)
    out += array("Filter_STD_T", ["In metres."], [a[2] for a in axes], True)

    mistakes = ["full pi", "double angle", "float quotient"]
    notable = [found("cosine, " + m, cosine_case, -0.8, 0.5, [m]) for m in mistakes]
    cases, std_r = found("rotations", rotation_cases, notable)
    out += array(
        "Axis_Cosines",
        [
            "Cosines between rotation axes. The text of the first deviation is another one with a",
            "fuller pi, of the second with an angle in double, of the third with a float quotient.",
        ],
        [c for c, _ in cases],
        True,
    )
    out += array("Axis_Deviations_Deg", ["Their angles."], [a for _, a in cases], True)
    out += scalar("Axis_STD_R_Deg", ["Root mean square of the angles."], std_r, True)

    values, rest = found("limit", limit_case, 8)
    out += array(
        "Limit_First",
        [
            "Differences whose spread is exactly 1 with each of the three first ones, which are",
            "under, on and over the limit 1.3f.",
        ],
        values,
        True,
    )
    out += array("Limit_Rest", ["The seven others."], rest, True)
    out += array(
        "Float_Limit",
        ["The first is over the limit by the float factor, and not by the double 1.3."],
        found("float limit", edge_case, 8, over_in_float_only),
        True,
    )
    out += array(
        "Float_Spread",
        ["The first is over the limit by the float spread, and not by a spread in double."],
        found("float spread", edge_case, 8, over_by_float_spread_only),
        True,
    )

    vector, result = found("norm", norm_case)
    out += array("Norm_Vector", ["A rotation vector."], vector, False)
    out += array("Norm_Result", ["Its direction, over the length in float."], result, False)
    a, b, total = found("dot", dot_case)
    out += array("Dot_Sample", ["Two vectors."], a, False)
    out += array("Dot_Mean", ["The other one."], b, False)
    out += scalar("Dot_Result", ["Their dot product, summed in float."], total, True)

    axes = [found("mean " + axis, mean_case, 9) for axis in "xyz"]
    out += table(
        "Mean_Samples",
        ["Translations of poses. Summed in any other precision or order, the mean has other bits."],
        list(zip(*(a[0] for a in axes))),
        False,
    )
    out += array("Mean_Result", ["Floats, widened."], [a[1] for a in axes], False)

    projected, found_all, errors, average = found("reprojection", reproj_case, 5, 6)
    out += table(
        "Reproj_Projected", ["Projected points x, y, the same in each image."], projected, True
    )
    out.append("// Found points x, y of every image.")
    out.append("constexpr float Reproj_Found[%d][%d][2] = {" % (len(found_all), len(projected)))
    out += ["    {" + ", ".join(row(p, True) for p in points) + "}," for points in found_all]
    out += ["};", ""]
    out += array("Reproj_Image_Errors", ["Mean distances of the images."], errors, True)
    out += scalar("Reproj_Average", ["And of all."], average, True)

    out += ["// clang-format on", "", "}  // namespace derived", ""]
    out += ["#endif  // RIGSYNC_TESTS_CORE_SOLVER_DERIVED_NUMBERS_H", ""]
    return "\n".join(out)


def main():
    if len(sys.argv) == 3 and sys.argv[1] == "--check":
        with open(sys.argv[2], encoding="utf-8") as file:
            return 0 if file.read() == header() else 1
    sys.stdout.write(header())
    return 0


if __name__ == "__main__":
    sys.exit(main())
