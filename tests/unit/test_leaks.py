"""Loops of calls, successful and failing ones, hold on to nothing."""

import numpy
import pytest
import tessolvpy as tso
from loops import check_growth, refused, resident

VALUE = 12345.678
NAME = "a name that nobody else holds"


def quiet_fail(stub, function, act):
    """Fails the first call of a function, without pytest's own bookkeeping."""

    def run(m, x):
        stub.fail(function, -3)
        refused(act, tso.TessolvError)(m, x)

    return run


def actions(stub):
    values, texts = [1.5, 2.5, VALUE], ["a", "b", NAME]
    array = numpy.array(values)

    yield "read handle", lambda m, x: (x.X, x.ColBasis, x.VType, x.VarName)
    yield "write handle", lambda m, x: (setattr(x, "UB", VALUE), setattr(x, "VarName", NAME), setattr(x, "VType", "C"))
    yield "read model", lambda m, x: (m.NumVars, m.ObjVal, m.ModelName)
    yield "write model", lambda m, x: (setattr(m, "ObjCon", VALUE), setattr(m, "ModelName", NAME))
    yield "read list", lambda m, x: [m.getAttr(n, m.getVars()) for n in ("X", "ColBasis", "VType", "VarName")]
    yield "write list", lambda m, x: (m.setAttr("UB", m.getVars(), values), m.setAttr("VarName", m.getVars(), texts))
    yield "write array", lambda m, x: m.setAttr("UB", m.getVars(), array)
    yield "text, index, hash", lambda m, x: (str(x), x.index, hash(x), x.sameAs(x), x.sameAs(None))
    yield "matrix", lambda m, x: (m.getPsdVars()[0].PsdX, setattr(m.getPsdVars()[0], "PsdObj", numpy.eye(2)))
    yield "parameters", lambda m, x: (m.Params.MaxTime, m.Params.LogFile, m.getParamInfo("LogFile"))
    yield "run", lambda m, x: (m.optimize(), m.optimize(print), m.computeIIS(), m.reset(), m.cleanupMilp())
    yield "files", lambda m, x: (m.read(NAME), m.write(NAME), m.message(NAME))
    yield "copy", lambda m, x: m.copy()
    yield "open", lambda m, x: tso.read(NAME)
    yield "view", lambda m, x: (m.ctypes().data.value, m.ctypes().reload())
    yield "user attributes", lambda m, x: (setattr(m, "_a", [NAME]), m._a)
    yield "shell", lambda m, x: tso.Model(empty=True)
    yield "errors", lambda m, x: (tso.TessolvError(-3), tso.TessolvError(NAME), tso.TessolvError(1, NAME).message)
    for function, act in [
        ("TSOgetattrinfo", lambda m, x: x.X),
        ("TSOgetdblattrlist", lambda m, x: x.X),
        ("TSOgetstrattrlist", lambda m, x: m.getAttr("VarName", m.getVars())),
        ("TSOsetstrattrlist", lambda m, x: m.setAttr("VarName", m.getVars(), texts)),
        ("TSOsetdblattrlist", lambda m, x: m.setAttr("UB", m.getVars(), values)),
        ("TSOgetstrattr", lambda m, x: m.ModelName),
        ("TSOoptimize", lambda m, x: m.optimize()),
        ("TSOsetcallbackfunc", lambda m, x: m.optimize(print)),
        ("TSOreadmodel", lambda m, x: tso.read(NAME)),
        ("TSOgetintattr", lambda m, x: tso.read(NAME)),
        ("TSOnewmodel", lambda m, x: tso.Model(NAME)),
        ("TSOloadenv", lambda m, x: tso.Env(NAME)),
        ("TSOcopymodel", lambda m, x: m.copy()),
        ("TSOwrite", lambda m, x: m.write(NAME)),
        ("TSOgetstrparam", lambda m, x: m.Params.LogFile),
    ]:
        yield f"failing {function}", quiet_fail(stub, function, act)
    for name, act in {
        "unknown name": lambda m, x: x.nosuch,
        "unknown name set": lambda m, x: setattr(x, "nosuch", VALUE),
        "other kind": lambda m, x: x.RHS,
        "no such user attribute": lambda m, x: m._nosuch,
        "dunder": lambda m, x: setattr(m, "__x", [NAME]),
        "bad value": lambda m, x: setattr(x, "UB", NAME),
        "bad list": lambda m, x: m.setAttr("VarName", m.getVars(), ["a", "b", 5]),
        "bad text": lambda m, x: m.setAttr("VarName", m.getVars(), ["a", "b", "\ud800"]),
        "short list": lambda m, x: m.setAttr("UB", m.getVars(), [VALUE]),
        "no element": lambda m, x: m.getAttr("X", [NAME]),
        "half elements": lambda m, x: m.getAttr("X", [x, NAME]),
        "wrong argument": lambda m, x: x.sameAs(m),
        "wrong name": lambda m, x: x.getAttr([NAME]),
        "wrong environment": lambda m, x: tso.Env([NAME]),
        "wrong params": lambda m, x: tso.Env(params=[NAME]),
        "wrong model": lambda m, x: tso.Model(NAME, NAME),
        "wrong file": lambda m, x: m.write([NAME]),
        "terminate": lambda m, x: m.terminate(),
        "unknown parameter": lambda m, x: m.Params.nosuch,
    }.items():
        yield name, refused(act)


@pytest.mark.parametrize("name", [name for name, _ in actions(None)])
def test_loops_hold_on_to_nothing(stub, model, name):
    act, x = dict(actions(stub))[name], model.getVars()[1]
    watched = [VALUE, NAME, model, x, model.getVars(), tso.Var, tso.Model, tso.TessolvError, tso.ParamClass, print]
    watched.append(model.getPsdVars()[0])
    check_growth(lambda: (act(model, x), stub.clear()), watched)


def test_buffers_are_freed(stub):
    """Buffers outside Python's allocator show in the size of the process."""
    stub.set(NumVars=200_000)
    model = tso.read("a.mps")
    xs = model.getVars()
    names_ = ["v" * 40] * len(xs)

    def use():
        model.getAttr("VarName", xs)
        model.getAttr("X", xs)
        stub.lib.stub_clear()
        for function, act in [
            ("TSOgetstrattrlist", lambda: model.getAttr("VarName", xs)),
            ("TSOgetdblattrlist", lambda: model.getAttr("X", xs)),
            ("TSOsetstrattrlist", lambda: model.setAttr("VarName", xs, names_)),
        ]:
            stub.fail(function, -3)
            with pytest.raises(tso.TessolvError):
                act()
            stub.lib.stub_clear()

    for _ in range(5):
        use()
    before = resident()
    for _ in range(20):
        use()
    # 20 rounds of four lists of 200,000 pointers would be 128 MB.
    assert resident() - before < 40e6
