# SPDX-License-Identifier: Apache-2.0
"""The parts of the project that mutate changes, found in the tree: their folders, what is built of
each, and the test programs that could notice a change there."""
import collections
import re

from source_text import FOLDERS, PROGRAMS, TOP

STAGES = "rigsync_core_objects"  # the library's objects, which the stage tests link
LIBRARY = "rigsync_core"         # the library as hosts link it, which the whole tests link

# How many changes are tried by default, and the least share of them that must be caught.
Part = collections.namedtuple("Part", "count least_caught")
PARTS = {"core": Part(600, 0.98), "rigsync": Part(240, 0.90), "simulate": Part(60, 0.95)}

# The tests of the library that could notice a change in a folder, its own first. Nothing else in
# the library calls the exports.
CORE_VIEWERS = {
    "core": ("core", "whole"),
    "core/base": ("core/base", "core/export", "core/solver", "core/capture", "core", "whole"),
    "core/capture": ("core/capture", "core", "whole"),
    "core/solver": ("core/solver", "core", "whole"),
    "core/export": ("core/export",),
}
# What differs between systems: only this system's file is compiled.
FOREIGN = re.compile(r"_windows\.(cpp|h)$")

# A program of tests: the target that builds it, the folder of its sources, the targets it links.
Program = collections.namedtuple("Program", "name folder links")
Room = collections.namedtuple("Room", "target folder uses")


def part_of(file):
    return file.split("/")[0]


def words_of(text, keyword):
    """The words after a keyword of a CMake call, up to the next keyword."""
    words = text.split()
    if keyword not in words:
        return []
    after = words[words.index(keyword) + 1:]
    return after[:next((i for i, word in enumerate(after) if word.isupper()), len(after))]


def read_rooms():
    """Every room of the command and the simulator, by its folder."""
    rooms = {}
    for path in sorted(TOP.glob("rigsync/**/CMakeLists.txt")) + [TOP / "simulate/CMakeLists.txt"]:
        folder = str(path.parent.relative_to(TOP))
        for target, rest in re.findall(r"rigsync_add_room\((\w+)\s+STATIC\s+([^)]*)\)",
                                       path.read_text()):
            rooms[folder] = Room(target, folder, words_of(rest, "USES"))
    return rooms


def read_programs():
    """Every test program of the command and the simulator, by the folder of its tests."""
    programs = {}
    for path in sorted(TOP.glob("tests/rigsync/*/CMakeLists.txt")):
        folder = str(path.parent.relative_to(TOP / "tests"))
        for room, rest in re.findall(r"rigsync_add_room_tests\((\w+)\s+([^)]*)\)",
                                     path.read_text()):
            programs[folder] = Program(f"rigsync_{room}_tests", folder,
                                       [f"rigsync_{room}"] + words_of(rest, "LIBRARIES"))
    programs["simulate"] = Program("simulate_tests", "simulate", ["rigsync_simulate"])
    for folder, name in PROGRAMS.items():
        programs[folder] = Program(name, folder, [])
    return programs


class Tree:
    def __init__(self):
        self.rooms = read_rooms()
        self.programs = read_programs()
        self.folders = list(FOLDERS) + sorted(self.rooms)

    def source_files(self):
        return [str(path.relative_to(TOP)) for folder in self.folders
                for path in sorted((TOP / folder).iterdir())
                if path.suffix in (".cpp", ".h") and not FOREIGN.search(path.name)]

    def is_apart(self, file):
        """Whether a change takes more than one compilation and one link: that of a header, which
        the tests include too, or of what stands in a program itself."""
        if part_of(file) == "core":
            return False
        sources = (TOP / file).parent / "CMakeLists.txt"
        room = re.search(r"rigsync_add_room\([^)]*\)", sources.read_text())[0]
        return file.endswith(".h") or file.rpartition("/")[2] not in room

    def target(self, file):
        """What is built first after a change."""
        folder = file.rpartition("/")[0]
        return STAGES if part_of(file) == "core" else self.rooms[folder].target

    def distances(self, program):
        """For each room that the program's tests reach: over how many rooms."""
        by_target = {room.target: room for room in self.rooms.values()}
        reached, waiting = {}, collections.deque((target, 0) for target in program.links)
        while waiting:
            target, far = waiting.popleft()
            if target in by_target and target not in reached:
                reached[target] = far
                waiting.extend((used, far + 1) for used in by_target[target].uses)
        return reached

    def viewers(self, file):
        """The folders of the tests that could notice a change in a file, the nearest first."""
        folder = file.rpartition("/")[0]
        if part_of(file) == "core":
            return CORE_VIEWERS[folder]
        if folder == "simulate":
            return ["simulate", "rigsync/commands"]  # all others only take captures from it
        target = self.rooms[folder].target
        near = []
        for name, program in self.programs.items():
            far = self.distances(program).get(target)
            if far is not None:
                far = -1 if name == folder else 100 if name == "rigsync/commands" else far
                near.append((far, name))
        return [name for far, name in sorted(near) if far < 1 or not file.endswith(".h")]

    def own_suites(self, file):
        """The suites that are the most likely to notice a change in a file: those of the test files
        whose names begin with the file's, without "_command", otherwise of those that include its
        header. Of the library the suite is named after the stage."""
        folder, _, name = file.rpartition("/")
        stage = name.split(".")[0]
        if part_of(file) == "core":
            return ["".join(word.title() for word in stage.split("_")[:2]) + "*"]
        texts = {path.name: path.read_text()
                 for path in sorted((TOP / "tests" / folder).glob("*_test.cpp"))}
        named = [text for test, text in texts.items()
                 if test.startswith(re.sub(r"_command$", "", stage))]
        near = named or [text for text in texts.values() if f'"{folder}/{stage}.h"' in text]
        suites = {suite for text in near
                  for suite in re.findall(r"(?m)^TEST(?:_F|_P)?\((\w+)", text)}
        return [text for suite in sorted(suites) for text in (f"{suite}.*", f"*/{suite}.*")]
