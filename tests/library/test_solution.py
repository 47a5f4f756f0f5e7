"""What a run leaves behind: readable whatever is edited, and gone when it should be."""

import ctypes

import capi
import pytest


@pytest.fixture
def lp(model):
    """max 3x + 2y, x + y <= 4, x + 3y <= 7, x <= 3: x = 3, y = 1, objective 11."""
    model.addvars(2, obj=[3, 2], ub=[3, 1e20])
    model.addrow([0, 1], [1, 1], upper=4)
    model.addrow([0, 1], [1, 3], upper=7)
    model.call("TSOsetintattr", "ModelSense", -1)
    model.call("TSOoptimize")
    return model


RESULTS = {"X": [3, 1], "Xn": [3, 1], "RC": [1, 0], "DualSoln": [2, 0], "Activity": [4, 6]}


def test_everything_of_a_solved_lp(lp, fails):
    assert lp.count("Status") == lp.count("HasSolution") == lp.count("SolCount") == 1
    assert {name: lp.get(name, length=2) for name in RESULTS} == {n: pytest.approx(v) for n, v in RESULTS.items()}
    assert lp.number("ObjVal") == lp.number("PrimalObjVal") == pytest.approx(11)
    assert lp.number("DualObjVal") == pytest.approx(11)
    assert lp.number("SolutionTime") > 0 and lp.count("SPX/NumIters") >= 0
    for name in ("MIP/GapAbs", "MIP/GapRel"):
        fails(capi.DATA_NOT_AVAILABLE, lp.number, name)
    lp.parameter("MIP/SolutionNumber", 1)
    fails(capi.INVALID_SOL_IDX, lp.get, "Xn", [0])
    of_run = lp.get("RowBasis", length=2, kind="int")
    assert lp.get("ColBasis", [0], "int") == [2]
    lp.set("ColBasis", [0], [0])  # what is set reads back, though the run had another
    assert lp.get("ColBasis", [0], "int") == [0]
    assert lp.get("RowBasis", length=2, kind="int") == of_run


def test_a_solution_outlives_edits(lp, fails):
    lp.set("LB", [0, 1], lp.get("X", [0, 1]))
    lp.set("Obj", [0], [0.0])
    lp.change([0], [0], [9])
    lp.addvar()
    lp.addrow()
    assert lp.number("ObjVal") == pytest.approx(11)
    for name, values in RESULTS.items():
        assert lp.get(name, [1, 0]) == pytest.approx(values[::-1])
        fails(capi.DATA_NOT_AVAILABLE, lp.get, name, [0, 2])
    for name in ("ColBasis", "RowBasis"):
        fails(capi.DATA_NOT_AVAILABLE, lp.get, name, [2], "int")
    lp.delete("vars", [0])
    lp.delete("constrs", [0])
    for name, values in RESULTS.items():
        assert lp.get(name, [0]) == pytest.approx(values[1:], abs=1e-9)
        fails(capi.DATA_NOT_AVAILABLE, lp.get, name, [1])
    lp.delete("vars", [0, 1])
    assert lp.count("HasSolution") == 1 and lp.number("ObjVal") == pytest.approx(11)


def test_reset_and_copies(lp, fails):
    twin = lp.copy()
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
    removed = ctypes.c_int(-1)
    model.addvars(5, vtype="BISNC", lb=[0, -2, 3, 3, 0], ub=[1, 2, 5, 5, 1])
    for values, gone, left in (
        ([1, -2, 0, 0, 0.5], 0, 5), ([2, 1, 4, 4, 1], 1, 4), ([0.5, 1.5, 1, 3.5, -1], 5, 0),
        ([capi.UNDEFINED] * 5, 0, 0),
    ):  # fmt: skip
        model.set("Start", None, [float(v) for v in values])
        model.call("TSOcleanupmilp", ctypes.byref(removed))
        assert (removed.value, 5 - model.get("Start", length=5).count(capi.UNDEFINED)) == (gone, left)
