# SPDX-License-Identifier: Apache-2.0
"""Arcs as Decimals, good to two digits less than the context has when they are asked for."""
from decimal import Decimal, getcontext


def atan_positive(x):
    """atan of a positive Decimal: halve the angle until the series is quick."""
    halvings = 0
    while x > Decimal("0.05"):
        x = x / (1 + (1 + x * x).sqrt())
        halvings += 1
    total, power, n = Decimal(0), x, 1
    while abs(power) > Decimal(10) ** (2 - getcontext().prec):
        total += power / n
        power *= -x * x
        n += 2
    return total * 2**halvings
