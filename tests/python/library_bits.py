# SPDX-License-Identifier: Apache-2.0
"""The library's own numbers for a list of mounts, from the program library_bits."""
import collections
import os
import subprocess
import tempfile

import numpy as np

# The fields of each engine in the order in which the program writes them.
LAYOUT = {"ue4": {"location_cm": 3, "rotation_deg": 3},
          "ue5": {"location_cm": 3, "quaternion": 4},
          "ue5-xn": {"location_cm": 3, "quaternion": 4},
          "aximmetry": {"position_cm": 3, "rotation_deg": 3, "field_of_view_deg": 1,
                        "centre_shift": 2}}

Row = collections.namedtuple("Row", "code fields")


def lenses(count, seed=5):
    """Norm_Fxy and Norm_Cxy, the first of them centred."""
    random = np.random.default_rng(seed)
    norm_fxy = random.uniform(0.4, 3.0, size=(count, 2))
    norm_cxy = 0.5 + random.normal(size=(count, 2)) * 0.02
    norm_cxy[0] = 0.5
    return norm_fxy, norm_cxy


def library_bits(transforms, norm_fxy, norm_cxy):
    """A Row for each mount: the code of CamAxisToUE4, and by engine and group the numbers."""
    words = "\n".join(" ".join(float(number).hex() for number in [*fxy, *cxy, *transform.ravel()])
                      for fxy, cxy, transform in zip(norm_fxy, norm_cxy, transforms))
    with tempfile.TemporaryDirectory() as folder:
        file = os.path.join(folder, "bits")
        subprocess.run([os.environ["RIGSYNC_LIBRARY_BITS"], file], input=words, text=True,
                       check=True)
        with open(file, encoding="ascii") as lines:
            rows = [line.split() for line in lines]
    if len(rows) != len(transforms):
        raise AssertionError("%d of %d mounts were exported" % (len(rows), len(transforms)))
    return [_row(words) for words in rows]


def _row(words):
    numbers = iter([float.fromhex(word) for word in words[1:]])
    fields = {engine: {group: [next(numbers) for _ in range(size)]
                       for group, size in groups.items()} for engine, groups in LAYOUT.items()}
    return Row(int(words[0]), fields)
