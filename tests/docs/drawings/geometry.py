# SPDX-License-Identifier: Apache-2.0
"""Vectors and 3 by 3 matrices as lists, and rotations that consist of axes."""

import math

IDENTITY = [[1, 0, 0], [0, 1, 0], [0, 0, 1]]
LETTERS = "xyz"


def times(left, right):
    """A matrix times a matrix or a vector."""
    if isinstance(right[0], (int, float)):
        return [sum(row[k] * right[k] for k in range(3)) for row in left]
    return [[sum(row[k] * right[k][c] for k in range(3)) for c in range(3)] for row in left]


def product(*factors):
    result = factors[0]
    for factor in factors[1:]:
        result = times(result, factor)
    return result


def transposed(matrix):
    return [list(column) for column in zip(*matrix)]


def column(matrix, index):
    return [row[index] for row in matrix]


def determinant(m):
    return (m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1])
            - m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0])
            + m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]))


def cross(a, b):
    return [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]]


def plus(a, b):
    return [x + y for x, y in zip(a, b)]


def scaled(vector, factor):
    return [factor * value for value in vector]


def difference(left, right):
    """The largest difference of two matrices' elements."""
    return max(abs(a - b) for rows in zip(left, right) for a, b in zip(*rows))


def turn(axis, degrees):
    """The right-handed rotation of column vectors about x, y or z."""
    c, s = math.cos(math.radians(degrees)), math.sin(math.radians(degrees))
    return {"x": [[1, 0, 0], [0, c, -s], [0, s, c]],
            "y": [[c, 0, s], [0, 1, 0], [-s, 0, c]],
            "z": [[c, -s, 0], [s, c, 0], [0, 0, 1]]}[axis]


def from_quaternion(w, x, y, z):
    """The rotation of a unit quaternion, as v -> q v conjugate(q)."""
    return [[1 - 2 * (y * y + z * z), 2 * (x * y - z * w), 2 * (x * z + y * w)],
            [2 * (x * y + z * w), 1 - 2 * (x * x + z * z), 2 * (y * z - x * w)],
            [2 * (x * z - y * w), 2 * (y * z + x * w), 1 - 2 * (x * x + y * y)]]


def as_axes(matrix, what, tolerance=1e-5):
    """The matrix with whole elements: each row and column has one that is 1 or -1."""
    axes = [[round(value) for value in row] for row in matrix]
    if difference(axes, matrix) > tolerance:
        raise ValueError(f"{what} isn't made of axes: {matrix}")
    for line in axes + transposed(axes):
        if sorted(map(abs, line)) != [0, 0, 1]:
            raise ValueError(f"{what} isn't made of axes: {matrix}")
    return axes


def axis_name(direction):
    """x, -x, y ... of a direction that has one element, 1 or -1."""
    index = [abs(value) for value in direction].index(1)
    return ("-" if direction[index] < 0 else "") + LETTERS[index]
