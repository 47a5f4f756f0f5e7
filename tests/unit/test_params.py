"""Parameters by forgiving names: on an environment, on a model, and for all models at once."""

import re

import pytest
import tessolvpy as tso
from expressions import refusal
from header import PARAMETERS

SETTERS = {"Int": ("TSOsetintparam", 1), "Double": ("TSOsetdblparam", 0.5), "String": ("TSOsetstrparam", "é")}


@pytest.mark.parametrize(("name", "kind"), PARAMETERS)
def test_every_parameter_reaches_its_function(stub, env, capsys, name, kind):
    function, value = SETTERS[kind]
    for spelling in (name, name.upper(), name.lower().replace("/", "_")):
        env.setParam(spelling, value)
        assert stub.calls()[0][0::2] == (function, name)
        assert capsys.readouterr().out == f"Set parameter {name} to value {value}\n"


def test_wildcards(stub, env, capsys):
    for pattern, name in [
        ("MaxTi*", "MaxTime"), ("mip/gapa?s", "MIP/GapAbs"), ("*LinearizationBig[LMN]", "MIP/LinearizationBigM"),
    ]:  # fmt: skip
        env.setParam(pattern, 10)
        assert stub.calls()[0][0::2] == ("TSOsetdblparam", name)
        assert capsys.readouterr().out == f"Set parameter {name} to value 10\n"

    for pattern, matching in [("MIP/Gap*", ["MIP/GapAbs", "MIP/GapRel"]), ("*", [name for name, _ in PARAMETERS])]:
        assert env.setParam(pattern, 1) is None
        first, second = capsys.readouterr().out.splitlines()
        assert first.startswith("Matching parameters: ")
        assert re.findall(r"'([\w/]+)'", first) == matching
        assert second == f"No parameters matching '{pattern}' found"
    for name in ("nosuch", "", "Meth", "[", "MIP/", "é*"):
        assert env.setParam(name, 1) is None
        assert capsys.readouterr().out == f"No parameters matching '{name}' found\n"
    assert stub.calls() == []


def test_functions_act_on_the_default_environment_and_the_callers_models(stub, capsys):
    default_user, other = tso.Model("a"), tso.Model("b", tso.Env())
    env = stub.calls()[1][1]
    first, second = "env of " + stub.handle_of(default_user), "env of " + stub.handle_of(other)

    def calls(code, **names):
        exec(code, {"tso": tso, **names})
        return [call for call in stub.calls() if call[0] != "TSOgetenv"]

    made = calls("tso.setParam('Meth*', 1)", m=other, n=default_user, again=other)
    assert made == [("TSOsetintparam", handle, "Method", 1) for handle in (env, second, first, second)]
    assert capsys.readouterr().out == "Set parameter Method to value 1\n" * 4
    assert calls("tso.resetParams()", m=other) == [("TSOresetparams", env), ("TSOresetparams", second)]
    assert calls("tso.writeParams('a.prm')", m=other) == [("TSOwriteparams", env, "a.prm")]
    made = calls("tso.readParams('a.prm')", m=other)
    assert made[0] == ("TSOreadparams", env, "a.prm")
    assert made[1][0] in ("TSOreadparams", "TSOread") and made[1][2] == "a.prm" and len(made) == 2
    tso.disposeDefaultEnv()
    stub.clear()
    assert calls("tso.setParam('Method', 1); tso.resetParams(); tso.readParams('a')") == []  # none is made for it
    assert refusal(calls, "tso.writeParams('a')")[0]  # there is nothing to write, in whatever words
    assert "TSOwriteparams" not in stub.names()


def test_help(stub, capsys):
    assert tso.paramHelp("maxtime") is None
    first, second = capsys.readouterr().out.splitlines()[-2:]
    assert re.fullmatch(r"MaxTime \(.*float.*\)", first)
    assert second == "    Set the maximum solve time"
    tso.paramHelp("MIP/Gap*")
    out = capsys.readouterr().out
    assert out.startswith("Matching parameters: ")
    assert out.index("MIP/GapAbs") < out.index("MIP/GapRel")
    tso.paramHelp("nosuch")
    assert "nosuch" in capsys.readouterr().out
    assert stub.calls() == []
