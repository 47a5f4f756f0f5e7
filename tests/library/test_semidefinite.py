"""Semi-definite variables and rows as data: read, changed, copied."""

import capi
import pytest


def test_what_was_built_is_read_and_changed(whole):
    m = whole
    assert m.texts("PsdVarName", [0, 1])[0] == "P"
    first, second = m.matrices("PsdObj", [0, 1])
    assert first.tolist() == [[1, 0, 5], [0, 0, 0], [5, 0, 0]]  # what stands at one position or its mirror adds up
    assert second.tolist() == [[0]]
    assert m.matrices("PsdObj", [1, 0])[1].tolist() == first.tolist()
    assert (m.get("PsdCLHS", [2]), m.get("PsdCRHS", [2])) == ([-1], [1])
    assert m.rows()[2] == [(0, 1.0), (1, 2.0)]
    assert m.terms(2) is None
    m.set("PsdCRHS", [2], [7.0])
    m.set("PsdCName", [2], ["new"])
    m.set("PsdVarName", [1], ["Q"])
    assert (m.get("RHS", [2]), m.texts("ConstrName", [2]), m.texts("PsdVarName", [1])) == ([7], ["new"], ["Q"])
    m.setmatrices("PsdObj", [1, 0], [[(0, 0, 9.0)], [(1, 2, 1.5), (2, 1, 1.0)]])
    assert m.matrices("PsdObj", [0, 1])[0].tolist() == [[0, 0, 0], [0, 0, 2.5], [0, 2.5, 0]]
    m.setmatrices("PsdObj", None, [[]])
    assert [matrix.sum() for matrix in m.matrices("PsdObj", [0, 1])] == [0, 9]


@pytest.mark.skipif(not capi.has_csdp(), reason="built without CSDP")
def test_a_copy_is_solved_and_copied(model):
    model.addpsdvar(3, [(0, 0, 1.0), (0, 2, 5.0)], "P")
    model.addpsdrow([(0, i, i, 1.0) for i in range(3)], 1, 1)
    twin = model.copy()
    twin.call("TSOoptimize")
    assert twin.number("ObjVal") == pytest.approx(0.5 - 25.25**0.5, abs=1e-6)
    assert twin.copy().matrices("PsdX", [0])[0].tolist() == twin.matrices("PsdX", [0])[0].tolist()
    model.delete("constrs", [0])
    model.call("TSOoptimize")
    assert (model.count("Status"), twin.count("NumPsdConstrs")) == (3, 1)
