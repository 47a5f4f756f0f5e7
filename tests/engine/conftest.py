"""The engine behind the library's C interface: answers, warm starts, limits, interrupts."""

import functools
import os
from pathlib import Path

import answers
import capi
import numpy as np
import pytest


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
def script(python, tmp_path):
    """script(code): what code behind runs.py writes, in a process of its own; with wait=False that process."""

    def run(code, library=None, wait=True, **more):
        library = str(library or Path(capi.find_library()).resolve())
        call = python if wait else python.start
        return call(f"from runs import *\n{code}", cwd=tmp_path, env={**os.environ, "TESSOLV_LIBRARY": library}, **more)

    return run
