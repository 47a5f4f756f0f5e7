"""Attributes by name: which calls a read or a write makes, and what is refused before the library is asked."""

import numpy
import pytest
import scipy.sparse
import tables
import tessolvpy as tso

HANDLES = {"v": "getVars", "lin": "getConstrs", "qc": "getQConstrs", "sos": "getSOSs", "gen": "getGenConstrs"}
HANDLES.update({"psdv": "getPsdVars", "psdc": "getPsdConstrs"})
INFO = ("out", "out", "out")


def missing(name):
    return pytest.raises(AttributeError, match=f"^Attribute `{name}` does not exist$")


# ---- Names ----


@pytest.mark.parametrize("name", [name for names in tables.ATTRIBUTES.values() for name in names])
def test_every_name_resolves_in_every_spelling(stub, model, name):
    stub.fail("TSOgetattrinfo", -2019)  # the name is all that matters here
    with pytest.raises(tso.TessolvError):
        model.getAttr(name)
    for spelling in (name.lower(), name.upper(), name.replace("/", "_"), name.replace("_", "/")):
        stub.fail("TSOgetattrinfo", -2019)
        with pytest.raises(tso.TessolvError):
            model.getAttr(spelling)
    asked = [call[2] for call in stub.calls() if call[0] == "TSOgetattrinfo"]
    assert asked == [name] * 5


def test_unknown_names_reach_no_call(stub, model):
    x = model.getVars()[0]
    for name in ("nosuch", "", "MIP*", "MIP GapAbs", "é", "X ", "lB/x"):
        for use in (
            lambda name=name: model.getAttr(name),
            lambda name=name: model.setAttr(name, 1),
            lambda name=name: model.getAttr(name, [x]),
            lambda name=name: model.setAttr(name, [x], [1]),
            lambda name=name: x.getAttr(name),
            lambda name=name: x.setAttr(name, 1),
        ):
            with pytest.raises(AttributeError) as caught:
                use()
            assert str(caught.value) == f"Attribute `{name}` does not exist"
    assert stub.calls() == []


def test_an_attribute_of_another_kind_does_not_exist(stub, model, mdl):
    x, c = model.getVars()[0], model.getConstrs()[0]
    for use, name in [
        (lambda: x.RHS, "RHS"),
        (lambda: c.X, "X"),
        (lambda: model.X, "X"),
        (lambda: model.getAttr("ObjVal", model.getVars()), "ObjVal"),
        (lambda: setattr(x, "RHS", 1), "RHS"),
        (lambda: setattr(model, "LB", 1), "LB"),
        (lambda: model.setAttr("QCRHS", [c], [1]), "QCRHS"),
        (lambda: model.VType, "VType"),
    ]:
        with missing(name):
            use()
        assert stub.calls() == [("TSOgetattrinfo", mdl, name, *INFO)]
    with missing("uB"):  # named as it was given
        model.uB = 3


# ---- Of the model and of one element ----


def test_reads(stub, model, mdl):
    x, c = model.getVars()[2], model.getConstrs()[1]
    stub.set(NumVars=3, ObjVal=2.5, ModelName="Diät")
    for read, value, function, *arguments in [
        (lambda: model.getAttr("numvars"), 3, "TSOgetintattr", "NumVars"),
        (lambda: model.ObjVal, 2.5, "TSOgetdblattr", "ObjVal"),
        (lambda: model.ModelName, "Diät", "TSOgetstrattr", "ModelName"),
        (lambda: x.X, 2.5, "TSOgetdblattrlist", "X", 1, [2]),
        (lambda: x.getAttr("lb"), 2.5, "TSOgetdblattrlist", "LB", 1, [2]),
        (lambda: x.getAttr(attrname="X"), 2.5, "TSOgetdblattrlist", "X", 1, [2]),
        (lambda: x.ColBasis, 20, "TSOgetintattrlist", "ColBasis", 1, [2]),
        (lambda: x.VarName, "n2", "TSOgetstrattrlist", "VarName", 1, [2]),
        (lambda: c.RHS, 1.5, "TSOgetdblattrlist", "RHS", 1, [1]),
        (lambda: x.VType in ("I", b"I"), True, "TSOgetcharattrlist", "VType", 1, [2]),
    ]:
        found = read()
        assert found == value and numpy.ndim(found) == 0
        asked = ("TSOgetattrinfo", mdl, arguments[0], *INFO)
        assert stub.calls() == [asked, (function, mdl, *arguments, "out")]


def test_writes(stub, model, mdl):
    x = model.getVars()[1]
    model.setAttr("ModelName", "Diät")
    model.ModelSense = -1
    model.objconst = 2
    model.setAttr("ObjConst", numpy.float32(0.5))
    model.setAttr(attrname="ObjConst", objs=1.5)
    model.NumVars = 5  # the library says no, not the module
    x.UB = 4
    x.setAttr("lb", -1e30)
    x.setAttr(attrname="Obj", attrvalue=numpy.float64(3))
    x.ColBasis = 2
    x.VType = "I"
    x.VarName = "é"
    assert [call for call in stub.calls() if call[0] != "TSOgetattrinfo"] == [
        ("TSOsetstrattr", mdl, "ModelName", "Diät"),
        ("TSOsetintattr", mdl, "ModelSense", -1),
        ("TSOsetdblattr", mdl, "ObjConst", 2.0),
        ("TSOsetdblattr", mdl, "ObjConst", 0.5),
        ("TSOsetdblattr", mdl, "ObjConst", 1.5),
        ("TSOsetintattr", mdl, "NumVars", 5),
        ("TSOsetdblattrlist", mdl, "UB", 1, [1], [4.0]),
        ("TSOsetdblattrlist", mdl, "LB", 1, [1], [-1e30]),
        ("TSOsetdblattrlist", mdl, "Obj", 1, [1], [3.0]),
        ("TSOsetintattrlist", mdl, "ColBasis", 1, [1], [2]),
        ("TSOsetcharattrlist", mdl, "VType", 1, [1], "I"),
        ("TSOsetstrattrlist", mdl, "VarName", 1, [1], ["é"]),
    ]


@pytest.mark.parametrize(
    ("name", "value"),
    [("ModelSense", "abc"), ("ModelSense", 2**40), ("ObjConst", "abc"), ("ObjConst", object()), ("ModelName", 5),
     ("ModelName", None), ("UB", "abc"), ("UB", object()), ("ColBasis", "abc"), ("ColBasis", 2**40), ("VarName", 5),
     ("VarName", None)],
)  # fmt: skip
def test_values_that_do_not_convert(stub, model, name, value):
    with pytest.raises((TypeError, ValueError, OverflowError)):
        (model if name[:3] in ("Mod", "Obj") else model.getVars()[0]).setAttr(name, value)
    assert [name for name in stub.names() if name.startswith("TSOset")] == []


# ---- Of many elements ----


def test_a_list_is_one_call(stub, model, mdl):
    xs = model.getVars()
    assert model.getAttr("X", xs) == [0.5, 1.5, 2.5]
    assert model.getAttr("ColBasis", xs[::-1]) == [20, 10, 0]
    assert model.getAttr("VarName", (xs[2], xs[0])) == ["n2", "n0"]
    assert model.getAttr("x", numpy.array(xs, dtype=object)) == [0.5, 1.5, 2.5]
    assert model.getAttr(attrname="X", objs=[xs[1]]) == [1.5]
    assert [bytes(v, "ascii") if isinstance(v, str) else v for v in model.getAttr("VType", xs)] == [b"C", b"B", b"I"]
    assert [call for call in stub.calls() if call[0] != "TSOgetattrinfo"] == [
        ("TSOgetdblattrlist", mdl, "X", 3, [0, 1, 2], "out"),
        ("TSOgetintattrlist", mdl, "ColBasis", 3, [2, 1, 0], "out"),
        ("TSOgetstrattrlist", mdl, "VarName", 2, [2, 0], "out"),
        ("TSOgetdblattrlist", mdl, "X", 3, [0, 1, 2], "out"),
        ("TSOgetdblattrlist", mdl, "X", 1, [1], "out"),
        ("TSOgetcharattrlist", mdl, "VType", 3, [0, 1, 2], "out"),
    ]
    read = model.getAttr("X", xs)
    assert type(read) is list
    assert {type(value) for value in read} == {float}
    assert {type(value) for value in model.getAttr("ColBasis", xs)} == {int}


def test_an_empty_list_reads_as_an_empty_list(stub, model):
    first = model.getAttr("X", [])
    assert first == model.getAttr("X", ()) == model.getAttr("nosuch", numpy.zeros(0)) == []
    assert model.getAttr("X", []) is not first
    assert stub.calls() == []


def test_the_first_element_decides_the_kind(stub, model, mdl):
    x, c = model.getVars()[2], model.getConstrs()[1]
    assert model.getAttr("X", [x, c]) == [2.5, 1.5]
    with missing("X"):
        model.getAttr("X", [c, x])
    assert model.getAttr("RHS", [c, x]) == [1.5, 2.5]


@pytest.mark.parametrize("kind", HANDLES)
def test_each_kind_of_element(stub, model, mdl, kind):
    own = {"v": "LB", "lin": "RHS", "qc": "QCRHS", "gen": "GenConstrName", "psdv": "PsdVarName", "psdc": "PsdCName"}
    elements = getattr(model, HANDLES[kind])()
    for letter, name in own.items():
        if letter == kind:
            assert len(model.getAttr(name, elements)) == len(elements)
        else:
            with missing(name):
                model.getAttr(name, elements)


def test_what_is_no_element(stub, model):
    for objs in (5, 1.5, "x", True):
        with pytest.raises(TypeError) as caught:
            model.getAttr("X", objs)
        assert str(caught.value) == f"type {type(objs).__name__} temporary not support"
    for objs in ([5], ["x"], [None], [model], "xy"):
        with pytest.raises(TypeError, match="temporary not support"):
            model.getAttr("X", objs)
        with pytest.raises((TypeError, ValueError)):
            model.setAttr("LB", objs, [1.0])
    with pytest.raises((TypeError, AttributeError)):
        model.getAttr("X", [model.getVars()[0], 5])
    assert [name for name in stub.names() if name != "TSOgetattrinfo"] == []


def test_one_handle_is_no_list(stub, model, mdl):
    x = model.getVars()[2]
    assert model.getAttr("X", x) == 2.5
    model.setAttr("UB", x, 4)
    assert [call[3:5] for call in stub.calls() if call[0] != "TSOgetattrinfo"] == [(1, [2]), (1, [2])]
    with pytest.raises(ValueError, match="^invalid newvalues$"):
        model.setAttr("UB", x, [4])


@pytest.mark.parametrize(
    "values",
    [
        [1, 2.5, 3],
        (1, 2.5, 3),
        numpy.array([1, 2.5, 3]),
        numpy.array([1, 99, 2.5, 99, 3])[::2],
        numpy.array([[1, 2.5, 3]]),
        numpy.array([1, 2.5, 3], dtype=numpy.float32),
        numpy.array([1, 2.5, 3], dtype=object),
        scipy.sparse.csr_matrix([[1, 2.5, 3]]),
        scipy.sparse.coo_matrix([[1], [2.5], [3]]),
    ],
    ids=repr,
)
def test_lists_of_values(stub, model, mdl, values):
    model.setAttr("UB", model.getVars(), values)
    model.setAttr("UB", tuple(model.getVars()), newvalues=values)
    call = ("TSOsetdblattrlist", mdl, "UB", 3, [0, 1, 2], [1.0, 2.5, 3.0])
    assert stub.calls() == [("TSOgetattrinfo", mdl, "UB", *INFO), call] * 2


def test_lists_of_values_of_other_types(stub, model, mdl):
    xs = model.getVars()
    model.setAttr("VType", xs[:2], ["I", "B"])
    model.setAttr("ColBasis", xs, numpy.array([0, 1, 2], dtype=numpy.int64))
    model.setAttr("VarName", xs[1:], ["a", "é" * 100])
    model.setAttr("VarName", xs[1:], numpy.array(["a", "b"]))
    assert [call[3:] for call in stub.calls() if call[0] != "TSOgetattrinfo"] == [
        (2, [0, 1], "IB"),
        (3, [0, 1, 2], [0, 1, 2]),
        (2, [1, 2], ["a", "é" * 100]),
        (2, [1, 2], ["a", "b"]),
    ]


def test_refused_lists_of_values(stub, model):
    xs = model.getVars()
    for arguments, error, text in [
        (("LB", None, 1.0), ValueError, "objs is None"),
        (("LB", xs, 1.0), ValueError, "invalid newvalues"),
        (("LB", xs, "abc"), ValueError, "invalid newvalues"),
        (("LB", 5, [1.0]), ValueError, "invalid newvalues"),
        (("LB", 5, 1.0), TypeError, "type int temporary not support"),
    ]:
        with pytest.raises(error, match=f"^{text}$"):
            model.setAttr(*arguments)
    assert stub.calls() == []
    for arguments in [
        ("LB", xs, ["a", "b", "c"]), ("ColBasis", xs, [1, "x", 2]), ("ColBasis", xs, [1, 2**40, 2]),
        ("VarName", xs, [1, 2, 3]), ("LB", xs, [[1.0], [2.0, 3.0]]), ("LB", [], []), ("LB", [], [1.0]),
        # too few: they would be read past their end
        ("LB", xs, [1.0, 2.0]), ("LB", xs, []), ("VarName", xs, ["a"]), ("VType", xs, ["I"]), ("ColBasis", xs, [1]),
    ]:  # fmt: skip
        with pytest.raises(Exception):  # noqa: B017, PT011 - NumPy's or ours
            model.setAttr(*arguments)
        assert [name for name in stub.names() if name.startswith("TSOset")] == [], arguments


# ---- Text ----


def test_text_that_is_not_utf8_is_an_error(stub, model):
    stub.set(ModelName=b"a\xff", VarName=b"\xff")
    x = model.getVars()[0]
    for error, use in (
        (UnicodeDecodeError, lambda: model.ModelName),
        (UnicodeDecodeError, lambda: x.VarName),
        (UnicodeEncodeError, lambda: setattr(model, "ModelName", "\ud800")),
        (UnicodeEncodeError, lambda: setattr(x, "VarName", "\ud800")),
        (UnicodeEncodeError, lambda: model.setAttr("VarName", model.getVars(), ["a", "b", "\ud800"])),
    ):
        with pytest.raises(error):
            use()
    assert [name for name in stub.names() if name.startswith("TSOset")] == []


# ---- Matrices ----


def dense(value):
    return value.toarray() if scipy.sparse.issparse(value) else numpy.asarray(value)


def test_matrix_reads(stub, model, mdl):
    p, q = model.getPsdVars()
    assert dense(p.PsdObj).tolist() == [[1, 2], [2, 3]]
    calls = [call for call in stub.calls() if call[0] == "TSOgetmatattrlist"]
    assert all(call[1:5] == (mdl, "PsdObj", 1, [0]) for call in calls)
    assert calls[0][6:10] == (None, None, None, None)
    assert None not in calls[-1][6:10]
    assert [dense(m).tolist() for m in model.getAttr("PsdX", [q])] == [[[1, 2], [2, 3]]]


@pytest.mark.parametrize("make", [numpy.array, scipy.sparse.csr_matrix], ids=["dense", "sparse"])
def test_matrix_writes(stub, model, mdl, make):
    q = model.getPsdVars()[1]
    q.PsdObj = make([[1.0, 2.0], [2.0, 3.0]])
    call = stub.calls()[-1]
    assert call[:5] == ("TSOsetmatattrlist", mdl, "PsdObj", 1, [1])
    nz, starts, rows, cols, values = call[5:]
    assert starts == [0]
    assert nz == len(rows) == len(cols) == len(values)
    lower = {}
    for row, col, value in zip(rows, cols, values):
        position = max(row, col), min(row, col)
        lower[position] = lower.get(position, 0) + value
    assert lower == {(0, 0): 1.0, (1, 0): 2.0, (1, 1): 3.0}
    for bad in ("x", 5, numpy.zeros((2, 3)), numpy.array([1.0, 2.0]), None):
        with pytest.raises((TypeError, ValueError)):
            q.PsdObj = bad
    assert "TSOsetmatattrlist" not in stub.names()
