"""Statements that call the library, each with a model and an environment: what they need, they make.

Where a statement gives rows or variables, it is for the caller to remove them.
"""

import numpy as np
import tessolvpy as tso

MATRIX = [[1, 2], [2, 3]]
NAME = "a name that nobody else holds"
NUMBER = 12345.678


def everywhere(call, m):
    exec(f"tso.{call}", {"tso": tso, "m": m})


STATEMENTS = {
    "start": lambda m, e: e.start(),
    "set parameters": lambda m, e: [e.setParam(n, "default") for n in ("MaxTime", "Method", "LogFile")],
    "write parameters": lambda m, e: e.writeParams(NAME),
    "read all parameters": lambda m, e: everywhere("readParams('a')", m),
    "write all parameters": lambda m, e: everywhere("writeParams('a')", m),
    "set all parameters": lambda m, e: everywhere("setParam('Method', 1)", m),
    "proxy": lambda m, e: (m.Params.MaxTime, m.Params.Method, m.Params.LogFile),
    "set by proxy": lambda m, e: setattr(m.Params, "Method", 1),
    "param info": lambda m, e: [m.getParamInfo(n) for n in ("MaxTime", "Method", "LogFile")],
    "read model": lambda m, e: tso.read(NAME, e),
    "copy": lambda m, e: m.copy(),
    "model attributes": lambda m, e: (m.NumVars, m.ObjVal, m.ModelName),
    "set model attributes": lambda m, e: [
        setattr(m, *p) for p in (("ModelSense", 1), ("ObjCon", NUMBER), ("ProbName", NAME))
    ],
    "lists": lambda m, e: [m.getAttr(n, m.getVars()) for n in ("X", "ColBasis", "VType", "VarName")],
    "set lists": lambda m, e: [
        m.setAttr(n, m.getVars(), [v] * 3)
        for n, v in (("LB", NUMBER), ("ColBasis", 1), ("VType", "C"), ("VarName", NAME))
    ],
    "set an array": lambda m, e: m.setAttr("UB", m.getVars(), np.array([1, 2, NUMBER])),
    "handle": lambda m, e: [m.getVars()[1].getAttr(n) for n in ("X", "ColBasis", "VType", "VarName")],
    "set by handle": lambda m, e: [
        m.getVars()[1].setAttr(*p) for p in (("LB", NUMBER), ("ColBasis", 1), ("VType", "C"), ("VarName", NAME))
    ],
    "texts": lambda m, e: [str(one[0]) for one in (m.getVars(), m.getConstrs(), m.getSOSs(), m.getGenConstrs())],
    "optimize": lambda m, e: m.optimize(),
    "optimize with a callback": lambda m, e: m.optimize(print),
    "computeIIS": lambda m, e: m.computeIIS(),
    "reset": lambda m, e: m.reset(1),
    "cleanupMilp": lambda m, e: m.cleanupMilp(),
    "message": lambda m, e: m.message(NAME),
    "read": lambda m, e: m.read(NAME),
    "write": lambda m, e: m.write(NAME),
    "variable": lambda m, e: m.addVar(1, NUMBER, 2, "I", NAME, tso.Column([1, 2], m.getConstrs()[:2])),
    "variables": lambda m, e: m.addVars(2, ["a", "bc"], lb=NUMBER, ub=[1.0] * 4, vtype="B", name=NAME),
    "row": lambda m, e: m.addConstr(m.getVars()[0] <= NUMBER, NAME),
    "range": lambda m, e: m.addRange(m.getVars()[0] + m.getVars()[1], 0, 1),
    "linear row": lambda m, e: m.addLConstr(m.getVars()[0], "<", 1),
    "generated rows": lambda m, e: m.addConstrs((x <= NUMBER for x in m.getVars()[:1]), NAME),
    "quadratic row": lambda m, e: m.addConstr(m.getVars()[0] * m.getVars()[1] + m.getVars()[0] <= NUMBER, NAME),
    "quadratic range": lambda m, e: m.addConstr(m.getVars()[0] * m.getVars()[1] == [1, NUMBER]),
    "rows of an array": lambda m, e: m.addConstr(np.eye(3) @ tso.MVar.fromlist(m.getVars()[:3]) <= NUMBER, NAME),
    "set": lambda m, e: m.addSOS(2, iter(m.getVars()[:2]), {0: 1, 1: NUMBER}.values()),
    "indicator": lambda m, e: m.addConstr((m.getVars()[1] == 1) >> (m.getVars()[0] <= NUMBER), NAME),
}
LASTING = {  # whose results stay
    "new environment": lambda m, e: tso.Env(NAME, params={"MaxTime": 1, "Method": 1, "LogFile": NAME}),
    "new empty environment": lambda m, e: tso.Env(empty=True),
    "new model": lambda m, e: tso.Model(NAME, e),
    "matrix": lambda m, e: m.getPsdVars()[0].PsdX,
    "set matrix": lambda m, e: setattr(m.getPsdVars()[0], "PsdObj", np.eye(2)),
    "semi-definite variable": lambda m, e: m.addPsdVar(2, MATRIX),
    "semi-definite row": lambda m, e: m.addConstr(MATRIX * m.getPsdVars()[0] + m.getVars()[0] <= 1),
    "semi-definite value": lambda m, e: (MATRIX * m.getPsdVars()[0] + m.getVars()[0]).getValue(),
}
