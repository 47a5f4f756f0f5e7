"""Handles of elements: identity, hash, text, and the way every attribute takes to the library."""

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
def test_handles(stub, model, cls, accessor, name, argument):
    elements, kind = getattr(model, accessor)(), getattr(tso, cls)
    first, foreign = elements[0], getattr(tso.read("b.mps"), accessor)()[0]
    assert type(first) is kind and kind.__name__ == cls
    assert first.sameAs(first) is first.sameAs(**{argument: first}) is True
    assert first.sameAs(foreign) is first.sameAs(None) is False
    assert len(elements) < 2 or first.sameAs(elements[1]) is False
    stranger = model.getConstrs()[0] if cls == "Var" else model.getVars()[0]
    for wrong in (stranger, 5):
        shown = str(type(wrong))[8:-2]
        text = f"Argument '{argument}' has incorrect type (expected tessolvpy.{cls}, got {shown})"
        assert refusal(first.sameAs, wrong) == (TypeError, text)
    stub.clear()
    for position, element in enumerate(elements):
        assert element.index == hash(element) == position
        assert type(element.index) is int
    assert stub.calls() == []
    shown = str(element)
    calls = stub.calls()
    assert shown == repr(element) == f"<{cls} {'n' if name else ''}{element.index}>"
    assert [call[0] for call in calls] == (["TSOgetattrinfo", "TSOgetstrattrlist"] if name else [])
    if name:
        assert calls[1][2:5] == (name, 1, [element.index])
        assert len(model.getAttr(name, elements)) == len(elements)
    for other in {row[2] for row in KINDS if row[2]} - {name, "ConstrName", "VarName"}:  # aliases of rows and columns
        assert refusal(model.getAttr, other, elements) == (AttributeError, f"Attribute `{other}` does not exist")
    for protocol in range(pickle.HIGHEST_PROTOCOL + 1):
        assert refusal(pickle.dumps, element, protocol)[0] is TypeError
    assert not hasattr(element, "__dict__") and not gc.is_tracked(element)
    assert sys.getsizeof(element) <= 32  # two words and the object header: models hold millions
    assert kind.__bases__ == ((tso.Operand,) if cls == "Var" else (object,))


@each_kind
def test_a_handle_made_by_hand_stands_for_nothing(stub, cls, accessor, name, argument):
    made = getattr(tso, cls)()
    assert (made.index, hash(made)) == (0, 0)
    assert made.sameAs(getattr(tso, cls)())
    assert refusal(getattr, made, "X")[0] in (tso.TessolvError, AttributeError)
    assert refusal(getattr(tso, cls), 1)[0] is TypeError
    for call in stub.calls():
        assert call[1] == "null" or call[0] == "TSOexplainerror"
