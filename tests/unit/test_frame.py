"""What the import leaves behind, the module's functions, and the end of the process."""

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


# ---- Models in the caller's module ----


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


# ---- The default environment ----


def test_default_environment_is_made_on_demand_and_anew_after_dispose(stub):
    tso.disposeDefaultEnv()
    assert stub.calls() == []
    stub.fail("TSOloadenv", -10)
    with pytest.raises(tso.TessolvError, match="text of code -10"):
        tso.Model()
    assert stub.names() == ["TSOloadenv", "TSOexplainerror"]
    tso.disposeDefaultEnv()
    assert stub.calls() == []  # one that failed is not kept, so there is none to dispose of
    tso.Model()
    tso.Model()
    calls = stub.calls()
    assert [c[0] for c in calls] == ["TSOloadenv", "TSOnewmodel", "TSOgetenv", "TSOnewmodel", "TSOgetenv"]
    assert calls[0] == ("TSOloadenv", ["out", "3"], "")
    default = calls[1][1]
    assert calls[3][1] == default
    assert tso.disposeDefaultEnv() is None
    assert tso.disposeDefaultEnv() is None
    assert stub.calls() == [("TSOfreeenv", default)]
    tso.Model()
    calls = stub.calls()
    assert calls[0][0] == "TSOloadenv"
    assert calls[1][1] != default


# ---- Reading a model ----


def populating(model):
    return [
        call
        for name in tables.COUNTS
        for call in (("TSOgetattrinfo", model, name, "out", "out", "out"), ("TSOgetintattr", model, name, "out"))
    ]


def test_read_calls(stub):
    env = tso.Env()
    stub.clear()
    made = tso.read("folder/é.mps", env)
    calls = stub.calls()
    name = calls[0][1]
    assert calls[0] == ("TSOreadmodel", name, "folder/é.mps", "out")
    assert calls[1] == ("TSOloadenv", ["out", "3"], "")  # the default one, for the new Model
    model = calls[2][1]
    assert calls[2:] == [*populating(model), ("TSOgetenv", model)]
    assert isinstance(made, tso.Model)

    tso.read(filename="a.lp")
    default = stub.calls()[0][1]
    assert default not in (name, "null")
    tso.read("a.lp", env=None)
    assert stub.calls()[0][1] == default


# ---- The end of the process ----


def frees(calls):
    return [call for call in calls if call[0].startswith("TSOfree")]


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


def test_models_from_files_are_not_registered(run_script):
    freed = frees(run_script("m = tso.Model('own')\nr = tso.read('a.lp')\nc = m.copy()\n")[2])
    assert freed[:2] == [("TSOfreemodel", "model1"), ("TSOfreeenv", "env1")]
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


def test_failing_frees_are_silent(stub):
    env, model = tso.Env(), tso.Model()
    stub.fail("TSOfreeenv", -3)
    stub.fail("TSOfreemodel", -3)
    assert env.dispose() is None
    assert model.dispose() is None
    assert stub.names()[-2:] == ["TSOfreeenv", "TSOfreemodel"]


# ---- TessolvError ----


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
