"""Adding, changing and removing elements: what is stored, and that what fails leaves no trace."""

import os
from pathlib import Path

import capi
import pytest

NAN, INF = float("nan"), float("inf")


def test_entries_are_sorted_added_up_and_without_zeros(model, fails):
    model.addvars(4)
    model.addrow([3, 0, 3, 1, 2, 2], [1, 2, 0.5, 0, 4, -4], 1, 2)
    assert model.rows() == [[(0, 2), (3, 1.5)]]
    model.addrows(3, [0, 2, 2], [1, 0, 2, 2, 0], [1, 2, 3, 4, 0])
    assert model.rows()[1:] == [[(0, 2), (1, 1)], [], [(2, 7)]]
    model.addvar(rows=[3, 0, 3, 1, 1], values=[1, 5, 2, 3, -3])
    assert model.cols()[4] == [(0, 5), (3, 3)]
    model.addvars(2, [0, 2], [3, 3, 0, 2], [1, -1, 7, 8])
    assert model.cols()[5:] == [[], [(0, 7), (2, 8)]]
    assert model.rows() == [[(0, 2), (3, 1.5), (4, 5), (6, 7)], [(0, 2), (1, 1)], [(6, 8)], [(2, 7), (4, 3)]]
    assert model.count("NumNZs") == 9
    assert model.runs("TSOgetvars", 2, 3) == model.cols()[2:5] and model.runs("TSOgetvars", 7, 0) == []
    assert model.runs("TSOgetconstrs", 1, 2) == model.rows()[1:3]
    for function, code in (("TSOgetvars", COL), ("TSOgetconstrs", ROW)):
        for start, length in ((-1, 1), (8, 0), (2, 6), (1, 2**31 - 1)):
            fails(code, model.runs, function, start, min(length, 10**6))
        fails(BAD, model.call, function, capi.ctypes.byref(capi.ctypes.c_int()), None, None, None, 0, -1)


def test_defaults_of_bulk_additions(model):
    model.addvars(2)
    model.addvars(2, obj=[1, 2], lb=[-INF, 3], ub=[INF, 4], vtype="IC", names=["a", None])
    assert model.get("Obj", length=4) == [0, 0, 1, 2] and model.get("LB", length=4) == [0, 0, -1e20, 3]
    assert model.get("UB", length=4) == [1e20, 1e20, 1e20, 4] and model.get("VType", kind="char", length=4) == "CCIC"
    model.addrows(2)
    model.addrows(1, lower=[2], upper=[-2], names=["r"])
    assert model.get("LHS", length=3) == [-1e20, -1e20, 2] and model.get("RHS", length=3) == [1e20, 1e20, -2]
    model.addvars(0)
    model.addrows(0)
    assert model.count("NumVars") == 4 and model.count("NumConstrs") == 3


@pytest.fixture
def whole(model):
    model.addvars(3, vtype="BIC", ub=[1, 1, 9], names=["b", "i", "c"])
    model.addrow([0, 2], [1, 2], 0, 1, "r")
    model.addqconstr([(2, 1.0), (2, 1.0)], [(0, 1, 2.0), (0, 1, 3.0)], "=", 4, "q")
    model.addsos([2, 1], [0, 2], [0, 1, 2], [3, 1, 2])
    model.addindicator(0, 0, [2, 1], [1, 2], "<", 5, "g")
    a = capi.Arrays()
    model.call("TSOaddqpterms", 2, a.ints([0, 2]), a.ints([1, 2]), a.doubles([1, 2]))
    return model


def test_special_elements_read_back(whole):
    assert whole.quadratic() == [(0, 1, 1), (2, 2, 2)]
    assert whole.quadratic(1) == ([(2, 2)], [(0, 1, 2), (0, 1, 3)]) and whole.quadratic(0) == ([(0, 1), (2, 2)], [])
    assert whole.get("LHS", [1]) == whole.get("RHS", [1]) == [4]
    assert whole.sos(0) == (2, [0, 1], [3, 1]) and whole.sos(1) == (1, [2], [2])
    assert whole.indicator(0) == (0, 0, [(1, 2), (2, 1)], "<", 5)
    whole.addsos([1], [0], [2, 0])
    assert whole.sos(2) == (1, [2, 0], [1, 2])  # weights by place
    whole.call("TSOdelq")
    assert whole.quadratic() == []


ROW, COL, BAD = capi.MODEL_INVALID_ROW_IDX, capi.MODEL_INVALID_COL_IDX, capi.INVALID_ARGUMENT
LONG = "n" * 256
FAILURES = [
    (BAD, "addvar", {"lb": NAN}), (BAD, "addvar", {"obj": INF}), (BAD, "addvar", {"ub": -INF}),
    (BAD, "addvar", {"lb": INF}), (BAD, "addvar", {"vtype": "x"}), (BAD, "addvar", {"name": LONG}),
    (ROW, "addvar", {"rows": [0, 2], "values": [1, 1]}), (BAD, "addvar", {"rows": [0, 1], "values": [1, NAN]}),
    (BAD, "addvars", {"count": -1}), (BAD, "addvars", {"count": 2, "lb": [0, NAN]}),
    (BAD, "addvars", {"count": 2, "obj": [0, -INF]}), (BAD, "addvars", {"count": 2, "vtype": "CX"}),
    (BAD, "addvars", {"count": 2, "names": ["a", LONG]}), (BAD, "addvars", {"count": 0, "rows": [0], "values": [1]}),
    (BAD, "addvars", {"count": 2, "rows": [0], "values": [1]}),
    (BAD, "addvars", {"count": 2, "begin": [1, 0], "rows": [0], "values": [1]}),
    (BAD, "addvars", {"count": 2, "begin": [0, 2], "rows": [0], "values": [1]}),
    (BAD, "addvars", {"count": 2, "begin": [-1, 0], "rows": [0], "values": [1]}),
    (ROW, "addvars", {"count": 2, "begin": [0, 1], "rows": [0, 5], "values": [1, 1]}),
    (BAD, "addvars", {"count": 2, "begin": [0, 1], "rows": [0, 0], "values": [1, INF]}),
    (BAD, "addvars", {"count": 2, "begin": [0, 2], "rows": [1, 1], "values": [9e19, 9e19]}),
    (COL, "addrow", {"cols": [0, 3], "values": [1, 1]}), (COL, "addrow", {"cols": [-1], "values": [1]}),
    (BAD, "addrow", {"lower": NAN}), (BAD, "addrow", {"lower": INF}), (BAD, "addrow", {"upper": -INF}),
    (BAD, "addrow", {"name": LONG}), (BAD, "addrow", {"cols": [1, 1], "values": [9e19, 9e19]}),
    (BAD, "addrows", {"count": 2, "lower": [0, NAN]}), (BAD, "addrows", {"count": 2, "names": ["a", LONG]}),
    (COL, "addrows", {"count": 2, "begin": [0, 1], "cols": [0, 9], "values": [1, 1]}),
    (BAD, "addrows", {"count": 2, "begin": [0, 0], "cols": [1, 1], "values": [9e19, 9e19]}),
    (COL, "addqconstr", {"linear": [(0, 1), (3, 1)], "quadratic": []}),
    (COL, "addqconstr", {"linear": [], "quadratic": [(0, 0, 1), (0, 3, 1)]}),
    (BAD, "addqconstr", {"linear": [], "quadratic": [(0, 0, NAN)]}),
    (BAD, "addqconstr", {"linear": [], "quadratic": [], "sense": "L"}),
    (BAD, "addqconstr", {"linear": [], "quadratic": [], "rhs": INF}),
    (capi.MODEL_INVALID_SOS_TYPE, "addsos", {"types": [1, 3], "begin": [0, 1], "members": [0, 1]}),
    (COL, "addsos", {"types": [1], "begin": [0], "members": [0, 3]}),
    (BAD, "addsos", {"types": [1], "begin": [0], "members": [0, 1, 0]}),
    (BAD, "addsos", {"types": [1], "begin": [0], "members": [0, 1], "weights": [1, NAN]}),
    (COL, "addindicator", {"binvar": 3, "binval": 1, "cols": [], "values": [], "sense": "<", "rhs": 1}),
    (capi.MODEL_INVALID_INDICATOR_COL_IDX, "addindicator",
     {"binvar": 2, "binval": 1, "cols": [], "values": [], "sense": "<", "rhs": 1}),
    (BAD, "addindicator", {"binvar": 0, "binval": 2, "cols": [], "values": [], "sense": "<", "rhs": 1}),
    (BAD, "addindicator", {"binvar": 0, "binval": 1, "cols": [0], "values": [1], "sense": "!", "rhs": 1}),
    (BAD, "addindicator", {"binvar": 0, "binval": 1, "cols": [], "values": [], "sense": "<", "rhs": NAN}),
    (ROW, "change", {"rows": [0, 2], "cols": [0, 0], "values": [1, 1]}),
    (COL, "change", {"rows": [0, 0], "cols": [0, -1], "values": [1, 1]}),
    (BAD, "change", {"rows": [0, 0], "cols": [0, 1], "values": [1, NAN]}),
]  # fmt: skip


@pytest.mark.parametrize(("code", "call", "arguments"), FAILURES)
def test_what_fails_leaves_no_trace(whole, fails, code, call, arguments):
    before = whole.state()
    fails(code, getattr(whole, call), **arguments)
    assert whole.state() == before
    whole.addvars(1, [0], [0], [1])  # and the next one stands where it should
    whole.addrow([3], [2], name="after")
    assert whole.count("NumVars") == 4 and whole.cols()[3] == [(0, 1), (2, 2)]
    assert whole.texts("VarName", [3]) == ["C3"] and whole.texts("ConstrName", range(3)) == ["r", "q", "after"]
    assert whole.find("TSOgetconstrbyname", "after") == 2


def test_removing_variables(whole, fails):
    before = whole.state()
    for kind, code in (("vars", COL), ("constrs", ROW), ("sos", capi.MODEL_INVALID_SOS_IDX),
                       ("genconstrs", capi.MODEL_INVALID_INDICATOR_ROW_IDX)):  # fmt: skip
        fails(code, whole.delete, kind, [0, 99])
        fails(code, whole.delete, kind, [-1])
        whole.delete(kind, [])
    assert whole.state() == before
    whole.delete("vars", [1, 1])  # given twice counts once
    state = whole.state()
    assert state["VarName"] == ["b", "c"] and state["VType"] == "BC" and state["UB"] == [1, 9]
    assert state["rows"] == [[(0, 1), (1, 2)], [(1, 2)]]
    assert state["quadratic"] == [(1, 1, 2)] and state["rowterms"][1] == ([(1, 2)], [])
    assert state["sos"] == [(2, [0], [3]), (1, [1], [2])]
    assert state["indicators"] == [(0, 0, [(1, 1)], "<", 5)]
    assert whole.count("NumQConstrs") == 1  # without a term it still is one
    whole.delete("vars", [0])  # the binary takes the indicator with it
    assert whole.count("NumGenConstrs") == 0
    fails(capi.MODEL_INVALID_INDICATOR_ROW_IDX, whole.texts, "GenConstrName", [0])


def test_copies_are_independent(library, whole):
    whole.set("Start", [0], [1.0])
    whole.call("TSOsetintattr", capi.text("ModelSense"), -1)
    whole.parameter("MaxTime", 5.0)
    twin = library.wrap(library.dll.TSOcopymodel(whole.handle))
    state = whole.state()
    assert twin.state() == state
    twin.delete("vars", [0])
    twin.set("ConstrName", [0], ["other"])
    assert whole.state() == state and twin.state() != state
    twin = library.wrap(library.dll.TSOcopymodel(whole.handle))
    whole.call("TSOfreemodel")
    assert twin.state() == state


def resident():
    pages = int(Path("/proc/self/statm").read_text().split()[1])
    return pages * os.sysconf("SC_PAGE_SIZE") / 2**20


@pytest.mark.skipif(not Path("/proc/self/statm").exists(), reason="reads memory as Linux tells it")
@pytest.mark.skipif("asan" in os.environ.get("LD_PRELOAD", ""), reason="the sanitizer keeps what is freed for a while")
@pytest.mark.parametrize("edit", ["rows", "entries", "names"])
def test_edits_that_undo_one_another_take_no_memory(model, edit):
    n = 20000
    model.addvars(n)

    def once():
        if edit == "rows":
            model.addrows(n, range(n), range(n), [1.0] * n, names=[f"row {i}" for i in range(n)])
            model.delete("constrs", range(0, n))
        elif edit == "entries":
            model.addrows(n)
            model.addvars(9, range(0, 9 * n, n), [*range(n)] * 9, [1.0] * (9 * n))
            model.delete("constrs", range(n))
            model.delete("vars", range(n, n + 9))
        else:
            model.set("VarName", None, ["some name or other"] * n)
            model.set("VarName", None, [None] * n)

    for _ in range(4):
        once()
    before = resident()
    for _ in range(40):
        once()
    assert resident() - before < 8


def test_semidefinite_rows(model, fails):
    a = capi.Arrays()
    model.addvar()
    model.call("TSOaddpsdvar", 3, 0, None, None, None, None)

    def add(pind, prow, pcol, pval, cols=(0,), values=(1.0,), lower=-1.0, upper=1.0):
        arrays = [a.ints(pind), a.ints(prow), a.ints(pcol), a.doubles(pval)]
        linear = [a.ints(cols), a.doubles(values)]
        model.call("TSOaddrangepsdconstr", len(cols), 1, len(pind), *linear, *arrays, lower, upper, capi.text("s"))

    add([0, 0], [0, 2], [1, 2], [1, 2])
    assert model.count("NumPsdConstrs") == 1 and model.rows() == [[(0, 1)]]
    for code, arguments in (
        (capi.MODEL_INVALID_SYM_MAT_IDX, ([1], [0], [0], [1])),
        (capi.MODEL_INVALID_SYM_MAT_ROW_IDX, ([0], [3], [0], [1])),
        (capi.MODEL_INVALID_SYM_MAT_COL_IDX, ([0], [0], [-1], [1])),
        (BAD, ([0], [0], [0], [NAN])),
        (COL, ([0], [0], [0], [1], [1])),
    ):
        fails(code, add, *arguments)
    fails(BAD, model.call, "TSOaddpsdvar", 0, 0, None, None, None, None)
    assert (model.count("NumConstrs"), model.count("NumPsdVars")) == (1, 1)
    model.delete("constrs", [0])
    assert model.count("NumPsdConstrs") == 0
