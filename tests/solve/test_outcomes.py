"""Problems of every class that have no point, no end, or numbers of very different sizes: what is told of them."""

import pytest
import tessolvpy as tso

TSO = tso.TSO
XYZ = "Minimize\n obj: x + y + z{}\nSubject To\n{}\nBounds\n{}\nEnd\n"
INFEASIBLE = {
    "rows": (" - y", " a: x + y <= 1\n b: x + y >= 2", "", ""),
    "bounds": ("", " a: x + y <= 9", " 3 <= x <= 2", ""),
    "whole numbers": ("", " a: 2 x + 2 y = 5", "", "General\n x y\n"),
    "no whole number": ("", "", " 0.2 <= x <= 0.8", "General\n x\n"),
    "semi-continuous": ("", " a: x >= 0.5\n b: x <= 1.5", " 2 <= x <= 3", "Semi-continuous\n x\n"),
    "convex objective": (" + [ x^2 + y^2 ]", " a: x + y <= -1", "", ""),
    "other objective": (" + [ x * y - z^2 ]", " a: x + y <= -1", "", ""),
    "ball": ("", " a: [ x^2 + y^2 ] <= 1\n b: x + y >= 2", "", ""),
    "empty ball": ("", " a: [ x^2 + y^2 ] <= -1", "", ""),
    "product": ("", " a: [ x * y ] >= 2", " x <= 1\n y <= 1", ""),
    "whole squares": ("", " a: [ x^2 + y^2 ] = 7", " x <= 9\n y <= 9", "General\n x y\n"),
    "bounds beside a product": ("", " a: [ x * y ] >= 1", " 3 <= x <= 2", ""),
    "set": ("", " a: x + y >= 1.5", " x <= 1\n y <= 1", "SOS\n s: S1:: x:1 y:2\n"),
    "indicators": ("", " a: b = 1 -> x <= 1\n c: b = 0 -> x <= 2\n d: x >= 3", "", "Binary\n b\n"),
}
UNBOUNDED = {
    "ray": (" - 3 y", " a: y - x <= 1", "", ""),
    "whole numbers": (" - 3 y", " a: y - x <= 1", "", "General\n x y\n"),
    "convex objective": (" - 3 y + [ x^2 ]", "", "", ""),
    "other objective": (" - [ y^2 ]", "", "", ""),
    "saddle": (" + [ x * y ]", "", " x free\n y free", ""),
    "whole numbers, a square": (" - [ y^2 ]", "", "", "General\n x y\n"),
    "beside a ball": (" - 3 z", " a: [ x^2 + y^2 ] <= 1", "", ""),
    "beside a product": (" - 3 y", " a: [ x * y ] >= 2", "", ""),
    "set": (" - 3 y", "", "", "SOS\n s: S2:: x:1 y:2 z:3\n"),
    "indicator": (" - 3 y", " a: b = 1 -> y <= 1", "", "Binary\n b\n"),
    "semi-continuous": (" - 3 y", "", " y >= 2", "Semi-continuous\n y\n"),
}
FAR_APART = {  # and the optimum
    "far bounds": (" + y", " a: x + y >= 1\n b: x - y <= 1", " -1e19 <= x <= 1e19\n -1e19 <= y <= 5", "", 1),
    "a far side": (" - 3 x - 3 y", " a: x + [ y^2 ] <= 1e19", " x <= 10\n y <= 10", "", -40),
    "a far side behind a switch": (" - 3 x - b", " a: b = 1 -> x + y <= 1e19", " x <= 10", "Binary\n b\n", -21),
    "small and large costs": (" + [ 2e-6 x^2 + 2e6 y^2 ] / 2", " a: x + y = 1e6", "", "", 2e6 - 2e-6),
    "small rows": (" - 3 x - 3 y", " a: [ 1e-9 x^2 + 1e-9 y^2 ] <= 1e-9", "", "", -2 * 2**0.5),
    "a large ball": (" - 2 x - 2 y", " a: [ x^2 + y^2 ] <= 1e10", "", "", -(2**0.5) * 1e5),
    "a large product": ("", " a: [ x * y ] >= 1e8", " x <= 1e5\n y <= 1e5", "", 2e4),
    "large whole numbers": (" - 1e6 x - 2 y", " a: 1e6 x + y <= 10000003\n b: y <= 5", "", "General\n x y\n", 7 - 1e7),
    "all fixed": (" + [ x * y ]", " a: [ x^2 + y^2 ] <= 2", " x = 1\n y = 1\n z = 1", "SOS\n s: S2:: x:1 y:2\n", 4),
}


def solved(state, objective, rows, bounds, types, *_):
    m = state(XYZ.format(objective, rows, f"{bounds}\n{types}"))
    m.Params.MaxTime = 20
    m.optimize()
    return m


@pytest.mark.parametrize(
    ("case", "status"),
    [*((INFEASIBLE[k], TSO.INFEASIBLE) for k in INFEASIBLE), *((UNBOUNDED[k], TSO.UNBOUNDED) for k in UNBOUNDED)],
    ids=[*(f"infeasible-{k}" for k in INFEASIBLE), *(f"unbounded-{k}" for k in UNBOUNDED)],
)
def test_no_point_or_no_end(state, case, status):
    m = solved(state, *case)
    assert (m.Status, m.HasSolution, m.HasPrimalRay) == (status, 0, int(status == TSO.UNBOUNDED))
    with pytest.raises(tso.TessolvError) as caught:
        m.getAttr("ObjVal")
    assert caught.value.errno == TSO.DATA_NOT_AVAILABLE
    m.setObjective(tso.LinExpr())
    m.optimize()
    assert m.Status == (TSO.OPTIMAL if status == TSO.UNBOUNDED else TSO.INFEASIBLE)


@pytest.mark.parametrize("name", FAR_APART)
def test_numbers_of_very_different_sizes(state, name):
    m = solved(state, *FAR_APART[name])
    assert (m.Status, m.HasSolution) == (TSO.OPTIMAL, 1)
    assert m.ObjVal == pytest.approx(FAR_APART[name][-1], rel=1e-5)


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
