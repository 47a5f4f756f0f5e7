"""The engine behind the library's C interface: answers, warm starts, limits, interrupts."""

import functools
import os
import subprocess
import sys
from pathlib import Path

import answers
import capi
import numpy as np
import pytest

HERE = Path(__file__).resolve().parent


@pytest.fixture
def build(library):
    return functools.partial(answers.build, library)


@pytest.fixture
def rng(request):
    seed = sum(map(ord, request.node.name))
    return np.random.default_rng(seed)


@pytest.fixture
def run(dll):
    """run(m): the return code of TSOoptimize and the status."""

    def optimize(m):
        return dll.TSOoptimize(m.handle), m.count("Status")

    return optimize


@pytest.fixture
def logged(tmp_path):
    """logged(m): the code of a run, and what it writes into the log."""

    def run(m, function="TSOoptimize", **parameters):
        path = tmp_path / "log"
        path.unlink(missing_ok=True)
        for name, value in {"OutputFlag": 1, "LogToConsole": 0, **parameters, "LogFile": str(path)}.items():
            m.parameter(name, value)
        code = getattr(m.dll, function)(m.handle)
        m.parameter("LogFile", "")
        return code, path.read_text()

    return run


@pytest.fixture
def script(tmp_path):
    """script(code): what code behind runs.py writes, in a process of its own; with wait=False that process."""

    def run(code, library=None, returncode=0, wait=True):
        head = f"import sys\nsys.path[:0] = {[str(HERE), str(HERE.parent / 'library')]}\nfrom runs import *\n"
        library = str(library or Path(capi.find_library()).resolve())
        started = subprocess.Popen(
            [sys.executable, "-X", "faulthandler", "-c", head + code],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, cwd=tmp_path,
            env=os.environ | {"PYTHONUNBUFFERED": "1", "TESSOLV_LIBRARY": library},
        )  # fmt: skip
        if not wait:
            return started
        out, err = started.communicate(timeout=100)
        assert started.returncode == returncode, f"{started.returncode}: {err[-3000:]}"
        return out

    return run
