# SPDX-License-Identifier: Apache-2.0
"""Builds the Python package with CMake, for pip. What is in a wheel runs without an installed
library: librigsync_core is beside the module."""
import pathlib
import re
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

TOP = pathlib.Path(__file__).resolve().parent
# Everything that is built; "build" is the folder of the release preset.
BUILD = TOP / "build-pip"
SETUPTOOLS = BUILD / "setuptools"


def version():
    """The library's, which is where CMake reads it too."""
    text = (TOP / "core/base/error_catalog.cpp").read_text(encoding="utf-8")
    return re.search(r'Program_Version = "v([\d.]+)"', text)[1]


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        installed = BUILD / "installed"
        generator = ["-G", "Ninja"] if shutil.which("ninja") else []
        subprocess.run(["cmake", "-S", str(TOP), "-B", str(BUILD), *generator,
                        "-DCMAKE_BUILD_TYPE=Release", "-DRIGSYNC_TESTS=OFF", "-DRIGSYNC_BENCH=OFF",
                        "-DRIGSYNC_PYTHON_WHEEL=ON", "-DRIGSYNC_PYTHON_FOLDER=.",
                        f"-DPython_EXECUTABLE={sys.executable}"], check=True)
        subprocess.run(["cmake", "--build", str(BUILD), "--parallel", "--target",
                        "rigsync_python_module"], check=True)
        shutil.rmtree(installed, ignore_errors=True)
        subprocess.run(["cmake", "--install", str(BUILD), "--component", "python", "--prefix",
                        str(installed)], check=True)
        destination = pathlib.Path(self.get_ext_fullpath(ext.name)).parent
        destination.mkdir(parents=True, exist_ok=True)
        for file in (installed / "rigsync").glob("*.so*"):
            shutil.copy(file, destination)


SETUPTOOLS.mkdir(parents=True, exist_ok=True)
setup(version=version(),
      packages=["rigsync"],
      package_dir={"": "python"},
      py_modules=["rigsync_result"],
      package_data={"rigsync": ["py.typed", "*.pyi"]},
      ext_modules=[Extension("rigsync._core", sources=[])],
      cmdclass={"build_ext": CMakeBuild},
      options={"build": {"build_base": str(SETUPTOOLS)}, "egg_info": {"egg_base": str(SETUPTOOLS)}})
