"""The engine behind the library's C interface: answers, warm starts, limits, interrupts."""

import functools

import answers
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
