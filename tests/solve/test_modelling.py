"""Models stated in Python, solved, edited, cut down, solved again; every answer is known or computed a second time."""

import numpy as np
import pytest
import tessolvpy as tso
from problems import INF, random_problem
from scipy.optimize import Bounds, LinearConstraint, milp

OPTIMAL, INFEASIBLE, UNBOUNDED = tso.TSO.OPTIMAL, tso.TSO.INFEASIBLE, tso.TSO.UNBOUNDED


@pytest.fixture
def model(quiet_env):
    made = []

    def new(name=""):
        made.append(tso.Model(name, quiet_env))
        return made[-1]

    yield new
    for one in made:
        one.dispose()


def solved(m):
    m.optimize()
    assert m.Status == OPTIMAL
    return m.ObjVal


def test_a_plan_that_changes(model):
    """Two products on three machines, with optima by hand."""
    m = model("plan")
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
    for use in (
        lambda: a.X,
        lambda: first.rhs,
        lambda: m.addConstr(a + b <= 1),
        lambda: m.addVar(column=tso.Column(1, first)),
    ):
        with pytest.raises(tso.TessolvError):
            use()
    m.addConstr(False)
    m.optimize()
    assert m.Status == INFEASIBLE


@pytest.mark.parametrize("integers", [False, True], ids=["lp", "mip"])
@pytest.mark.parametrize("seed", range(12))
def test_random_models(model, integers, seed):
    """Stated term by term, with an edit and a removal between the runs."""
    rng = np.random.default_rng([seed, integers])
    p = random_problem(rng, rows=6, columns=7, integers=integers, maximize=bool(seed % 2))
    m = model()
    low, high = (np.where(np.isinf(v), np.sign(v) * tso.TSO.INFINITY, v) for v in (p.lb, p.ub))
    kinds = ["I" if i else "C" for i in p.integer]
    xs = list(m.addVars(7, lb=low, ub=list(high), vtype=kinds).values())
    rows = []
    for row, lower, upper in zip(p.matrix, p.low, p.high):
        e = tso.LinExpr()
        for value, x in zip(row, xs):
            e += value * x
        which = len(rows) % 3
        if which == 0:
            rows.append(m.addRange(e + 1, lower + 1, upper + 1))
        elif lower == upper:
            rows.append(m.addConstr(e == lower))
        elif lower == -INF:
            rows.append(m.addConstr(e <= upper))
        elif upper == INF:
            rows.append(m.addConstr(sum(v * x for v, x in zip(row, xs)) >= lower))
        else:
            rows.append(m.addConstr(e == [lower, upper]))
    m.setObjective(tso.quicksum(c * x for c, x in zip(p.cost, xs)), -1 if p.maximize else 1)
    columns, lines = np.arange(7), np.arange(6)
    for change in range(3):
        check(m, p, columns, lines, xs)
        if change == 0:  # another cost and another bound
            p.cost = p.cost[::-1].copy()
            p.ub[2] = p.lb[2] = 1.0
            xs[2].ub = xs[2].lb = 1.0
            m.setObjective(tso.LinExpr(list(p.cost), xs))
        elif change == 1:
            gone = {1, 4}
            m.remove([xs[j] for j in gone] + [rows[0], m.getQConstrs()[3]])
            columns, lines = np.array([0, 2, 3, 5, 6]), np.array([1, 2, 4, 5])


def check(m, p, columns, lines, xs):
    m.optimize()
    cost = p.cost[columns] * (-1 if p.maximize else 1)
    rows = LinearConstraint(p.matrix[np.ix_(lines, columns)], p.low[lines], p.high[lines])
    bounds = Bounds(p.lb[columns], p.ub[columns])
    second = milp(cost, integrality=p.integer[columns].astype(int), bounds=bounds, constraints=[rows])
    if second.status != 0:
        assert m.Status in (INFEASIBLE, UNBOUNDED, tso.TSO.INF_OR_UBD)
        return
    assert m.Status == OPTIMAL
    assert m.ObjVal * (-1 if p.maximize else 1) == pytest.approx(second.fun, abs=1e-6)
    x = np.array([xs[j].X for j in columns])
    assert m.getObjective().getValue() == pytest.approx(m.ObjVal)
    activity = p.matrix[np.ix_(lines, columns)] @ x
    assert (activity >= p.low[lines] - 1e-6).all()
    assert (activity <= p.high[lines] + 1e-6).all()


def test_quadratic_objectives(model):
    m = model()
    x, y = m.addVar(lb=-10, name="x"), m.addVar(lb=-10, name="y")
    m.addConstr(x + y == 4)
    m.setObjective((x - 1) * (x - 1) + 2 * x * y - 2 * x * y + 2 * y**2 + 3 * x)
    # x^2 - 2 x + 1 + 2 y^2 + 3 x on y = 4 - x is 3 x^2 - 15 x + 33, least at 2.5.
    assert solved(m) == pytest.approx(14.25)
    back = m.getObjective()
    m.setObjective(back)
    assert solved(m) == pytest.approx(back.getValue())
    m.setObjective(x + 0, tso.TSO.MAXIMIZE)  # nothing quadratic is left behind
    assert type(m.getObjective()) is tso.LinExpr
    assert solved(m) == pytest.approx(14)
    m.setObjective(tso.LinExpr(2.5))
    assert (m.getObjective().size(), m.getObjective().getConstant(), solved(m)) == (0, 2.5, 2.5)
