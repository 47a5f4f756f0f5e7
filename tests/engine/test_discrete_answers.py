"""Problems with discrete variables: answers found by trying all points, limits, starts, pools."""

import ctypes
import itertools

import capi
import numpy as np
import pytest
from answers import INF, INFEASIBLE, OPTIMAL, SUB_OPTIMAL, add_quadratic, data, market_split, primal

SENSES = {"<": np.less_equal, ">": np.greater_equal, "=": np.equal}


def test_small_problems_of_every_kind_against_all_their_points(build, run, rng, fails):
    """Integers in a box with rows, and most with some of: any objective, quadratic rows, sets, indicators."""
    grid = np.array(list(itertools.product(range(4), repeat=4)), float)
    for trial in range(60):
        parts = rng.permutation(["squares", "row", "set", "indicator"])[: trial % 4]
        cost, maximize = rng.integers(-6, 7, 4).astype(float), bool(rng.integers(2))
        matrix, high = rng.integers(-3, 6, (2, 4)), rng.integers(3, 12, 2)
        m = build(cost, matrix, [-INF] * 2, high, ub=[3] * 4, types="IINI", maximize=maximize)
        value, ok = grid @ cost, (grid @ matrix.T <= high).all(axis=1)
        if "squares" in parts:
            q = rng.integers(-3, 4, (4, 4))
            add_quadratic(m, *np.nonzero(q), q[np.nonzero(q)])
            value += np.einsum("ki,ij,kj->k", grid, q, grid)
        if "row" in parts:
            r, side, sense = rng.integers(-2, 3, (4, 4)), float(rng.integers(0, 9)), str(rng.choice(list(SENSES)))
            m.addqconstr([(0, 1.0)], [(i, j, float(r[i, j])) for i, j in np.ndindex(4, 4)], sense, side)
            ok &= SENSES[sense](grid[:, 0] + np.einsum("ki,ij,kj->k", grid, r, grid), side)
        if "set" in parts:
            kind, order = int(rng.integers(1, 3)), rng.permutation(4)
            m.addsos([kind], [0], order, [1, 2, 3, 4.0])
            used = grid[:, order] != 0
            ok &= used.sum(axis=1) <= kind
            ok &= ~((used.sum(axis=1) == 2) & ~(used[:, :-1] & used[:, 1:]).any(axis=1))
        if "indicator" in parts:
            m.set("VType", [3], "B")
            active, sense, side = int(rng.integers(2)), str(rng.choice(list(SENSES))), float(rng.integers(0, 5))
            m.addindicator(3, active, [0, 1], [1.0, 2.0], sense, side)
            holds = SENSES[sense](grid[:, 0] + 2 * grid[:, 1], side)
            ok &= (grid[:, 3] <= 1) & ((grid[:, 3] != active) | holds)
        m.parameter("MIP/GapRel", 0.0)
        assert run(m) == (0, OPTIMAL if ok.any() else INFEASIBLE), trial
        if ok.any():
            optimum = value[ok].max() if maximize else value[ok].min()
            assert m.number("ObjVal") == pytest.approx(optimum, rel=1e-6, abs=1e-6)
            assert m.number("MIP/GapAbs") <= 1e-6
            assert value[(grid == np.round(primal(m), 6)).all(axis=1) & ok] == pytest.approx([optimum])
            for name in ("DualSoln", "RC"):
                fails(capi.DATA_NOT_AVAILABLE, m.get, name, [0])


@pytest.fixture(params=["HiGHS", "SCIP"])
def hard(request, build):
    """hard(): a problem that is soon solved somehow, and not to the end; a set brings SCIP in."""

    def make():
        m = market_split(build, 4, 40)
        if request.param == "SCIP":
            m.addsos([1], [0], [40, 41])  # which holds in every optimum
        return m

    return make


def test_limits_keep_what_was_found(hard, run):
    m = hard()
    for name, value, code in (
        ("MIP/MaxNodes", 30, capi.ABORT_NODE_LIMIT),
        ("MIP/MaxNodes", 0, capi.ABORT_NODE_LIMIT),
        ("MIP/MaxSols", 1, capi.ABORT_SOLUTION_LIMIT),
        ("MIP/MaxStallingNodes", 50, capi.ABORT_STALLING_NODE_LIMIT),
        ("MaxTime", 0.0, capi.ABORT_TIME_LIMIT),
        ("MaxTime", 0.5, capi.ABORT_TIME_LIMIT),
    ):
        m.dll.TSOreset(m.handle, 1)
        m.parameter(name, value)
        assert run(m) == (code, SUB_OPTIMAL if m.count("HasSolution") else 0), name
        assert m.count("HasSolution") == 1 or value == 0
        if m.count("HasSolution"):
            matrix, low, _, _, _ = data(m)
            assert abs(matrix @ primal(m) - low).max() < 1e-5
            assert m.number("DualObjVal") <= m.number("ObjVal")
            assert m.number("MIP/GapAbs") == pytest.approx(m.number("ObjVal") - m.number("DualObjVal"))
        m.parameter(name, capi.MAXINT if isinstance(value, int) else 1e20)


def test_a_start_of_all_or_of_the_discrete_part(hard, run):
    m = hard()
    m.parameter("MaxTime", 0.5)
    run(m)
    best, x = m.number("ObjVal"), primal(m)
    for part in (x, np.where(np.arange(len(x)) < 40, x, capi.UNDEFINED)):
        again = hard()
        again.set("Start", None, part.tolist())
        again.parameter("MIP/MaxNodes", 1)
        run(again)
        assert again.number("ObjVal") <= best + 1e-6


def test_pool_holds_the_best_of_what_was_found(hard, run):
    m = hard()
    m.parameter("MIP/MaxNodes", 2000)
    for room in (9, 2):
        m.dll.TSOreset(m.handle, 1)
        m.parameter("MIP/SolutionPoolSize", room)
        run(m)
        count, (matrix, low, _, _, _) = m.count("SolCount"), data(m)
        found = []
        for i in range(count):
            m.parameter("MIP/SolutionNumber", i)
            found.append(np.array(m.get("Xn", length=m.count("NumVars"))))
        values = [float(np.dot(m.get("Obj", length=len(x)), x)) for x in found]
        assert 2 <= count <= room and len({tuple(x) for x in found}) == count
        assert values == sorted(values) and values[0] == pytest.approx(m.number("ObjVal"))
        assert all(abs(matrix @ x - low).max() < 1e-5 for x in found)
        # What an edit forbids goes out, all but the best.
        j, removed = np.flatnonzero(found[1][:40] > 0.5)[0], ctypes.c_int()
        if room == 9:
            m.addrow([j], [1.0], upper=0.0)
        else:
            m.set("UB", [j], [0.0])
        m.call("TSOcleanupmilp", ctypes.byref(removed))
        gone = sum(x[j] > 0.5 for x in found[1:])
        assert (removed.value, m.count("SolCount")) == (gone, count - gone)
        m.delete("constrs", range(len(low), m.count("NumConstrs")))


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
    not_binary = build([-1, -1], ub=[1, 9], types="IC")
    not_binary.addindicator(0, 1, [1], [1.0], "<", 1.0)  # between 0 and 1, so as good as binary
    assert (logged(not_binary)[0], not_binary.number("ObjVal")) == (0, -9)
    not_binary.set("VType", [0], "C")
    mixed = build([1.0, 1.0], types="IC")
    mixed.addpsdvar(2, [(0, 0, 1.0)])
    for m, words in ((not_binary, "not binary any more"), (mixed, "Make the integers continuous")):
        code, log = logged(m)
        assert code == capi.ABORT_SOLVER_NOT_AVAILABLE and words in log
