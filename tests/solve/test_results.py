"""Results as Python sees them, on problems whose answers are known: a maximum, a MIP, conflicts.

What the library answers is tested through its own interface; here it is the way from there to the attributes.
"""

import pytest
import tessolvpy as tso

TSO = tso.TSO
BASIC, UPPER = 1, 2
MAX = "Maximize\n obj: 3 x + 2 y + 10\nSubject To\n c1: x + y <= 4\n c2: x + 3 y <= 7\nBounds\n x <= 3\nEnd\n"


def by_name(model):
    return {v.VarName: v for v in model.getVars()}, {c.ConstrName: c for c in model.getConstrs()}


def unavailable(*elements_and_names):
    for element, name in elements_and_names:
        with pytest.raises(tso.TessolvError) as caught:
            element.getAttr(name)
        assert caught.value.errno == TSO.DATA_NOT_AVAILABLE, name


def test_signs_of_a_maximisation(state):
    m = state(MAX)
    x, c = m.getVars()[0], m.getConstrs()[0]
    assert (m.Status, m.HasSolution, m.SolCount) == (TSO.UNKNOWN, 0, 0)
    unavailable((x, "X"), (x, "RC"), (x, "Xn"), (c, "DualSoln"), (c, "Activity"), (m, "ObjVal"), (m, "MIP/GapRel"))
    m.optimize()
    v, c = by_name(m)
    assert m.ModelSense == TSO.MAXIMIZE
    assert (m.Status, m.HasSolution, m.ObjVal, m.PrimalObjVal) == (TSO.OPTIMAL, 1, 21, 21)
    assert m.DualObjVal == pytest.approx(21)
    assert (v["x"].X, v["y"].X) == pytest.approx((3, 1))
    assert (c["c1"].Activity, c["c2"].Activity) == pytest.approx((4, 6))
    # One more unit of c1 is one more y: the objective grows by 2. One more unit of x takes a y away.
    assert (c["c1"].DualSoln, c["c2"].DualSoln) == pytest.approx((2, 0))
    assert (v["x"].RC, v["y"].ReducedCost) == pytest.approx((1, 0))
    assert (v["x"].ColBasis, v["y"].ColBasis) == (UPPER, BASIC)
    assert (c["c1"].RowBasis, c["c2"].RowBasis) == (UPPER, BASIC)


def test_a_mip_has_no_duals(state):
    m = state("Maximize\n obj: x + y\nSubject To\n c: 2 x + 2 y <= 5\nGeneral\n x y\nEnd\n")
    m.optimize()
    assert (m.ObjVal, m.DualObjVal) == pytest.approx((2, 2))
    assert (m.MIP_GapAbs, m.MIP_GapRel) == pytest.approx((0, 0), abs=1e-4)
    unavailable((m.getConstrs()[0], "DualSoln"), (m.getVars()[0], "RC"))
    assert [v.IsInteger for v in m.getVars()] == [1, 1]


CONFLICT = """Minimize
 obj: x + y + z
Subject To
 c1: x + y <= 1
 c2: x - z >= 2
 c3: y + z <= 5
 c4: x + y + z <= 100
Bounds
 0 <= z <= 50
End
"""


def test_an_infeasible_problem(state):
    m = state(CONFLICT)
    m.optimize()
    assert (m.Status, m.HasSolution, m.HasDualRay, m.HasPrimalRay) == (TSO.INFEASIBLE, 0, 1, 0)
    unavailable((m.getVars()[0], "X"))
    m.computeIIS()
    v, c = by_name(m)
    assert {name for name, row in c.items() if row.IISConstr} == {"c1", "c2"}
    assert {name for name, row in c.items() if row.IISRow} == {"c1", "c2"}
    assert {name for name, var in v.items() if var.IISVar} == {"y", "z"}  # both at least 0
    assert m.getAttr("IISCol", m.getVars()) == m.getAttr("IISVar", m.getVars())
    c["c1"].RHS = 3
    with pytest.raises(tso.TessolvError) as caught:
        m.computeIIS()
    assert caught.value.errno == TSO.IIS_FEASIBLE


def test_names_and_types(state):
    m = state(MAX)
    x, y = m.getVars()
    c = m.getConstrs()[0]
    x.VarName, c.ConstrName, m.ModelName = "é b", "row 1", "Ω"
    assert (x.VarName, x.ColName, str(x), repr(c), m.ProbName) == ("é b", "é b", "<Var é b>", "<Constr row 1>", "Ω")
    m.setAttr("VarName", [y, x], ["p", "q"])
    assert m.getAttr("VarName", [x, y]) == ["q", "p"]
    for element, name, value in [(x, "VarName", "n" * 256), (x, "VType", "Q"), (x, "LB", float("nan")), (x, "X", 1)]:
        with pytest.raises(tso.TessolvError) as caught:
            element.setAttr(name, value)
        assert caught.value.errno == TSO.INVALID_ARGUMENT
    x.VarName = ""
    assert x.VarName not in ("", y.VarName)


def test_copies_are_apart(state):
    m = state(MAX)
    m.optimize()
    twin = m.copy()
    twin.getVars()[0].UB = 0
    assert m.getVars()[0].UB == 3
    assert twin.ObjVal == 21  # the last solution came with it
    twin.optimize()
    assert (m.ObjVal, twin.ObjVal) == pytest.approx((21, 10 + 14 / 3))
    twin.ctypes().reload()  # so that it frees what it stands for
    twin.dispose()
