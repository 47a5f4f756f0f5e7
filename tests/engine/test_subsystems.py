"""Infeasible subsystems: what is returned is infeasible, and is not without any one of its members."""

import capi
import numpy as np
import pytest
from answers import INF, INFEASIBLE, OPTIMAL, data


def members(m):
    cols = m.get("IISVar", kind="int", length=m.count("NumVars"))
    rows = m.get("IISConstr", kind="int", length=m.count("NumConstrs"))
    assert (cols, rows) == (
        m.get("IISCol", kind="int", length=len(cols)),
        m.get("IISRow", kind="int", length=len(rows)),
    )
    return np.flatnonzero(cols), np.flatnonzero(rows)


def status_of(build, run, m, cols, rows):
    """Of the problem that has the bounds of these columns and these rows alone."""
    matrix, low, high, lb, ub = data(m)
    n = matrix.shape[1]
    keep = np.isin(np.arange(n), cols)
    part = build(
        np.zeros(n), matrix[rows], low[rows], high[rows], np.where(keep, lb, -INF), np.where(keep, ub, INF),
        m.get("VType", kind="char", length=n).replace("B", "I"),
    )  # fmt: skip
    part.parameter("MaxTime", 20.0)
    return run(part)


def check(build, run, m):
    m.call("TSOcomputeIIS")
    assert m.count("Status") == INFEASIBLE
    cols, rows = members(m)
    assert len(cols) + len(rows) > 0
    assert status_of(build, run, m, cols, rows) == (0, INFEASIBLE)
    for j in cols:
        assert status_of(build, run, m, cols[cols != j], rows) == (0, OPTIMAL), ("column", j)
    for i in rows:
        assert status_of(build, run, m, cols, rows[rows != i]) == (0, OPTIMAL), ("row", i)
    return cols.tolist(), rows.tolist()


def test_known_subsystems(build, run):
    m = build([1, 1, 1], [[1, 1, 0], [1, 1, 0], [0, 1, 1]], [-INF, 4, -INF], [3, INF, 7], ub=[1, 10, INF])
    assert check(build, run, m) == ([], [0, 1])
    by_bounds = build([0, 0], [[1, 1], [1, -1]], [5, -INF], [INF, 9], ub=[1, 2])
    assert check(build, run, by_bounds) == ([0, 1], [0])
    assert check(build, run, build([1, 1], lb=[0, 5], ub=[1, 2])) == ([1], [])
    assert check(build, run, build([1, 1], lb=[0.2, 0], ub=[0.8, 2], types="IC")) == ([0], [])


def test_by_integrality_alone(build, run):
    # 2 x + 2 y = 3 has no integers; the relaxation of all is feasible. Other rows only stand by.
    m = build([1, 1, 1], [[2, 2, 0], [1, 0, 1], [0, 1, -1]], [3, -INF, -INF], [3, 7, 4], ub=[9, 9, 9], types="IIC")
    cols, rows = check(build, run, m)
    assert rows == [0]
    m.set("RHS", [0], [4.0])
    with pytest.raises(capi.Failed) as failure:
        m.call("TSOcomputeIIS")
    assert failure.value.code == capi.IIS_FEASIBLE


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
        check(build, run, m)
    assert tried >= 5


def test_unknown_before_a_search_and_gone_after_the_next_run(build, run):
    m = build([1], [[1], [1]], [2, -INF], [INF, 1])
    with pytest.raises(capi.Failed) as failure:
        members(m)
    assert failure.value.code == capi.DATA_NOT_AVAILABLE
    assert check(build, run, m) == ([], [0, 1])
    m.set("RHS", [1], [3.0])
    assert run(m) == (0, OPTIMAL)
    with pytest.raises(capi.Failed):
        members(m)
