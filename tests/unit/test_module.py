"""What the import leaves behind: names, constants and their documentation, the module's functions, its error."""

import ctypes
import sys

import pytest
import tables
import tessolvpy as tso

TSO = tso.TSO
HELPERS = dict(  # noqa: C408
    os="os", inspect="inspect", itertools="itertools", _ctypes="ctypes", fnmatch="fnmatch", _np="numpy",
    _sp="scipy.sparse", time="time", pydoc="pydoc", threading="threading", traceback="traceback", atexit="atexit",
    numbers="numbers",
)  # fmt: skip


def test_names():
    assert [name for name in vars(tso) if name in HELPERS] == list(HELPERS)  # in this order
    for name, module in HELPERS.items():
        assert getattr(tso, name) is sys.modules[module]
    assert tso.__all__ == [name for name in tables.PUBLIC if hasattr(tso, name)]
    assert {"TSO", "read", "version", "TessolvError", "Var", "PsdConstr", "Env", "Model"} <= set(tso.__all__)
    assert "Operand" not in tso.__all__ and isinstance(tso.Operand, type) and isinstance(tso.ParamClass, type)
    assert tso.Operand.__array_priority__ == 1000 and type(tso.Operand.__array_priority__) is int


def test_second_import_is_refused(run_script):
    code = """
import importlib
del sys.modules["tessolvpy"]
try:
    importlib.import_module("tessolvpy")
except RuntimeError as error:
    print(error)
print(tso.version())
"""
    out, _, calls = run_script(code)
    assert out == "Module 'tessolvpy' has already been imported. Re-initialisation is not supported.\n(7, 8, 9)\n"
    assert {call[0] for call in calls} == {"TSOversion"}  # neither the import nor the exit calls anything


def test_functions(stub, tmp_path, capsys):
    assert tso.version() == (7, 8, 9)
    assert all(type(number) is int for number in tso.version())
    assert stub.names() == ["TSOversion", "TSOversion"]
    assert tso.system("exit 3") is None  # the status is forgotten
    assert tso.system(command=f"echo x > {tmp_path / 'made'}") is None
    assert (tmp_path / "made").exists()
    first, hidden = tso.Model("a"), [tso.Model("b")]
    space = {"tso": tso, "first": first, "number": 1, "again": first, "hidden": hidden}
    exec("result = tso.models()", space)
    assert space["result"] is None
    assert capsys.readouterr().out == f"Currently loaded models:\nfirst : {first}\nagain : {first}\n"
    exec("def f(m):\n    tso.models()\n", space)
    del space["first"], space["again"]
    space["f"](first)
    assert capsys.readouterr().out == "No models currently loaded\n"


def test_error_forms(stub):
    by_code = tso.TessolvError(-3)
    assert (by_code.errno, by_code.message, str(by_code)) == (-3, "text of code -3", "text of code -3")
    assert by_code.args == ("text of code -3",)
    assert stub.calls() == [("TSOexplainerror", -3)]
    for error, code, message in [
        (tso.TessolvError("boom"), -1, "boom"), (tso.TessolvError(b"boom\xc3\xa9"), -1, "boomé"),
        (tso.TessolvError("boom", 17), -1, "boom"), (tso.TessolvError(5, "x"), 5, "x"),
        (tso.TessolvError(5, b"x"), 5, "x"), (tso.TessolvError(True, "x"), 1, "x"),
        (tso.TessolvError(tso._np.int64(7), "x"), 7, "x"),
    ]:  # fmt: skip
        assert (error.errno, error.message, str(error), error.args) == (code, message, message, (message,))
        assert type(error.errno) is int
    assert stub.calls() == []  # who has a message does not ask for one
    doc = tso.TessolvError.errno.__doc__, tso.TessolvError.message.__doc__
    assert doc[0].startswith("The error code corresponding to the current exception")
    assert doc[1].startswith("Text description corresponding to the current exception")


def plain(cls):
    return {name: value for name, value in vars(cls).items() if not name.startswith("__")}


def test_constants_by_value():
    assert (TSO.UNDEFINED, TSO.INFINITY, TSO.GENCONSTR_INDICATOR) == (-1.23457e88, 1e20, 6)
    types = TSO.CONTINUOUS, TSO.BINARY, TSO.INTEGER, TSO.SEMICONT, TSO.SEMIINT
    assert (*types, TSO.EQUAL, TSO.LESS_EQUAL, TSO.GREATER_EQUAL) == ("C", "B", "I", "S", "N", "=", "<", ">")
    assert (TSO.MINIMIZE, TSO.MAXIMIZE, TSO.SOS_TYPE1, TSO.SOS_TYPE2) == (1, -1, 1, 2)
    assert (TSO.MAXINT, TSO.MAX_NAMELEN, TSO.MAX_STRLEN) == (2000000000, 255, 512)
    assert type(TSO).__name__ == "TSO" and type(TSO).INFINITY == 1e20
    for rows, holder, other in [(tables.CODES, TSO.Error, TSO.error), (tables.STATUSES, TSO.Status, TSO.status)]:
        assert holder is other and plain(type(holder)) == rows
        for name, value in rows.items():  # they stand twice
            assert getattr(holder, name) == getattr(TSO, name) == value
            assert type(getattr(TSO, name)) is int
    assert {name: getattr(TSO.Callback, name) for name in plain(type(TSO.Callback))} == tables.CALLBACKS
    assert TSO.attr is TSO.Attr and TSO.param is TSO.Param
    assert TSO.callback() is TSO.Callback  # a method, unlike the other two
    for name in ("Attr", "attr", "Param", "param", "Callback"):
        with pytest.raises(TypeError, match="^Value is readonly$"):
            setattr(TSO, name, None)
    classes = [type(getattr(TSO, name)) for name in ("Attr", "Param", "Error", "Status", "Callback")]
    names = ["AttrConstClass", "ParamConstClass", "ErrorConstClass", "StatusConstClass", "CallbackClass"]
    assert [cls.__name__ for cls in classes] == names and {cls.__bases__ for cls in classes} == {(object,)}


@pytest.mark.parametrize(
    ("holder", "rows", "shown"),
    [("Attr", tables.ATTRIBUTES, str), ("Param", tables.PARAMETERS, lambda kind: f"<class '{kind}'>")],
)
def test_name_constants(holder, rows, shown):
    holder = getattr(TSO, holder)
    wanted = {name.replace("/", "_"): (name, kind) for kind, names in rows.items() for name in names}
    assert set(plain(type(holder))) == set(wanted)
    for attribute, (name, kind) in wanted.items():
        assert getattr(holder, attribute) == name
        prop = getattr(type(holder), attribute)
        assert isinstance(prop, property)
        assert prop.fset is None
        first, second = prop.__doc__.split("\n", 1)
        assert first == f"Type: {shown(kind)}"
        assert second.startswith("Desc: ")
        assert len(second) > 10
        with pytest.raises(AttributeError):
            setattr(holder, attribute, "x")


def test_declared_types_are_those_of_the_library(stub):
    """The stand-in answers from the library's own tables; the module's tables are others."""
    kinds = ["char", "int", "double", "string", "matrix"]
    kind, made = ctypes.c_int(), tso.Model()
    for declared, names in tables.ATTRIBUTES.items():
        for name in names:
            code = stub.lib.TSOgetattrinfo(made.ctypes().data, name.encode(), ctypes.byref(kind), None, None)
            assert (code, kinds[kind.value]) == (0, declared), name


def test_descriptions():
    attr, param, callback = type(TSO.Attr), type(TSO.Param), type(TSO.Callback)
    for described, text in [
        (attr.VarName, "Type: string\nDesc: Alias for ColName, The variable name"),
        (attr.PsdCLHS, "Type: double\nDesc: psd contraint left-hand-side value"),
        (param.MaxTime, "Type: <class 'float'>\nDesc: Set the maximum solve time"),
        (callback.MIPSOL, "Code = 4\nDesc: MIP Optimizer just found a new incumbent solution."),
    ]:
        assert described.__doc__ == text
