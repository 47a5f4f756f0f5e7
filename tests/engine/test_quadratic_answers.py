"""Quadratic objectives."""

import numpy as np
import pytest
from answers import INF, OPTIMAL, add_quadratic, certified, primal


def test_optimality_conditions_of_random_problems(build, run, rng):
    for trial in range(12):
        n, k = 12, 6
        factor = rng.normal(size=(n // (1 + trial % 2), n))  # of full rank, or not
        q, cost, matrix = factor.T @ factor, rng.normal(size=n), rng.normal(size=(k, n))
        side = matrix @ rng.uniform(0, 1, n)
        m = build(cost, matrix, np.full(k, -INF), side, ub=np.full(n, 2.0))
        i, j = np.nonzero(np.tril(np.ones((n, n))))
        add_quadratic(m, i, j, np.where(i == j, q[i, i] / 2, q[i, j]))
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
        i, j = np.nonzero(np.tril(q))
        add_quadratic(m, i, j, np.where(i == j, q[i, i] / 2, q[i, j]) * (-1 if maximize else 1))
        m.parameter("MIP/MaxNodes", 0)  # the search is another matter
        code, log = logged(m, MaxTime=10.0)
        assert code == 0 or not convex, trial
        assert ("not convex" in log) == (not convex), trial


def test_a_quadratic_objective_with_integers_and_without_and_taken_back(build, run):
    m = build([-1.0, -1.0], ub=[3, 3], types="IC")
    add_quadratic(m, [0], [0], [1.2])
    assert run(m) == (0, OPTIMAL)
    assert m.number("ObjVal") == pytest.approx(-3)
    m.call("TSOdelq")
    add_quadratic(m, [0], [0], [1.0])
    m.set("VType", [0], "C")
    assert run(m) == (0, OPTIMAL)
    assert m.number("ObjVal") == pytest.approx(-3.25, abs=1e-6)
    m.call("TSOdelq")
    m.set("VType", [0], "I")
    assert run(m) == (0, OPTIMAL)
    assert m.number("ObjVal") == -6
