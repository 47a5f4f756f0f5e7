"""Models stated in Python, solved, edited, cut down, solved again; every answer is known."""

import numpy as np
import pytest
import tessolvpy as tso
from scipy.optimize import Bounds, LinearConstraint, milp


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
    assert (objective.getValue(), (a * b + 1).getValue()) == pytest.approx((36, 13))
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
    column = tso.Column(1, first)
    for use in (lambda: a.X, lambda: first.rhs, lambda: m.addConstr(a <= 1), lambda: m.addVar(column=column)):
        with pytest.raises(tso.TessolvError):
            use()
    m.addConstr(False)
    m.optimize()
    assert m.Status == tso.TSO.INFEASIBLE


@pytest.mark.parametrize("kind", ["C", "I"])
@pytest.mark.parametrize("seed", range(12))
def test_random_models(new, kind, seed):
    """Stated term by term by every kind of comparison, edited and cut down between the runs; by SciPy."""
    rng = np.random.default_rng([seed, ord(kind)])
    A, cost = rng.integers(-3, 6, (6, 7)).astype(float), rng.integers(-5, 6, 7).astype(float)
    low, high = np.full(6, -np.inf), A @ rng.integers(0, 4, 7) + rng.integers(0, 3, 6)
    low[:3] = high[:3] - [0, 2, 5]
    lb, ub = np.zeros(7), rng.integers(2, 9, 7).astype(float)
    m = new()
    x = list(m.addVars(7, ub=list(ub), vtype=kind).values())
    e = [sum(a * v for a, v in zip(row, x)) for row in A]
    rows = [m.addConstr(e[0] == high[0]), m.addRange(e[1] + 1, low[1] + 1, high[1] + 1)]
    rows += [m.addConstr(e[2] == [low[2], high[2]]), m.addConstr(e[3] <= high[3])]
    rows += [m.addConstr(-high[4] <= -e[4]), m.addLConstr(e[5], "<", high[5])]
    m.setObjective(tso.quicksum(c * v for c, v in zip(cost, x)))
    columns, lines = np.arange(7), np.arange(6)
    for change in range(3):
        m.optimize()
        matrix = LinearConstraint(A[np.ix_(lines, columns)], low[lines], high[lines])
        bounds, whole = Bounds(lb[columns], ub[columns]), np.full(len(columns), kind == "I", int)
        second = milp(cost[columns], integrality=whole, bounds=bounds, constraints=matrix)
        assert m.Status == (tso.TSO.OPTIMAL if second.status == 0 else tso.TSO.INFEASIBLE)
        if second.status == 0:
            assert m.ObjVal == pytest.approx(second.fun, abs=1e-6)
            assert cost[columns] @ [x[j].X for j in columns] == pytest.approx(second.fun, abs=1e-6)
        if change == 0:  # another cost and another bound
            cost, lb[2], ub[2] = cost[::-1].copy(), 1.0, 1.0
            x[2].ub = x[2].lb = 1.0
            m.setObjective(tso.LinExpr(list(cost), x))
        elif change == 1:
            m.remove([x[1], x[4], rows[0], m.getQConstrs()[3]])
            columns, lines = np.array([0, 2, 3, 5, 6]), np.array([1, 2, 4, 5])
