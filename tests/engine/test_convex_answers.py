"""Convex quadratic rows and large convex objectives: optima known by hand or proven by their dual values."""

import capi
import numpy as np
import pytest
from answers import INF, INFEASIBLE, OPTIMAL, UNBOUNDED, data, duals, large_qp, primal, reduced


def certified(m, rows=(), objective=()):
    """Optimal by stationarity, signs and complementarity; `rows` are the quadratic parts by row, of plain arrays."""
    x, y, d = primal(m), duals(m), reduced(m)
    matrix, low, high, lb, ub = data(m)
    cost = np.array(m.get("Obj", length=len(x)))
    gradient = cost + (np.zeros(len(x)) if len(objective) == 0 else (objective + objective.T) @ x)
    activity = matrix @ x
    for i, q in dict(rows).items():
        activity[i] += x @ q @ x
        matrix[i] += (q + q.T) @ x
    assert activity == pytest.approx(m.get("Activity", length=len(y)), abs=1e-6)
    assert d == pytest.approx(gradient - matrix.T @ y, abs=1e-6)
    worth = 0.0
    for price, value, below, above in [*zip(y, activity, low, high), *zip(d, x, lb, ub)]:
        size = 1e-6 * max(1, abs(value))
        assert below - size <= value <= above + size
        price *= m.count("ModelSense")
        side = below if price > 0 else above
        if abs(side) < INF:
            worth += abs(price * (value - side))
        else:
            assert abs(price) < 1e-6
    assert worth <= 1e-6 * max(1, abs(m.number("ObjVal")))
    assert m.number("DualObjVal") == pytest.approx(m.number("ObjVal"), rel=1e-5, abs=1e-5)


@pytest.mark.parametrize("maximize", [False, True])
@pytest.mark.parametrize("side", ["<", ">"])
def test_a_ball(build, run, maximize, side):
    sign, turn = (1 if side == "<" else -1), (1 if maximize else -1)
    m = build([3.0 * turn, 4.0 * turn], lb=[-INF] * 2, maximize=maximize)
    m.addqconstr([], [(0, 0, sign * 1.0), (1, 1, sign * 1.0)], side, sign * 1.0)
    assert run(m) == (0, OPTIMAL)
    assert m.number("ObjVal") == pytest.approx(5 * turn, abs=1e-6)
    assert primal(m) == pytest.approx([0.6, 0.8], abs=1e-6)
    assert duals(m) == pytest.approx([2.5 * turn * sign], abs=1e-5)
    assert reduced(m) == pytest.approx([0, 0], abs=1e-6)
    assert m.count("IPM/NumIters") > 0


def test_cones(build, run):
    cone = build([1, 0, 0.0], lb=[0, 3, 4])
    cone.addqconstr([], [(1, 1, 1.0), (2, 2, 1.0), (0, 0, -1.0)], "<", 0.0)
    assert run(cone) == (0, OPTIMAL)
    assert primal(cone) == pytest.approx([5, 3, 4], abs=1e-5)
    assert reduced(cone) == pytest.approx([0, 0.6, 0.8], abs=1e-5)  # what a longer leg costs
    rotated = build([1, 1, 0.0], lb=[0, 0, 2])
    rotated.addqconstr([], [(2, 2, 1.0), (0, 1, -1.0)], "<", 0.0)
    assert run(rotated) == (0, OPTIMAL)
    assert primal(rotated) == pytest.approx([2, 2, 2], abs=1e-4)
    # At the apex, where there is no gradient.
    apex = build([1, 0.5, 0.0], lb=[0, -INF, -INF])
    apex.addqconstr([], [(1, 1, 1.0), (2, 2, 1.0), (0, 0, -1.0)], "<", 0.0)
    assert run(apex) == (0, OPTIMAL)
    assert apex.number("ObjVal") == pytest.approx(0, abs=1e-5)


def test_a_portfolio_with_a_bound_on_its_variance(build, run, rng):
    n, factors = 120, 12
    exposure = rng.normal(size=(factors, n))
    matrix = np.vstack([np.r_[np.ones(n), np.zeros(factors)], np.c_[exposure, -np.eye(factors)]])
    m = build(
        np.r_[rng.uniform(0, 1, n), np.zeros(factors)], matrix, np.r_[1, np.zeros(factors)],
        np.r_[1, np.zeros(factors)], lb=np.r_[np.zeros(n), np.full(factors, -INF)], maximize=True,
    )  # fmt: skip
    risk = np.diag(np.r_[np.full(n, 0.05), np.ones(factors)])
    m.addqconstr([], [(j, j, risk[j, j]) for j in range(n + factors)], "<", 0.02)
    assert run(m) == (0, OPTIMAL)
    certified(m, {1 + factors: risk})
    assert min(primal(m)[:n]) == 0  # exactly at the bound, not beside it
    assert duals(m)[-1] > 0  # more risk would pay


def test_a_quadratic_objective_with_many_columns(library, run):
    n = 400
    m = large_qp(library, n)
    assert run(m) == (0, OPTIMAL)
    q = 2 * np.eye(n) - np.eye(n, k=-1) + 0.5 * np.eye(n, k=-7)
    certified(m, objective=q)
    assert 0 < m.count("IPM/NumIters") < 200
    assert np.linalg.norm(duals(m)) > 0.01


def test_no_point_no_end_and_odd_rows(build, run):
    def ball(**options):
        m = build([1, -1.0], **{"lb": [-INF, -INF], **options})
        m.addqconstr([(1, -1.0)], [(0, 0, 1.0)], "<", 0.0)  # x squared is at most y
        return m

    assert run(ball()) == (0, UNBOUNDED)
    assert run(ball(ub=[INF, -1])) == (0, INFEASIBLE)
    assert run(ball(lb=[2, -2], ub=[1, -2])) == (0, INFEASIBLE)
    fixed = ball(lb=[-1, 2], ub=[-1, 2])
    assert run(fixed) == (0, OPTIMAL)
    assert primal(fixed) == pytest.approx([-1, 2])
    # More equalities than columns, which an interior point method does not take.
    many = build([1, 1.0], [[1, 2], [2, 4], [1, 1]], [3, 6, 2], [3, 6, 2], lb=[-INF] * 2)
    many.addqconstr([(1, -1.0)], [(0, 0, 1.0)], "<", 5.0)
    assert run(many) == (0, OPTIMAL)
    assert primal(many) == pytest.approx([1, 1], abs=1e-5)
    empty = build([1, 1.0])
    empty.addqconstr([(0, 1.0)], [(0, 1, 1.0), (1, 0, -1.0)], ">", 2.0)  # nothing quadratic is left
    assert run(empty) == (0, OPTIMAL)
    assert empty.number("ObjVal") == pytest.approx(2, abs=1e-6)


def test_limits(library, run):
    m = large_qp(library, 1000)
    m.parameter("IPM/MaxIterations", 2)
    assert run(m)[0] == capi.ABORT_ITERATION_LIMIT
    m.parameter("IPM/MaxIterations", capi.MAXINT)
    m.parameter("MaxTime", 0.3)
    assert run(m)[0] == capi.ABORT_TIME_LIMIT


def test_any_number_of_runs(build, run):
    """SCIP's automatic differentiation has room for 64 threads in the life of a process."""
    m = build([-3.0, -4.0], lb=[-INF] * 2)
    m.addqconstr([], [(0, 0, 1.0), (1, 1, 1.0)], "<", 1.0)
    for radius in range(1, 100):
        m.set("RHS", [0], [float(radius)])
        assert run(m) == (0, OPTIMAL)
        assert m.number("ObjVal") == pytest.approx(-5 * radius**0.5, abs=1e-5)
