#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""compare_bits.py HERE THERE: how two files of run_bits differ: each vector by its largest
difference, the log by its lines. Exit status 0 when the files are the same, 1 when they aren't."""
import sys


def vector_of(line):
    """A line of name and hexadecimal floats, or None for a log line."""
    name, *values = line.split()
    if not values or not all(v == "nan" or v.lstrip("-").startswith("0x") for v in values):
        return None
    return name, [float("nan") if v == "nan" else float.fromhex(v) for v in values]


def main():
    here, there = (open(path, encoding="utf-8").read().splitlines() for path in sys.argv[1:3])
    if here == there:
        print(f"  vectors and log are the same, {len(here)} lines")
        return 0
    if len(here) != len(there):
        print(f"  {len(here)} lines and {len(there)}:"
              " another image is dropped or another code given")
        return 1
    differing, first = 0, None
    for left, right in zip(here, there):
        if left == right:
            continue
        vectors = [vector_of(line) if line else None for line in (left, right)]
        if None in vectors:
            differing += 1
            first = first or (left, right)
            continue
        most = max(abs(a - b) for a, b in zip(vectors[0][1], vectors[1][1]))
        print(f"  {vectors[0][0]:<24} differs by at most {most:.3g}")
    print(f"  log: {differing} of {len(here)} lines differ")
    if first:
        print(f"    the first: {first[0]}\n    and there: {first[1]}")
    return 1


sys.exit(main())
