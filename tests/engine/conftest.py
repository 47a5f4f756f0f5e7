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
