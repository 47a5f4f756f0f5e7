"""The raw pointers of a model, for code that calls the library itself."""

import ctypes
import gc

import pytest
import tessolvpy as tso


def test_view(stub, env):
    model = tso.Model("a", env)
    stub.clear()
    env.resetParam()
    model.reset()
    env_name, model_name = (call[1] for call in stub.calls())
    view, other = model.ctypes(), model.ctypes()
    assert type(view) is not type(other)
    assert type(view).__name__ == type(other).__name__ == "CModelType"
    assert view.model_ is model
    assert isinstance(view.mptr_, ctypes.c_void_p)
    assert isinstance(view.env, ctypes.c_void_p)
    assert isinstance(view.data, ctypes.c_void_p)
    assert stub.name(view.env.value) == env_name
    assert stub.name(view.data.value) == model_name
    assert stub.name(view.datap.contents.value) == model_name
    assert view.mptr_.value == other.mptr_.value == ctypes.addressof(view.datap.contents)
    assert stub.calls() == []
    for name in ("env", "data", "datap"):
        with pytest.raises(TypeError, match="^Value is readonly$"):
            setattr(view, name, None)
    assert stub.lib.TSOreset(view.data, 1) == 0  # what it is for
    assert stub.calls() == [("TSOreset", model_name, 1)]


def test_reload_rebuilds_the_lists(stub, model):
    before, list_before = model.getVars()[0], model.getVars()
    model._x = 1
    model.ctypes().reload()
    assert model.getVars() is not list_before
    assert model.getVars()[0] is not before
    assert model.getVars()[0].sameAs(before)
    stub.set(NumVars=5, NumConstrs=0)
    model.ctypes().reload()
    assert [x.index for x in model.getVars()] == [0, 1, 2, 3, 4]
    assert model.getConstrs() == model.getQConstrs() == model.getPsdConstrs() == []
    with pytest.raises(KeyError):
        _ = model._x  # a reload begins with empty containers


def test_a_reload_makes_a_copy_an_owner(stub, model):
    twin = model.copy()
    twin.ctypes().reload()
    assert isinstance(twin.Params, tso.ParamClass)
    stub.clear()
    twin.dispose()
    assert stub.names() == ["TSOfreemodel"]


def test_the_view_keeps_the_model(stub):
    made = tso.read("a.mps")
    view = made.ctypes()
    stub.clear()
    del made
    gc.collect()
    assert stub.calls() == []
    view.model_.reset()
    name = stub.calls()[0][1]
    del view
    gc.collect()
    assert stub.calls() == [("TSOfreemodel", name)]
