"""The example at the end of each docstring runs, among the things that its text takes for granted."""

from fnmatch import fnmatch

import pytest
import tessolvpy
from test_docstrings import SHOWN, text_of

START = """
import numpy
from tessolvpy import *
from tessolvpy import List, Operand
m = Model("example")
x, y, z = (m.addVar(ub=10, name=name) for name in "xyz")
c = c1 = m.addConstr(x + y <= 4, name="c")
c2 = m.addConstr(x - y >= -1)
m.setObjective(x + 2 * y + z, TSO.MAXIMIZE)
m.optimize()
e, q, col, env = x + 2 * y + 1, x * y + x, Column([1.0, 2.0], [c1, c2]), Env()
"""
ARRAYS = """
A, b, w, Q = numpy.ones((2, 3)), numpy.ones(2), numpy.ones(3), numpy.eye(3)
x = m.addMVar(3, name="x")
m.optimize()
a = m.addVar()
"""
IN_RUNS = "Model.cb*"  # only compiled: what they may do depends on the place in a run
FILES = "[m.write(name) for name in ('diet.lp', 'trial1.prm', 'fast.prm')]"
# Further things for names that fit a pattern.
MORE = {
    "*read*": FILES,
    "MVar*": ARRAYS + "x = m.addMVar((2, 2))\na, b_, c, d = m.getVars()[:4]",
    "MVar.[fn][re][ow]*": "b = b_",
    "MVar.[CgT]*": "m.optimize()",
    "MConstr*": ARRAYS + "c = m.addConstr(m.addMVar((2, 2)) <= 1)\nm.optimize()",
    "MConstr.[fn][re][ow]*": "a, b, c, d = c.tolist()[0] + c.tolist()[1]",
    "MQConstr*": "a, b, c, d = (m.addQConstr(x * x <= k + 1) for k in range(4))\n"
    "qc = MQConstr.fromlist([[a, b], [c, d]])",
    "M*Expr*": ARRAYS,
    "M*Expr.new": "b = m.addVar()",
    "*Psd*": "A = B = numpy.eye(2)\nX, Y = m.addPsdVar(2), m.addPsdVar(2)\nm.addConstr(A * X + B * Y <= 1)\n"
    "m.optimize()\ne = A * X + y",
    "QConstr": "m.addQConstr(x * x <= 1)",
    "Model.addConstrs": "x = [x, y, z]",
    "Model.add*Indicator": "b = m.addVar(vtype=TSO.BINARY)",
    "Model.computeIIS": "m.addConstr(x + y >= 5)",
    "Model.get*Indicator": "g = m.addGenConstrIndicator(m.addVar(vtype=TSO.BINARY), 1, x, TSO.EQUAL, 3)",
    "Model.getSOS": "s = m.addSOS(TSO.SOS_TYPE2, [x, y, z])",
    "Model.getQCRow": "q = m.addQConstr(x * x <= 1)",
    "Model.setAttr": "m.remove(z)",
    "quicksum": "c, x = [1.0, 2.0], {0: x, 1: y}",
    "tupledict.*": "cost = tupledict({('Oslo', 'Moss'): 2.0}); more = {('Moss', 'Bergen'): z}\n"
    "flow = tupledict({('Oslo', 'Bergen'): x, ('Oslo', 'Moss'): y})",
    "tuplelist.*": "routes = tuplelist([('Oslo', 'Bergen'), ('Oslo', 'Moss')])",
}


@pytest.mark.parametrize("name", sorted(name for name in SHOWN if "Example: " in text_of(SHOWN[name][1])))
def test_example(name, tmp_path, monkeypatch):
    first, *rest = text_of(SHOWN[name][1]).rpartition("Example: ")[2].split("\n")
    code = "\n".join([first, *(line[len("Example: ") :] for line in rest)])
    monkeypatch.chdir(tmp_path)
    names = {"__name__": "__main__"}
    exec(START, names)
    for pattern, more in MORE.items():
        if fnmatch(name, pattern):
            exec(more, names)
    compiled = compile(code, name, "exec")
    if not fnmatch(name, IN_RUNS):
        exec(compiled, names)
        call, mark, value = code.rpartition("  # ")
        if mark:  # what it says that comes out
            assert repr(eval(call.rpartition("; ")[2], names)) == value
    tessolvpy.disposeDefaultEnv()
