"""Reading results, checking them against the mathematics, and problems that are hard enough."""

import capi
import numpy as np
import pytest

OPTIMAL, INFEASIBLE, UNBOUNDED, SUB_OPTIMAL = 1, 2, 3, 5
LOWER, BASIC, UPPER = range(3)
INF = capi.INFINITY
needs_csdp = pytest.mark.skipif(not capi.has_csdp(), reason="built without CSDP")


def build(library, cost, matrix=(), low=(), high=(), lb=None, ub=None, types=None, maximize=False):
    """A model out of dense data."""
    m = library.model()
    m.addvars(len(cost), obj=cost, lb=lb, ub=ub, vtype=types)
    for row, below, above in zip(np.atleast_2d(matrix) if len(matrix) else (), low, high):
        ind = np.flatnonzero(row)
        m.addrow(ind, np.asarray(row, float)[ind], below, above)
    if maximize:
        m.call("TSOsetintattr", "ModelSense", -1)
    return m


def maximize(m):
    m.call("TSOsetintattr", "ModelSense", -1)


def max_cut(library, n, edges):
    """The semi-definite bound of the maximum cut."""
    laplacian = np.zeros((n, n))
    for i, j in edges:
        laplacian[[i, j], [i, j]] += 0.25
        laplacian[[i, j], [j, i]] -= 0.25
    m = library.model()
    maximize(m)
    m.addpsdvar(n, [(i, j, laplacian[i, j]) for i in range(n) for j in range(i + 1) if laplacian[i, j]])
    for i in range(n):
        m.addpsdrow([(0, i, i, 1.0)], 1, 1)
    return m


def theta(library, n, edges):
    """Lovasz's bound of the independent sets."""
    m = library.model()
    maximize(m)
    m.addpsdvar(n, [(i, j, 1.0) for i in range(n) for j in range(i + 1)])
    m.addpsdrow([(0, i, i, 1.0) for i in range(n)], 1, 1)
    for i, j in edges:
        m.addpsdrow([(0, i, j, 1.0)], 0, 0)
    return m


def primal(m):
    return np.array(m.get("X", length=m.count("NumVars")))


def duals(m):
    return np.array(m.get("DualSoln", length=m.count("NumConstrs")))


def reduced(m):
    return np.array(m.get("ReducedCost", length=m.count("NumVars")))


def basis(m):
    cols = m.get("ColBasis", kind="int", length=m.count("NumVars"))
    return cols, m.get("RowBasis", kind="int", length=m.count("NumConstrs"))


def data(m):
    """Dense matrix, row sides, column bounds."""
    n, k = m.count("NumVars"), m.count("NumConstrs")
    matrix = np.zeros((k, n))
    for i, row in enumerate(m.rows()):
        for j, v in row:
            matrix[i, j] = v
    return matrix, *(np.array(m.get(a, length=c)) for a, c in (("LHS", k), ("RHS", k), ("LB", n), ("UB", n)))


def certified(m, rows=(), objective=(), tolerance=1e-6):
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
    assert d == pytest.approx(gradient - matrix.T @ y, abs=tolerance)
    worth = 0.0
    for price, value, below, above in [*zip(y, activity, low, high), *zip(d, x, lb, ub)]:
        size = 1e-6 * max(1, abs(value))
        assert below - size <= value <= above + size
        price *= m.count("ModelSense")
        side = below if price > 0 else above
        if abs(side) < INF:
            worth += abs(price * (value - side))
        else:
            assert abs(price) < tolerance
    assert worth <= tolerance * max(1, abs(m.number("ObjVal")))
    assert m.number("DualObjVal") == pytest.approx(m.number("ObjVal"), rel=10 * tolerance, abs=10 * tolerance)


def market_split(build, rows, columns, seed=1):
    """Equal halves in several rows at once: small, and out of reach for branch and bound soon."""
    rng = np.random.default_rng(seed)
    weights = rng.integers(0, 100, (rows, columns)).astype(float)
    slack = np.kron(np.eye(rows), [1.0, -1.0])
    half = np.floor(weights.sum(axis=1) / 2)
    cost = np.r_[np.zeros(columns), np.ones(2 * rows)]
    ub = np.r_[np.ones(columns), np.full(2 * rows, INF)]
    return build(cost, np.c_[weights, slack], half, half, ub=ub, types="B" * columns + "C" * 2 * rows)


def large_qp(library, n):
    """Convex, sparse, with n / 2 rows."""
    rng = np.random.default_rng(3)
    m = library.model()
    m.addvars(n, obj=rng.uniform(-10, 10, n), lb=np.full(n, -10.0), ub=np.full(n, 10.0))
    for _ in range(n // 2):
        m.addrow(
            np.arange(8) * (n // 8) + rng.integers(0, n // 8, 8), rng.uniform(-10, 10, 8), upper=rng.uniform(0, 50)
        )
    i = np.arange(n)
    add_quadratic(m, i, i, np.full(n, 2.0))
    add_quadratic(m, i[1:], i[:-1], np.full(n - 1, -1.0))
    add_quadratic(m, i[7:], i[:-7], np.full(n - 7, 0.5))
    return m


def add_quadratic(m, rows, cols, values):
    m.call("TSOaddqpterms", len(rows), rows, cols, values)


def add_half_form(m, matrix):
    """x' matrix x / 2 for a symmetric matrix."""
    i, j = np.nonzero(np.tril(matrix))
    add_quadratic(m, i, j, np.where(i == j, 0.5, 1) * matrix[i, j])
