"""The engine behind the library's C interface: answers, warm starts, limits, interrupts."""

import capi
import numpy as np
import pytest


@pytest.fixture
def build(library):
    """build(cost, matrix, low, high, lb, ub, types, maximize): a model out of dense data."""

    def make(cost, matrix=(), low=(), high=(), lb=None, ub=None, types=None, maximize=False):
        m = library.model()
        n = len(cost)
        m.addvars(n, obj=cost, lb=lb, ub=ub, vtype=types)
        for row, below, above in zip(np.atleast_2d(matrix) if len(matrix) else (), low, high):
            ind = np.flatnonzero(row)
            m.addrow(ind, np.asarray(row, float)[ind], below, above)
        if maximize:
            m.call("TSOsetintattr", capi.text("ModelSense"), -1)
        return m

    return make


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
