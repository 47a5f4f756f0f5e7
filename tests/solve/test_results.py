"""Results as Python sees them, on problems whose answers are known: a maximum, a MIP, conflicts.

What the library answers is tested through its own interface; here it is the way from there to the attributes.
"""

import pytest
import tessolvpy as tso

TSO = tso.TSO
MAX = "Maximize\n obj: 3 x + 2 y + 10\nSubject To\n c1: x + y <= 4\n c2: x + 3 y <= 7\nBounds\n x <= 3\nEnd\n"


def test_a_mip_has_no_duals(state):
    m = state("Maximize\n obj: x + y\nSubject To\n c: 2 x + 2 y <= 5\nGeneral\n x y\nEnd\n")
    m.optimize()
    assert (m.ObjVal, m.DualObjVal) == pytest.approx((2, 2))
    assert (m.MIP_GapAbs, m.MIP_GapRel) == pytest.approx((0, 0), abs=1e-4)
    for element, name in [(m.getConstrs()[0], "DualSoln"), (m.getVars()[0], "RC")]:
        with pytest.raises(tso.TessolvError) as caught:
            element.getAttr(name)
        assert caught.value.errno == TSO.DATA_NOT_AVAILABLE
    assert [v.IsInteger for v in m.getVars()] == [1, 1]


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
