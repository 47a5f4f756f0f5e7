"""A call that fails, whichever and with whatever code, raises that code and leaves the module's own state as it was;
loops of calls, successful and failing ones, hold on to nothing."""

import gc

import pytest
import tessolvpy as tso
from capi import resident
from expressions import refusal, state
from header import CODES as NAMED
from loops import ERRORS, check_growth, given_to, refused
from statements import LASTING, NAME, NUMBER, STATEMENTS
from test_refusals import TABLES, b  # noqa: F401 - a fixture

CODES = [code for code in NAMED.values() if code] + [1, 12345, -(2**31)]
# Their results are ignored, or they have none.
SILENT = {"TSOfreeenv", "TSOfreemodel", "TSOresetparams", "TSOversion", "TSOmsg", "TSOexplainerror", "TSOgetenv"}
REMOVABLE = (tso.Var, tso.Constr, tso.QConstr, tso.SOS, tso.GenConstr, tso.MConstr, tso.tupledict)
# Calls of a removal: of what was made before another call failed, or here of what a statement gave.
UNDONE = {"TSOdelconstrs", "TSOdelvars", "TSOdelsos", "TSOdelgenconstrs", "TSOgetgenconstrIndicator"}


def snapshot(model):
    """All that the module itself knows of the model, and what handles it uses."""
    view = model.ctypes()
    own = [id(one) for one in (model.Params, model.params, model._mark)]
    return state(model), own, view.data.value, view.env.value


def places(stub, act):
    """How often each function is called that can fail."""
    stub.clear()
    act()
    counts = {}
    for name in stub.names():
        if name not in SILENT:
            counts[name] = counts.get(name, 0) + 1
    return counts


@pytest.mark.parametrize("name", [*STATEMENTS, *LASTING])
def test_every_failure_leaves_the_state(stub, model, env, capsys, name):
    act = {**STATEMENTS, **LASTING}[name]
    model._mark = object()
    default = tso.Model("in the default environment")  # so that there is one
    asked = places(stub, lambda: act(model, env))
    before = snapshot(model)
    assert asked or name == "message"
    for function, times in asked.items():
        for nth in range(1, times + 1):
            for code in CODES if nth == 1 else CODES[:1]:
                stub.clear()
                stub.fail(function, code, nth)
                with pytest.raises(tso.TessolvError) as caught:
                    act(model, env)
                expected = -2 if function == "TSOcopymodel" else code
                assert (caught.value.errno, caught.value.message) == (expected, f"text of code {expected}")
                names = [one for one in stub.names() if one not in SILENT]
                assert [one for one in names if one not in UNDONE][-1:] in ([function], []) or function in UNDONE
                assert snapshot(model) == before
    caught = None
    gc.collect()
    act(model, env)  # and all is well again
    default.dispose()


@pytest.mark.parametrize("name", STATEMENTS)
def test_statements_hold_on_to_nothing(stub, model, env, name):
    tso.Model("in the default environment")
    act = STATEMENTS[name]

    def whole():
        made = act(model, env)
        if isinstance(made, REMOVABLE):
            model.remove(made)

    functions = list(places(stub, whole))
    fail = refused(whole, tso.TessolvError)

    def once():
        whole()
        for function in functions:
            if function not in UNDONE:
                stub.fail(function, -3)
                fail()
        stub.clear()

    watched = [NUMBER, NAME, model, env, *model.getVars(), tso.Var, tso.Model, tso.TessolvError, print]
    check_growth(once, watched, times=60)


@pytest.mark.parametrize("table", TABLES, ids=lambda table: table.__name__)
def test_refusals_hold_on_to_nothing(stub, b, table):  # noqa: F811
    acts = [act for act, *_ in table(b) if hasattr(act, "__code__")]
    rows = [refused(act, (*ERRORS, tso.TessolvError)) for act in acts]

    def once():
        for act in rows:
            act()
        stub.clear()

    check_growth(once, [*vars(b).values(), tso.TessolvError, *given_to(acts)], times=120)


def test_buffers_are_freed(stub):
    """Buffers outside Python's allocator show in the size of the process."""
    stub.set(NumVars=200_000)
    model = tso.read("a.mps")
    xs = model.getVars()
    names = ["v" * 40] * len(xs)

    def use():
        model.getAttr("VarName", xs)
        model.getAttr("X", xs)
        stub.clear()
        for function, act in [
            ("TSOgetstrattrlist", lambda: model.getAttr("VarName", xs)),
            ("TSOgetdblattrlist", lambda: model.getAttr("X", xs)),
            ("TSOsetstrattrlist", lambda: model.setAttr("VarName", xs, names)),
        ]:
            stub.fail(function, -3)
            assert refusal(act)[0] is tso.TessolvError
            stub.clear()

    for _ in range(5):
        use()
    before = resident()
    for _ in range(20):
        use()
    # 20 rounds of four lists of 200,000 pointers would be 128 MB.
    assert resident() - before < 40e6


def test_a_failed_model_or_environment_is_not_registered(run_script):
    code = """
def failing(function, act):
    stub.fail(function, -1)
    try:
        act()
    except tso.TessolvError as error:
        return error.errno
e = tso.Env()
print(failing("TSOloadenv", tso.Env), failing("TSOnewmodel", lambda: tso.Model("a", e)))
print(failing("TSOgetintattr", lambda: tso.read("a.mps", e)))
"""
    out, err, calls = run_script(code)
    assert (out, err) == ("-1 -1\n-1\n", "")
    frees = [call for call in calls if call[0].startswith("TSOfree")]
    assert frees == [("TSOfreemodel", "model1"), ("TSOfreeenv", "env1"), ("TSOfreeenv", "env2")]
