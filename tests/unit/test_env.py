"""Environments: what is called, in which order, and what is refused before anything is called."""

import gc

import pytest
import tessolvpy as tso


def test_construction(stub):
    tso.Env()
    tso.Env("run.log")
    tso.Env(logfilename="é.log", empty=False, params=None)
    tso.Env("run.log", True)
    tso.Env(logfilename=None, empty=1)
    tso.Env(params={})
    assert stub.calls() == [
        ("TSOloadenv", ["out", "3"], ""),
        ("TSOloadenv", ["out", "3"], "run.log"),
        ("TSOloadenv", ["out", "3"], "é.log"),
        ("TSOemptyenv", ["out", "3"]),
        ("TSOemptyenv", ["out", "3"]),
        ("TSOloadenv", ["out", "3"], ""),
    ]


def test_parameters_come_before_the_environment(stub, capsys):
    tso.Env(params={"maxtime": 5, "OutputFlag": 0, "LogFile": "x"})
    assert stub.calls() == [
        ("TSOsetdblparam", "null", "MaxTime", 5.0),
        ("TSOsetintparam", "null", "OutputFlag", 0),
        ("TSOsetstrparam", "null", "LogFile", "x"),
        ("TSOloadenv", ["out", "3"], ""),
    ]
    assert capsys.readouterr().out == (
        "Set parameter MaxTime to value 5\nSet parameter OutputFlag to value 0\nSet parameter LogFile to value x\n"
    )
    tso.Env(params={"nosuch": 1})
    assert stub.names() == ["TSOloadenv"]
    assert capsys.readouterr().out == "No parameters matching 'nosuch' found\n"


def test_parameters_are_dropped_when_the_construction_fails(stub, capsys):
    """What was set for an environment that did not come about must not reach the next one."""

    class Greedy:
        def __index__(self):
            params["Presolve"] = 1
            return 1

        __int__ = __index__

    params = {"Method": Greedy()}
    with pytest.raises(RuntimeError, match="dictionary changed size during iteration"):
        tso.Env(params=params)
    assert stub.calls() == [("TSOsetintparam", "null", "Method", 1), ("TSOresetparams", "null")]
    with pytest.raises((TypeError, ValueError)):
        tso.Env(params={"Method": "abc"})
    assert stub.calls() == [("TSOresetparams", "null")]
    with pytest.raises(TypeError):
        tso.Env(None, params={"MaxTime": 1})
    assert stub.names() == ["TSOsetdblparam", "TSOresetparams"]


@pytest.mark.parametrize("function", ["TSOsetdblparam", "TSOloadenv"])
def test_a_failed_construction_leaves_nothing_to_free(stub, function):
    stub.fail(function, -4000)
    with pytest.raises(tso.TessolvError) as caught:
        tso.Env(params={"MaxTime": 1, "Method": 1})
    assert caught.value.errno == -4000
    del caught
    gc.collect()
    names = stub.names()
    # What was set for an environment that did not come about must not reach the next one: the library drops it when it
    # fails itself, the module when it does not get so far.
    assert "TSOresetparams" in names or function == "TSOloadenv"
    assert names[-1] in ("TSOexplainerror", "TSOresetparams")
    assert ("TSOloadenv" in names) == (function == "TSOloadenv")
    assert "TSOfreeenv" not in names


def test_start_acts_on_loaded_environments_only(stub):
    loaded, empty = tso.Env(), tso.Env(empty=True)
    stub.clear()
    assert loaded.start() is None
    assert empty.start() is None
    assert [call[0] for call in stub.calls()] == ["TSOstartenv"]
