"""What comes into being, by which calls, and what is freed, when and in which order: environments, models, copies,
views, and the end of the process."""

import ctypes
import gc
import itertools

import tessolvpy as tso
from expressions import LISTS, check_rows, refusal

# Of a model from a file, list by list: each row has three handles.
ELEMENTS = [[tso.Var] * 3, [tso.Constr] * 2, [tso.QConstr] * 2, [tso.PsdConstr] * 2, [tso.SOS], [tso.GenConstr] * 2,
            [tso.PsdVar] * 2]  # fmt: skip
COUNTS = ["NumConstrs", "NumVars", "NumPsdVars", "NumSOS", "NumGenConstrs"]  # in the order in which they are asked for


def populating(model):
    calls = [(("TSOgetattrinfo", model, name, *["out"] * 3), ("TSOgetintattr", model, name, "out")) for name in COUNTS]
    return list(itertools.chain(*calls))


def lists_of(model):
    return [getattr(model, name)() for name in LISTS]


def frees(calls):
    return [call for call in calls if call[0].startswith("TSOfree")]


# ---- Environments ----


def test_environments(stub, capsys):
    load, empty = ("TSOloadenv", ["out", "3"]), ("TSOemptyenv", ["out", "3"])
    for arguments, *calls in [
        ({}, (*load, "")),
        ({"logfilename": "é.log", "empty": False, "params": None}, (*load, "é.log")),
        ({"logfilename": "run.log", "empty": True}, empty),
        ({"logfilename": None, "empty": 1}, empty),
        ({"params": {"nosuch": 1}}, (*load, "")),
        ({"params": {"maxtime": 5, "OutputFlag": 0, "LogFile": "x"}}, ("TSOsetdblparam", "null", "MaxTime", 5.0),
         ("TSOsetintparam", "null", "OutputFlag", 0), ("TSOsetstrparam", "null", "LogFile", "x"), (*load, "")),
    ]:  # fmt: skip
        made = tso.Env(**arguments)
        assert stub.calls() == calls
        made.start()
        assert stub.names() == ([] if calls == [empty] else ["TSOstartenv"])
        made.dispose()
        assert (stub.names(), made.dispose(), stub.calls()) == (["TSOfreeenv"], None, [])
        made.setParam("Method", 0)  # not guarded: the library answers for a freed handle
        assert stub.names() == ["TSOsetintparam"]


def test_what_was_set_for_an_environment_that_did_not_come_about(stub):
    """It must not reach the next one: the library drops it when it fails itself, the module when it does not get so
    far."""

    class Greedy:
        def __index__(self):
            params["Presolve"] = 1
            return 1

        __int__ = __index__

    params = {"Method": Greedy()}
    assert refusal(lambda: tso.Env(params=params)) == (RuntimeError, "dictionary changed size during iteration")
    assert stub.calls() == [("TSOsetintparam", "null", "Method", 1), ("TSOresetparams", "null")]
    assert refusal(lambda: tso.Env(None, params={"MaxTime": 1}))[0] is TypeError
    assert stub.names() == ["TSOsetdblparam", "TSOresetparams"]
    for function, asked in [
        ("TSOsetdblparam", ["TSOexplainerror", "TSOresetparams", "TSOsetdblparam"]),
        ("TSOloadenv", ["TSOexplainerror", "TSOloadenv", "TSOsetdblparam"]),
    ]:
        stub.fail(function, -4000)
        assert refusal(lambda: tso.Env(params={"MaxTime": 1})) == (tso.TessolvError, "text of code -4000")
        gc.collect()
        assert sorted(stub.names()) == asked


def test_the_default_environment(stub):
    tso.disposeDefaultEnv()
    stub.fail("TSOloadenv", -10)
    assert refusal(tso.Model) == (tso.TessolvError, "text of code -10")
    assert stub.names() == ["TSOloadenv", "TSOexplainerror"]
    tso.disposeDefaultEnv()
    assert stub.calls() == []  # one that failed is not kept, so there is none to dispose of
    tso.Model()
    tso.Model(name="x", env=None, empty=False)
    calls = stub.calls()
    default = calls[1][1]
    made = "TSOnewmodel", default
    assert [c[:2] for c in calls if c[0] != "TSOgetenv"] == [("TSOloadenv", ["out", "3"]), made, made]
    assert tso.disposeDefaultEnv() is tso.disposeDefaultEnv() is None
    assert stub.calls() == [("TSOfreeenv", default)]
    tso.Model()
    assert [c[:2] == made for c in stub.calls() if c[0] != "TSOgetenv"] == [False, False]


# ---- Models ----


def test_new_models(stub, env):
    made = tso.Model("é", env)
    (name, _, *arguments), asked = stub.calls()
    assert (name, arguments) == ("TSOnewmodel", ["out", "é", 0, *[None] * 5])
    assert asked == ("TSOgetenv", stub.handle_of(made))
    lists = lists_of(made)
    assert lists == [[]] * 7 and type(lists[0]) is list
    assert len(set(map(id, lists))) == len(set(map(id, lists + lists_of(made)))) == 7
    assert isinstance(made.Params, tso.ParamClass) and made.Params is made.params


def test_read_models(stub, env, model):
    made = tso.read("folder/é.mps", env)
    calls = stub.calls()
    assert calls[0] == ("TSOreadmodel", calls[0][1], "folder/é.mps", "out")
    assert calls[1] == ("TSOloadenv", ["out", "3"], "") or calls[1][0] == "TSOgetattrinfo"
    handle = calls[-1][1]
    assert calls[-11:] == [*populating(handle), ("TSOgetenv", handle)]
    assert [[type(one) for one in elements] for elements in lists_of(made)] == ELEMENTS
    assert all(element.index == k for elements in lists_of(made) for k, element in enumerate(elements))
    stub.clear()
    before = made.getVars()
    assert made.dispose() is made.dispose() is None
    assert stub.calls() == [("TSOfreemodel", handle)]
    assert made.getVars() is before
    made.reset()
    assert stub.calls() == [("TSOreset", handle, 0)]  # not guarded: the library answers for a freed handle
    # A model that no exit knows of goes with its last reference, from a cycle too.
    cycle, single = tso.read("b.mps"), tso.read("c.mps")
    handles = stub.handle_of(single), stub.handle_of(cycle)
    cycle._self, cycle._others = cycle, [cycle]
    x = single.getVars()[0]
    del single, cycle
    gc.collect()
    assert stub.calls() == [("TSOfreemodel", handle) for handle in handles]
    assert (x.index, x.X) == (0, 0.5)  # it does not keep the model: the library has to answer for the stale pointer
    assert stub.calls()[-1][1] == handles[0]


def test_a_shell(stub):
    shell = tso.Model(empty=True)
    assert stub.names() == ["TSOloadenv"]  # the environment is taken all the same
    assert lists_of(shell) == [None] * 7
    assert shell.Params is shell.params is None
    for function, use, *arguments in [
        ("TSOgetattrinfo", shell.getAttr, "NumVars"), ("TSOsetcallbackfunc", shell.optimize),
        ("TSOwrite", shell.write, "a.lp"), ("TSOreset", shell.reset), ("TSOaddvars", shell.addVars, 2),
    ]:  # fmt: skip
        stub.fail(function, -3)
        assert refusal(use, *arguments) == (tso.TessolvError, "text of code -3")
    shell.dispose()
    del shell, use
    gc.collect()
    assert "TSOfreemodel" not in stub.names()


def test_copies(stub, model):
    original = stub.handle_of(model)
    twin = model.copy()
    first, *calls = stub.calls()
    handle = calls[0][1]
    assert first == ("TSOcopymodel", original) and calls == populating(handle) and handle != original
    assert [len(elements) for elements in lists_of(twin)] == [len(row) for row in ELEMENTS]
    assert not twin.getVars()[0].sameAs(model.getVars()[0])
    assert (twin.Params, twin.params) == (None, None)
    for act in (getattr, setattr):
        assert refusal(act, twin, "_a", None) == (TypeError, "'NoneType' object is not subscriptable")
    again = model.copy()
    again.ctypes().reload()  # makes an owner of it
    stub.clear()
    again.dispose()
    assert stub.names() == ["TSOfreemodel"]
    twin.dispose()
    del twin
    gc.collect()
    assert "TSOfreemodel" not in stub.names()


def test_own_attributes_of_a_model(stub, model):
    model._x = 1
    model._y = model
    model._x = 2
    assert (model._x, model._y) == (2, model)
    assert not (hasattr(tso.Model, "_x") or hasattr(model, "nosuch") or hasattr(model, "__x"))
    assert refusal(getattr, tso.read("b.mps"), "_x") == (KeyError, "'_x'")
    model._y = None
    before, list_before = model.getVars()[0], model.getVars()
    stub.set(NumVars=5, NumConstrs=0)
    model.ctypes().reload()  # begins with empty containers
    assert model.getVars() is not list_before and model.getVars()[0] is not before
    assert model.getVars()[0].sameAs(before)
    assert [x.index for x in model.getVars()] == [0, 1, 2, 3, 4]
    check_rows(model, 0)
    assert refusal(getattr, model, "_x") == (KeyError, "'_x'")


def test_views(stub, env):
    model = tso.Model("a", env)
    own = stub.handle_of(model)
    env.resetParam()
    ((_, env_name),) = stub.calls()
    view, other = model.ctypes(), model.ctypes()
    assert type(view) is not type(other)
    assert type(view).__name__ == type(other).__name__ == "CModelType"
    assert view.model_ is model
    assert [type(one) for one in (view.mptr_, view.env, view.data)] == [ctypes.c_void_p] * 3
    names = [stub.name(one.value) for one in (view.env, view.data, view.datap.contents)]
    assert names == [env_name, own, own]
    assert view.mptr_.value == other.mptr_.value == ctypes.addressof(view.datap.contents)
    assert stub.lib.TSOreset(view.data, 1) == 0  # what it is for
    assert stub.calls() == [("TSOreset", own, 1)]
    kept = tso.read("a.mps").ctypes()  # a view keeps its model
    stub.clear()
    gc.collect()
    assert stub.calls() == []
    name = stub.handle_of(kept.model_)
    del kept
    gc.collect()
    assert stub.calls() == [("TSOfreemodel", name)]


def test_failing_frees(stub, monkeypatch):
    env, model = tso.Env(), tso.Model()
    stub.fail("TSOfreeenv", -3)
    stub.fail("TSOfreemodel", -3)
    assert env.dispose() is model.dispose() is None
    assert stub.names()[-2:] == ["TSOfreeenv", "TSOfreemodel"]

    class Loud(tso.Model):
        def dispose(self):
            raise ValueError("no")

    reported = []
    monkeypatch.setattr("sys.unraisablehook", lambda event: reported.append(repr(event.exc_value)))
    Loud(empty=True)
    gc.collect()
    assert set(reported) == {"ValueError('no')"}


# ---- The end of the process ----


def test_exit_disposes_models_then_environments_in_order(run_script):
    code = """
m1 = tso.Model("one")                   # makes the default environment: env1
e2 = tso.Env()
m2 = tso.Model("two", e2)
e3 = tso.Env()
gone = tso.Model("gone"); gone.dispose()
e3.dispose()
m4 = tso.Model("four"); del m4          # stays registered
e4 = tso.Env(); del e4
stub.clear()
"""
    models = [("TSOfreemodel", f"model{k}") for k in (3, 1, 2, 4)]
    envs = [("TSOfreeenv", f"env{k}") for k in (3, 1, 2, 4)]
    assert frees(run_script(code)[2]) == [models[0], envs[0], *models[1:], *envs[1:]]
    freed = frees(run_script("m = tso.Model('own')\nr = tso.read('a.lp')\nc = m.copy()\n")[2])
    assert freed[:2] == [("TSOfreemodel", "model1"), ("TSOfreeenv", "env1")]  # models from files are not registered
    assert ("TSOfreemodel", "model3") not in freed  # a copy does not own its model


def test_a_failing_dispose_ends_the_cleanup(run_script):
    code = """
class Broken(tso.Model):
    def dispose(self):
        raise ValueError("cannot go")

first, broken, last = tso.Model(), Broken(), tso.Model()
"""
    _, err, calls = run_script(code)
    assert "cannot go" in err
    assert frees(calls)[:1] == [("TSOfreemodel", "model1")]
    assert ("TSOfreeenv", "env1") not in calls
