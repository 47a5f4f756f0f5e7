"""Semi-definite problems with optima that are known or computed by other means."""

import numpy as np
import pytest
import scipy.sparse as sp
import tessolvpy as tso
from answers import needs_csdp
from scipy.linalg import solve_continuous_are
from tessolvpy import TSO

pytestmark = needs_csdp
CYCLE = [(i, (i + 1) % 5) for i in range(5)]


@pytest.fixture
def m(new):
    return new()


def near(value):
    return pytest.approx(value, rel=1e-6, abs=1e-6)


def cell(i, j, n):
    """The matrix whose product with X is X[i, j]."""
    return sp.coo_matrix(([1.0], ([i], [j])), (n, n))


def laplacian(edges, n):
    adjacent = np.zeros((n, n))
    for i, j in edges:
        adjacent[i, j] = adjacent[j, i] = 1.0
    return np.diag(adjacent.sum(axis=0)) - adjacent


def solved(m):
    """The optimum, with what every optimum of a semi-definite problem must show."""
    m.optimize()
    assert m.Status == TSO.OPTIMAL
    assert m.DualObjVal == near(m.ObjVal) == near(m.getObjective().getValue())
    for X in m.getPsdVars():
        value = X.PsdX
        assert type(value) is np.ndarray and value.shape == (X.Dim, X.Dim)
        assert np.array_equal(value, value.T) and np.linalg.eigvalsh(value)[0] > -1e-7
    for c in m.getPsdConstrs():
        assert c.PsdCLHS - 1e-6 <= m.getConstrs()[c.index].Activity <= c.PsdCRHS + 1e-6
    return m.ObjVal


def test_max_cut_bound_through_edits(m):
    """The bound of the cycle of five by every route, and after changes with optima by hand."""
    best, L = 5 * (5 + 5**0.5) / 8, laplacian(CYCLE, 5)
    assert best == pytest.approx(4.52254249, abs=5e-9)
    X = m.addPsdVar(5, 0.25 * L, "X")
    m.ModelSense = TSO.MAXIMIZE
    rows = [
        m.addConstr(cell(0, 0, 5) * X == 1, "d0"), m.addConstr(cell(1, 1, 5) * X - 1 <= 0),
        m.addPsdConstr(1, ">", X * cell(2, 2, 5)), m.addRange(X * cell(3, 3, 5).toarray(), 0.5, 1),
        m.addConstrs((X * cell(i, i, 5) == [1, 1] for i in [4]), "d")[4],
    ]  # fmt: skip
    assert solved(m) == near(best) == near((0.25 * L * X).getValue())
    twins = [m.getConstrs()[c.index] for c in rows]
    # The dual problem: the least sum(y) with diag(y) - L / 4 semi-definite; the third row has the sign turned.
    y = np.array([1, 1, -1, 1, 1]) * [t.DualSoln for t in twins]
    assert y.sum() == near(best) and np.linalg.eigvalsh(np.diag(y) - 0.25 * L)[0] == pytest.approx(0, abs=1e-6)
    assert [c.index for c in m.getPsdConstrs()] == list(range(5)) and m.NumPsdConstrs == 5
    assert (str(X), str(rows[0]), str(rows[4])) == ("<PsdVar X>", "<PsdConstr d0>", "<PsdConstr d[4]>")
    for c in rows:  # all sides doubled
        c.PsdCLHS, c.PsdCRHS = 2 * c.PsdCLHS, 2 * c.PsdCRHS
    assert solved(m) == near(2 * best)
    X.PsdObj = 0.5 * X.PsdObj
    assert solved(m) == near(best)
    assert np.allclose(m.getObjective().getCoeff(0).toarray(), L / 8)
    m.setObjective(m.getObjective() + 1 + L / 8 * X)
    assert solved(m) == near(2 * best + 1)
    m.setObjective(tso.PsdExpr(laplacian([(0, 1), (2, 3)], 5), X), TSO.MINIMIZE)
    assert solved(m) == near(0)
    x = m.addVar(ub=3)
    m.setObjective(1 * x, TSO.MAXIMIZE)  # the old objective is gone
    assert (solved(m), X.PsdObj.nnz, type(m.getObjective())) == (near(3), 0, tso.LinExpr)
    m.setObjective(laplacian(CYCLE[:2], 5) * X - x)
    assert solved(m) == near(2 * 2 * 4)  # a path can be cut in all of its edges: (x_i - x_j)^2 is 4 * 2
    m.remove(twins[4])  # what a row was removed by
    assert rows[4].index < 0 and m.NumPsdConstrs == 4
    copied = m.copy()
    assert solved(copied) == near(solved(m))


def test_a_regulator(m):
    """The cost of an optimal control, the largest P with [[A'P + PA + Q, PB], [B'P, R]] semi-definite: by Riccati."""
    rng = np.random.default_rng(4)
    A, B, Q, R = rng.normal(size=(4, 4)), rng.normal(size=(4, 2)), np.diag([1.0, 2.0, 0.5, 1.0]), np.eye(2)
    P, M = m.addPsdVar(4), m.addPsdVar(6)
    for i in range(6):
        for j in range(i + 1):
            C = np.zeros((4, 4))
            if i < 4:
                C[:, j] += A[:, i]
                C[i, :] += A[:, j]
            elif j < 4:
                C[:, j] += B[:, i - 4]
            constant = Q[i, j] if i < 4 else R[i - 4, j - 4] if j >= 4 else 0.0
            m.addConstr(cell(i, j, 6) * M == C * P + constant)
    m.setObjective(np.eye(4) * P, TSO.MAXIMIZE)
    riccati = solve_continuous_are(A, B, Q, R)
    assert solved(m) == near(np.trace(riccati)) and np.allclose(P.PsdX, riccati, atol=1e-4)


def test_what_is_refused_leaves_the_model(m, new):
    X, other = m.addPsdVar(2, [[2, 1], [1, 0]]), new("other")
    Z, z, huge = other.addPsdVar(2), other.addVar(), m.addPsdVar(10**6)
    row, error, one = m.addConstr(np.eye(2) * X == 1), tso.TessolvError, np.eye(2)
    for act in [
        lambda: m.addConstr(one * Z <= 1), lambda: m.addConstr(one * X + z <= 1), lambda: one * tso.PsdVar(),
        lambda: m.addRange(one * X, 0, float("nan")), lambda: m.addConstr(1e200 * (1e200 * one * X) <= 1),
        lambda: m.setObjective(one * X + z, -1), lambda: m.setObjective(1e25 * one * X, -1),
        lambda: setattr(X, "PsdX", one), lambda: setattr(X, "Dim", 3), lambda: m.addConstr(one * X <= 1, "n" * 600),
    ]:  # fmt: skip
        with pytest.raises(error):
            act()
        assert (m.NumConstrs, m.NumPsdVars, m.NumPsdConstrs, m.ModelSense) == (1, 2, 1, TSO.MINIMIZE)
        assert m.getPsdConstrs() == [row] and m.getPsdVars() == [X, huge] and len(m.getConstrs()) == 1
        assert X.PsdObj.toarray().tolist() == [[2, 1], [1, 0]]
    with pytest.raises(MemoryError):
        other.addPsdVar(2**31 - 1).getAttr("PsdObj")
    other.dispose()
    for act in (lambda: np.eye(2) * Z, lambda: Z.PsdObj):  # of a model that is gone
        with pytest.raises(error):
            act()
    huge.PsdObj = sp.eye(10**6)  # as large as can be stated, but not solved
    assert huge.PsdObj.nnz == 10**6
    with pytest.raises(error):
        m.optimize()
