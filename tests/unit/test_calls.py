"""Which calls a statement makes of the library, exactly, and what it gives."""

import numpy
import pytest
import scipy.sparse
import tessolvpy as tso
from expressions import refusal
from header import ATTRIBUTES


@pytest.fixture
def said(stub, model, env):
    """said(act): its result and its calls, without what they write to. M is the model, E its environment, e the other
    one. What each access to an attribute asks first, which is of what kind it is, is checked and left out."""
    names = {stub.handle_of(model): "M"}
    names.update({f"env of {name}": "E" for name in names})
    env.resetParam()
    names[stub.calls()[0][1]] = "e"

    def run(act):
        stub.clear()
        result, found, asked = act(), [], None
        for name, *arguments in stub.calls():
            short = [names.get(a, a) if isinstance(a, str) else a for a in arguments if a != "out"]
            if name == "TSOgetattrinfo":
                asked = short
                continue
            if "attr" in name:
                assert asked == short[:2]
            found.append((name, *short))
        return result, found

    return run


@pytest.mark.parametrize("name", [name for name, *_ in ATTRIBUTES])
def test_every_name_of_an_attribute_in_every_spelling(stub, model, name):
    for spelling in (name, name.lower(), name.upper(), name.replace("/", "_"), name.replace("_", "/")):
        stub.fail("TSOgetattrinfo", -2019)  # the name is all that matters here
        assert refusal(model.getAttr, spelling)[0] is tso.TessolvError
    assert [call[2] for call in stub.calls() if call[0] == "TSOgetattrinfo"] == [name] * 5


def test_reads(stub, model, said):
    xs, c = model.getVars(), model.getConstrs()[1]
    x, y, z = xs
    stub.set(NumVars=3, ObjVal=2.5, ModelName="Diät")
    for act, result, *calls in [
        (lambda: model.getAttr("numvars"), 3, ("TSOgetintattr", "M", "NumVars")),
        (lambda: model.ObjVal, 2.5, ("TSOgetdblattr", "M", "ObjVal")),
        (lambda: model.ModelName, "Diät", ("TSOgetstrattr", "M", "ModelName")),
        (lambda: z.X, 2.5, ("TSOgetdblattrlist", "M", "X", 1, [2])),
        (lambda: z.getAttr(attrname="lb"), 2.5, ("TSOgetdblattrlist", "M", "LB", 1, [2])),
        (lambda: z.ColBasis, 20, ("TSOgetintattrlist", "M", "ColBasis", 1, [2])),
        (lambda: z.VarName, "n2", ("TSOgetstrattrlist", "M", "VarName", 1, [2])),
        (lambda: z.VType, b"I", ("TSOgetcharattrlist", "M", "VType", 1, [2])),
        (lambda: c.RHS, 1.5, ("TSOgetdblattrlist", "M", "RHS", 1, [1])),
        (lambda: model.getAttr("X", z), 2.5, ("TSOgetdblattrlist", "M", "X", 1, [2])),
        (lambda: model.getAttr("X", xs), [0.5, 1.5, 2.5], ("TSOgetdblattrlist", "M", "X", 3, [0, 1, 2])),
        (lambda: model.getAttr("x", numpy.array([z, x], object)), [2.5, 0.5],
         ("TSOgetdblattrlist", "M", "X", 2, [2, 0])),
        (lambda: model.getAttr(attrname="X", objs=[z, c]), [2.5, 1.5], ("TSOgetdblattrlist", "M", "X", 2, [2, 1])),
        (lambda: model.getAttr("RHS", [c, z]), [1.5, 2.5], ("TSOgetdblattrlist", "M", "RHS", 2, [1, 2])),
        (lambda: model.getAttr("ColBasis", [z, x]), [20, 0], ("TSOgetintattrlist", "M", "ColBasis", 2, [2, 0])),
        (lambda: model.getAttr("VarName", (z, x)), ["n2", "n0"], ("TSOgetstrattrlist", "M", "VarName", 2, [2, 0])),
        (lambda: model.getAttr("VType", xs), [b"C", b"B", b"I"], ("TSOgetcharattrlist", "M", "VType", 3, [0, 1, 2])),
        *[(lambda none=none: model.getAttr("nosuch", none), []) for none in ([], (), numpy.zeros(0))],
        (lambda: model.Params.maxtime, 11.5, ("TSOgetdblparam", "E", "MaxTime")),
        (lambda: model.params.MIP_MaxSols, 11, ("TSOgetintparam", "E", "MIP/MaxSols")),
        (lambda: model.params.LogFile, "current text", ("TSOgetstrparam", "E", "LogFile")),
        *[(lambda p=p: model.getParamInfo(p), info, ("TSOgetenv", "M"), (f"TSOget{kind}paraminfo", "E", info[0]))
          for p, kind, info in (
              ("method", "int", ("Method", 11, 12, 13, 14)), ("MaxTi*", "dbl", ("MaxTime", 11.0, 12.0, 13.0, 14.0)),
              ("LogFile", "str", ("LogFile", "current text", None, None, "default text")))],
        (lambda: model.cleanupMilp(), 17, ("TSOcleanupmilp", "M")),
    ]:  # fmt: skip
        found, made = said(act)
        assert (found, made) == (result, calls)
        assert numpy.ndim(found) == numpy.ndim(result)
        if isinstance(result, list):
            assert type(found) is list and found is not act()
            assert [type(one) for one in found] == [type(one) for one in result]
    stub.set(ModelName=b"a\xff", VarName=b"\xff")
    for act in (lambda: model.ModelName, lambda: x.VarName):
        assert refusal(act)[0] is UnicodeDecodeError


def test_writes(stub, env, model, said):
    xs = model.getVars()
    x, y, _ = xs
    ups = ("TSOsetdblattrlist", "M", "UB", 3, [0, 1, 2], [1.0, 2.5, 3.0])
    twice = numpy.array([1, 99, 2.5, 99, 3])
    row = scipy.sparse.csr_matrix([[1, 2.5, 3]])
    for act, *calls in [
        (lambda: model.setAttr("ModelName", "Diät"), ("TSOsetstrattr", "M", "ModelName", "Diät")),
        (lambda: setattr(model, "modelsense", -1), ("TSOsetintattr", "M", "ModelSense", -1)),
        (lambda: model.setAttr("ObjConst", numpy.float32(0.5)), ("TSOsetdblattr", "M", "ObjConst", 0.5)),
        (lambda: model.setAttr(attrname="ObjConst", objs=1.5), ("TSOsetdblattr", "M", "ObjConst", 1.5)),
        (lambda: setattr(model, "NumVars", 5), ("TSOsetintattr", "M", "NumVars", 5)),  # the library says no
        (lambda: setattr(y, "UB", 4), ("TSOsetdblattrlist", "M", "UB", 1, [1], [4.0])),
        (lambda: y.setAttr("lb", -1e30), ("TSOsetdblattrlist", "M", "LB", 1, [1], [-1e30])),
        (lambda: y.setAttr(attrname="Obj", attrvalue=numpy.float64(3)),
         ("TSOsetdblattrlist", "M", "Obj", 1, [1], [3.0])),
        (lambda: setattr(y, "ColBasis", 2), ("TSOsetintattrlist", "M", "ColBasis", 1, [1], [2])),
        (lambda: setattr(y, "VType", "I"), ("TSOsetcharattrlist", "M", "VType", 1, [1], "I")),
        (lambda: setattr(y, "VarName", "é"), ("TSOsetstrattrlist", "M", "VarName", 1, [1], ["é"])),
        (lambda: model.setAttr("UB", y, 4), ("TSOsetdblattrlist", "M", "UB", 1, [1], [4.0])),
        *[(lambda v=v: model.setAttr("UB", xs, newvalues=v), ups) for v in (
            [1, 2.5, 3], (1, 2.5, 3), numpy.array([1, 2.5, 3]), twice[::2], twice[::2][None], twice[::2].astype("f4"),
            twice[::2].astype(object), row, row.T.tocoo())],
        (lambda: model.setAttr("VType", (x, y), ["I", "B"]), ("TSOsetcharattrlist", "M", "VType", 2, [0, 1], "IB")),
        (lambda: model.setAttr("ColBasis", xs, numpy.array([0, 1, 2])),
         ("TSOsetintattrlist", "M", "ColBasis", 3, [0, 1, 2], [0, 1, 2])),
        (lambda: model.setAttr("VarName", [x, y], ["a", "é" * 100]),
         ("TSOsetstrattrlist", "M", "VarName", 2, [0, 1], ["a", "é" * 100])),
        (lambda: model.setAttr("VarName", [x, y], numpy.array(["a", "b"])),
         ("TSOsetstrattrlist", "M", "VarName", 2, [0, 1], ["a", "b"])),
        (lambda: setattr(model.Params, "MaxTime", 3), ("TSOsetdblparam", "E", "MaxTime", 3.0)),
        (lambda: setattr(model.Params, "nosuch", 3),),
        (lambda: setattr(model.Params, "MIP/GapAb*", "default"), ("TSOgetdblparaminfo", "E", "MIP/GapAbs"),
         ("TSOsetdblparam", "E", "MIP/GapAbs", 14.0)),
        (lambda: env.setParam(paramname="Maxtime", paramvalue=3), ("TSOsetdblparam", "e", "MaxTime", 3.0)),
        (lambda: env.setParam("method", "DEFAULT"), ("TSOgetintparaminfo", "e", "Method"),
         ("TSOsetintparam", "e", "Method", 14)),
        (lambda: env.setParam("LogFile", "default"), ("TSOgetstrparaminfo", "e", "LogFile"),
         ("TSOsetstrparam", "e", "LogFile", "default text")),
        (lambda: env.writeParams("a.prm"), ("TSOwriteparams", "e", "a.prm")),
        (lambda: env.start(), ("TSOstartenv", "e")),
        (lambda: model.read("folder/é.sol.gz"), ("TSOread", "M", "folder/é.sol.gz")),
        (lambda: model.write(filename="b.prm"), ("TSOwrite", "M", "b.prm")),
        (lambda: model.message(message="é"), ("TSOgetenv", "M"), ("TSOmsg", "E", "é")),
        *[(lambda a=a: model.reset(*a), ("TSOreset", "M", *(a or (0,)))) for a in ((), (1,), (7,))],
    ]:  # fmt: skip
        assert said(act) == (None, calls)
    assert model.getVars() is xs
    stub.fail("TSOresetparams", -1)
    stub.fail("TSOmsg", -3)
    assert env.resetParam() is model.message("c") is None  # their results are not looked at
