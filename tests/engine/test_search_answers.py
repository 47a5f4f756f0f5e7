"""Special ordered sets, indicators, quadratic parts with integers or not convex: optima known by hand or by trying."""

import itertools

import answers
import capi
import numpy as np
import pytest
from answers import INFEASIBLE, OPTIMAL, SUB_OPTIMAL, add_quadratic, primal


def test_small_ones_of_every_kind_against_all_their_points(build, run, rng):
    """Integers in a box, with sets, indicators, quadratic rows of every sense and objectives of every curvature."""
    grid = np.array(list(itertools.product(range(4), repeat=4)), float)
    for trial in range(40):
        q, cost = rng.integers(-3, 4, (4, 4)), rng.integers(-6, 7, 4).astype(float)
        maximize = bool(trial % 2)
        m = build(cost, ub=[3] * 4, types="IINI", maximize=maximize)
        add_quadratic(m, *np.nonzero(q), q[np.nonzero(q)])
        value = grid @ cost + np.einsum("ki,ij,kj->k", grid, q, grid)
        ok = np.ones(len(grid), bool)
        if trial % 3 != 1:
            r, side = rng.integers(-2, 3, (4, 4)), float(rng.integers(0, 9))
            sense = "<>="[int(rng.integers(3))]
            m.addqconstr([(0, 1.0)], [(i, j, float(r[i, j])) for i in range(4) for j in range(4)], sense, side)
            left = grid[:, 0] + np.einsum("ki,ij,kj->k", grid, r, grid)
            ok &= {"<": left <= side, ">": left >= side, "=": left == side}[sense]
        if trial % 3 != 2:
            kind, order = int(rng.integers(1, 3)), rng.permutation(4)
            m.addsos([kind], [0], order, [1, 2, 3, 4.0])
            used = grid[:, order] != 0
            ok &= used.sum(axis=1) <= kind
            ok &= ~((used.sum(axis=1) == 2) & ~(used[:, :-1] & used[:, 1:]).any(axis=1))
        if trial % 3 != 0:
            m.set("VType", [3], "B")
            active, sense, side = int(rng.integers(2)), "<>="[int(rng.integers(3))], float(rng.integers(0, 5))
            m.addindicator(3, active, [0, 1], [1.0, 2.0], sense, side)
            left = grid[:, 0] + 2 * grid[:, 1]
            holds = {"<": left <= side, ">": left >= side, "=": left == side}[sense]
            ok &= (grid[:, 3] <= 1) & ((grid[:, 3] != active) | holds)
        if not ok.any():
            assert run(m) == (0, INFEASIBLE), trial
            continue
        m.parameter("MIP/GapRel", 0.0)
        assert run(m) == (0, OPTIMAL), trial
        assert m.number("ObjVal") == pytest.approx(value[ok].max() if maximize else value[ok].min(), rel=1e-6, abs=1e-6)


def test_limits_starts_and_stored_solutions(build, run):
    def model():
        m = answers.market_split(build, 4, 40)
        m.addsos([1], [0], [40, 41])  # which holds in every optimum, and brings another engine in
        return m

    for name, value, code in (
        ("MIP/MaxNodes", 30, capi.ABORT_NODE_LIMIT),
        ("MIP/MaxNodes", 0, capi.ABORT_NODE_LIMIT),
        ("MIP/MaxSols", 1, capi.ABORT_SOLUTION_LIMIT),
        ("MIP/MaxStallingNodes", 50, capi.ABORT_STALLING_NODE_LIMIT),
        ("MaxTime", 0.5, capi.ABORT_TIME_LIMIT),
    ):
        m = model()
        m.parameter(name, value)
        got, status = run(m)
        assert (got, status) == (code, SUB_OPTIMAL if m.count("HasSolution") else 0), name
        assert m.count("HasSolution") == 1 or value == 0
    best, bound = m.number("ObjVal"), m.number("DualObjVal")
    assert bound <= best and m.number("MIP/GapAbs") == pytest.approx(best - bound)
    # A start: all of it, the discrete part, and half of that.
    x = primal(m)
    for part in (x, np.where(np.arange(len(x)) < 40, x, capi.UNDEFINED)):
        again = model()
        again.set("Start", None, part.tolist())
        again.parameter("MIP/MaxNodes", 1)
        run(again)
        assert again.number("ObjVal") <= best + 1e-6
    pool = model()
    pool.parameter("MIP/MaxNodes", 2000)
    run(pool)
    values = []
    for k in range(pool.count("SolCount")):
        pool.parameter("MIP/SolutionNumber", k)
        values.append(np.dot(pool.get("Xn", length=len(x)), pool.get("Obj", length=len(x))))
    assert values == sorted(values) and len(values) > 1
    assert values[0] == pytest.approx(pool.number("ObjVal"))
