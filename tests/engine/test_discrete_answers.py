"""Problems with discrete variables: answers, pools, cutoffs, semi-continuous variables."""

import itertools

import capi
import numpy as np
import pytest
from answers import INF, OPTIMAL, SUB_OPTIMAL, data, market_split, primal


def solution(m, k):
    m.parameter("MIP/SolutionNumber", k)
    return np.array(m.get("Xn", length=m.count("NumVars")))


def worth(m, x):
    return float(np.dot(m.get("Obj", length=len(x)), x))


@pytest.mark.parametrize("maximize", [False, True])
def test_small_problems_against_enumeration(build, run, rng, maximize):
    for _ in range(15):
        n, k = 5, 3
        matrix, high = rng.integers(-3, 6, (k, n)), rng.integers(3, 12, k)
        cost = rng.integers(-5, 6, n).astype(float)
        m = build(cost, matrix, np.full(k, -INF), high, ub=np.full(n, 3.0), types="I" * n, maximize=maximize)
        m.parameter("MIP/GapRel", 0.0)
        points = np.array(list(itertools.product(range(4), repeat=n)))
        values = points[(points @ matrix.T <= high).all(axis=1)] @ cost
        assert run(m) == (0, OPTIMAL)
        assert m.number("ObjVal") == (values.max() if maximize else values.min())
        assert m.number("MIP/GapAbs") <= 1e-6
        assert (primal(m) == np.round(primal(m))).all()


def test_pool_holds_the_best_of_what_was_found(build, run, rng):
    n, k = 40, 5
    matrix = rng.integers(1, 40, (k, n))
    m = build(rng.integers(10, 60, n), matrix, np.full(k, -INF), matrix.sum(axis=1) // 3, types="B" * n, maximize=True)
    assert run(m) == (0, OPTIMAL)
    count = m.count("SolCount")
    assert count >= 2
    found = [solution(m, i) for i in range(count)]
    values = [worth(m, x) for x in found]
    assert values == sorted(values, reverse=True)
    assert values[0] == pytest.approx(m.number("ObjVal"))
    assert len({tuple(x) for x in found}) == count
    for x in found:
        assert (matrix @ x <= data(m)[2] + 1e-6).all()
    m.dll.TSOreset(m.handle, 1)
    m.parameter("MIP/SolutionPoolSize", 2)
    assert run(m) == (0, OPTIMAL)
    assert m.count("SolCount") <= 2
    assert worth(m, solution(m, 0)) == pytest.approx(values[0])


def test_gap_limits_end_a_run_as_solved(build, run, rng):
    n = 35
    matrix = rng.integers(10, 60, (4, n))
    m = build(rng.integers(10, 60, n), matrix, np.full(4, -INF), matrix.sum(axis=1) // 2, types="B" * n, maximize=True)
    m.parameter("MIP/GapRel", 0.2)
    assert run(m) == (0, OPTIMAL)
    assert m.number("MIP/GapRel") <= 0.2
    assert m.number("MIP/GapAbs") == pytest.approx(abs(m.number("DualObjVal") - m.number("ObjVal")))
    assert m.number("DualObjVal") >= m.number("ObjVal") - 1e-6


def test_a_type_that_follows_from_bounds_moves_with_them(build, run):
    m = build([1.0], lb=[-3], ub=[4], types="S")
    for low, optimum in ((-3.0, -3), (2.0, 0), (-1.0, -1)):
        m.set("LB", [0], [low])
        assert run(m) == (0, OPTIMAL)
        assert m.number("ObjVal") == optimum


def test_what_no_engine_can_do_is_refused(build, logged):
    not_binary = build([1, 1], types="BC")
    not_binary.addindicator(0, 1, [1], [1.0], "<", 1.0)
    not_binary.set("VType", [0], "C")
    mixed = build([1.0, 1.0], types="IC")
    mixed.addpsdvar(2, [(0, 0, 1.0)])
    for m, words in ((not_binary, "not binary any more"), (mixed, "Make the integers continuous")):
        code, log = logged(m)
        assert code == capi.ABORT_SOLVER_NOT_AVAILABLE and words in log


def test_limits_keep_what_was_found(build, run):
    m = market_split(build, 4, 40)
    for name, value, code in (
        ("MIP/MaxNodes", 30, capi.ABORT_NODE_LIMIT),
        ("MIP/MaxSols", 1, capi.ABORT_SOLUTION_LIMIT),
        ("MIP/MaxStallingNodes", 50, capi.ABORT_STALLING_NODE_LIMIT),
        ("MaxTime", 0.5, capi.ABORT_TIME_LIMIT),
        ("MaxTime", 0.0, capi.ABORT_TIME_LIMIT),
    ):
        m.dll.TSOreset(m.handle, 1)
        m.parameter(name, value)
        assert run(m) == (code, SUB_OPTIMAL if value else 0)
        assert m.count("HasSolution") == (value != 0)
        if value:
            matrix, low, high, _, _ = data(m)
            assert abs(matrix @ primal(m) - low).max() < 1e-5
            assert m.number("DualObjVal") <= m.number("ObjVal")
        m.parameter(name, capi.MAXINT if isinstance(value, int) else 1e20)
