"""Other packages bring HiGHS and SCIP under sonames that glibc would share: each must live with us in one process."""

from pathlib import Path

import pytest
import tessolvpy

MODEL = Path(__file__).resolve().parents[2] / "examples" / "p0033.mps"

SETTING = """
import importlib, peers

def import_ours():
    importlib.import_module("tessolvpy")

def import_peer():
    importlib.import_module(PACKAGE)

def solve_ours():
    m = importlib.import_module("tessolvpy").read(MODEL)
    m.optimize()
    assert m.Status == 1 and abs(m.ObjVal - 3089) < 1e-6, (m.Status, m.ObjVal)
    m.dispose()

def solve_peer():
    assert abs(getattr(peers, PACKAGE.split(".")[0])(MODEL) - 3089) < 1e-6
"""
ORDERS = {
    "peer first": "import_peer(); import_ours(); solve_peer(); solve_ours(); solve_peer()",
    "ours first": "import_ours(); import_peer(); solve_ours(); solve_peer(); solve_ours()",
    "ours after a solve of the peer": "import_peer(); solve_peer(); import_ours(); solve_ours(); solve_peer()",
    "peer after a solve of ours": "import_ours(); solve_ours(); import_peer(); solve_peer(); solve_ours()",
}


@pytest.mark.parametrize("order", ORDERS)
@pytest.mark.parametrize("package", ["highspy", "pyscipopt", "ortools.linear_solver.pywraplp"])
def test_both_solve_in_one_process(python, package, order):
    code = f"MODEL, PACKAGE = {str(MODEL)!r}, {package!r}\n{SETTING}\n{ORDERS[order]}\n"
    code += "print(*{line.split()[-1] for line in open('/proc/self/maps') if '.so' in line}, sep='\\n')\n"
    loaded = python(code).splitlines()
    # Ours runs on the engine that it was tested with, never on the peer's copy.
    for engine in "highs", "scip":
        file = Path(tessolvpy.__file__).parent / "tessolvpy.libs" / f"libtessolv-{engine}.so"
        assert str(file) in loaded
