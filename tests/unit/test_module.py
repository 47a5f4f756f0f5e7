"""What the import leaves behind: names, constants and their documentation, the module's functions, its error."""

import re
import sys

import pytest
import tessolvpy as tso
from expressions import refusal
from header import ATTRIBUTES, CODES, PARAMETERS

TSO = tso.TSO
HELPERS = dict(  # noqa: C408
    os="os", inspect="inspect", itertools="itertools", _ctypes="ctypes", fnmatch="fnmatch", _np="numpy",
    _sp="scipy.sparse", time="time", pydoc="pydoc", threading="threading", traceback="traceback", atexit="atexit",
    numbers="numbers",
)  # fmt: skip
INTERNAL = {"ParamClass", "Operand", "List"}  # types that nobody has to name
STATUSES = ["UNKNOWN", "OPTIMAL", "INFEASIBLE", "UNBOUNDED", "INF_OR_UBD", "SUB_OPTIMAL"]
CALLBACKS = dict(  # noqa: C408
    MIPSTART=3, MIPSOL=4, MIPNODE=5, PRE_NUMVARS=200, PRE_NUMCONSTRS=201, PRE_NUMNZS=202, MIP_OBJBST=300,
    MIP_OBJBND=301, MIP_RELVAL=302, MIP_NODCNT=306, MIP_SOLCNT=307, MIP_CUTCNT=308, MIP_NODLFT=309, MIP_NODEID=310,
    MIP_DEPTH=311, MIP_PHASE=312, MIP_SOL=316, MIP_REL=317,
)  # fmt: skip
TYPES = {"Int": "<class 'int'>", "Double": "<class 'float'>", "String": "<class 'str'>"}  # of parameters


def test_names():
    assert [name for name in vars(tso) if name in HELPERS] == list(HELPERS)  # in this order
    for name, module in HELPERS.items():
        assert getattr(tso, name) is sys.modules[module]
    own = {n for n, v in vars(tso).items() if callable(v) and getattr(v, "__module__", 0) in ("tessolvpy", None)}
    assert set(tso.__all__) == {name for name in own if name[0] != "_"} - INTERNAL | {"TSO"}
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
    assert stub.names() == ["TSOversion"]
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
    for arguments, code, message in [
        (("boom",), -1, "boom"), ((b"boom\xc3\xa9",), -1, "boomé"), (("boom", 17), -1, "boom"), ((5, "x"), 5, "x"),
        ((5, b"x"), 5, "x"), ((True, "x"), 1, "x"), ((tso._np.int64(7), "x"), 7, "x"),
    ]:  # fmt: skip
        error = tso.TessolvError(*arguments)
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
    statuses = {name: value for value, name in enumerate(STATUSES)}
    for rows, holder, other in [(CODES, TSO.Error, TSO.error), (statuses, TSO.Status, TSO.status)]:
        assert holder is other and plain(type(holder)) == rows
        for name, value in rows.items():  # they stand twice
            assert getattr(TSO, name) == value and type(getattr(TSO, name)) is int
    codes = plain(type(TSO.Callback))
    assert {name: getattr(TSO.Callback, name) for name in codes} == CALLBACKS
    for name, code in CALLBACKS.items():
        assert codes[name].__doc__.startswith(f"Code = {code}\nDesc: ")
    assert TSO.attr is TSO.Attr and TSO.param is TSO.Param
    assert TSO.callback() is TSO.Callback  # a method, unlike the other two
    for name in ("Attr", "attr", "Param", "param", "Callback"):
        assert refusal(setattr, TSO, name, None) == (TypeError, "Value is readonly")
    classes = [type(getattr(TSO, name)) for name in ("Attr", "Param", "Error", "Status", "Callback")]
    names = ["AttrConstClass", "ParamConstClass", "ErrorConstClass", "StatusConstClass", "CallbackClass"]
    assert [cls.__name__ for cls in classes] == names and {cls.__bases__ for cls in classes} == {(object,)}


@pytest.mark.parametrize(
    ("holder", "wanted"),
    [
        ("Attr", {name: kind.lower() for name, kind, *_ in ATTRIBUTES}),
        ("Param", {name: TYPES[kind] for name, kind in PARAMETERS}),
    ],
)
def test_name_constants(holder, wanted):
    """The module's tables have the names and types of the library's, which are others."""
    holder = getattr(TSO, holder)
    properties = plain(type(holder))
    assert set(properties) == {name.replace("/", "_") for name in wanted}
    for name, kind in wanted.items():
        attribute = name.replace("/", "_")
        assert getattr(holder, attribute) == name
        assert re.fullmatch(f"Type: {re.escape(kind)}\nDesc: .{{10,}}", properties[attribute].__doc__, re.S)
        assert refusal(setattr, holder, attribute, "x")[0] is AttributeError
