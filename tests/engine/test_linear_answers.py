"""Linear problems: values, signs, bases, rays."""

import capi
import numpy as np
import pytest
from answers import BASIC, INF, INFEASIBLE, LOWER, OPTIMAL, UNBOUNDED, UPPER, basis, certified, primal


def test_prices_and_bases_prove_the_optimum(build, run, rng):
    for trial in range(25):
        n, k = 6, 4
        matrix = rng.integers(-4, 5, (k, n)).astype(float)
        inside = matrix @ rng.uniform(0, 3, n)
        low, high = inside - rng.uniform(0, 2, k), inside + rng.uniform(0, 2, k)
        low, high = np.where(rng.random(k) < 0.4, -INF, low), np.where(rng.random(k) < 0.3, INF, high)
        m = build(rng.normal(size=n), matrix, low, high, ub=np.full(n, 5.0), maximize=bool(trial % 2))
        assert run(m) == (0, OPTIMAL)
        certified(m)
        cols, rows = basis(m)
        assert [*cols, *rows].count(BASIC) == k
        for code, *place in [*zip(rows, matrix @ primal(m), low, high), *zip(cols, primal(m), [0] * n, [5] * n)]:
            assert code == BASIC or place[0] == pytest.approx({LOWER: place[1], UPPER: place[2]}[code])


@pytest.mark.parametrize("presolve", [-1, 0, 1])
@pytest.mark.parametrize("method", [-1, 0, 1, 2])
def test_rays_prove_their_status(build, run, rng, presolve, method):
    def solve(m):
        m.parameter("Presolve", presolve)
        m.parameter("Method", method)
        return run(m)

    for _ in range(6):
        n, k = 7, 5
        matrix = rng.integers(-3, 4, (k, n)).astype(float)
        ray = rng.integers(0, 3, n).astype(float)
        ray[0] = 1
        high = np.where(matrix @ ray <= 0, rng.uniform(0, 9, k), INF)
        low = np.where((high == INF) & (matrix @ ray >= 0), -rng.uniform(0, 9, k), -INF)
        maximize = bool(rng.integers(2))
        cost = rng.normal(size=n)
        cost -= ray * (cost @ ray + 1) / (ray @ ray)  # cost @ ray == -1
        m = build(-cost if maximize else cost, matrix, low, high, maximize=maximize)
        assert solve(m) == (0, UNBOUNDED)
        assert (m.count("HasPrimalRay"), m.count("HasDualRay"), m.count("HasSolution")) == (1, 0, 0)

        weights = rng.integers(-3, 4, k).astype(float)  # of rows that contradict one another
        weights[0] = 2
        side = np.where(weights > 0, 1.0, -INF), np.where(weights < 0, 1.0, INF)
        infeasible = build(
            rng.normal(size=n), np.r_[matrix, [weights @ matrix]],
            np.r_[side[0], -INF], np.r_[side[1], weights.sum() - 1],
            lb=np.full(n, -INF), maximize=maximize,
        )  # fmt: skip
        assert solve(infeasible) == (0, INFEASIBLE)
        assert (infeasible.count("HasPrimalRay"), infeasible.count("HasDualRay")) == (0, 1)


@pytest.mark.parametrize("method", [2, 3, 4])
def test_methods_agree(build, run, rng, fails, method):
    n, k = 30, 20
    matrix, inside = rng.normal(size=(k, n)), rng.uniform(0, 1, n)
    m = build(rng.normal(size=n), matrix, matrix @ inside - 0.1, matrix @ inside + 0.1, ub=np.full(n, 1.0))
    assert run(m) == (0, OPTIMAL)
    value = m.number("ObjVal")
    m.dll.TSOreset(m.handle, 0)
    m.parameter("Method", method)
    assert run(m) == (0, OPTIMAL)
    assert m.number("ObjVal") == pytest.approx(value, abs=1e-5)
    assert m.number("DualObjVal") == pytest.approx(value, abs=1e-4)
    assert m.count("IPM/NumIters") > 0
    if method == 2:  # it crosses over
        assert len(basis(m)[0]) == n
    else:
        fails(capi.DATA_NOT_AVAILABLE, basis, m)
