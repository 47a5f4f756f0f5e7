"""A call that fails, whichever and with whatever code, raises that code and leaves the module's own state as it was."""

import gc

import pytest
import tables
import tessolvpy as tso
from tables import LISTS

CODES = [code for code in tables.CODES.values() if code] + [1, 12345, -(2**31)]
# Their results are ignored, or they have none.
SILENT = {"TSOfreeenv", "TSOfreemodel", "TSOresetparams", "TSOversion", "TSOmsg", "TSOexplainerror", "TSOgetenv"}

OPERATIONS = {
    "new environment": lambda m, e: tso.Env("a.log", params={"MaxTime": 1, "Method": 1, "LogFile": "a"}),
    "new empty environment": lambda m, e: tso.Env(empty=True),
    "start": lambda m, e: e.start(),
    "set parameters": lambda m, e: [e.setParam(n, "default") for n in ("MaxTime", "Method", "LogFile")],
    "write parameters": lambda m, e: e.writeParams("a.prm"),
    "read all parameters": lambda m, e: exec("tso.readParams('a')", {"tso": tso, "m": m}),
    "write all parameters": lambda m, e: exec("tso.writeParams('a')", {"tso": tso, "m": m}),
    "set all parameters": lambda m, e: exec("tso.setParam('Method', 1)", {"tso": tso, "m": m}),
    "proxy": lambda m, e: (m.Params.MaxTime, m.Params.Method, m.Params.LogFile),
    "set by proxy": lambda m, e: setattr(m.Params, "Method", 1),
    "param info": lambda m, e: [m.getParamInfo(n) for n in ("MaxTime", "Method", "LogFile")],
    "new model": lambda m, e: tso.Model("a", e),
    "read model": lambda m, e: tso.read("a.mps", e),
    "copy": lambda m, e: m.copy(),
    "model attributes": lambda m, e: (m.NumVars, m.ObjVal, m.ModelName),
    "set model attributes": lambda m, e: [
        setattr(m, *p) for p in (("ModelSense", 1), ("ObjCon", 1), ("ProbName", "a"))
    ],
    "lists": lambda m, e: [m.getAttr(n, m.getVars()) for n in ("X", "ColBasis", "VType", "VarName")],
    "set lists": lambda m, e: [
        m.setAttr(n, m.getVars(), [v] * 3) for n, v in (("LB", 1), ("ColBasis", 1), ("VType", "C"), ("VarName", "a"))
    ],
    "handle": lambda m, e: [m.getVars()[1].getAttr(n) for n in ("X", "ColBasis", "VType", "VarName")],
    "set by handle": lambda m, e: [
        m.getVars()[1].setAttr(*p) for p in (("LB", 1), ("ColBasis", 1), ("VType", "C"), ("VarName", "a"))
    ],
    "texts": lambda m, e: [str(getattr(m, name)()[0]) for name in LISTS],
    "optimize": lambda m, e: m.optimize(),
    "computeIIS": lambda m, e: m.computeIIS(),
    "reset": lambda m, e: m.reset(1),
    "cleanupMilp": lambda m, e: m.cleanupMilp(),
    "message": lambda m, e: m.message("a"),
    "read": lambda m, e: m.read("a.sol"),
    "write": lambda m, e: m.write("a.sol"),
    "variable": lambda m, e: m.addVar(name="x"),
    "variable of a column": lambda m, e: m.addVar(column=tso.Column(1, m.getConstrs()[0])),
    "variables": lambda m, e: m.addVars(2, 3, lb=1, name="x"),
    "row": lambda m, e: m.addConstr(m.getVars()[0] <= 1, "n"),
    "range": lambda m, e: m.addRange(m.getVars()[0] + m.getVars()[1], 0, 1),
    "linear row": lambda m, e: m.addLConstr(m.getVars()[0], "<", 1),
    "matrix": lambda m, e: m.getPsdVars()[0].PsdX,
    "set matrix": lambda m, e: setattr(m.getPsdVars()[0], "PsdObj", tso._np.eye(2)),
    "semi-definite variable": lambda m, e: m.addPsdVar(2, [[1, 2], [2, 3]]),
    "semi-definite row": lambda m, e: m.addConstr([[1, 2], [2, 3]] * m.getPsdVars()[0] + m.getVars()[0] <= 1),
    "semi-definite value": lambda m, e: ([[1, 2], [2, 3]] * m.getPsdVars()[0] + m.getVars()[0]).getValue(),
    "generated rows": lambda m, e: m.addConstrs((x <= 1 for x in m.getVars()[:1]), "n"),
}


def snapshot(stub, model, env):
    """All that the module itself knows of the model, and what handles it uses."""
    lists = [getattr(model, name)() for name in LISTS]
    view = model.ctypes()
    return (
        [id(one) for one in lists],
        [[id(element) for element in one] for one in lists],
        [[element.index for element in one] for one in lists],
        id(model.Params),
        id(model.params),
        id(model._mark),
        view.data.value,
        view.env.value,
    )


@pytest.mark.parametrize("operation", OPERATIONS)
def test_every_failure_leaves_the_state(stub, model, env, capsys, operation):
    act = OPERATIONS[operation]
    model._mark = object()
    tso.Model("in the default environment")  # so that there is one
    stub.clear()
    act(model, env)
    places = {}
    for name in stub.names():
        places[name] = places.get(name, 0) + 1
    before = snapshot(stub, model, env)
    assert places
    for name, times in places.items():
        if name in SILENT:
            continue
        for nth in range(1, times + 1):
            for code in CODES if nth == 1 else CODES[:1]:
                stub.clear()
                stub.fail(name, code, nth)
                with pytest.raises(tso.TessolvError) as caught:
                    act(model, env)
                expected = -2 if name == "TSOcopymodel" else code
                assert caught.value.errno == expected
                assert caught.value.message == f"text of code {expected}"
                asked = [call[0] for call in stub.calls() if call[0] not in SILENT]
                assert asked[-1] == name, "nothing more is asked after a failure"
                assert snapshot(stub, model, env) == before
    caught = None
    gc.collect()
    act(model, env)  # and all is well again


def test_a_failed_model_or_environment_is_not_registered(run_script):
    code = """
def failing(function, act):
    stub.fail(function, -1)
    try:
        act()
    except tso.TessolvError as error:
        return error.errno
e = tso.Env()
print(failing("TSOloadenv", tso.Env), failing("TSOnewmodel", lambda: tso.Model("a", e)))
print(failing("TSOgetintattr", lambda: tso.read("a.mps", e)))
"""
    out, err, calls = run_script(code)
    assert out == "-1 -1\n-1\n"
    assert err == ""
    frees = [call for call in calls if call[0].startswith("TSOfree")]
    assert frees == [("TSOfreemodel", "model1"), ("TSOfreeenv", "env1"), ("TSOfreeenv", "env2")]
