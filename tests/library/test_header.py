"""The header compiles as strict C, and a C program that is linked with the library runs."""

import shutil
import subprocess
from pathlib import Path

import capi
import pytest
from header import INCLUDE

PROGRAM = Path(__file__).resolve().parents[1] / "capi" / "test_header.c"


def test_a_c_program(dll, tmp_path):
    compiler = shutil.which("cc")
    if compiler is None:
        pytest.skip("needs a C compiler")
    program, library = tmp_path / "program", Path(capi.find_library()).resolve()
    command = [compiler, "-std=c99", "-Wall", "-Wextra", "-pedantic", "-Werror", f"-I{INCLUDE}", str(PROGRAM)]
    # Bundled libraries that the library itself finds by its own run path are none of the linker's business here.
    command += ["-o", str(program), str(library), f"-Wl,-rpath,{library.parent}", "-Wl,--allow-shlib-undefined"]
    subprocess.run(command, check=True)
    run = subprocess.run([program], capture_output=True, text=True)
    assert (run.returncode, run.stdout) == (0, "ok\n"), run.stderr
