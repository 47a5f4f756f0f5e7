"""Models: construction, mirror of elements, copies, disposal, attribute access."""

import gc
import weakref

import pytest
import tessolvpy as tso
from tables import COUNTS, LISTS


def test_construction(stub, env):
    made = tso.Model("é", env)
    calls = stub.calls()
    handle = calls[0][1]
    assert handle.startswith("env")
    assert calls[0] == ("TSOnewmodel", handle, "out", "é", 0, None, None, None, None, None)
    assert len(calls) == 2
    assert calls[1] == ("TSOgetenv", stub.handle_of(made))
    lists = [getattr(made, name)() for name in LISTS]
    assert lists == [[]] * 7
    assert len(set(map(id, lists))) == 7
    assert [getattr(made, name)() is one for name, one in zip(LISTS, lists)] == [True] * 7
    assert type(lists[0]) is list
    assert isinstance(made.Params, tso.ParamClass)
    tso.Model(name="x", env=None, empty=False)
    assert stub.names() == ["TSOloadenv", "TSOnewmodel", "TSOgetenv"]


def test_an_empty_shell(stub):
    shell = tso.Model(empty=True)
    assert stub.names() == ["TSOloadenv"]  # the environment is taken all the same
    assert [getattr(shell, name)() for name in LISTS] == [None] * 7
    assert shell.Params is None
    assert shell.params is None
    shell.dispose()
    reference = weakref.ref(shell) if hasattr(shell, "__weakref__") else None
    del shell
    gc.collect()
    assert stub.calls() == []
    assert reference is None or reference() is None
    other = tso.Model(empty=True)
    for use in (lambda: other.NumVars, other.optimize, lambda: other.write("a.lp"), other.reset):
        stub.fail("TSOsetcallbackfunc", -3)
        stub.fail("TSOwrite", -3)
        stub.fail("TSOreset", -3)
        with pytest.raises(tso.TessolvError):
            use()
        stub.unfail()


def test_mirror_of_a_model_from_a_file(stub, model):
    sizes = [len(getattr(model, name)()) for name in LISTS]
    assert sizes == [3, 2, 2, 1, 2, 2, 2]  # one handle per row in each of the three row lists
    kinds = [type(getattr(model, name)()[0]) for name in LISTS]
    assert kinds == [tso.Var, tso.Constr, tso.QConstr, tso.SOS, tso.GenConstr, tso.PsdVar, tso.PsdConstr]
    for name in LISTS:
        assert [element.index for element in getattr(model, name)()] == list(range(len(getattr(model, name)())))
    assert model.getVars() is model.getVars()


# ---- Copies ----


def test_copy_is_unowned_and_bare(stub, model):
    original = stub.handle_of(model)
    twin = model.copy()
    calls = stub.calls()
    asked = [call[1:3] for call in calls if call[0] == "TSOgetintattr"]
    made = asked[0][0]
    assert made != original
    assert asked == [(made, name) for name in COUNTS]
    assert ("TSOcopymodel", original) in calls
    assert "TSOgetenv" not in [call[0] for call in calls]
    assert [len(getattr(twin, name)()) for name in LISTS] == [3, 2, 2, 1, 2, 2, 2]
    assert not twin.getVars()[0].sameAs(model.getVars()[0])
    assert (twin.Params, twin.params) == (None, None)
    with pytest.raises(TypeError, match="^'NoneType' object is not subscriptable$"):
        twin._a = 1
    with pytest.raises(TypeError, match="^'NoneType' object is not subscriptable$"):
        _ = twin._a
    twin.dispose()
    del twin
    gc.collect()
    assert "TSOfreemodel" not in stub.names()


# ---- Disposal ----


def test_dispose_frees_once_and_keeps_the_lists(stub, model):
    handle = stub.handle_of(model)
    before = model.getVars()
    assert model.dispose() is None
    assert model.dispose() is None
    assert stub.calls() == [("TSOfreemodel", handle)]
    assert model.getVars() is before
    model.reset()
    assert stub.calls() == [("TSOreset", handle, 0)]  # not guarded: the library answers for a freed handle


def test_an_unregistered_model_goes_with_its_last_reference(stub):
    made = tso.read("a.mps")
    handle = stub.handle_of(made)
    del made
    assert stub.calls() == [("TSOfreemodel", handle)]
    cycle = tso.read("b.mps")
    handle = stub.handle_of(cycle)
    cycle._self = cycle
    cycle._others = [cycle]
    del cycle
    gc.collect()
    assert stub.calls() == [("TSOfreemodel", handle)]


def test_finalisation_asks_the_objects_own_dispose(stub, monkeypatch):
    class Loud(tso.Model):
        def dispose(self):
            raise ValueError("no")

    reported = []
    monkeypatch.setattr("sys.unraisablehook", lambda event: reported.append(repr(event.exc_value)))
    shell = Loud(empty=True)
    del shell
    gc.collect()
    assert reported
    assert set(reported) == {"ValueError('no')"}


# ---- Attribute access ----


def test_attributes_by_prefix(stub, model):
    model._x = 1
    model._y = model
    assert model._x == 1
    assert model._y is model
    model._x = 2
    assert model._x == 2
    assert not hasattr(tso.Model, "_x")
    for other, name in (model, "_unset"), (tso.read("b.mps"), "_x"):
        with pytest.raises(KeyError, match=name):
            getattr(other, name)
    stub.clear()
    for name in ("__x", "__x__", "__dict__"):
        with pytest.raises(AttributeError):
            setattr(model, name, 1)
    for name in ("__x", "__nosuch__"):
        with pytest.raises(AttributeError):
            getattr(model, name)
    assert stub.calls() == []
    stub.set(NumVars=3)
    assert model.numvars == 3
    model.ModelSense = 1
    assert stub.names() == ["TSOgetattrinfo", "TSOgetintattr", "TSOgetattrinfo", "TSOsetintattr"]
    for name in ("Params", "params", "optimize", "nosuch", "mdl_"):
        with pytest.raises(AttributeError, match=f"^Attribute `{name}` does not exist$"):
            setattr(model, name, 1)
    assert not hasattr(model, "nosuch")
    assert not hasattr(model, "vars_")
    assert stub.calls() == []
    model._y = None
