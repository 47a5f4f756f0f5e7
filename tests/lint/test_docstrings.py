"""Every public name tells what it is for, in one form: a signature that inspect reads, a text, an example."""

import inspect
import types

import pytest
import tessolvpy

# Their texts are promised word for word.
FIXED = {"TessolvError.errno", "TessolvError.message"}
# They ask where they are called before they look at arguments, or take whatever is given.
FREE = ("Model.cb", "TempConstr")


def public():
    """(name, class or None, member) of the classes, their members and the functions of the module."""
    for name, value in vars(tessolvpy).items():
        if isinstance(value, types.BuiltinFunctionType) and not name.startswith("_"):
            yield name, None, value
        elif isinstance(value, type) and value.__module__ == "tessolvpy":
            yield name, None, value
            yield from ((f"{name}.{key}", value, member) for key, member in vars(value).items() if key[0] != "_")


def text_of(member):
    return inspect.getdoc(getattr(member, "__func__", member)) or ""


ANY_NUMBER = (inspect.Parameter.VAR_POSITIONAL, inspect.Parameter.VAR_KEYWORD)
SHOWN = {name: found for name, *found in public() if "For internal use" not in text_of(found[1])}
CALLED = {name: found for name, found in SHOWN.items() if not inspect.isdatadescriptor(found[1])}


def test_everything_exported_is_looked_at():
    assert set(tessolvpy.__all__) - {"TSO"} <= set(SHOWN)
    assert len(SHOWN) > 200


@pytest.mark.parametrize("name", sorted(SHOWN))
def test_text_and_example(name):
    text = text_of(SHOWN[name][1])
    assert len(text) > 20
    assert "\n--\n" not in text, "a signature that Python cannot read"
    assert name in FIXED or "\nExample: " in text
    assert max(map(len, text.splitlines())) <= 120


@pytest.mark.parametrize("name", sorted(CALLED))
def test_signature(name):
    owner, member = CALLED[name]
    function = getattr(owner, name.split(".")[1]) if owner else member
    parameters = list(inspect.signature(function).parameters.values())
    given = []
    if isinstance(member, types.MethodDescriptorType):
        given.append(owner.__new__(owner))  # without __init__: arguments are matched before anything else is looked at
        assert parameters.pop(0).name == "self"
    explained = text_of(member).split("Example: ")[0]
    assert not [p.name for p in parameters if p.name not in explained and p.kind not in ANY_NUMBER]
    # What it shows can be given like that, and nothing else can.
    if not any(p.kind in ANY_NUMBER for p in parameters) and (not name.startswith(FREE) or "new" in name):
        given += [object() for p in parameters if p.kind is p.POSITIONAL_ONLY]
        named = {p.name: object() for p in parameters if p.kind is not p.POSITIONAL_ONLY}
        with pytest.raises(TypeError, match="'no_such_argument'|no (keyword )?arguments|at most 1"):
            function(*given, **named, no_such_argument=1)


def test_every_class_names_its_own_class():
    classes = [member for name, (owner, member) in CALLED.items() if isinstance(member, type)]
    assert all(cls.__getmetaclass__() is type(cls) for cls in classes)
    assert inspect.signature(tessolvpy.TSO.callback)


def test_constants_tell_what_they_are():
    for table in ("Attr", "Param", "Callback"):
        cls = type(getattr(tessolvpy.TSO, table))
        assert cls.__name__ in inspect.getdoc(getattr(type(tessolvpy.TSO), table))
        assert "Example: " in cls.__doc__
