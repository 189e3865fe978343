"""Builds the omtext package's extension with the project's CMake build.

The C++ library is the repository holding this folder; the extension
(_omtext) and the two libraries it links go into the package folder, where
the extension finds them. Needs cmake, g++, pybind11 and the Python
headers (scripts/install-deps.sh installs them); no network.
"""
import os
import pathlib
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

SOURCE = pathlib.Path(__file__).resolve().parent.parent


class CMakeExtension(Extension):
    def __init__(self, name):
        super().__init__(name, sources=[])


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        package_dir = pathlib.Path(self.get_ext_fullpath(ext.name)).resolve().parent
        build_dir = pathlib.Path(self.build_temp).resolve() / "cmake"
        jobs = os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL", "2")
        subprocess.run(["cmake", "-S", str(SOURCE), "-B", str(build_dir),
                        "-DCMAKE_BUILD_TYPE=Release", "-DOMTEXT_BUILD_TESTS=OFF",
                        "-DOMTEXT_BUILD_BENCH=OFF", f"-DPython_EXECUTABLE={sys.executable}"],
                       check=True)
        subprocess.run(["cmake", "--build", str(build_dir), "--target", "omtext_python",
                        "-j", jobs], check=True)
        subprocess.run(["cmake", "--install", str(build_dir), "--component", "python",
                        "--prefix", str(package_dir)], check=True)


setup(ext_modules=[CMakeExtension("omtext._omtext")], cmdclass={"build_ext": CMakeBuild})
