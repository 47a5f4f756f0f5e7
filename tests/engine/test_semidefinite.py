"""Semi-definite variables and second-order cones: known optima, optimality conditions, statuses."""

import answers
import capi
import numpy as np
import pytest
from answers import INF, INFEASIBLE, OPTIMAL, SUB_OPTIMAL, UNBOUNDED, duals, max_cut, needs_csdp, primal, reduced, theta

pytestmark = needs_csdp
CYCLE = [(i, (i + 1) % 5) for i in range(5)]
PETERSEN = CYCLE + [(i, i + 5) for i in range(5)] + [(5 + i, 5 + (i + 2) % 5) for i in range(5)]
FREE = -INF


def model(library, dim=2, cost=(), rows=(), cols=()):
    """With one semi-definite variable, and its cost."""
    m = library.model()
    for args in cols:
        m.addvar(*args)
    m.addpsdvar(dim, cost)
    for row in rows:
        m.addpsdrow(*row)
    return m


def check_equal_objectives(m, value):
    assert m.number("ObjVal") == pytest.approx(value, rel=1e-7, abs=1e-7)
    assert m.number("DualObjVal") == pytest.approx(value, rel=1e-7, abs=1e-7)


def test_bounds_of_graphs(library, run):
    for m, value in (
        (max_cut(library, 5, CYCLE), 5 * (5 + 5**0.5) / 8),
        (theta(library, 5, CYCLE), np.sqrt(5)),
        (theta(library, 10, PETERSEN), 4.0),
    ):
        assert run(m) == (0, OPTIMAL)
        check_equal_objectives(m, value)
        (x,) = m.matrices("PsdX", [0])
        (cost,) = m.matrices("PsdObj", [0])
        assert np.linalg.eigvalsh(x)[0] > -1e-9
        assert (cost * x).sum() == pytest.approx(m.number("ObjVal"), rel=1e-12)
        # Dual values: the sum of prices times rows, less the objective, is semi-definite too.
        assert duals(m) @ m.get("RHS", length=m.count("NumConstrs")) == pytest.approx(value, rel=1e-7)
        assert m.count("IPM/NumIters") > 3
        assert m.count("SPX/NumIters") == 0


def test_prices_prove_the_optimum_of_random_problems(library, run, rng):
    """Matrices of several sizes beside bounded, free and fixed columns, rows of every sense, in both directions."""
    for trial in range(10):
        sizes, n, k = [1, 3, 6], 6, 8
        sign = 1 - 2 * (trial % 2)
        m = library.model()
        if sign < 0:
            answers.maximize(m)
        lb, ub = np.array([0, FREE, FREE, -1, 2, 0.5]), np.array([INF, INF, 3, 1, 2, INF])
        x0 = np.clip(rng.normal(size=n), np.maximum(lb, -9) + 0.1, np.minimum(ub, 9) - 0.1)
        x0[4] = 2
        interior = [f @ f.T + np.eye(s) for s in sizes for f in [rng.normal(size=(s, s))]]
        rows = rng.normal(size=(k, n))
        matrices = [[(f + f.T) / 2 for f in rng.normal(size=(k, s, s))] for s in sizes]
        value = rows @ x0 + sum((a * x).sum(axis=(1, 2)) for a, x in zip(matrices, interior))
        low, high = value.copy(), value.copy()
        high[[1, 4]], low[[2, 4]], low[5] = INF, FREE, value[5] - 1
        low[1] -= 0.5
        # Costs that prices of the right signs and a definite rest make: so there is an optimum.
        price = rng.normal(size=k)
        price[1], price[2], price[4] = abs(price[1]), -abs(price[2]), 0
        high[2] += 0.5
        rest = np.array([0.7, 0, -0.3, 0.4, 1, 0.2])
        cost = sign * (rows.T @ price + rest)
        m.addvars(n, obj=cost, lb=lb, ub=ub)
        for b, s in enumerate(sizes):
            f = rng.normal(size=(s, s))
            c = sign * (np.tensordot(price, np.array(matrices[b]), 1) + f @ f.T + 0.1 * np.eye(s))
            m.addpsdvar(s, [(i, j, c[i, j]) for i in range(s) for j in range(i + 1)])
        for i in range(k):
            terms = [
                (b, r, c, matrices[b][i][c, r]) for b, s in enumerate(sizes) for c in range(s) for r in range(c, s)
            ]
            m.addpsdrow(terms, low[i], high[i], list(enumerate(rows[i])))
        m.call("TSOsetdblattr", "ObjConst", 3.0)
        assert run(m) == (0, OPTIMAL)
        x, pi, d = primal(m), duals(m), reduced(m)
        found, costs = m.matrices("PsdX", [0, 1, 2]), m.matrices("PsdObj", [0, 1, 2])
        gap = abs(m.number("ObjVal") - m.number("DualObjVal")) / (1 + abs(m.number("ObjVal")))
        assert gap < 1e-7
        assert m.number("ObjVal") == pytest.approx(
            3 + cost @ x + sum((c * y).sum() for c, y in zip(costs, found)), rel=1e-12
        )
        activity = rows @ x + sum((np.array(a) * y).sum(axis=(1, 2)) for a, y in zip(matrices, found))
        assert np.array(m.get("Activity", length=k)) == pytest.approx(activity, abs=1e-9)
        assert (activity >= low - 1e-6).all() and (activity <= high + 1e-6).all()
        assert (x >= lb - 1e-7).all() and (x <= ub + 1e-7).all()
        assert d == pytest.approx(cost - rows.T @ pi, abs=1e-6)
        assert abs(d[1]) < 1e-6
        for b in range(3):
            slack = sign * (costs[b] - np.tensordot(pi, np.array(matrices[b]), 1))
            assert np.linalg.eigvalsh(slack)[0] > -1e-6
            assert np.linalg.eigvalsh(found[b])[0] > -1e-9
            assert abs((slack * found[b]).sum()) < 1e-5
        # The price of a row is what a change of its active side changes.
        i = 0
        m.set("LHS", [i], [low[i] + 1e-3])
        m.set("RHS", [i], [high[i] + 1e-3])
        before = m.number("ObjVal")
        assert run(m) == (0, OPTIMAL)
        assert (m.number("ObjVal") - before) / 1e-3 == pytest.approx(pi[i], rel=0.05, abs=1e-3)


def test_a_quadratic_row_and_objective_beside_a_matrix(library, run):
    # min X11 + x^2, X12 = 1, X22 + y <= 2, x + y = 1, x^2 <= 4: X11 = 1 / X22, X22 = 1 + x.
    rows = [([(0, 1, 0, 0.5)], 1, 1), ([(0, 1, 1, 1.0)], FREE, 2, [(1, 1.0)])]
    m = model(library, 2, [(0, 0, 1.0)], rows, [(0.0, FREE)] * 2)
    m.addrow([0, 1], [1.0, 1.0], 1, 1)
    answers.add_quadratic(m, [0], [0], [1.0])
    m.addqconstr([], [(0, 0, 1.0)], "<", 4.0)
    assert run(m) == (0, OPTIMAL)
    x = np.roots([2, 4, 2, -1])  # of -1 / (1 + x)^2 + 2 x
    x = x[abs(x.imag) < 1e-9].real[0]
    check_equal_objectives(m, 1 / (1 + x) + x * x)
    assert primal(m) == pytest.approx([x, 1 - x], abs=1e-3)
    m.set("LB", [0], [1.5])
    assert run(m) == (0, OPTIMAL)
    check_equal_objectives(m, 1 / 2.5 + 2.25)
    assert reduced(m)[0] == pytest.approx(3 - 1 / 2.5**2, abs=1e-4)


CORNER, TRACE, OFF = [(0, 0, 0, 1.0)], [(0, 0, 0, 1.0), (0, 1, 1, 1.0)], [(0, 1, 0, 0.5)]
OUTCOMES = [  # arguments of model(), status or optimum, dual ray
    ({"rows": [(TRACE, -1, -1)]}, INFEASIBLE, [-1]),
    ({"rows": [(CORNER, 1, 1), (CORNER, 2, 2)]}, INFEASIBLE, [-1, 1]),
    ({"rows": [([], 1, 2)]}, INFEASIBLE, [1]),
    ({"rows": [(CORNER, 2, 1)]}, INFEASIBLE),
    ({"cols": [(1.0, 2.0, 1.0)]}, INFEASIBLE),
    ({"cost": [(1, 0, -1.0)], "rows": [(CORNER, 1, 1), (TRACE, -3, -2)]}, INFEASIBLE),
    ({"cost": [(1, 0, -1.0)], "rows": [(CORNER, 1, 1)]}, UNBOUNDED),
    ({"cost": [(0, 0, -1.0)]}, UNBOUNDED),
    ({"cols": [(1.0, FREE)]}, UNBOUNDED),
    ({"cost": [(0, 0, 1.0), (1, 1, 1.0)]}, 0.0),
    ({}, 0.0),
    ({"dim": 1, "cost": [(0, 0, 1.0)], "rows": [(CORNER, 3, 5)]}, 3.0),
    # One row too many; without an interior; not attained.
    ({"cost": [(0, 0, 1.0), (1, 1, 1.0)], "rows": [(CORNER, 1, 1), (TRACE, 2, 2), ([(0, 1, 1, 3.0)], 3, 3)]}, 2.0),
    ({"cost": [(1, 1, 1.0)], "rows": [(CORNER, 0, 0), (TRACE, 1, 1)]}, 1.0),
    ({"cost": [(0, 0, 1.0)], "rows": [(OFF, 1, 1)]}, 0.0),
    ({"rows": [([], -1, 1), ([], 0, 0), ([], FREE, INF)]}, 0.0),
    ({"cost": [(1, 1, 1.0)], "rows": [(CORNER, 0, 0), (OFF, 1, 1)]}, None),  # infeasible, and nothing proves it
]


@pytest.mark.parametrize(("arguments", "expected", "ray"), [(*row, None)[:3] for row in OUTCOMES])
def test_infeasible_unbounded_and_degenerate(library, run, fails, arguments, expected, ray):
    m = model(library, **arguments)
    if expected is None:
        assert run(m)[1] not in (OPTIMAL, SUB_OPTIMAL, UNBOUNDED)
        return
    optimal = isinstance(expected, float)
    assert run(m) == (0, OPTIMAL if optimal else expected)
    if optimal:
        assert m.number("ObjVal") == pytest.approx(expected, abs=1e-6)
        assert np.linalg.eigvalsh(m.matrices("PsdX", [0])[0])[0] > -1e-9
    elif expected == UNBOUNDED:
        assert m.count("HasSolution") == 0
        fails(capi.DATA_NOT_AVAILABLE, m.matrices, "PsdX", [0])
    elif ray:
        assert (m.count("HasDualRay"), duals(m)) == (1, pytest.approx(ray))


def test_numbers_of_very_different_size(library, run):
    # min 1e6 X00 + 1e-3 X11, 1e4 X10 = 1e4
    m = model(library, 2, [(0, 0, 1e6), (1, 1, 1e-3)], [([(0, 1, 0, 0.5e4)], 1e4, 1e4)])
    assert run(m) == (0, OPTIMAL)
    check_equal_objectives(m, 2e1 * np.sqrt(10))
    # Bounds that are far away, though not without effect: max x, X11 + 1e-6 x <= 4, X00 X11 >= 1.
    rows = [([(0, 1, 0, 0.5)], 1, 1), ([(0, 1, 1, 1.0)], FREE, 4, [(0, 1e-6)])]
    m = model(library, 2, [(0, 0, 1.0)], rows, [(-1.0, -1e9, 1e9)] * 2)
    m.addrow([1], [1.0], FREE, 3)
    assert run(m) == (0, OPTIMAL)
    assert m.number("ObjVal") == pytest.approx(-3 - 4e6 + 2e3, rel=1e-6)
    m.set("UB", [0], [2e6])
    assert run(m) == (0, OPTIMAL)
    assert m.number("ObjVal") == pytest.approx(-3 - 2e6 + 0.5, rel=1e-6)
    assert primal(m)[0] <= 2e6 * (1 + 1e-6)
    # One that no price is about.
    rows[1] = [(0, 1, 1, 1.0)], 0, 0, [(0, -1.0)]
    m = model(library, 2, [(0, 0, 1.0), (1, 1, 1.0)], rows, [(0.0, 0.0, 1e8)])
    assert run(m) == (0, OPTIMAL)
    check_equal_objectives(m, 2)
