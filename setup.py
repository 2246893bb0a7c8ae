"""Builds the extension of the fluxgrid package with CMake.

The library and the extension are built by the project's own CMake build,
with everything else (tests, tool, dialog) left out; the shared library is
put beside the extension, whose run path is its own folder.
"""

from __future__ import annotations

import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = Path(__file__).resolve().parent


def project_version() -> str:
    """The version of the project() call of CMakeLists.txt."""
    text = (ROOT / "CMakeLists.txt").read_text(encoding="utf-8")
    found = re.search(r"project\(\s*fluxgrid\s+VERSION\s+([0-9.]+)", text)
    if not found:
        raise RuntimeError("no version in the project() call of CMakeLists.txt")
    return found.group(1)


class CMakeExtension(Extension):
    def __init__(self, name: str) -> None:
        super().__init__(name, sources=[])


class CMakeBuild(build_ext):
    def build_extension(self, ext: Extension) -> None:
        target = Path(self.get_ext_fullpath(ext.name)).resolve()
        build = Path(self.build_temp).resolve() / "cmake"
        build.mkdir(parents=True, exist_ok=True)
        config = "Debug" if self.debug else "Release"
        subprocess.run(
            [
                "cmake",
                "-S", str(ROOT),
                "-B", str(build),
                f"-DCMAKE_BUILD_TYPE={config}",
                f"-DPython_EXECUTABLE={sys.executable}",
                "-DFLUXGRID_PYTHON=ON",
                "-DFLUXGRID_PYTHON_BUNDLE=ON",
                "-DFLUXGRID_TESTS=OFF",
                "-DFLUXGRID_BENCH=OFF",
                "-DFLUXGRID_TOOL=OFF",
                "-DFLUXGRID_DIALOG=OFF",
                "-DFLUXGRID_INSTALL=OFF",
            ],
            check=True,
        )
        jobs = str(os.cpu_count() or 2)
        subprocess.run(
            ["cmake", "--build", str(build), "--target", "fluxgrid_python", "-j", jobs],
            check=True,
        )
        built = build / "python" / "fluxgrid" / target.name
        library = next(build.glob("libfluxgrid.so.[0-9]*"))
        # The name the extension asks for: libfluxgrid.so.MAJOR.
        soname = re.sub(r"(\.so\.[0-9]+).*", r"\1", library.name)
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy2(built, target)
        shutil.copy2(library.resolve(), target.parent / soname)


setup(
    version=project_version(),
    ext_modules=[CMakeExtension("fluxgrid._fluxgrid")],
    cmdclass={"build_ext": CMakeBuild},
)
