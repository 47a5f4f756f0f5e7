"""Special ordered sets, indicators, quadratic parts with integers or not convex: optima known by hand or by trying."""

import itertools

import answers
import capi
import numpy as np
import pytest
from answers import INF, INFEASIBLE, OPTIMAL, SUB_OPTIMAL, UNBOUNDED, add_quadratic, primal


def quadratic(m, *terms):
    rows, cols, values = zip(*terms)
    add_quadratic(m, rows, cols, np.asarray(values, float))
    return m


def solved(run, m, objective, x=None):
    assert run(m) == (0, OPTIMAL)
    assert m.number("ObjVal") == pytest.approx(objective, rel=1e-6, abs=1e-6)
    if x is not None:
        assert primal(m) == pytest.approx(x, abs=1e-5)
    sense = m.count("ModelSense")
    assert sense * m.number("DualObjVal") <= sense * m.number("ObjVal") + 1e-6


def test_special_ordered_sets(build, run):
    def model(kind, weights=None, **options):
        m = build([1, 4, 1, 3.0], [[1, 1, 1, 1]], [-INF], [5], ub=[3] * 4, maximize=True, **options)
        m.addsos([kind], [0], [0, 1, 2, 3], weights)
        return m

    solved(run, model(1), 12, [0, 3, 0, 0])
    solved(run, model(2), 14, [2, 3, 0, 0])
    solved(run, model(2, [4, 1, 3, 2.0]), 18, [0, 3, 0, 2])  # in the order of the weights
    solved(run, model(2, [4, 1, 3, 2.0], types="CCCI"), 18)
    below = build([1, 0.0], [[0, 1]], [-4], [INF], lb=[-5, -5], ub=[3, 5], maximize=True)
    below.addsos([1], [0], [0, 1])
    solved(run, below, 3, [3, 0])
    free = build([-1, -1.0], [[1, 1]], [-INF], [7], lb=[-INF] * 2)
    free.addsos([1], [0], [0, 1])
    solved(run, free, -7)
    never_zero = build([1, 1.0], lb=[1, 1], ub=[3, 5])
    never_zero.addsos([1], [0], [0, 1])
    assert run(never_zero) == (0, INFEASIBLE)


@pytest.mark.parametrize("big_m", [0.0, 1e4])
def test_indicators(build, run, big_m):
    def model(sense, side, active, *, lower=-5.0, upper=5.0, kind="C", price=0.1):
        m = build([price, 1.0], lb=[0, lower], ub=[1, upper], types="B" + kind)
        m.addindicator(0, active, [1], [2.0], sense, side)
        m.parameter("MIP/LinearizationBigM", big_m)
        return m

    solved(run, model("=", 7, 0), -4.9, [1, -5])  # pays for not having to
    solved(run, model("=", 7, 0, price=20), 3.5, [0, 3.5])
    solved(run, model(">", 7, 1, price=-20), -16.5, [1, 3.5])
    solved(run, model(">", 3.5, 0, kind="I"), -4.9, [1, -5])
    solved(run, model(">", 3.5, 0, kind="I", price=20), 2, [0, 2])
    downward = model("<", 4, 1, price=-1)
    downward.call("TSOsetintattr", capi.text("ModelSense"), -1)
    solved(run, downward, 5, [0, 5])
    # No coefficient is large enough where bounds are infinite.
    solved(run, model(">", 4e4, 1, lower=-1e5, upper=INF, price=-1e6), -98e4, [1, 2e4])
    free = model(">", -4e6, 1, lower=-INF, price=0)
    assert run(free) == (0, UNBOUNDED)
    free.set("LB", [0], [1.0])
    solved(run, free, -2e6, [1, -2e6])
    free.set("LB", [0], [0.0])
    free.addindicator(0, 0, [], [], ">", 1.0)  # holds for no x, so b must be 1
    solved(run, free, -2e6, [1, -2e6])


def test_small_ones_of_every_kind_against_all_their_points(build, run, rng):
    """Integers in a box, with sets, indicators, quadratic rows of every sense and objectives of every curvature."""
    grid = np.array(list(itertools.product(range(4), repeat=4)), float)
    for trial in range(40):
        q, cost = rng.integers(-3, 4, (4, 4)), rng.integers(-6, 7, 4).astype(float)
        maximize = bool(trial % 2)
        m = build(cost, ub=[3] * 4, types="IINI", maximize=maximize)
        quadratic(m, *((i, j, q[i, j]) for i in range(4) for j in range(4) if q[i, j]))
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
        solved(run, m, value[ok].max() if maximize else value[ok].min())


def test_semi_continuous_variables_in_a_search(build, run):
    m = build([1.0, 1], [[1, 1]], [1.5], [INF], lb=[2, 2], ub=[10, INF], types="SN")
    m.addsos([1], [0], [0, 1])
    solved(run, m, 2)
    m = build([-1.0, 1], [[1, 0]], [-INF], [9.5], lb=[2, -7], ub=[INF, -3], types="SN")
    m.addsos([1], [0], [0, 1])
    solved(run, m, -9.5, [9.5, 0])
    m.set("UB", [0], [5.0])
    solved(run, m, -7, [0, -7])


def test_quadratic_parts_that_are_not_convex(build, run):
    m = quadratic(build([0, 0.0], [[1, 2]], [-INF], [6], ub=[4, 4]), (0, 1, -1))
    solved(run, m, -4.5, [3, 1.5])
    circle = build([1, 1.0], lb=[-2, -2], ub=[2, 2])
    circle.addqconstr([], [(0, 0, 1.0), (1, 1, 1.0)], "=", 1.0)
    solved(run, circle, -(2**0.5))
    circle.set("LHS", [0], [0.25])
    circle.set("Obj", None, [0.0, 0.0])
    quadratic(circle, (0, 0, 1), (1, 1, 1))
    solved(run, circle, 0.25)  # the ring from 1/2 to 1
    mixed = build([-1, -1.0], lb=[-2, -2], ub=[2, 2], types="CI")
    mixed.addqconstr([], [(0, 0, 1.0), (1, 1, 1.0)], "<", 4.0)
    solved(run, mixed, -1 - 3**0.5, [3**0.5, 1])
    # Pooling, in the form with flows and qualities: two sources into one pool, one direct, two products. Known: -400.
    a, b, direct_x, direct_y, pool_x, pool_y, quality = range(7)
    cost = [6, 16, 10 - 9, 10 - 15, -9, -15, 0.0]
    pooling = build(cost, [[1, 1, 0, 0, -1, -1, 0], [0, 0, 1, 0, 1, 0, 0], [0, 0, 0, 1, 0, 1, 0]], [0, -INF, -INF],
                    [0, 100, 200], ub=[300] * 6 + [3], lb=[0] * 6 + [1])  # fmt: skip
    pooling.addqconstr([(a, -3.0), (b, -1.0)], [(quality, pool_x, 1.0), (quality, pool_y, 1.0)], "=", 0.0)
    pooling.addqconstr([(direct_x, -0.5), (pool_x, -2.5)], [(quality, pool_x, 1.0)], "<", 0.0)
    pooling.addqconstr([(direct_y, 0.5), (pool_y, -1.5)], [(quality, pool_y, 1.0)], "<", 0.0)
    solved(run, pooling, -400)


@pytest.mark.parametrize("kind", range(6))
def test_no_end_or_no_point(build, run, kind):
    if kind == 0:  # bilinear, and no row in the way
        m = quadratic(build([0, 0.0], lb=[-INF] * 2), (0, 1, 1))
    elif kind == 1:  # a direction between the axes, with a row and a quadratic row
        m = build([0, 0, 1.0], [[1, -3, 0]], [-5], [INF], lb=[-INF] * 3)
        quadratic(m, (0, 0, 1), (1, 1, 1), (0, 1, -2.5))
        m.addqconstr([], [(2, 2, 1.0), (2, 0, 1.0)], "<", 4.0)
    elif kind == 2:
        m = quadratic(build([-1, 0.0], types="IC"), (1, 1, 1))
    elif kind == 3:
        m = quadratic(build([0, 0.0], types="CI"), (0, 1, -1))
    elif kind == 4:
        m = build([-1, -1.0])
        m.addsos([1], [0], [0, 1])
    else:
        m = build([-1, 0.0])
        m.addqconstr([], [(0, 1, 1.0)], "<", 4.0)
    m.parameter("MaxTime", 20.0)
    assert run(m) == (0, UNBOUNDED)
    assert m.count("HasPrimalRay") == 1
    ray = primal(m)
    assert np.abs(ray).max() > 1e-3
    # With a row that nothing fulfils, and integers that fit nothing, there is no point to begin from.
    n = m.count("NumVars")
    m.addvars(2, lb=[-9, -9], ub=[9, 9], vtype="II")
    m.addrow([n, n + 1], [2.0, 2.0], 3, 3)
    assert run(m) == (0, INFEASIBLE)


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
    # A cutoff below every solution leaves none.
    easy = build([1, 1.0], [[1, 1]], [1.5], [INF], types="II")
    easy.addsos([1], [0], [0, 1])
    easy.parameter("MIP/Cutoff", 2.0)
    solved(run, easy, 2)
    easy.parameter("MIP/Cutoff", 1.9)
    assert run(easy) == (0, INFEASIBLE)
