"""Builds the extension by CMake, with the libraries inside of it. pyproject.toml has the rest."""

import pathlib
import re
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = pathlib.Path(__file__).resolve().parent
VERSION = re.search(
    r'define KR_VERSION "(.*)"', (ROOT / "foundation" / "core" / "KrExport.h").read_text()
)[1]


class BuildByCMake(build_ext):
    def build_extension(self, ext):
        folder = pathlib.Path(self.build_temp).resolve()
        switches = [f"-DZEIBREKU_{part}=OFF" for part in (
            "BUILD_TESTS", "BUILD_EXAMPLES", "BUILD_PROGRAM", "WITH_MPI", "INSTALL",
        )]  # fmt: skip
        subprocess.run(
            ["cmake", "-S", str(ROOT), "-B", str(folder), "-DCMAKE_BUILD_TYPE=Release"]
            + ["-DBUILD_SHARED_LIBS=OFF", "-DZEIBREKU_WITH_PYTHON=ON", *switches]
            + [f"-DPython_EXECUTABLE={sys.executable}"],
            check=True,
        )
        subprocess.run(
            ["cmake", "--build", str(folder), "--parallel", "--target", "zeibreku_python"],
            check=True,
        )
        (built,) = (folder / "python" / "zeibreku").glob("_core.*.so")
        target = pathlib.Path(self.get_ext_fullpath(ext.name))
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(built, target)


setup(
    version=VERSION,
    ext_modules=[Extension("zeibreku._core", [])],
    cmdclass={"build_ext": BuildByCMake},
)
