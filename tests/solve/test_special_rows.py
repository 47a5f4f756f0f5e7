"""Quadratic rows, special ordered sets and indicators, stated by every route, solved and edited; the
optima are known by hand."""

import numpy as np
import pytest
import tessolvpy as tso
from tessolvpy import TSO


def near(value):
    return pytest.approx(value, rel=1e-5, abs=1e-5)


def best(m):
    m.optimize()
    assert m.Status == TSO.Status.OPTIMAL
    return m.ObjVal


DISC = {
    "linear terms and constants on both sides": lambda m, x, y: m.addConstr((x - 1) * (x + 1) + y * y + x + 1 <= x + 2),
    "a range": lambda m, x, y: m.addConstr(x * x + y * y == [0, 2]),
    "the other sense": lambda m, x, y: m.addQConstr(2, ">", x * x + y * y),
    "arrays": lambda m, x, y: m.addConstr(
        tso.MVar.fromlist([x, y]) @ np.eye(2) @ tso.MVar.fromlist([x, y]) <= 2
    ).item(),
    "from a generator": lambda m, x, y: m.addConstrs(x * x + y * y <= k for k in (2, 3))[2],
}


@pytest.mark.parametrize("route", DISC)
def test_a_disc(new, route):
    m = new()
    x, y = m.addVar(name="x"), m.addVar(lb=-TSO.INFINITY, name="y")
    row = DISC[route](m, x, y)
    m.setObjective(x + y, TSO.MAXIMIZE)
    assert type(row) is tso.QConstr
    assert best(m) == near(2) == near(x.X + y.X) and x.X == near(1)
    if row.QCRHS < TSO.INFINITY:
        row.QCRHS = 8
    else:
        row.QCLHS = -8
    assert best(m) == near(4 if len(m.getQConstrs()) == 1 else np.sqrt(6))
    m.remove([row, *m.getConstrs()])
    x.UB = y.UB = 9
    assert best(m) == near(18)


def test_rows_of_arrays(new):
    m = new()
    x = m.addMVar(3, ub=10)
    rows = m.addConstr(x * x <= np.array([1, 4, 9]), name="square")
    m.setObjective(x.sum().item(), TSO.MAXIMIZE)
    assert best(m) == near(6) and x.X == near([1, 2, 3])
    assert rows.QCName.tolist() == ["square[0]", "square[1]", "square[2]"]
    rows.QCRHS = 4
    assert best(m) == near(6)
    m.remove(rows[1:])
    assert best(m) == near(22)


def test_sets(new):
    m = new()
    x = m.addVars("abc", ub=1, name="x")
    a, b, c = x.values()
    m.setObjective(3 * a + 2 * b + 4 * c, TSO.MAXIMIZE)
    for kind, order, weights, value in [
        (TSO.SOS_TYPE1, x, None, 4), (TSO.SOS_TYPE1, iter([c, a, b]), [1, 2, 5], 4),
        (TSO.SOS_TYPE2, x.values(), None, 6), (TSO.SOS_TYPE2, [a, c, b], np.array([-1.5, 0, 1e6]), 7),
        (TSO.SOS_TYPE2, tso.MVar.fromlist([b, a, c]), range(3), 7),
    ]:  # fmt: skip
        one = m.addSOS(kind, order, weights)
        assert best(m) == near(value)
        m.remove(one)
        assert (one.index, m.getSOSs(), best(m)) == (-1, [], near(9))
    m.addSOS(1, [a, b])
    other = m.addSOS(1, [a, c])
    assert best(m) == near(6)
    m.remove(c)
    assert (other.index, best(m)) == (1, near(3))


INDICATORS = {
    "pairs": lambda m, b, x, y: [
        m.addConstr((b == 1) >> (x + y + 1 <= 4)), m.addConstr((b == 0) >> (-2 * x >= 2 * y - 12))
    ],
    "calls": lambda m, b, x, y: [
        m.addGenConstrIndicator(b, True, x + y == 3, name="one"), m.addGenConstrIndicator(b, False, 6, ">", x + y)
    ],
}  # fmt: skip


@pytest.mark.parametrize("route", INDICATORS)
def test_indicators(new, route):
    m = new()
    b = m.addVar(vtype=TSO.BINARY, name="b")
    x, y = m.addVar(ub=10, name="x"), m.addVar(ub=10, name="y")
    one, zero = INDICATORS[route](m, b, x, y)
    assert type(one) is tso.GenConstr and one.GenConstrType == TSO.GENCONSTR_INDICATOR
    for worth, value in (4, 7), (2, 6), (0, 6):
        m.setObjective(x + y + worth * b, TSO.MAXIMIZE)
        assert best(m) == near(value) and b.X == near(float(value == 7))
    b.LB = 1
    assert best(m) == near(3)
    m.remove(one)
    assert (zero.index, best(m)) == (0, near(20))


def test_what_the_library_refuses(new):
    m = new()
    x, b, gone = m.addVar(ub=2), m.addVar(vtype=TSO.BINARY), m.addVar(vtype=TSO.BINARY)
    nan, other = float("nan"), new().addVar(vtype=TSO.BINARY)
    m.remove(gone)
    wrong_column, wrong = TSO.Error.MODEL_INVALID_COL_IDX, TSO.Error.INVALID_ARGUMENT
    for act, code in [
        *[(lambda v=v, act=act: act(v), wrong_column) for v in (gone, other) for act in (
            lambda v: m.addConstr(x * v <= 1), lambda v: m.addConstr(x * x + v <= 1), lambda v: m.addSOS(1, [v, x]),
            lambda v: m.addConstr((b == 1) >> (x + v <= 1)), lambda v: m.addGenConstrIndicator(v, 1, x <= 1))],
        *[(lambda sides=sides: m.addConstr(x * x == sides), wrong) for sides in (
            [nan, 1], [1, nan], [nan, nan], [nan, 1e30], [1e30, 1e30], [-1e30, -1e30])],
        (lambda: m.addGenConstrIndicator(x, 1, x <= 1), TSO.Error.MODEL_INVALID_INDICATOR_COL_IDX),
        (lambda: m.addConstr(tso.MVar.fromlist([b, x]) * x <= [1, nan] * np.ones(2)), wrong),
    ]:  # fmt: skip
        with pytest.raises(tso.TessolvError) as caught:
            act()
        assert caught.value.errno == code
        assert (m.NumConstrs, m.NumQConstrs, m.NumSOS, m.NumGenConstrs) == (0, 0, 0, 0)
        assert (m.getConstrs(), m.getQConstrs(), m.getSOSs(), m.getGenConstrs()) == ([], [], [], [])
