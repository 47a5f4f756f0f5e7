"""Infeasible subsystems of problems that are not linear: sets, indicators, quadratic and semi-definite rows."""

import os
import signal
import threading
import time

import capi
import numpy as np
import pytest
from answers import INF, INFEASIBLE, OPTIMAL

FREE = -INF

# A problem is told by lists, so that parts of it can be stated again: bounds by column, then rows as (kind, data).


def state(library, types, bounds, rows, sets=(), switches=()):
    m = library.model()
    for type_, (low, high) in zip(types, bounds):
        m.addvar(obj=1.0, lb=low, ub=high, vtype=type_)
    for kind, data, low, high in rows:
        if kind == "linear":
            m.addrow(list(data), list(data.values()), low, high)
        elif high < INF:
            m.addqconstr([], data, "<", high)
        else:
            m.addqconstr([], data, ">", low)
    for type_, members in sets:
        m.addsos([type_], [0], members)
    for switch, value, data, sense, side in switches:
        m.addindicator(switch, value, list(data), list(data.values()), sense, side)
    return m


def members(m):
    m.call("TSOcomputeIIS")
    assert m.count("Status") == INFEASIBLE
    cols = m.get("IISVar", kind="int", length=m.count("NumVars"))
    return np.flatnonzero(cols).tolist(), np.flatnonzero(
        m.get("IISConstr", kind="int", length=m.count("NumConstrs"))
    ).tolist()


def check(library, run, types, bounds, rows, sets=(), switches=()):
    """The subsystem is infeasible; without any one of its members it is not. Sets and indicators stay throughout."""
    cols, chosen = members(state(library, types, bounds, rows, sets, switches))
    fixed = {s[0] for s in switches}

    def status(kept_cols, kept_rows):
        part = [bounds[j] if j in kept_cols or j in fixed else (FREE, INF) for j in range(len(bounds))]
        kinds = "".join("I" if t == "B" and j not in kept_cols and j not in fixed else t for j, t in enumerate(types))
        m = state(library, kinds, part, [rows[i] for i in kept_rows], sets, switches)
        m.set("Obj", range(len(bounds)), [0.0] * len(bounds))
        return run(m)

    assert status(cols, chosen) == (0, INFEASIBLE)
    for j in cols:
        assert status([c for c in cols if c != j], chosen) == (0, OPTIMAL), ("column", j)
    for i in chosen:
        assert status(cols, [r for r in chosen if r != i]) == (0, OPTIMAL), ("row", i)
    return cols, chosen


def line(low=-INF, high=INF, **coefficients):
    return "linear", {int(name[1:]): v for name, v in coefficients.items()}, low, high


def test_sets_and_indicators(library, run):
    loose = [line(high=50.0, x0=1.0, x2=1.0), line(low=-9.0, x1=1.0)]
    both = [line(low=1.0, x0=1.0), line(low=1.0, x1=1.0)]
    free = [(FREE, INF)] * 3
    assert check(library, run, "CCC", free, loose + both, sets=[(1, [0, 1, 2])]) == ([], [2, 3])
    ends = [line(low=1.0, x0=1.0), line(high=-1.0, x2=1.0)]
    assert check(library, run, "CCC", free, ends + loose, sets=[(2, [0, 1, 2])]) == ([], [0, 1])
    # b says x >= 5, not b says x >= 4; x <= 3 by its bound.
    either = [(0, 1, {1: 1.0}, ">", 5.0), (0, 0, {1: 1.0}, ">", 4.0)]
    assert check(library, run, "BCC", [(0, 1), (0, 3), (0, 9)], loose, switches=either) == ([1], [])


def test_quadratic_rows(library, run):
    ball = ("quadratic", [(0, 0, 1.0), (1, 1, 1.0)], -INF, 1.0)
    outside = ("quadratic", [(0, 1, 1.0)], 2.0, INF)
    far = line(low=3.0, x0=1.0, x1=1.0)
    free = [(FREE, INF)] * 2
    assert check(library, run, "CC", free, [line(high=9.0, x0=1.0), far, ball]) == ([], [1, 2])
    assert check(library, run, "CC", [(-5, 5)] * 2, [ball, line(low=-7.0, x1=1.0), outside]) == ([], [0, 2])
    # x^2 <= 0.8 and 0.2 <= x leave no integer.
    square = ("quadratic", [(0, 0, 1.0)], -INF, 0.8)
    assert check(library, run, "IC", [(0.2, 7), (0, 1)], [line(high=99.0, x0=1.0, x1=1.0), square]) == ([0], [1])


def test_semidefinite_rows(library):
    m = library.model()
    m.addpsdvar(2)
    m.addpsdrow([(0, 0, 0, 1.0), (0, 1, 1, 1.0)], upper=10.0)
    m.addpsdrow([(0, 0, 0, 1.0)], upper=1.0)
    m.addpsdrow([(0, 1, 1, 1.0)], upper=1.0)
    m.addpsdrow([(0, 1, 0, 0.5)], lower=2.0)
    assert members(m) == ([], [1, 2, 3])


def test_many_rows_take_few_solves(library, dll):
    n = 400
    m = library.model()
    m.addvars(n, lb=[FREE] * n)
    for i in range(n - 1):
        m.addrow([i, i + 1], [1.0, -1.0], -1.0)
    m.addsos([1], [0], [10, 300])
    m.addrow([10], [1.0], 5.0)
    m.addrow([300], [1.0], 5.0)
    m.parameter("MaxTime", 60.0)
    cols, rows = members(m)
    assert (cols, rows) == ([], [n - 1, n])
    m.parameter("MaxTime", 0.0)
    m.set("RHS", [0], [99.0])
    assert dll.TSOcomputeIIS(m.handle) == capi.ABORT_TIME_LIMIT


def test_sets_stand_in_the_log_and_a_cutoff_is_not_the_model(library, logged):
    m = state(library, "BC", [(0, 1), (0, 3)], [], switches=[(0, v, {1: 1.0}, ">", 5.0) for v in (0, 1)])
    code, log = logged(m, "TSOcomputeIIS")
    assert code == 0 and m.get("IISVar", kind="int", length=2) == [0, 1]
    assert "Indicator constraints of the subsystem: G0, G1." in log
    cut = state(library, "IC", [(1, 4), (0, 3)], [])
    cut.parameter("MIP/Cutoff", 0.5)
    with pytest.raises(capi.Failed) as failure:
        members(cut)
    assert failure.value.code == capi.IIS_NO_SOLN


def test_a_search_ends_when_asked_to_and_keeps_what_it_has(library, dll):
    n = 1500  # a circle of which every row is needed, and each takes a solve
    m = library.model()
    m.addvars(n, lb=[FREE] * n)
    for i in range(n):
        m.addrow([i, (i + 1) % n], [1.0, -1.0], 1.0)
    m.addsos([1], [0], [10, 300])
    timer = threading.Timer(1.5, os.kill, [os.getpid(), signal.SIGINT])
    timer.start()
    begin = time.monotonic()
    code = dll.TSOcomputeIIS(m.handle)
    timer.join()
    assert code == capi.ABORT_INTERRUPTED
    assert time.monotonic() - begin < 3
    assert sum(m.get("IISConstr", kind="int", length=n)) == n
