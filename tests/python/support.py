# SPDX-License-Identifier: Apache-2.0
"""What the tests share: the built command, and a simulated capture with its result."""
import json
import os
import pathlib
import re
import subprocess
import sys

PROGRAM = os.environ["RIGSYNC_PROGRAM"]
SOURCE = pathlib.Path(os.environ["RIGSYNC_SOURCE"])
# From 'rigsync simulate' and 'rigsync calibrate'; tests/python/CMakeLists.txt has the flags.
CAPTURE = pathlib.Path(os.environ["RIGSYNC_CAPTURE"])
RESULT = CAPTURE / "result" / "result.json"
BOARD, SQUARE_M = (7, 5), 0.03

# The worked example of docs/engines.md.
WORKED = [[0.8, -0.36, -0.48, 0.1], [0, 0.8, -0.6, -0.2], [0.6, 0.48, 0.64, 0.3], [0, 0, 0, 1]]
# No folder can be below a file, so a run log with this folder is written nowhere.
NO_FOLDER = "/dev/null/none"


def command(*words, folder=None):
    """Status, output and errors of the command, with the errors' line breaks as blanks."""
    done = subprocess.run([PROGRAM, *map(str, words)], cwd=folder, capture_output=True, text=True,
                          check=False, stdin=subprocess.DEVNULL)
    return done.returncode, done.stdout, re.sub(r"\s+", " ", done.stderr).strip()


def python(script, *words):
    """What a Python program writes to its descriptors 1 and 2."""
    done = subprocess.run([sys.executable, "-B", "-c", script, *map(str, words)],
                          capture_output=True, text=True, check=False, stdin=subprocess.DEVNULL)
    if done.returncode:
        raise AssertionError(f"ends with {done.returncode}: {done.stderr}")
    return done.stdout, done.stderr


def document():
    return json.loads(RESULT.read_text(encoding="utf-8"))
