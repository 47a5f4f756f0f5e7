"""Attributes: every one of the catalogue through every function, and what their values mean."""

import ctypes
import itertools

import capi
import numpy as np
import pytest
from header import ATTRIBUTES

OWNERS = ["Model", "Var", "Constr", "Sos", "QConstr", "GenConstr", "PsdVar", "PsdConstr"]
TYPES = {  # in the functions' names, and the code of an attribute that is of another
    "Char": ("char", capi.MODEL_INVALID_CHAR_ATTR),
    "Int": ("int", capi.MODEL_INVALID_INT_ATTR),
    "Double": ("dbl", capi.MODEL_INVALID_REAL_ATTR),
    "String": ("str", capi.MODEL_INVALID_STR_ATTR),
    "Matrix": ("mat", capi.MODEL_INVALID_MAT_ATTR),
}
ELEMENTS = {  # how many the model has, and the code of a bad index; else rows
    "Var": (3, capi.MODEL_INVALID_COL_IDX),
    "GenConstr": (1, capi.MODEL_INVALID_INDICATOR_ROW_IDX),
    "PsdVar": (2, capi.MODEL_INVALID_SYM_MAT_IDX),
}


def info(model, name):
    found = np.full((3, 1), -9, np.int32)
    model.call("TSOgetattrinfo", name, *found)
    kind, owner, writable = found[:, 0]
    return list(TYPES)[kind], OWNERS[owner], "true" if writable else "false"


def code_of(model, verb, kind, name, *, scalar, index=0, count=1, null=False):
    """The code of reading or writing one value through the function for values of that kind."""
    buffer = ctypes.create_string_buffer(b"C", 512)
    value = None if null else ctypes.addressof(buffer)
    if scalar:
        value = {"Int": 1, "Double": 1.0}.get(kind, value) if verb == "set" else value
        rest = [value]
    elif kind == "Matrix":
        rest = [count, [index], *([0, value, None, None, None] if verb == "set" else [value, *[None] * 5])]
    else:
        rest = [count, [index], value]
    try:
        model.call(f"TSO{verb}{TYPES[kind][0]}attr{'' if scalar else 'list'}", name, *rest)
    except capi.Failed as failure:
        return failure.code
    return 0


@pytest.mark.parametrize("row", ATTRIBUTES, ids=[row[0] for row in ATTRIBUTES])
def test_every_attribute(whole, row):
    name, kind, owner, writable, available = row
    assert info(whole, name) == (kind, owner, writable)
    writable, scalar = writable == "true", owner == "Model"
    assert info(whole, name.upper().replace("/", "_")) == info(whole, name.lower())
    before = whole.state()
    expected = 0 if available == "always" else capi.DATA_NOT_AVAILABLE
    assert code_of(whole, "get", kind, name, scalar=scalar) == expected
    # Through the functions of all other types, and of the other kind of owner.
    for other, of_model, verb in itertools.product(TYPES, (True, False), ("get", "set")):
        exists = not (of_model and other in ("Char", "Matrix"))
        if exists and (other, of_model) != (kind, scalar):
            assert code_of(whole, verb, other, name, scalar=of_model) == TYPES[other][1]
    if not writable:
        assert code_of(whole, "set", kind, name, scalar=scalar) == capi.INVALID_ARGUMENT
    for verb in ("get", "set") if writable else ("get",):
        if not scalar:
            assert code_of(whole, verb, kind, name, scalar=False, count=-1) == capi.INVALID_ARGUMENT
            size, bad = ELEMENTS.get(owner, (3, capi.MODEL_INVALID_ROW_IDX))
            for index in (-1, size, 10**6) if expected == 0 or verb == "set" else (-1,):
                assert code_of(whole, verb, kind, name, scalar=False, index=index) == bad
        by_value = verb == "set" and scalar and kind in ("Int", "Double")
        if not by_value and (verb, kind) != ("get", "Matrix"):
            assert code_of(whole, verb, kind, name, scalar=scalar, null=True) == capi.INVALID_ARGUMENT
    assert whole.state() == before


def test_counts_and_values(whole):
    counts = {"NumVars": 3, "NumConss": 3, "NumConstrs": 3, "NumQConstrs": 1, "NumSOS": 2, "NumGenConstrs": 1,
              "NumNZs": 5, "NumPsdVars": 2, "NumPsdConstrs": 1, "Status": 0, "SolCount": 0, "HasSolution": 0,
              "MinSense": 1, "ModelSense": 1}  # fmt: skip
    assert {name: whole.count(name) for name in counts} == counts
    assert whole.get("IsInteger", [0, 1, 2], "int") == [1, 1, 0]
    assert whole.get("GenConstrType", [0], "int") == [6] and whole.get("Dim", [0, 1], "int") == [3, 1]
    # Rows are one space: the same row under each of its three kinds of name.
    for suffix in ("LHS", "RHS"):
        rows = whole.get(suffix, [2, 0, 1])
        assert rows == whole.get("QC" + suffix, [2, 0, 1]) == whole.get("PsdC" + suffix, [2, 0, 1])
    assert whole.texts("QCName", [0, 1, 2]) == whole.texts("PsdCName", [0, 1, 2]) == ["r", "q", "s"]
    whole.set("Start", [1], [0.0])
    assert whole.get("Start", length=3) == [capi.UNDEFINED, 0, capi.UNDEFINED]
    for name, value, read in (("ModelSense", -1, (0, -1)), ("MinSense", 1, (1, 1)), ("MinSense", 0, (0, -1))):
        whole.call("TSOsetintattr", name, value)
        assert (whole.count("MinSense"), whole.count("ModelSense")) == read


def test_bounds_and_types(whole):
    whole.set("LB", [0], [-float("inf")])
    whole.set("UB", None, [1e25, 0.5, 2])
    whole.set("LHS", [0], [-1e20])
    assert whole.get("LB", [0]) == whole.get("LHS", [0]) == [-1e20] and whole.get("UB", [0, 1]) == [1e20, 0.5]
    whole.set("LB", [0, 0], [3.0, 9.0])  # of an index given twice the last value stays
    whole.set("UB", [0], [2.0])  # crossing bounds are kept
    assert whole.get("LB", [0]) == [9] and whole.get("UB", [0]) == [2]
    whole.set("VType", [2], "b")
    assert whole.get("VType", kind="char", length=3) == "BIB"
    assert whole.get("LB", [2]) == [0] and whole.get("UB", [2]) == [1]
    whole.addvar(lb=-3, ub=7, vtype="B")
    assert whole.get("LB", [3]) == [0] and whole.get("UB", [3]) == [1]


def test_a_basis_is_whole_once_any_part_is_set(model):
    model.addvars(4, lb=[0, 0, -1e20, -1e20], ub=[5, 1, 3, 1e20])
    model.addrow([0], [1], 0, 4)
    model.addrow([1], [1], 0, 4)
    model.set("RowBasis", [1], [0])
    assert model.get("RowBasis", length=2, kind="int") == [1, 0]
    assert model.get("ColBasis", length=4, kind="int") == [0, 0, 2, 3]
    model.addvar()
    model.addrow()
    assert model.get("RowBasis", length=3, kind="int") == [1, 0, 1]
    assert model.get("ColBasis", length=5, kind="int") == [0, 0, 2, 3, 0]
    model.delete("vars", [0, 2])
    assert model.get("ColBasis", length=3, kind="int") == [0, 3, 0]
