# SPDX-License-Identifier: Apache-2.0
"""rigsync_result.py as a file alone: for any Python from 3.7 on, without anything installed."""
import ast
import json
import shutil
import subprocess
import sys
import tempfile
import unittest

import support

FILE = support.SOURCE / "python" / "rigsync_result.py"
# What Python itself has since 3.7.
STANDARD = {"ctypes", "json", "math", "os", "struct", "sys", "typing"}


def run(*words):
    """As the most bare interpreter runs it: no site packages, no environment, no current folder."""
    return subprocess.run([sys.executable, "-S", "-I", "-B", *map(str, words)],
                          capture_output=True, text=True, check=False, stdin=subprocess.DEVNULL)


class ResultFile(unittest.TestCase):
    def test_it_prints_the_fields_of_the_command(self):
        for engine, *axes in (("ue4",), ("ue5",), ("ue5-xn",), ("aximmetry",),
                              ("ue4", "z,-x,y"), ("ue5", "z-up")):
            with tempfile.TemporaryDirectory() as folder:
                _, text, _ = support.command("export", support.RESULT, "--to", engine, "--json",
                                             "--out", folder,
                                             *(f"--tracker-axes={text}" for text in axes))
            expected = json.loads(text)
            for key in ("code", "message", "run_log"):
                del expected[key]
            done = run(FILE, support.RESULT, engine, *axes)
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            self.assertEqual(json.loads(done.stdout), expected)
            self.assertEqual(list(json.loads(done.stdout)), list(expected))

    def test_it_can_be_imported_where_nothing_else_is(self):
        with tempfile.TemporaryDirectory() as folder:
            shutil.copy(FILE, folder)
            done = run("-c", f"import sys; sys.path.insert(0, {folder!r}); import rigsync_result; "
                             f"print(rigsync_result.read({str(support.RESULT)!r}).usable)")
        self.assertEqual((done.stdout, done.stderr), ("True\n", ""))

    def test_it_says_what_is_wrong(self):
        for words, status, text in (
                ((), 2, "usage: rigsync_result.py RESULT ue4|ue5|ue5-xn|aximmetry"),
                ((support.RESULT, "ue6"), 2, "usage: rigsync_result.py RESULT"),
                (("none.json", "ue5"), 2, "rigsync_result: none.json: can't be opened")):
            done = run(FILE, *words)
            self.assertEqual((done.returncode, done.stdout), (status, ""))
            self.assertTrue(done.stderr.startswith(text), done.stderr)

    def test_its_grammar_is_that_of_python_3_7(self):
        tree = ast.parse(FILE.read_text(encoding="utf-8"), feature_version=(3, 7))
        modules = set()
        for node in ast.walk(tree):
            if isinstance(node, ast.Import):
                modules |= {name.name for name in node.names}
            elif isinstance(node, ast.ImportFrom):
                modules.add(node.module)
        self.assertEqual(modules, STANDARD)

    def test_it_is_the_file_that_the_package_has(self):
        import rigsync_result
        with open(rigsync_result.__file__, "rb") as beside:
            self.assertEqual(beside.read(), FILE.read_bytes())


if __name__ == "__main__":
    unittest.main()
