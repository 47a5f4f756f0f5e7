"""Problems with discrete variables: answers, pools, cutoffs, semi-continuous variables."""

import itertools

import capi
import numpy as np
import pytest
from answers import INF, INFEASIBLE, OPTIMAL, SUB_OPTIMAL, UNBOUNDED, data, market_split, primal


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


@pytest.mark.parametrize("maximize", [False, True])
def test_cutoff_wants_solutions_at_least_as_good(build, run, maximize):
    sign = -1.0 if maximize else 1.0
    m = build([5 * sign, 4 * sign], [[1, 1]], [3], [INF], ub=[9, 2], types="II", maximize=maximize)
    for constant in (0.0, 100.0):
        m.call("TSOsetdblattr", capi.text("ObjConst"), constant)
        for cutoff, status in ((13, OPTIMAL), (14, OPTIMAL), (12.9, INFEASIBLE)):
            m.parameter("MIP/Cutoff", float(sign * cutoff + constant))
            assert run(m) == (0, status)
            if status == OPTIMAL:
                assert m.number("ObjVal") == pytest.approx(13 * sign + constant)
    assert m.count("NumConstrs") == 1
    m.parameter("MIP/Cutoff", 1e20)
    assert run(m) == (0, OPTIMAL)


def test_gap_limits_end_a_run_as_solved(build, run, rng):
    n = 35
    matrix = rng.integers(10, 60, (4, n))
    m = build(rng.integers(10, 60, n), matrix, np.full(4, -INF), matrix.sum(axis=1) // 2, types="B" * n, maximize=True)
    m.parameter("MIP/GapRel", 0.2)
    assert run(m) == (0, OPTIMAL)
    assert m.number("MIP/GapRel") <= 0.2
    assert m.number("MIP/GapAbs") == pytest.approx(abs(m.number("DualObjVal") - m.number("ObjVal")))
    assert m.number("DualObjVal") >= m.number("ObjVal") - 1e-6


@pytest.mark.parametrize("upper", [6.0, 5e4, 1e6])
@pytest.mark.parametrize("vtype", ["S", "N"])
def test_semi_continuous_is_zero_or_between_its_bounds(build, run, vtype, upper):
    # x costs 1 and must be 0 or at least 2.5 (3 as an integer); y costs 1.5.
    least = 2.5 if vtype == "S" else 3.0
    for need, optimum in ((1.0, 1.5), (1.9, least if least < 2.85 else 2.85), (4.25, 4.25 if vtype == "S" else 4.375)):
        m = build([1, 1.5], [[1, 1]], [need], [INF], lb=[2.5, 0], ub=[upper, 10], types=vtype + "C")
        assert run(m) == (0, OPTIMAL)
        assert m.number("ObjVal") == pytest.approx(optimum, abs=1e-7)
        x = primal(m)
        assert x[0] == 0 or least <= x[0] <= upper
        assert m.count("NumVars") == 2


def test_semi_continuous_below_zero_and_across_it(build, run):
    below = build([-1, -10], [[1, 1]], [-INF], [-1], lb=[-6, -0.5], ub=[-2, 0], types="SC")
    assert run(below) == (0, OPTIMAL)
    assert primal(below) == pytest.approx([-2, 0]) or primal(below) == pytest.approx([-2, 0.0])
    across = build([1.0], lb=[-3], ub=[4], types="S")
    assert run(across) == (0, OPTIMAL)
    assert primal(across) == pytest.approx([-3])
    # The type for the engine follows from the bounds: moving them must reach it.
    across.set("LB", [0], [2.0])
    assert run(across) == (0, OPTIMAL)
    assert primal(across) == pytest.approx([0])


def test_unbounded_and_infeasible_are_told_apart(build, run):
    assert run(build([-1.0], types="I")) == (0, UNBOUNDED)
    ray = build([-1, -1], [[1, -1]], [-1], [1], types="IC")
    assert (run(ray), ray.count("HasPrimalRay")) == ((0, UNBOUNDED), 1)
    # The relaxation is unbounded, and no integer fits between 0.4 and 0.6.
    assert run(build([-1, 0], [[0, 1]], [0.4], [0.6], types="IB")) == (0, INFEASIBLE)
    # ... even if only rows together say so: 2 x + 2 y = 3.
    assert run(build([-1, 0, 0], [[0, 2, 2]], [3], [3], types="III")) == (0, INFEASIBLE)


def test_what_no_engine_can_do_is_refused(build, run, library, tmp_path):
    not_binary = build([1, 1], types="BC")
    not_binary.addindicator(0, 1, [1], [1.0], "<", 1.0)
    not_binary.set("VType", [0], "C")
    mixed = build([1.0, 1.0], types="IC")
    mixed.addpsdvar(2, [(0, 0, 1.0)])
    for m, words in ((not_binary, "not binary any more"), (mixed, "Make the integers continuous")):
        log = tmp_path / "log"
        log.unlink(missing_ok=True)
        env = m.dll.TSOgetenv(m.handle)
        library.call("TSOsetintparam", env, capi.text("OutputFlag"), 1)
        library.call("TSOsetintparam", env, capi.text("LogToConsole"), 0)
        library.call("TSOsetstrparam", env, capi.text("LogFile"), capi.text(str(log)))
        assert run(m)[0] == capi.ABORT_SOLVER_NOT_AVAILABLE
        assert words in log.read_text()


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
