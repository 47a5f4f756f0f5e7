"""Handles of elements: identity, hash, text, and the way every attribute takes to the library."""

import copy
import gc
import pickle
import sys

import pytest
import tessolvpy as tso
from expressions import refusal

KINDS = [
    # class, accessor, naming attribute, argument of sameAs
    ("Var", "getVars", "VarName", "var"),
    ("Constr", "getConstrs", "ConstrName", "constr"),
    ("QConstr", "getQConstrs", "QCName", "qconstr"),
    ("SOS", "getSOSs", None, "sos"),
    ("GenConstr", "getGenConstrs", "GenConstrName", "genconstr"),
    ("PsdVar", "getPsdVars", "PsdVarName", "var"),
    ("PsdConstr", "getPsdConstrs", "PsdCName", "constr"),
]
each_kind = pytest.mark.parametrize(("cls", "accessor", "name", "argument"), KINDS, ids=[row[0] for row in KINDS])


@each_kind
def test_identity(stub, model, cls, accessor, name, argument):
    elements = getattr(model, accessor)()
    first = elements[0]
    other_model = getattr(tso.read("b.mps"), accessor)()
    assert type(first).__name__ == cls
    assert type(first) is getattr(tso, cls)
    assert first.sameAs(first) is True
    assert first.sameAs(other_model[0]) is False
    assert first.sameAs(None) is False
    assert first.sameAs(**{argument: first}) is True
    if len(elements) > 1:
        assert first.sameAs(elements[1]) is False
    stranger = model.getConstrs()[0] if cls == "Var" else model.getVars()[0]
    for wrong, shown in [(stranger, type(stranger).__name__), (5, "int"), (model, "Model")]:
        error, text = refusal(first.sameAs, wrong)
        assert error is TypeError
        assert (
            text.replace("tessolvpy.", "") == f"Argument '{argument}' has incorrect type (expected {cls}, got {shown})"
        )
    with pytest.raises(TypeError):
        first.sameAs()


@each_kind
def test_index_and_hash(stub, model, cls, accessor, name, argument):
    for position, element in enumerate(getattr(model, accessor)()):
        assert element.index == hash(element) == position
        assert type(element.index) is int
    assert isinstance(vars(getattr(tso, cls))["index"], property)
    assert stub.calls() == []
    with pytest.raises(AttributeError, match="^Attribute `index` does not exist$"):
        element.index = 1  # every assignment is one of an attribute of the library
    assert stub.calls() == []


@each_kind
def test_text(stub, model, cls, accessor, name, argument):
    element = getattr(model, accessor)()[-1]
    stub.clear()
    shown = str(element)
    calls = stub.calls()
    if name is None:
        assert shown == f"<{cls} {element.index}>"
        assert calls == []
    else:
        assert shown == f"<{cls} n{element.index}>"
        assert [call[0] for call in calls] == ["TSOgetattrinfo", "TSOgetstrattrlist"]
        assert calls[1][2:5] == (name, 1, [element.index])
        stub.fail("TSOgetstrattrlist", -2003)
        with pytest.raises(tso.TessolvError):
            repr(element)
    assert repr(element) == shown


@each_kind
def test_no_pickling_no_dictionary_small(stub, model, cls, accessor, name, argument):
    element = getattr(model, accessor)()[0]
    for protocol in range(pickle.HIGHEST_PROTOCOL + 1):
        with pytest.raises(TypeError):
            pickle.dumps(element, protocol)
    with pytest.raises(TypeError):
        copy.copy(element)
    assert not hasattr(element, "__dict__")
    assert not gc.is_tracked(element)
    assert sys.getsizeof(element) <= 32  # two words and the object header: models hold millions


def test_only_variables_are_operands(model):
    bases = {cls: getattr(tso, cls).__bases__ for cls, *_ in KINDS}
    assert bases.pop("Var") == (tso.Operand,)
    assert set(bases.values()) == {(object,)}
    assert tso.Operand.__array_priority__ == 1000
    assert type(tso.Operand.__array_priority__) is int


@each_kind
def test_a_handle_made_by_hand_stands_for_nothing(stub, cls, accessor, name, argument):
    made = getattr(tso, cls)()
    assert (made.index, hash(made)) == (0, 0)
    assert made.sameAs(getattr(tso, cls)())
    with pytest.raises((tso.TessolvError, AttributeError)):
        _ = made.X
    with pytest.raises(TypeError):
        getattr(tso, cls)(1)
    for call in stub.calls():
        assert call[1] == "null" or call[0] == "TSOexplainerror"


def test_handles_do_not_keep_the_model(stub, model):
    made = tso.read("b.mps")
    x = made.getVars()[0]
    own = stub.handle_of(made)
    del made
    gc.collect()
    assert stub.calls() == [("TSOfreemodel", own)]
    assert x.index == 0
    _ = x.X  # the library has to answer for the stale pointer
    assert stub.calls()[-1][1] == own
