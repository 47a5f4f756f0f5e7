"""Quadratic objectives and convex quadratic rows: optima proven by their dual values."""

from concurrent.futures import ThreadPoolExecutor

import capi
import numpy as np
import pytest
from answers import INF, OPTIMAL, add_half_form, certified, duals, large_qp, primal


def test_optimality_conditions_of_random_problems(build, run, rng):
    for trial in range(12):
        n, k = 12, 6
        factor = rng.normal(size=(n // (1 + trial % 2), n))  # of full rank, or not
        q, cost, matrix = factor.T @ factor, rng.normal(size=n), rng.normal(size=(k, n))
        side = matrix @ rng.uniform(0, 1, n)
        m = build(cost, matrix, np.full(k, -INF), side, ub=np.full(n, 2.0))
        add_half_form(m, q)
        assert run(m) == (0, OPTIMAL)
        x = primal(m)
        assert m.number("ObjVal") == pytest.approx(x @ q @ x / 2 + cost @ x, abs=1e-9)
        certified(m, objective=q / 2, tolerance=1e-4)


def test_convexity_decides_who_may_solve(build, logged, rng):
    for trial in range(60):
        n, rank = int(rng.integers(2, 90)), int(rng.integers(1, 90))
        factor = rng.normal(size=(rank, n)) * (rng.random((rank, n)) < rng.choice([0.05, 0.3, 1.0]))
        q = factor.T @ factor * 10.0 ** rng.integers(-4, 5)
        convex = trial % 2 == 0
        if not convex:
            values, vectors = np.linalg.eigh(q)
            q -= np.outer(vectors[:, 0], vectors[:, 0]) * (values[0] + 1e-3 * max(values[-1], 1e-3))
            q = (q + q.T) / 2
        maximize = bool(rng.integers(2))
        m = build(np.zeros(n), ub=np.ones(n), maximize=maximize)
        add_half_form(m, -q if maximize else q)
        m.parameter("MIP/MaxNodes", 0)  # the search is another matter
        code, log = logged(m, MaxTime=10.0)
        assert code == 0 or not convex, trial
        assert ("not convex" in log) == (not convex), trial


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


def test_limits(library, run):
    m = large_qp(library, 1000)
    m.parameter("IPM/MaxIterations", 2)
    assert run(m)[0] == capi.ABORT_ITERATION_LIMIT
    m.parameter("IPM/MaxIterations", capi.MAXINT)
    m.parameter("MaxTime", 0.3)
    assert run(m)[0] == capi.ABORT_TIME_LIMIT


def test_any_number_of_runs(build, run):
    """SCIP and its automatic differentiation have room for 64 threads in the life of a process."""
    m = build([-3.0, -4.0], lb=[-INF] * 2)
    m.addqconstr([], [(0, 0, 1.0), (1, 1, 1.0)], "<", 1.0)
    for square in range(1, 80):
        m.set("RHS", [0], [float(square)])
        m.set("VType", [0], "CI"[square % 2])
        with ThreadPoolExecutor(1) as pool:
            assert pool.submit(run, m).result() == (0, OPTIMAL)
        best = max(3 * x + 4 * (square - x * x) ** 0.5 for x in range(int(square**0.5) + 1))
        assert m.number("ObjVal") == pytest.approx(-best if square % 2 else -5 * square**0.5, abs=1e-5)
