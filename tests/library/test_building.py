"""What edits leave beyond what test_mirror.py plays through: defaults, special elements, copies, memory."""

import os

import pytest
from capi import resident

INF = float("inf")


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


def test_elements_read_back_and_variables_go_out_of_them(whole, fails):
    assert whole.quadratic() == [(0, 1, 1), (2, 2, 2)]
    assert whole.quadratic(1) == ([(2, 2)], [(0, 1, 2), (0, 1, 3)]) and whole.quadratic(0) == ([(0, 1), (2, 2)], [])
    assert whole.get("LHS", [1]) == whole.get("RHS", [1]) == [4]
    assert whole.sos(0) == (2, [0, 1], [3, 1]) and whole.sos(1) == (1, [2], [2])
    assert whole.indicator(0) == (0, 0, [(1, 2), (2, 1)], "<", 5)
    assert whole.runs("TSOgetvars", 1, 2) == whole.cols()[1:] and whole.runs("TSOgetvars", 3, 0) == []
    whole.addsos([1], [0], [2, 0])
    assert whole.sos(2) == (1, [2, 0], [1, 2])  # weights by place
    whole.delete("sos", [2])
    whole.delete("vars", [1, 1])  # given twice counts once
    state = whole.state()
    assert state["rows"] == [[(0, 1), (1, 2)], [(1, 2)], [(0, 1)]]
    assert state["quadratic"] == [(1, 1, 2)] and state["rowterms"] == [([(0, 1), (1, 2)], []), ([(1, 2)], []), None]
    assert state["sos"] == [(2, [0], [3]), (1, [1], [2])]
    assert state["indicators"] == [(0, 0, [(1, 1)], "<", 5)]
    assert whole.count("NumQConstrs") == 1  # without a term it still is one
    whole.delete("vars", [0])  # the binary takes the indicator with it
    assert whole.count("NumGenConstrs") == 0
    whole.delete("constrs", [0])
    assert (whole.count("NumQConstrs"), whole.count("NumPsdConstrs"), whole.rows()) == (1, 1, [[(0, 2)], []])
    whole.delete("constrs", [1])
    assert (whole.count("NumPsdConstrs"), whole.count("NumPsdVars")) == (0, 2)
    whole.addvar(vtype="B")
    whole.addindicator(1, 1, [0], [1.0], ">", 2)
    whole.delete("vars", [0])
    assert whole.indicator(0) == (0, 1, [], ">", 2)


def test_copies_are_independent(whole):
    whole.set("Start", [0], [1.0])
    whole.call("TSOsetintattr", "ModelSense", -1)
    twin, state = whole.copy(), whole.state()
    assert twin.state() == state
    twin.delete("vars", [0])
    twin.set("ConstrName", [0], ["other"])
    assert whole.state() == state and twin.state() != state
    twin = whole.copy()
    whole.call("TSOfreemodel")
    assert twin.state() == state


@pytest.mark.skipif("asan" in os.environ.get("LD_PRELOAD", ""), reason="the sanitizer keeps what is freed for a while")
@pytest.mark.parametrize("edit", ["rows", "entries", "names"])
def test_edits_that_undo_one_another_take_no_memory(model, edit):
    n = 20000
    model.addvars(n)

    def loop(times):
        for _ in range(times):
            if edit == "rows":
                model.addrows(n, range(n), range(n), [1.0] * n, names=[f"row {i}" for i in range(n)])
                model.delete("constrs", range(n))
            elif edit == "entries":
                model.addrows(n)
                model.addvars(9, range(0, 9 * n, n), [*range(n)] * 9, [1.0] * (9 * n))
                model.delete("constrs", range(n))
                model.delete("vars", range(n, n + 9))
            else:
                model.set("VarName", None, ["some name or other"] * n)
                model.set("VarName", None, [None] * n)

    loop(4)
    before = resident()
    loop(40)
    assert resident() - before < 8 * 2**20
