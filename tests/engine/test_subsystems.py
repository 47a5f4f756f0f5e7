"""Infeasible subsystems: what is returned is infeasible, and is not without any one of its members."""

import os
import signal
import threading
import time

import capi
import numpy as np
import pytest
from answers import INF, INFEASIBLE, OPTIMAL, needs_csdp

FREE3 = "bounds;x free;y free;z free;"


def members(m):
    """Columns whose bounds belong to it, and rows."""
    found = []
    for names, count in ((("IISVar", "IISCol"), "NumVars"), (("IISConstr", "IISRow"), "NumConstrs")):
        one, other = (m.get(name, kind="int", length=m.count(count)) for name in names)
        assert one == other
        found.append(np.flatnonzero(one).tolist())
    return tuple(found)


def search(m):
    m.call("TSOcomputeIIS")
    assert m.count("Status") == INFEASIBLE
    return members(m)


def check(run, m):
    """Each part is looked at by itself. Sets and indicators stay throughout, with the bounds of their binaries."""
    cols, rows = search(m)
    switches = [m.indicator(k)[0] for k in range(m.count("NumGenConstrs"))]
    assert cols or rows

    def status(kept_cols, kept_rows):
        part = m.copy()
        free = [j for j in range(m.count("NumVars")) if j not in kept_cols and j not in switches]
        part.set("VType", free, part.get("VType", free, "char").replace("B", "I"))
        part.set("LB", free, [-INF] * len(free))
        part.set("UB", free, [INF] * len(free))
        part.set("Obj", None, [0.0] * m.count("NumVars"))
        part.delete("constrs", [i for i in range(m.count("NumConstrs")) if i not in kept_rows])
        part.parameter("MaxTime", 20.0)
        return run(part)

    assert status(cols, rows) == (0, INFEASIBLE)
    for j in cols:
        assert status([c for c in cols if c != j], rows) == (0, OPTIMAL), ("column", j)
    for i in rows:
        assert status(cols, [r for r in rows if r != i]) == (0, OPTIMAL), ("row", i)
    return cols, rows


@pytest.mark.parametrize(
    ("text", "cols", "rows"),
    [
        ("min x + y + z;st;a: x + y <= 3;b: x + y >= 4;c: y + z <= 7;bounds;x <= 1;y <= 10;", [], [0, 1]),
        ("min 0 x + 0 y;st;a: x + y >= 5;b: x - y <= 9;bounds;x <= 1;y <= 2;", [0, 1], [0]),
        ("min x + y;bounds;x <= 1;5 <= y <= 2;", [1], []),
        ("min x + y;bounds;0.2 <= x <= 0.8;y <= 2;general;x;", [0], []),
        # By integrality alone: the relaxation of all is feasible, other rows only stand by.
        ("min x + y + z;st;a: 2 x + 2 y = 3;b: x + z <= 7;c: y - z <= 4;bounds;x <= 9;y <= 9;general;x;y;", [], [0]),
        (f"min x + y + z;st;a: x + z <= 50;b: x >= 1;c: y >= 1;{FREE3}sos;s: S1:: x:1 y:2 z:3;", [], [1, 2]),
        (f"min x + y + z;st;a: x >= 1;b: y >= -9;c: z <= -1;{FREE3}sos;s: S2:: x:1 y:2 z:3;", [], [0, 2]),
        ("min b + x;st;a: x >= -9;i: b = 1 -> x >= 5;j: b = 0 -> x >= 4;bounds;x <= 3;binary;b;", [1], []),
        (f"min x + y + z;st;a: x <= 9;b: x + y >= 3;c: [ x^2 + y^2 ] <= 1;{FREE3}", [], [1, 2]),
        (f"min x + y + z;st;a: [ x^2 + y^2 ] <= 1;b: y >= -7;c: [ x * y ] >= 2;{FREE3}", [], [0, 2]),
        ("min x + y;st;a: x + y <= 99;b: [ x^2 ] <= 0.8;bounds;0.2 <= x <= 7;y <= 1;general;x;", [0], [1]),
    ],
)
def test_known_subsystems(files, run, text, cols, rows):
    assert check(run, files.text(text.replace(";", "\n") + "\nend\n")) == (cols, rows)


@pytest.mark.parametrize("types", ["C", "I", "B"])
def test_random_problems(build, run, rng, types):
    tried = 0
    for _ in range(30):
        n, k = 6, 9
        matrix = rng.integers(-3, 4, (k, n)).astype(float)
        side = matrix @ rng.integers(0, 3, n) + rng.integers(-2, 3, k)
        low, high = np.where(rng.random(k) < 0.5, side, -INF), np.where(rng.random(k) < 0.6, side, INF)
        m = build(rng.normal(size=n), matrix, low, high, ub=np.full(n, 1.0 if types == "B" else 3.0), types=types * n)
        if run(m)[1] != INFEASIBLE:
            continue
        tried += 1
        check(run, m)
    assert tried >= 5


def test_unknown_before_a_search_and_gone_after_the_next_run(build, run, fails):
    m = build([1], [[1], [1]], [2, -INF], [INF, 1])
    fails(capi.DATA_NOT_AVAILABLE, members, m)
    assert check(run, m) == ([], [0, 1])
    m.set("RHS", [1], [3.0])
    assert run(m) == (0, OPTIMAL)
    fails(capi.DATA_NOT_AVAILABLE, members, m)
    fails(capi.IIS_FEASIBLE, search, m)


@needs_csdp
def test_semidefinite_rows(library):
    m = library.model()
    m.addpsdvar(2)
    m.addpsdrow([(0, 0, 0, 1.0), (0, 1, 1, 1.0)], upper=10.0)
    m.addpsdrow([(0, 0, 0, 1.0)], upper=1.0)
    m.addpsdrow([(0, 1, 1, 1.0)], upper=1.0)
    m.addpsdrow([(0, 1, 0, 0.5)], lower=2.0)
    assert search(m) == ([], [1, 2, 3])


def test_many_rows_take_few_solves(library, dll):
    n = 400
    m = library.model()
    m.addvars(n, lb=[-INF] * n)
    for i in range(n - 1):
        m.addrow([i, i + 1], [1.0, -1.0], -1.0)
    m.addsos([1], [0], [10, 300])
    m.addrow([10], [1.0], 5.0)
    m.addrow([300], [1.0], 5.0)
    m.parameter("MaxTime", 60.0)
    assert search(m) == ([], [n - 1, n])
    m.parameter("MaxTime", 0.0)
    m.set("RHS", [0], [99.0])
    assert dll.TSOcomputeIIS(m.handle) == capi.ABORT_TIME_LIMIT


def test_sets_stand_in_the_log_and_a_cutoff_is_not_the_model(files, logged, fails):
    m = files.text("min b + x\nst\nb = 0 -> x >= 5\nb = 1 -> x >= 5\nbounds\nx <= 3\nbinary\nb\nend")
    code, log = logged(m, "TSOcomputeIIS")
    assert code == 0 and m.get("IISVar", kind="int", length=2) == [0, 1]
    assert "Indicator constraints of the subsystem: G0, G1." in log
    cut = files.text("min x + y\nbounds\n1 <= x <= 4\ny <= 3\ngeneral\nx\nend")
    cut.parameter("MIP/Cutoff", 0.5)
    fails(capi.IIS_NO_SOLN, search, cut)


def test_a_search_ends_when_asked_to_and_keeps_what_it_has(library, dll):
    n = 1500  # a circle of which every row is needed, and each takes a solve
    m = library.model()
    m.addvars(n, lb=[-INF] * n)
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
