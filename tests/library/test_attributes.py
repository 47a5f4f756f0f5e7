"""Attributes: the whole table, lists, all-or-nothing writing, values that there are none of."""

import ctypes
import itertools
import re

import capi
import pytest

ROWS = re.findall(
    r'\{"([A-Za-z/]+)", AttrType::(\w+), Owner::(\w+), (true|false),',
    (capi.INCLUDE.parent / "catalog" / "attrs.h").read_text(),
)
OWNERS = ["Model", "Var", "Constr", "Sos", "QConstr", "GenConstr", "PsdVar", "PsdConstr"]
TYPES = ["Char", "Int", "Double", "String", "Matrix"]
BAD_INDEX = {
    "Var": capi.MODEL_INVALID_COL_IDX, "Constr": capi.MODEL_INVALID_ROW_IDX, "QConstr": capi.MODEL_INVALID_ROW_IDX,
    "PsdConstr": capi.MODEL_INVALID_ROW_IDX, "GenConstr": capi.MODEL_INVALID_INDICATOR_ROW_IDX,
    "PsdVar": capi.MODEL_INVALID_SYM_MAT_IDX,
}  # fmt: skip
WRONG_TYPE = dict(
    zip(
        TYPES,
        [capi.MODEL_INVALID_CHAR_ATTR, capi.MODEL_INVALID_INT_ATTR, capi.MODEL_INVALID_REAL_ATTR,
         capi.MODEL_INVALID_STR_ATTR, capi.MODEL_INVALID_MAT_ATTR],
        strict=True,
    )
)  # fmt: skip
PREFIX = {"Char": "char", "Int": "int", "Double": "dbl", "String": "str", "Matrix": "mat"}


@pytest.fixture
def small(model):
    """One element of each kind."""
    model.addvar(obj=2, lb=-1, ub=5, name="x")
    model.addvar(vtype="B", name="b")
    model.addrow([0, 1], [1, 3], 0, 4, "r")
    model.addqconstr([(0, 1)], [(0, 1, 2.0)], "<", 3, "q")
    model.addsos([1], [0], [0, 1])
    model.addindicator(1, 1, [0], [1.0], ">", 1, "g")
    a = capi.Arrays()
    model.call("TSOaddpsdvar", 2, 1, a.ints([1]), a.ints([0]), a.doubles([4.0]), capi.text("p"))
    return model


def info(model, name):
    kind, owner, writable = (ctypes.c_int(-9) for _ in range(3))
    refs = [ctypes.byref(v) for v in (kind, owner, writable)]
    model.call("TSOgetattrinfo", capi.text(name), *refs)
    return TYPES[kind.value], OWNERS[owner.value], writable.value


def call(model, verb, kind, name, *, scalar, index=0, count=1, null=False):
    """Reads or writes one value through the function for that type; the code, and the buffer of what was read."""
    buffer = (ctypes.c_double * 64)()
    pointer = None if null else ctypes.addressof(buffer)
    if scalar:
        value = pointer
        if verb == "set":
            texts = ctypes.create_string_buffer(b"t")
            value = {"Int": 1, "Double": 1.0}.get(kind, None if null else ctypes.addressof(texts))
        return getattr(model.dll, f"TSO{verb}{PREFIX[kind]}attr")(model.handle, capi.text(name), value), buffer
    indices = (ctypes.c_int * 1)(index)
    arguments = [model.handle, capi.text(name), count, ctypes.addressof(indices)]
    if kind == "Matrix":
        arguments += [0, pointer, None, None, None] if verb == "set" else [pointer, None, None, None, None, None]
    else:
        arguments.append(pointer)
    if verb == "set" and kind == "Char" and not null:
        buffer = ctypes.create_string_buffer(b"C")
        arguments[-1] = ctypes.addressof(buffer)
    return getattr(model.dll, f"TSO{verb}{PREFIX[kind]}attrlist")(*arguments), buffer


NEEDS_RUN = {
    "SPX/NumIters", "IPM/NumIters", "IISVar", "IISConstr", "IISCol", "IISRow", "ColBasis", "RowBasis", "PrimalObjVal",
    "ObjVal", "DualObjVal", "PresolverTime", "SolverTime", "SolutionTime", "MIP/GapAbs", "MIP/GapRel", "PrimalSoln",
    "X", "Xn", "DualSoln", "Activity", "ReducedCost", "RC", "PsdX",
}  # fmt: skip


@pytest.mark.parametrize("row", ROWS, ids=[r[0] for r in ROWS])
def test_every_attribute(small, row):
    name, kind, owner, writable = row
    assert info(small, name) == (kind, owner, writable == "true")
    assert info(small, name.upper().replace("/", "_")) == info(small, name.lower())
    scalar = owner == "Model"
    expected = capi.DATA_NOT_AVAILABLE if name in NEEDS_RUN else 0
    assert call(small, "get", kind, name, scalar=scalar)[0] == expected
    # Through the functions of all other types, and of the other kind of owner.
    for other, of_model in itertools.product(TYPES, (True, False)):
        if (of_model and other in ("Char", "Matrix")) or (other == kind and of_model == scalar):
            continue
        for verb in ("get", "set"):
            assert call(small, verb, other, name, scalar=of_model)[0] == WRONG_TYPE[other]
    before = small.state()
    if writable == "false":
        assert call(small, "set", kind, name, scalar=scalar)[0] == capi.INVALID_ARGUMENT
    if not scalar:
        for index in (-1, 2, 10**6):
            if expected == 0 or index < 0:
                assert call(small, "get", kind, name, scalar=False, index=index)[0] == BAD_INDEX[owner]
            if writable == "true":
                assert call(small, "set", kind, name, scalar=False, index=index)[0] == BAD_INDEX[owner]
    if kind != "Matrix":
        assert call(small, "get", kind, name, scalar=scalar, null=True)[0] == capi.INVALID_ARGUMENT
    if writable == "true" and not (scalar and kind in ("Int", "Double")):
        assert call(small, "set", kind, name, scalar=scalar, null=True)[0] == capi.INVALID_ARGUMENT
    if not scalar:
        for verb in ("get", "set") if writable == "true" else ("get",):
            assert call(small, verb, kind, name, scalar=False, count=-1)[0] == capi.INVALID_ARGUMENT
    assert small.state() == before


def test_unknown_names(small, fails):
    for name in ("", "Y", "LBB", "L", "MIP/GapAb", "MIP GapAbs", "X\x01", "ä", "N" * 10000):
        fails(capi.MODEL_INVALID_ATTR_NAME, info, small, name)
        fails(capi.MODEL_INVALID_ATTR_NAME, small.get, name, [0])
    assert small.dll.TSOgetattrinfo(small.handle, None, None, None, None) == capi.INVALID_ARGUMENT
    assert small.dll.TSOgetattrinfo(small.handle, capi.text("X"), None, None, None) == 0


def test_counts_and_values(small):
    counts = {"NumVars": 2, "NumConss": 2, "NumConstrs": 2, "NumQConstrs": 1, "NumSOS": 1, "NumGenConstrs": 1,
              "NumEnts": 3, "NumNZs": 3, "NumPsdVars": 1, "NumPsdConstrs": 0, "Status": 0, "SolCount": 0,
              "HasSolution": 0, "MinSense": 1, "ModelSense": 1}  # fmt: skip
    assert {name: small.count(name) for name in counts} == counts
    assert small.get("IsInteger", [0, 1], "int") == [0, 1]
    assert small.get("GenConstrType", [0], "int") == [6] and small.get("Dim", [0], "int") == [2]
    assert small.get("LB", [1, 0, 1]) == [0, -1, 0] and small.get("UB", length=2) == [5, 1]
    # Rows are one space: the same row under each of its three kinds of name.
    for suffix in ("LHS", "RHS"):
        assert small.get(suffix, [0, 1]) == small.get("QC" + suffix, [0, 1]) == small.get("PsdC" + suffix, [0, 1])
    assert small.texts("QCName", [0, 1]) == small.texts("PsdCName", [0, 1]) == ["r", "q"]
    assert small.get("Start", length=2) == [capi.UNDEFINED] * 2
    small.set("Start", [1], [0.0])
    assert small.get("Start", length=2) == [capi.UNDEFINED, 0]


def test_sense_is_one_thing_by_two_names(small, fails):
    def write(name, value):
        small.call("TSOsetintattr", capi.text(name), value)

    write("ModelSense", -1)
    assert (small.count("MinSense"), small.count("ModelSense")) == (0, -1)
    write("MinSense", 1)
    assert small.count("ModelSense") == 1
    for name, value in (("ModelSense", 0), ("ModelSense", 2), ("MinSense", -1), ("MinSense", 2)):
        fails(capi.INVALID_ARGUMENT, write, name, value)
    assert small.count("ModelSense") == 1


BAD = float("nan")


@pytest.mark.parametrize(
    ("name", "values", "code"),
    [
        ("LB", [0.0, BAD], capi.INVALID_ARGUMENT),
        ("LB", [0.0, capi.INFINITY], capi.INVALID_ARGUMENT),
        ("UB", [0.0, -float("inf")], capi.INVALID_ARGUMENT),
        ("Obj", [1.5, float("inf")], capi.INVALID_ARGUMENT),
        ("Obj", [1.5, -capi.INFINITY], capi.INVALID_ARGUMENT),
        ("Start", [1.0, BAD], capi.INVALID_ARGUMENT),
        ("LHS", [1.0, BAD], capi.INVALID_ARGUMENT),
        ("RHS", [1.0, -1e300], capi.INVALID_ARGUMENT),
        ("VType", "IX", capi.INVALID_ARGUMENT),
        ("VarName", ["n", "z" * 256], capi.INVALID_ARGUMENT),
        ("ConstrName", ["n", "z" * 256], capi.INVALID_ARGUMENT),
        ("ColBasis", [1, 4], capi.INVALID_BASIS_STATUS),
        ("RowBasis", [1, -1], capi.INVALID_BASIS_STATUS),
    ],
)
def test_a_bad_value_leaves_the_whole_list_unwritten(small, fails, name, values, code):
    before = small.state()
    fails(code, small.set, name, [0, 1], values)
    if code == capi.INVALID_BASIS_STATUS:
        fails(capi.DATA_NOT_AVAILABLE, small.get, name, [0], "int")
    good = {"VType": "II", "VarName": ["n", "m"], "ConstrName": ["n", "m"]}.get(
        name, [1, 1] if "Basis" in name else [1.0, 1.0]
    )
    owner = {r[0]: r[2] for r in ROWS}[name]
    fails(BAD_INDEX[owner], small.set, name, [0, 2], good)
    fails(BAD_INDEX[owner], small.set, name, None, good + good[:1])
    assert small.state() == before


def test_infinite_bounds_read_back_as_infinity(small):
    small.set("LB", [0], [-float("inf")])
    small.set("UB", None, [1e25, 0.5])
    small.set("LHS", [0], [-1e20])
    assert (
        small.get("LB", [0]) == [-1e20] and small.get("UB", [0, 1]) == [1e20, 0.5] and small.get("LHS", [0]) == [-1e20]
    )
    small.set("LB", [0, 0], [3.0, 9.0])  # of an index given twice the last value stays
    small.set("UB", [0], [2.0])  # crossing bounds are kept
    assert small.get("LB", [0]) == [9] and small.get("UB", [0]) == [2]


def test_types(small, fails):
    small.set("UB", [0], [9.0])
    small.set("VType", [0], "b")
    assert small.get("VType", kind="char", length=2) == "BB"
    assert small.get("LB", [0]) == [0] and small.get("UB", [0]) == [1]
    small.set("VType", None, "ns")
    assert small.get("VType", kind="char", length=2) == "NS" and small.get("IsInteger", [0, 1], "int") == [1, 0]
    fails(capi.INVALID_ARGUMENT, small.addvar, vtype="Q")
    small.addvar(lb=-3, ub=7, vtype="B")
    assert small.get("LB", [2]) == [0] and small.get("UB", [2]) == [1]


def test_a_basis_is_whole_once_any_part_is_set(small):
    small.addvar(lb=-float("inf"), ub=3)
    small.addvar(lb=-float("inf"))
    small.set("RowBasis", [1], [0])
    assert small.get("RowBasis", length=2, kind="int") == [1, 0]
    assert small.get("ColBasis", length=4, kind="int") == [0, 0, 2, 3]
    small.addvar()
    small.addrow()
    assert small.get("RowBasis", length=3, kind="int") == [1, 0, 1]
    assert small.get("ColBasis", length=5, kind="int") == [0, 0, 2, 3, 0]
    small.delete("vars", [0, 2])
    assert small.get("ColBasis", length=3, kind="int") == [0, 3, 0]


def test_matrices(small, fails):
    a = capi.Arrays()
    starts, rows, cols, values = a.ints([0]), a.ints([0, 1, 1, 0]), a.ints([1, 0, 1, 0]), a.doubles([1, 2, 5, 0])
    small.call("TSOsetmatattrlist", capi.text("PsdObj"), 1, None, 4, starts, rows, cols, values)
    sizes, counts, begin = (ctypes.c_int * 1)(), (ctypes.c_int * 1)(), (ctypes.c_int * 2)()
    read = ("TSOgetmatattrlist", capi.text("PsdObj"), 1, None)
    small.call(*read, sizes, None, None, None, None, counts)
    assert (sizes[0], counts[0]) == (2, 2)
    r, c, v = (ctypes.c_int * 2)(), (ctypes.c_int * 2)(), (ctypes.c_double * 2)()
    small.call(*read, None, begin, r, c, v, None)
    assert list(zip(r, c, v, strict=True)) == [(1, 0, 3.0), (1, 1, 5.0)] and list(begin) == [0, 2]
    for bad, code in (
        ((a.ints([2]), a.ints([0]), a.doubles([1])), capi.MODEL_INVALID_SYM_MAT_ROW_IDX),
        ((a.ints([0]), a.ints([-1]), a.doubles([1])), capi.MODEL_INVALID_SYM_MAT_COL_IDX),
        ((a.ints([0]), a.ints([0]), a.doubles([BAD])), capi.MODEL_INVALID_REAL_ATTR_SYM_MAT),
    ):
        fails(code, small.call, "TSOsetmatattrlist", capi.text("PsdObj"), 1, None, 1, starts, *bad)
    small.call(*read, None, begin, r, c, v, None)
    assert list(begin) == [0, 2] and list(v) == [3, 5]
    small.call("TSOsetmatattrlist", capi.text("PsdObj"), 1, None, 0, starts, None, None, None)
    small.call(*read, None, begin, None, None, None, counts)
    assert counts[0] == 0
