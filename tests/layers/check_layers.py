# SPDX-License-Identifier: Apache-2.0
"""check_layers.py TOP ROOMS COMPILER: asks the compiler, with each folder's include paths, which
headers of the other folders it finds, and compares that with the table in CONTRIBUTING.md. The
table also says which folders may include headers of other libraries, which are in the system's own
include folder; for these the sources are read. Exit status 0 if both agree."""
import pathlib
import re
import subprocess
import sys

TOP = pathlib.Path(sys.argv[1])
ROOMS = pathlib.Path(sys.argv[2])
COMPILER = sys.argv[3]
# How an include of another library begins, and the library's name in the table.
LIBRARIES = {"CLI/": "CLI11", "cairo": "cairo", "nlohmann/": "JSON", "toml++/": "toml++",
             "opencv2/": "OpenCV", "openssl/": "OpenSSL", "libexif/": "libexif", "pugi": "pugixml",
             "boost/": "Boost", "fmt/": "fmt", "Eigen/": "Eigen", "unsupported/Eigen/": "Eigen",
             "pybind11/": "pybind11"}


def table():
    """For each folder: the folders that it may include, and its cell as it is written."""
    text = (TOP / "CONTRIBUTING.md").read_text(encoding="utf-8")
    rows = {}
    for folder, cell in re.findall(r"(?m)^\| `([\w/]+)/` \|.*\| (.*) \|$", text):
        named = {name.rstrip("/") for name in re.findall(r"`([\w/]+/)`", cell)}
        rows[folder] = (named | {folder}, cell)
    return rows


def headers(folder):
    return sorted(path for path in (TOP / folder).glob("*.h"))


def seen(folders, includes):
    """The folders among these that have a header which the compiler finds with these paths."""
    lines = []
    for folder in folders:
        for header in headers(folder):
            name = header.relative_to(TOP).as_posix()
            lines.append(f'#if __has_include("{name}")\nSEES {folder}\n#endif\n')
    # From a folder without these headers: the compiler searches the folder of its input first.
    result = subprocess.run([COMPILER, "-E", "-P", "-x", "c++", "-",
                             *(f"-I{path}" for path in includes)], cwd=ROOMS.parent,
                            input="".join(lines), capture_output=True, text=True, check=True)
    return set(re.findall(r"^SEES (\S+)$", result.stdout, re.MULTILINE))


def main():
    rows = table()
    rooms = {}
    for line in ROOMS.read_text().splitlines():
        folder, _, includes = line.partition("|")
        rooms[folder] = [path for path in includes.split(";") if path]
    faults = []
    with_headers = [folder for folder in rooms if headers(folder)]
    if len(with_headers) < 10 or not rows:
        faults.append(f"only {len(with_headers)} folders with headers, {len(rows)} rows")
    for folder, includes in sorted(rooms.items()):
        if folder not in rows:
            faults.append(f"CONTRIBUTING.md has no row for {folder}/")
            continue
        allowed, cell = rows[folder]
        if "all of rigsync" in cell:
            allowed = allowed | {room for room in rooms if room.startswith("rigsync/")}
        found = seen(with_headers, includes)
        for other in sorted(found - allowed):
            faults.append(f"{folder}/ finds headers of {other}/, which the table doesn't allow")
        for other in sorted((allowed & set(with_headers)) - found):
            faults.append(f"{folder}/ doesn't find headers of {other}/, which the table allows")
        public = any((pathlib.Path(path) / "rigsync_core.h").exists() for path in includes)
        if public != ("include" in allowed):
            faults.append(f"{folder}/ {'finds' if public else 'does not find'} rigsync_core.h")
        named = {library for library in LIBRARIES.values()
                 if re.search(rf"(?<![\w`/]){re.escape(library)}(?![\w/])", cell)}
        for source in sorted((TOP / folder).glob("*.[ch]*")):
            for name in re.findall(r"(?m)^\s*#\s*include\s*<([^>]+)>", source.read_text()):
                for begins, library in LIBRARIES.items():
                    if name.startswith(begins) and library not in named:
                        faults.append(f"{source.relative_to(TOP)} includes <{name}>, and the row "
                                      f"of {folder}/ doesn't have {library}")
    for folder in sorted(rows):
        if not (TOP / folder).is_dir():
            faults.append(f"CONTRIBUTING.md has a row for {folder}/, which doesn't exist")
    print("\n".join(faults) or f"{len(rooms)} folders see what the table says")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
