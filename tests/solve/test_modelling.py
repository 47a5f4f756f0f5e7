"""Models stated in Python, solved, edited, cut down, solved again; every answer is known."""

import pytest
import tessolvpy as tso


def solved(m):
    m.optimize()
    assert m.Status == tso.TSO.OPTIMAL
    return m.ObjVal


def test_a_plan_that_changes(new):
    """Two products on three machines, with optima by hand."""
    m = new("plan")
    x = m.addVars(["a", "b"], name="make")
    a, b = x["a"], x["b"]
    first = m.addConstr(a <= 4, "first")
    second = m.addLConstr(2 * b, "<", 12, "second")
    third = m.addConstr(3 * a + 2 * b <= 18, name="third")
    m.setObjective(3 * a + 5 * b, tso.TSO.MAXIMIZE)
    assert solved(m) == pytest.approx(36)
    assert (a.X, b.X) == pytest.approx((2, 6))
    assert [c.DualSoln for c in (first, second, third)] == pytest.approx([0, 1.5, 1])
    objective = m.getObjective()
    assert type(objective) is tso.LinExpr
    assert objective.getValue() == pytest.approx(36)
    assert (3 * a + 5 * b + 1).getValue() == pytest.approx(37)
    assert (a * b + 1).getValue() == pytest.approx(13)
    a.lb = 3  # a bound
    assert solved(m) == pytest.approx(31.5)
    m.setObjective(objective + 10)  # the sense stays
    assert solved(m) == pytest.approx(41.5)
    c = m.addVar(ub=1, obj=2, name="c", column=tso.Column([1, 1], [first, third]))
    assert c.index == 2
    assert solved(m) == pytest.approx(41.5)  # worth 2, but it takes half a b
    third.rhs = 30
    assert solved(m) == pytest.approx(52)  # a 4, b 6, c 0
    m.remove(first)
    assert (second.index, third.index, first.index) == (0, 1, -1)
    assert solved(m) == pytest.approx(59)  # a 17/3, b 6, c 1
    m.remove([a, third])
    assert (b.index, c.index, m.NumVars, m.NumConstrs) == (0, 1, 2, 1)
    assert solved(m) == pytest.approx(42)
    assert [v.VarName for v in m.getVars()] == ["make['b']", "c"]
    uses = lambda: a.X, lambda: first.rhs, lambda: m.addConstr(a <= 1), lambda: m.addVar(column=tso.Column(1, first))
    for use in uses:
        with pytest.raises(tso.TessolvError):
            use()
    m.addConstr(False)
    m.optimize()
    assert m.Status == tso.TSO.INFEASIBLE
