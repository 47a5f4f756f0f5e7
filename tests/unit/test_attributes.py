"""Attributes by name: which calls a read or a write makes, and what is refused before the library is asked."""

import numpy
import pytest
import scipy.sparse
import tables
import tessolvpy as tso

HANDLES = {"v": "getVars", "lin": "getConstrs", "qc": "getQConstrs", "sos": "getSOSs", "gen": "getGenConstrs"}
HANDLES.update({"psdv": "getPsdVars", "psdc": "getPsdConstrs"})
INFO = ("out", "out", "out")


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


# ---- Text ----


# ---- Matrices ----
