"""Convex quadratic rows and large convex objectives: optima known by hand or proven by their dual values."""

import capi
import numpy as np
import pytest
from answers import INF, OPTIMAL, certified, duals, large_qp, primal


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


def test_more_equalities_than_columns(build, run):
    """Which an interior point method does not take."""
    many = build([1, 1.0], [[1, 2], [2, 4], [1, 1]], [3, 6, 2], [3, 6, 2], lb=[-INF] * 2)
    many.addqconstr([(1, -1.0)], [(0, 0, 1.0)], "<", 5.0)
    assert run(many) == (0, OPTIMAL)
    assert primal(many) == pytest.approx([1, 1], abs=1e-5)


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
