#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Derives the bit patterns that the export tests expect, without the library.

    derive_numbers.py                  prints derived_numbers.h
    derive_numbers.py --check FILE     exit status 1 when FILE isn't what would be printed

How each number comes about:

- Single-precision sums and products: Python's float is an IEEE double. The sum, difference or
  product of two floats, rounded to double and then to float, equals the float operation, because
  53 bits are at least 2 * 24 + 2. So f32(a * b) is one single-precision product, sign of zero
  included.
- Double-precision operations are Python's own.
- asin, atan and atan2 are worked out to 40 digits and rounded once to the precision that the
  step names. Nothing here calls a library's asinf, atan2f or atan2. Libraries err by up to a unit
  in the last place, so the cases are chosen where that doesn't show: the exact value lies close
  to its nearest number, and so do the quotient that an atan2f starts with and the acute angle
  that it goes on with. Double-precision atan2 errs by little more than half a unit anywhere.
- Whole calls: transforms whose inverse is exact in double by whatever cofactors it is computed,
  so that it is the rational inverse, which is worked out here with fractions. They are rotations
  that permute the axes, with any translation (each sum has one term that isn't zero), and
  matrices with small dyadic elements and a power of two as determinant.
"""

import math
import random
import struct
import sys
from decimal import Decimal, getcontext
from fractions import Fraction
from pathlib import Path

# Without a folder of compiled modules beside the sources.
sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "support"))
from exact_arcs import atan_positive  # noqa: E402

getcontext().prec = 45

DEGREE_FACTOR = 57.295780181884765625  # 57.29578f, exactly
PI_SHORT = 3.1415926535
# How far from its nearest number an exact value may lie, in units in the last place: close where
# there are plenty of cases to choose from, wider for the few that have to be in. HALF takes any.
CLOSE, ROOM, WIDE, HALF = Decimal("0.2"), Decimal("0.3"), Decimal("0.45"), Decimal("0.5")
STEP = Decimal("0.15")
NAN = float("nan")


# For the case at hand: how far the value of an asin may lie, of an atan2f, and of its steps.
allowed = {"asin": CLOSE, "atan2f": CLOSE, "steps": STEP}


class Unsure(Exception):
    """The exact value is too near the middle between two numbers."""


# --- single precision -----------------------------------------------------------------------


def f32(value):
    """One rounding to single precision, with overflow to infinity."""
    if math.isnan(value) or math.isinf(value):
        return value
    try:
        return struct.unpack("<f", struct.pack("<f", value))[0]
    except OverflowError:
        return math.copysign(math.inf, value)


def mul(a, b):
    return f32(a * b)


def add(a, b):
    return f32(a + b)


def sub(a, b):
    return f32(a - b)


def twice(a):
    return f32(a + a)


def next_float(value, towards):
    """The neighbour of a float in the direction given."""
    bits = struct.unpack("<i", struct.pack("<f", value))[0]
    bits += 1 if (towards > value) == (value > 0) else -1
    return struct.unpack("<f", struct.pack("<i", bits))[0]


# --- angle functions to 40 digits -----------------------------------------------------------


PI = 4 * atan_positive(Decimal(1))


def exact_asin(x):
    x = Decimal(x)
    if abs(x) == 1:
        return PI / 2 * x
    return atan_positive(abs(x) / ((1 - x) * (1 + x)).sqrt()).copy_sign(x)


def exact_atan2(y, x):
    """For finite arguments, neither of them zero."""
    y, x = Decimal(y), Decimal(x)
    angle = atan_positive(abs(y) / abs(x))
    if x < 0:
        angle = PI - angle
    return angle.copy_sign(y)


def unit_of(value, digits):
    """The unit in the last place of numbers with that many significant bits, at value."""
    _, exponent = math.frexp(float(value))
    return Decimal(2) ** (exponent - digits)


def rounded(exact, digits, margin):
    """The nearest number with that many bits, or Unsure."""
    unit = unit_of(exact, digits)
    steps = exact / unit
    nearest = steps.to_integral_value()
    if abs(steps - nearest) > margin:
        raise Unsure
    return float(nearest * unit)


def asin_f(x):
    if math.isnan(x) or abs(x) > 1:
        return NAN
    return x if x == 0 else rounded(exact_asin(x), 24, allowed["asin"])


def atan2_special(y, x, digits):
    """What the C standard names without rounding room: NaN, zeros, half and quarter turns."""
    if math.isnan(y) or math.isnan(x):
        return NAN
    if y == 0:
        return y if math.copysign(1.0, x) > 0 else math.copysign(rounded(PI, digits, HALF), y)
    if x == 0:
        return math.copysign(rounded(PI / 2, digits, HALF), y)
    return None


def atan2_f(y, x):
    special = atan2_special(y, x, 24)
    if special is not None:
        return special
    rounded(Decimal(y) / Decimal(x), 24, allowed["steps"])
    if x < 0:
        rounded(exact_atan2(abs(y), -x), 24, allowed["steps"])
    return rounded(exact_atan2(y, x), 24, allowed["atan2f"])


def atan2_d(y, x):
    special = atan2_special(y, x, 53)
    return rounded(exact_atan2(y, x), 53, WIDE) if special is None else special


# --- the steps under test -------------------------------------------------------------------

UE4_LIMIT = 0.4999994933605194091796875  # 0.4999995f, bits 0x3EFFFFEF


def ue4_test_value(q):
    x, y, z, w = (f32(c) for c in q)
    return sub(mul(z, x), mul(w, y))


def ue4_angles(q):
    """Code, roll, pitch, yaw of a quaternion x, y, z, w of doubles."""
    x, y, z, w = (f32(c) for c in q)
    test = sub(mul(z, x), mul(w, y))
    yaw_numerator = twice(add(mul(w, z), mul(y, x)))
    y2 = y * y  # pow(y, 2.0): the square of a float is exact in double
    z2 = z * z
    yaw_denominator = f32(1.0 - ((z2 + y2) + (z2 + y2)))
    if -UE4_LIMIT > test or test > UE4_LIMIT:
        return 3, 0.0, 0.0, 0.0
    pitch = mul(asin_f(twice(test)), DEGREE_FACTOR)
    yaw = mul(atan2_f(yaw_numerator, yaw_denominator), DEGREE_FACTOR)
    x2 = x * x
    roll_numerator = mul(add(mul(z, y), mul(w, x)), -2.0)
    roll_denominator = 1.0 - ((x2 + y2) + (x2 + y2))
    roll = f32(atan2_d(roll_numerator, roll_denominator) * DEGREE_FACTOR)
    return 0, roll, pitch, yaw


AX_LIMIT = 0.9999987


def ax_test_value(q):
    x, y, z, w = (f32(c) for c in q)
    return twice(sub(mul(w, x), mul(z, y)))


def ax_angles(q):
    """Whether the gimbal line is written, and the three angles before the call negates them."""
    x, y, z, w = (f32(c) for c in q)
    s = twice(sub(mul(w, x), mul(z, y)))
    wy, yy, zx, zz = mul(y, w), mul(y, y), mul(z, x), mul(z, z)
    if s > AX_LIMIT or -AX_LIMIT > s:
        a = atan2_f(twice(sub(zx, wy)), sub(1.0, twice(add(yy, zz))))
        if s > AX_LIMIT:
            return True, -90.0, -0.0, mul(-a, DEGREE_FACTOR)
        return True, 90.0, -0.0, mul(a, DEGREE_FACTOR)
    xx = mul(x, x)
    b = mul(atan2_f(twice(add(wy, zx)), sub(1.0, twice(add(xx, yy)))), DEGREE_FACTOR)
    c = f32(-asin_f(s) / PI_SHORT * 180.0)
    d = atan2_f(twice(add(mul(w, z), mul(y, x))), sub(1.0, twice(add(xx, zz))))
    return False, c, -b, mul(-d, DEGREE_FACTOR)


def fov_x(norm_fx):
    half_width = 1.0 / (norm_fx + norm_fx)
    half = atan2_d(half_width, 1.0)
    return (half + half) / PI_SHORT * 180.0


# --- whole calls on matrices with an exact inverse -------------------------------------------

HAND_FLIP = [[1, 0, 0, 0], [0, 1, 0, 0], [0, 0, -1, 0], [0, 0, 0, 1]]
UE4_INNER = [[0, 0, -1, 0], [1, 0, 0, 0], [0, -1, 0, 0], [0, 0, 0, 1]]
UE4_OUTER = [[0, -1, 0, 0], [1, 0, 0, 0], [0, 0, 1, 0], [0, 0, 0, 1]]
UE5_INNER = [[1, 0, 0, 0], [0, 0, -1, 0], [0, 1, 0, 0], [0, 0, 0, 1]]
XN_INNER = [[0, -1, 0, 0], [0, 0, 1, 0], [-1, 0, 0, 0], [0, 0, 0, 1]]
XN_OUTER = [[0, 0, -1, 0], [0, -1, 0, 0], [-1, 0, 0, 0], [0, 0, 0, 1]]
AX_INNER = [[1, 0, 0, 0], [0, -1, 0, 0], [0, 0, -1, 0], [0, 0, 0, 1]]
AX_OUTER = [[1, 0, 0, 0], [0, 0, 1, 0], [0, -1, 0, 0], [0, 0, 0, 1]]


def product(a, b):
    def element(r, c):
        return sum(a[r][k] * b[k][c] for k in range(4) if a[r][k] and b[k][c])

    return [[element(r, c) for c in range(4)] for r in range(4)]


def in_units(m):
    """The matrix in whole numbers, and how many of them make 1."""
    units = max(Fraction(c).denominator for row in m for c in row)  # all powers of two
    return [[int(c * units) for c in row] for row in m], units


def cofactor(n, r, c):
    a, b, d = (row[:c] + row[c + 1 :] for i, row in enumerate(n) if i != r)
    minor = (
        a[0] * (b[1] * d[2] - b[2] * d[1])
        - a[1] * (b[0] * d[2] - b[2] * d[0])
        + a[2] * (b[0] * d[1] - b[1] * d[0])
    )
    return minor if (r + c) % 2 == 0 else -minor


def determinant(m):
    n, units = in_units(m)
    return Fraction(sum(n[0][c] * cofactor(n, 0, c) for c in range(4)), units**4)


def inverse(m):
    n, units = in_units(m)
    det = sum(n[0][c] * cofactor(n, 0, c) for c in range(4))
    return [[Fraction(cofactor(n, c, r) * units, det) for c in range(4)] for r in range(4)]


def flip(m):
    return product(product(HAND_FLIP, m), HAND_FLIP)


CONVERSIONS = {
    "UE4": lambda t: product(UE4_OUTER, inverse(product(UE4_INNER, flip(t)))),
    "UE5": lambda t: inverse(product(t, UE5_INNER)),
    "XN": lambda t: product(XN_OUTER, inverse(product(XN_INNER, t))),
    "AX": lambda t: product(AX_OUTER, inverse(product(AX_INNER, flip(t)))),
}


def check_exact(t):
    """Every intermediate of a cofactor inverse fits a double, and 1 / determinant is exact."""
    moves_axes = all(sorted(map(abs, row[:3])) == [0, 0, 1] for row in t[:3])
    if moves_axes and t[3] == [0, 0, 0, 1] and determinant(t) == 1:
        return
    unit = Fraction(1, max(Fraction(c).denominator for row in t for c in row))
    largest = max(abs(c) for row in t for c in row)
    assert 24 * (largest / unit) ** 4 < 2**53
    assert power_of_two(determinant(t))


def power_of_two(value):
    sides = (abs(value.numerator), value.denominator)
    return value != 0 and all(side & (side - 1) == 0 for side in sides)


def quaternion(m):
    """x, y, z, w by Shoemake's rule, as Eigen documents it, in double. The elements are exact and
    small, so their sums are too; the rounding is that of one root, one quotient, one product."""
    m = [[float(c) for c in row[:3]] for row in m[:3]]
    q = [0.0] * 4
    trace = m[0][0] + m[1][1] + m[2][2]
    if trace > 0:
        root = math.sqrt(trace + 1.0)
        q[3] = 0.5 * root
        factor = 0.5 / root
        q[0] = (m[2][1] - m[1][2]) * factor
        q[1] = (m[0][2] - m[2][0]) * factor
        q[2] = (m[1][0] - m[0][1]) * factor
        return q
    i = 0
    if m[1][1] > m[0][0]:
        i = 1
    if m[2][2] > m[i][i]:
        i = 2
    j, k = (i + 1) % 3, (i + 2) % 3
    radicand = m[i][i] - m[j][j] - m[k][k] + 1.0
    if radicand <= 0:
        raise Unsure
    root = math.sqrt(radicand)
    q[i] = 0.5 * root
    factor = 0.5 / root
    q[3] = (m[k][j] - m[j][k]) * factor
    q[j] = (m[j][i] + m[i][j]) * factor
    q[k] = (m[k][i] + m[i][k]) * factor
    return q


def whole_call(t, code, gimbal):
    """The numbers of all four exports for one flat transform; Unsure when code or gimbal line are
    not the ones wanted."""
    check_exact(t)
    row = {"T": [float(c) for line in t for c in line]}
    for name, convert in CONVERSIONS.items():
        pose = convert(t)
        if any(Fraction(float(c)) != c for line in pose for c in line):
            raise Unsure
        metres = [float(pose[r][3]) for r in range(3)]
        q = quaternion(pose)
        # The sign of a zero would hang on the inverse's road.
        if any(c == 0 for c in q + metres):
            raise Unsure
        if name == "UE4":
            if (abs(ue4_test_value(q)) > UE4_LIMIT) != (code == 3):
                raise Unsure
            _, *angles = ue4_angles(q)
            if any(math.isnan(a) for a in angles):
                raise Unsure
            row["UE4"] = [] if code else angles + [mul(f32(c), 100.0) for c in metres]
        elif name == "AX":
            if (abs(ax_test_value(q)) > AX_LIMIT) != gimbal:
                raise Unsure
            _, *angles = ax_angles(q)
            if any(math.isnan(a) for a in angles):
                raise Unsure
            signed = [f32(metres[0]), -f32(metres[1]), -f32(metres[2])]
            row["AX"] = [-a for a in angles] + [mul(c, 100.0) for c in signed]
        else:
            row[name] = q + [c * 100.0 for c in metres]
    return row


# --- choice of cases ------------------------------------------------------------------------


# Only random.random() is the same in every Python, and only sqrt rounds alike in every mathematics
# library, so the cases are made of these two.


def between(rng, low, high):
    return low + (high - low) * rng.random()


def pick(rng, choices):
    return choices[int(rng.random() * len(choices))]


def whole(rng, low, high):
    """A whole number from low to high, both included."""
    return low + int(rng.random() * (high - low + 1))


def turn(axis, sine):
    """The quaternion of a turn about x, y or z by the angle within a quarter turn of this sine."""
    cosine = math.sqrt((1.0 - sine) * (1.0 + sine))
    q = [0.0, 0.0, 0.0, math.sqrt((1.0 + cosine) / 2)]
    q["xyz".index(axis)] = math.copysign(math.sqrt((1.0 - cosine) / 2), sine)
    return q


def any_turn(rng, axis):
    half = turn(axis, between(rng, -1.0, 1.0))
    return hamilton(half, half)


def unit_quaternion(rng):
    while True:
        q = [between(rng, -1.0, 1.0) for _ in range(4)]
        length = math.sqrt(sum(c * c for c in q))
        if 0.1 < length <= 1.0:
            return [c / length for c in q]


def ue4_near_gimbal(rng, wanted):
    """A unit quaternion whose test value is exactly the float wanted: Rz * Ry(-tilt) * Rx."""
    while True:
        q = hamilton(hamilton(any_turn(rng, "z"), turn("y", -2 * wanted)), any_turn(rng, "x"))
        if ue4_test_value(q) == wanted:
            return q


def ax_near_gimbal(rng, wanted):
    """The same for the other extraction: Ry * Rx(tilt) * Rz."""
    while True:
        q = hamilton(hamilton(any_turn(rng, "y"), turn("x", wanted)), any_turn(rng, "z"))
        if ax_test_value(q) == wanted:
            return q


def hamilton(p, q):
    px, py, pz, pw = p
    qx, qy, qz, qw = q
    return [
        pw * qx + px * qw + py * qz - pz * qy,
        pw * qy - px * qz + py * qw + pz * qx,
        pw * qz + px * qy - py * qx + pz * qw,
        pw * qw - px * qx - py * qy - pz * qz,
    ]


REFERENCE_UE4 = [math.sqrt(0.08), math.sqrt(0.72), math.sqrt(0.02), math.sqrt(0.18)]
REFERENCE_AX = [math.sqrt(0.72), math.sqrt(0.02), math.sqrt(0.08), math.sqrt(0.18)]


def sure(make, derive, kind):
    """The first case that make() offers whose numbers are sure. A fixed case has to be in as it is;
    one on a limit has a fixed sine, and the rest of it can be chosen; whole calls have five angles,
    so they are given some room."""
    allowed["asin"] = WIDE if kind in ("fixed", "limit") else CLOSE
    allowed["atan2f"] = {"fixed": WIDE, "call": ROOM}.get(kind, CLOSE)
    allowed["steps"] = HALF if kind == "fixed" else STEP
    for _ in range(100000):
        case = make()
        try:
            return case, derive(case)
        except Unsure:
            continue
    raise Unsure(f"a fixed case that isn't sure: {case}")


def ue4_cases(rng):
    above = next_float(UE4_LIMIT, 1.0)
    below = next_float(UE4_LIMIT, 0.0)
    quarter = math.sqrt(0.5)
    yield "fixed", "no rotation: the roll is a negative zero", lambda: [0.0, 0.0, 0.0, 1.0]
    yield "fixed", "half a turn about z: no yaw numerator", lambda: [0.0, 0.0, 1.0, 0.0]
    yield "fixed", "a quarter turn about x", lambda: [quarter, 0.0, 0.0, quarter]
    yield "fixed", "the reference pose", lambda: REFERENCE_UE4
    yield "fixed", "an infinite test value", lambda: [1e30, 0.0, 1e30, 0.0]
    for sign, side in ((1.0, "positive"), (-1.0, "negative")):
        for name, value in (("below", below), ("on", UE4_LIMIT), ("beyond", above)):
            v = sign * value
            yield "limit", f"{name} the {side} limit", lambda v=v: ue4_near_gimbal(rng, v)
            yield "fixed", f"{name} the {side} limit, not of unit length", lambda v=v: [
                v, 0.0, 1.0, 0.0]
    yield "limit", "on the limit in single precision, beyond it in double", lambda: rounded_back(
        rng)
    for n in range(24):
        yield "random", f"random {n}", lambda: unit_quaternion(rng)
    for n in range(6):
        yield "random", f"random, shorter than a unit {n}", lambda: shorter(rng)


def short_pi_shows(rng):
    """A turn about x whose degrees are another float through 3.1415926535 than through pi."""
    while True:
        q = turn("x", between(rng, -0.99, 0.99))
        try:
            angle = asin_f(ax_test_value(q))
        except Unsure:
            continue
        if f32(angle / PI_SHORT * 180.0) != f32(angle / math.pi * 180.0):
            return q


def shorter(rng):
    return [c * between(rng, 0.3, 0.9) for c in unit_quaternion(rng)]


def rounded_back(rng):
    while True:
        q = ue4_near_gimbal(rng, UE4_LIMIT)
        x, y, z, w = q
        if z * x - w * y > UE4_LIMIT:
            return q


def ax_cases(rng):
    below = f32(AX_LIMIT)
    while below >= AX_LIMIT:
        below = next_float(below, 0.0)
    above = next_float(below, 1.0)
    assert below < AX_LIMIT < above
    quarter = math.sqrt(0.5)
    yield "fixed", "no rotation: three negated zeros", lambda: [0.0, 0.0, 0.0, 1.0]
    yield "fixed", "the identity transform's result", lambda: [quarter, 0.0, 0.0, quarter]
    yield "fixed", "half a turn about y", lambda: [0.0, 1.0, 0.0, 0.0]
    yield "fixed", "the reference pose", lambda: REFERENCE_AX
    for sign, side in ((1.0, "positive"), (-1.0, "negative")):
        for name, value in (("below", below), ("beyond", above)):
            v = sign * value
            yield "limit", f"{name} the {side} limit", lambda v=v: ax_near_gimbal(rng, v)
            yield "limit", f"{name} the {side} limit, again", lambda v=v: ax_near_gimbal(rng, v)
            yield "limit", f"{name} the {side} limit, not of unit length", lambda v=v: [
                v / 2, between(rng, 0.1, 0.4), 0.0, 1.0]
        yield "random", f"the {side} quarter turn about x, then any about z", lambda s=sign: (
            hamilton([s * quarter, 0.0, 0.0, quarter], any_turn(rng, "z")))
    for n in range(2):
        yield "random", f"a turn about x that shows the short pi {n}", lambda: short_pi_shows(rng)
    for n in range(24):
        yield "random", f"random {n}", lambda: unit_quaternion(rng)
    for n in range(6):
        yield "random", f"random, shorter than a unit {n}", lambda: shorter(rng)


def axis_rotation(rng):
    """One of the 24 rotations that permute the axes, with a translation of 53 bits."""
    while True:
        order = pick(rng, [(0, 1, 2), (1, 2, 0), (2, 0, 1), (0, 2, 1), (2, 1, 0), (1, 0, 2)])
        t = [[Fraction(0)] * 4 for _ in range(4)]
        for r in range(3):
            t[r][order[r]] = Fraction(pick(rng, (1, -1)))
            t[r][3] = Fraction(between(rng, -1.5, 1.5))
        t[3][3] = Fraction(1)
        if determinant(t) == 1:
            return t


def sheared(rng):
    """Not rigid: a product of whole-number shears, columns halved or doubled."""
    t = [[Fraction(int(r == c)) for c in range(4)] for r in range(4)]
    for _ in range(5):
        i, j = pick(rng, [(0, 1), (0, 2), (1, 0), (1, 2), (2, 0), (2, 1)])
        sign = pick(rng, (1, -1))
        for row in t:
            row[j] += sign * row[i]
    for c in range(3):
        scale = Fraction(pick(rng, (1, 1, 2)), pick(rng, (1, 2)))
        for r in range(3):
            t[r][c] *= scale
    for r in range(3):
        t[r][3] = Fraction(whole(rng, -40, 40), 32)
    return t


def last_row_in_use(rng):
    """The last row takes part in products and inverse like any other."""
    while True:
        t = sheared(rng)
        for r in range(3):
            t[r][3] = Fraction(whole(rng, -4, 4), 2)
        t[3][whole(rng, 0, 2)] = Fraction(pick(rng, (1, -1)), 4)
        if power_of_two(determinant(t)):
            return t


# --- output ---------------------------------------------------------------------------------


def number(value, suffix=""):
    if math.isinf(value):
        return "-INFINITY" if value < 0 else "INFINITY"
    assert not math.isnan(value)
    text = value.hex()
    mantissa, exponent = text.split("p")
    if "." in mantissa:
        mantissa = mantissa.rstrip("0").rstrip(".")
    return f"{mantissa}p{exponent}{suffix}"


def numbers(values, suffix=""):
    return "{" + ", ".join(number(v, suffix) for v in values) + "}"


def header():
    out = []
    say = out.append
    say("// SPDX-License-Identifier: Apache-2.0")
    say("//")
    say("// Expected numbers to the last bit, worked out by derive_numbers.py without the library "
        "and")
    say("// printed by it; its head tells how. Quaternions are x, y, z, w. Floats end in f.")
    say("#ifndef RIGSYNC_TESTS_CORE_EXPORT_DERIVED_NUMBERS_H")
    say("#define RIGSYNC_TESTS_CORE_EXPORT_DERIVED_NUMBERS_H")
    say("")
    say("#include <cmath>")
    say("")
    say("// clang-format off")
    say("")

    rng = random.Random(4)
    say("struct Derived_UE4_Angles {")
    say("  const char* What;")
    say("  double Quat[4];")
    say("  float Test_Value;")
    say("  int Code;")
    say("  float Euler_Deg[3];  // roll, pitch, yaw; of no meaning with code 3")
    say("};")
    say("inline constexpr Derived_UE4_Angles UE4_Angles[] = {")
    for kind, what, make in ue4_cases(rng):
        q, (code, *angles) = sure(make, ue4_angles, kind)
        say(f'    {{"{what}",')
        say(f"     {numbers(q)},")
        say(f"     {number(ue4_test_value(q), 'f')}, {code}, {numbers(angles, 'f')}}},"
            .replace("INFINITYf", "INFINITY"))
    say("};")
    say("")

    rng = random.Random(5)
    say("struct Derived_AX_Angles {")
    say("  const char* What;")
    say("  double Quat[4];")
    say("  float Test_Value;")
    say("  bool Gimbal_Line;")
    say("  float Euler_Deg[3];  // as the extraction leaves them, before the call negates them")
    say("};")
    say("inline constexpr Derived_AX_Angles AX_Angles[] = {")
    for kind, what, make in ax_cases(rng):
        q, (gimbal, *angles) = sure(make, ax_angles, kind)
        say(f'    {{"{what}",')
        say(f"     {numbers(q)},")
        say(f"     {number(ax_test_value(q), 'f')}, {str(gimbal).lower()},"
            f" {numbers(angles, 'f')}}},")
    say("};")
    say("")

    rng = random.Random(6)
    say("struct Derived_FoV {")
    say("  double Norm_Fx;")
    say("  double FoVX;")
    say("};")
    say("inline constexpr Derived_FoV FoVs[] = {")
    fixed = [1.0, 0.75, 0.5, 2.0, -1.0, 1e-9]
    for f in fixed + [None] * 10:
        kind = "random" if f is None else "fixed"
        case, angle = sure(lambda f=f: between(rng, 0.3, 4.0) if f is None else f, fov_x, kind)
        say(f"    {{{number(case)}, {number(angle)}}},")
    say("};")
    say("")

    rng = random.Random(7)
    say("struct Derived_Length {")
    say("  double Metres;")
    say("  float Single_Cm;   // narrowed, then multiplied in single precision")
    say("  double Double_Cm;  // multiplied in double precision")
    say("};")
    say("inline constexpr Derived_Length Lengths[] = {")
    fixed = [0.3, -0.3, 0.1, 0.7, 1.1, -0.0, 1e-9]
    for metres in fixed + [between(rng, -2.0, 2.0) for _ in range(9)]:
        single, double = mul(f32(metres), 100.0), metres * 100.0
        say(f"    {{{number(metres)}, {number(single, 'f')}, {number(double)}}},")
    say("};")
    say("")

    rng = random.Random(8)
    say("struct Derived_Call {")
    say("  const char* What;")
    say("  double Transform_Cam_Tc[16];")
    say("  int UE4_Code;")
    say("  double UE4[6];  // roll, pitch, yaw, x, y, z; of no meaning with code 3")
    say("  double UE5[7];  // quaternion, x, y, z")
    say("  double UE5_ExportxN[7];")
    say("  bool AX_Gimbal_Line;")
    say("  double AX[6];  // three angles, x, y, z")
    say("};")
    say("inline constexpr Derived_Call Calls[] = {")
    wanted = [("rigid", axis_rotation, 0, False)] * 4 + [("rigid", axis_rotation, 3, True)] * 2
    wanted += [("not rigid", sheared, 0, False)] * 10 + [("not rigid", sheared, 3, True)] * 2
    wanted += [("not rigid", sheared, 0, True)]
    wanted += [("a last row that isn't 0, 0, 0, 1", last_row_in_use, 0, False)] * 3
    seen = []
    for what, make, code, gimbal in wanted:
        while True:
            t, row = sure(lambda: make(rng), lambda t: whole_call(t, code, gimbal), "call")
            if t not in seen:
                break
        seen.append(t)
        say(f'    {{"{what}",')
        say(f"     {numbers(row['T'])},")
        say(f"     {code}, {numbers(row['UE4'] or [0.0] * 6)},")
        say(f"     {numbers(row['UE5'])},")
        say(f"     {numbers(row['XN'])},")
        say(f"     {str(gimbal).lower()}, {numbers(row['AX'])}}},")
    say("};")
    say("")
    say("// clang-format on")
    say("")
    say("#endif  // RIGSYNC_TESTS_CORE_EXPORT_DERIVED_NUMBERS_H")
    return "\n".join(out) + "\n"


def main():
    if len(sys.argv) == 3 and sys.argv[1] == "--check":
        with open(sys.argv[2], encoding="utf-8") as file:
            committed = file.read()
        if committed != header():
            print(f"{sys.argv[2]} is not what this script derives; run it and compare")
            return 1
        print("the recorded numbers are the derived ones")
        return 0
    sys.stdout.write(header())
    return 0


if __name__ == "__main__":
    sys.exit(main())
