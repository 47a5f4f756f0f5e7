"""What the installed binaries are called, show and need: other packages bring the same engines into one process."""

import os
import re
import shutil
import subprocess
from pathlib import Path

import pytest
import tessolvpy

ROOT = Path(__file__).resolve().parents[2]
MODULE = Path(tessolvpy.__file__)
LIBS = MODULE.parent / "tessolvpy.libs"
PROGRAM = "tessolv-csdp"  # there where libsdp-dev was when the package was built
SANITIZED = b"__asan_init" in (LIBS / "libtessolv.so").read_bytes()
SYSTEM = {"libc", "libm", "libdl", "libpthread", "librt", "libstdc++", "libgcc_s", "libz", "libbz2"}
SYSTEM |= {"ld-linux-x86-64", "ld-linux-aarch64", *(["libasan", "libubsan"] if SANITIZED else [])}


def exported(file):
    lines = subprocess.check_output(["nm", "-D", "--defined-only", "--no-demangle", file], text=True).splitlines()
    return sorted(line.split()[-1] for line in lines)


def dynamic(file):
    """The entries of the dynamic section that hold names: NEEDED, SONAME, RPATH, RUNPATH."""
    text = subprocess.check_output(["readelf", "-d", "-W", file], text=True, env={**os.environ, "LC_ALL": "C"})
    found = re.findall(r"\((\w+)\)\s+[^\[]*\[(.*)\]", text)
    return {tag: [name for t, name in found if t == tag] for tag in ("NEEDED", "SONAME", "RPATH", "RUNPATH")}


def test_library_exports_exactly_the_listed_functions():
    listed = re.findall(r"X\((TSO\w+)\)", (ROOT / "libtessolv/include/tessolv_functions.h").read_text())
    assert len(listed) == 82
    assert exported(LIBS / "libtessolv.so") == sorted(listed)


def test_module_exports_only_its_init_function():
    assert exported(MODULE) == ["PyInit_tessolvpy"]


def test_only_names_of_our_own_are_needed_beside_the_system():
    bundled = {file.name for file in LIBS.iterdir()}
    assert "libtessolv.so" in bundled
    for file in [MODULE, *LIBS.iterdir()]:
        program = file.name == PROGRAM
        entries = dynamic(file)
        foreign = [name for name in entries["NEEDED"] if name not in bundled and name.split(".so")[0] not in SYSTEM]
        assert not foreign, f"{file.name} needs {foreign}"
        assert not entries["RPATH"], f"{file.name}: RPATH would come before LD_LIBRARY_PATH"
        if file != MODULE:
            assert entries["SONAME"] == ([] if program else [file.name])
            assert program or file.name.startswith("libtessolv")
            assert entries["RUNPATH"] == ["$ORIGIN"]
    assert "libtessolv.so" in dynamic(MODULE)["NEEDED"]
    assert dynamic(MODULE)["RUNPATH"] == ["$ORIGIN/tessolvpy.libs"]


@pytest.mark.skipif(not (LIBS / PROGRAM).exists(), reason="built without CSDP")
def test_the_program_of_semi_definite_problems_is_one_of_ours_and_ends_without_a_problem():
    file = LIBS / PROGRAM
    assert os.access(file, os.X_OK)
    assert "libtessolv-openblas.so" in dynamic(file)["NEEDED"]
    assert not [name for name in exported(file) if name.startswith("TSO")]
    for given in b"", b"no problem at all, and long enough to be taken for the head of one" * 2:
        run = subprocess.run([file], input=given, capture_output=True, timeout=20)
        assert (run.returncode > 0, run.stdout, run.stderr) == (True, b"", b"")


@pytest.mark.parametrize("variable", [None, "LD_LIBRARY_PATH"])
def test_ld_library_path_puts_another_library_in_place(python, tmp_path, variable):
    for file in LIBS.iterdir():
        shutil.copy(file, tmp_path)
    code = "import tessolvpy; print([line.split()[-1] for line in open('/proc/self/maps') if '/libtessolv.so' in line])"
    more = {variable: str(tmp_path)} if variable else {}
    loaded = eval(python(code, env={**os.environ, **more}))
    assert set(loaded) == {str((tmp_path if variable else LIBS) / "libtessolv.so")}


def test_version_is_the_same_in_library_and_package_sources():
    text = (ROOT / "libtessolv/core/version.h").read_text()
    assert tessolvpy.version() == tuple(map(int, re.findall(r"kVersion\w+ = (\d+)", text)))
