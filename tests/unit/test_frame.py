"""What the import leaves behind, the module's functions, and its error."""

import sys

import pytest
import tables
import tessolvpy as tso

HELPERS = dict(  # noqa: C408
    os="os", inspect="inspect", itertools="itertools", _ctypes="ctypes", fnmatch="fnmatch", _np="numpy",
    _sp="scipy.sparse", time="time", pydoc="pydoc", threading="threading", traceback="traceback", atexit="atexit",
    numbers="numbers",
)  # fmt: skip


def test_helper_modules_are_bound_in_order():
    bound = [name for name in vars(tso) if name in HELPERS]
    assert bound == list(HELPERS)
    for name, module in HELPERS.items():
        assert getattr(tso, name) is sys.modules[module]


def test_all_lists_what_exists_in_the_promised_order():
    assert tso.__all__ == [name for name in tables.PUBLIC if hasattr(tso, name)]
    assert {"TSO", "read", "version", "TessolvError", "Var", "PsdConstr", "Env", "Model"} <= set(tso.__all__)
    assert "Operand" not in tso.__all__
    assert isinstance(tso.Operand, type)
    assert isinstance(tso.ParamClass, type)
    space = {}
    exec("from tessolvpy import *", space)
    del space["__builtins__"]
    assert sorted(space) == sorted(tso.__all__)


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


def test_version(stub):
    assert tso.version() == (7, 8, 9)
    assert all(type(number) is int for number in tso.version())
    assert stub.names() == ["TSOversion", "TSOversion"]


def test_system_runs_the_command_and_forgets_its_status(tmp_path):
    assert tso.system("exit 3") is None
    assert tso.system(command=f"echo x > {tmp_path / 'made'}") is None
    assert (tmp_path / "made").exists()
    with pytest.raises(TypeError):
        tso.system()


def test_models_prints_the_models_of_the_callers_globals(stub, capsys):
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
        (tso.TessolvError("boom"), -1, "boom"),
        (tso.TessolvError(b"boom\xc3\xa9"), -1, "boomé"),
        (tso.TessolvError("boom", 17), -1, "boom"),
        (tso.TessolvError(5, "x"), 5, "x"),
        (tso.TessolvError(5, b"x"), 5, "x"),
        (tso.TessolvError(True, "x"), 1, "x"),
        (tso.TessolvError(tso._np.int64(7), "x"), 7, "x"),
    ]:
        assert (error.errno, error.message, str(error), error.args) == (code, message, message, (message,))
        assert type(error.errno) is int
    assert stub.calls() == []  # who has a message does not ask for one
    assert issubclass(tso.TessolvError, Exception)
