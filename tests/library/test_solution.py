"""What a run leaves behind: readable whatever is edited, and gone when it should be."""

import capi
import pytest


@pytest.fixture
def lp(model):
    """max 3x + 2y, x + y <= 4, x + 3y <= 7, x <= 3: x = 3, y = 1, objective 11."""
    model.addvar(obj=3, ub=3, name="x")
    model.addvar(obj=2, name="y")
    model.addrow([0, 1], [1, 1], upper=4)
    model.addrow([0, 1], [1, 3], upper=7)
    model.call("TSOsetintattr", capi.text("ModelSense"), -1)
    model.call("TSOoptimize")
    return model


def test_everything_of_a_solved_lp(lp, fails):
    assert lp.count("Status") == 1 and lp.count("HasSolution") == 1 and lp.count("SolCount") == 1
    assert lp.get("X", length=2) == pytest.approx([3, 1]) and lp.get("Xn", [1]) == pytest.approx([1])
    assert lp.number("ObjVal") == lp.number("PrimalObjVal") == pytest.approx(11)
    assert lp.number("DualObjVal") == pytest.approx(11)
    assert lp.get("DualSoln", length=2) == pytest.approx([2, 0]) and lp.get("RC", length=2) == pytest.approx([1, 0])
    assert lp.get("Activity", length=2) == pytest.approx([4, 6])
    assert lp.get("ColBasis", length=2, kind="int")[0] == 2
    assert lp.number("SolutionTime") > 0 and lp.count("SPX/NumIters") >= 0
    for name in ("MIP/GapAbs", "MIP/GapRel"):
        fails(capi.DATA_NOT_AVAILABLE, lp.number, name)
    lp.parameter("MIP/SolutionNumber", 1)
    fails(capi.INVALID_SOL_IDX, lp.get, "Xn", [0])
    of_run = lp.get("RowBasis", length=2, kind="int")
    lp.set("ColBasis", [0], [0])  # what is set reads back, though the run had another
    assert lp.get("ColBasis", [0], "int") == [0]
    assert lp.get("RowBasis", length=2, kind="int") == of_run
    lp.set("RowBasis", [0, 1], [2, 2])
    assert lp.get("RowBasis", length=2, kind="int") == [2, 2]


def test_a_solution_outlives_edits(lp, fails):
    lp.set("LB", [0, 1], lp.get("X", [0, 1]))
    lp.set("Obj", [0], [0.0])
    lp.change([0], [0], [9])
    lp.call("TSOsetintattr", capi.text("ModelSense"), 1)
    lp.addvar(name="z")
    lp.addrow(name="new")
    assert lp.get("X", [1, 0]) == pytest.approx([1, 3]) and lp.number("ObjVal") == pytest.approx(11)
    for name, index in (("X", 2), ("Xn", 2), ("RC", 2), ("Activity", 2), ("DualSoln", 2)):
        fails(capi.DATA_NOT_AVAILABLE, lp.get, name, [0, index])
        assert lp.get(name, [0])
    for name, index in (("ColBasis", 2), ("RowBasis", 2)):
        fails(capi.DATA_NOT_AVAILABLE, lp.get, name, [index], "int")
    lp.delete("vars", [0])
    lp.delete("constrs", [0])
    assert lp.get("X", [0]) == pytest.approx([1]) and lp.get("DualSoln", [0]) == pytest.approx([0])
    assert lp.get("RC", [0]) == pytest.approx([0], abs=1e-9)
    assert lp.get("Activity", [0]) == pytest.approx([6])
    fails(capi.DATA_NOT_AVAILABLE, lp.get, "X", [1])
    lp.delete("vars", [0, 1])
    assert lp.count("HasSolution") == 1 and lp.number("ObjVal") == pytest.approx(11)


def test_reset_and_copies(library, lp, fails):
    twin = library.wrap(library.dll.TSOcopymodel(lp.handle))
    lp.set("Start", [0], [1.0])
    lp.set("RowBasis", [0], [0])
    lp.call("TSOreset", 0)
    assert lp.count("Status") == 0 and lp.count("HasSolution") == 0
    fails(capi.DATA_NOT_AVAILABLE, lp.get, "X", [0])
    fails(capi.DATA_NOT_AVAILABLE, lp.number, "SolutionTime")
    assert lp.get("Start", [0]) == [1] and lp.get("RowBasis", [0], "int") == [0]
    lp.call("TSOreset", 1)
    assert lp.get("Start", [0]) == [capi.UNDEFINED]
    fails(capi.DATA_NOT_AVAILABLE, lp.get, "RowBasis", [0], "int")
    assert twin.get("X", length=2) == pytest.approx([3, 1]) and twin.count("Status") == 1
    twin.set("UB", [0], [1.0])
    twin.call("TSOoptimize")
    lp.call("TSOoptimize")
    assert lp.number("ObjVal") == pytest.approx(11) and twin.number("ObjVal") == pytest.approx(3 + 2 * 2)


def test_cleaning_up_starts(model):
    removed = capi.ctypes.c_int(-1)
    model.addvars(5, vtype="BISNC", lb=[0, -2, 3, 3, 0], ub=[1, 2, 5, 5, 1])
    for values, gone in (
        ([1, -2, 0, 0, 0.5], 0),
        ([2, 1, 4, 4, 1], 1),
        ([0.5, 1.5, 1, 3.5, -1], 5),
        ([capi.UNDEFINED] * 5, 0),
    ):
        model.set("Start", None, [float(v) for v in values])
        model.call("TSOcleanupmilp", capi.ctypes.byref(removed))
        assert removed.value == gone
        assert model.get("Start", length=5).count(capi.UNDEFINED) == (5 if values[0] == capi.UNDEFINED else gone)
