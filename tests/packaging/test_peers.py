"""Other packages bring HiGHS and SCIP under sonames that glibc would share: each must live with us in one process."""

from pathlib import Path

import pytest
import tessolvpy

MODEL = Path(__file__).resolve().parents[2] / "examples" / "p0033.mps"

OURS = """
def import_ours():
    global tessolvpy
    import tessolvpy

def solve_ours():
    m = tessolvpy.read(MODEL)
    m.optimize()
    assert m.Status == tessolvpy.TSO.OPTIMAL and abs(m.ObjVal - 3089) < 1e-6, (m.Status, m.ObjVal)
    m.dispose()
"""
PEERS = {
    "highspy": """
def import_peer():
    global highspy
    import highspy

def solve_peer():
    h = highspy.Highs()
    h.setOptionValue("output_flag", False)
    h.readModel(MODEL)
    h.run()
    assert abs(h.getInfo().objective_function_value - 3089) < 1e-6
""",
    "pyscipopt": """
def import_peer():
    global pyscipopt
    import pyscipopt

def solve_peer():
    m = pyscipopt.Model()
    m.hideOutput()
    m.readProblem(MODEL)
    m.optimize()
    assert abs(m.getObjVal() - 3089) < 1e-6
""",
    "ortools": """
def import_peer():
    global pywraplp
    from ortools.linear_solver import pywraplp

def solve_peer():
    for engine in "SCIP", "HIGHS", "CBC":
        s = pywraplp.Solver.CreateSolver(engine)
        assert s is not None, engine
        x = [s.IntVar(0, 10, f"x{j}") for j in range(3)]
        s.Add(3 * x[0] + 5 * x[1] + 7 * x[2] <= 25)
        s.Add(x[0] + x[1] <= 4)
        s.Maximize(4 * x[0] + 7 * x[1] + 9 * x[2])
        assert s.Solve() == s.OPTIMAL and abs(s.Objective().Value() - 34) < 1e-6, (engine, s.Objective().Value())
""",
}
ORDERS = {
    "peer first": "import_peer(); import_ours(); solve_peer(); solve_ours(); solve_peer()",
    "ours first": "import_ours(); import_peer(); solve_ours(); solve_peer(); solve_ours()",
    "ours after a solve of the peer": "import_peer(); solve_peer(); import_ours(); solve_ours(); solve_peer()",
    "peer after a solve of ours": "import_ours(); solve_ours(); import_peer(); solve_peer(); solve_ours()",
}


@pytest.mark.parametrize("order", ORDERS)
@pytest.mark.parametrize("peer", PEERS)
def test_both_solve_in_one_process(python, peer, order):
    code = f"MODEL = {str(MODEL)!r}\n{OURS}{PEERS[peer]}\n{ORDERS[order]}\n"
    code += "print(*{line.split()[-1] for line in open('/proc/self/maps') if '.so' in line}, sep='\\n')\n"
    loaded = python(code).splitlines()
    # Ours runs on the engine that it was tested with, never on the peer's copy.
    for engine in "highs", "scip":
        file = Path(tessolvpy.__file__).parent / "tessolvpy.libs" / f"libtessolv-{engine}.so"
        assert str(file) in loaded
