"""Model files with known optima. That writing them keeps them, to the last bit, is tested with the files."""

import pytest
import tessolvpy as tso
from files import DATA, INSTANCES

STATUS = {"optimal": 1, "infeasible": 2, "unbounded": 3}


@pytest.mark.parametrize("row", INSTANCES, ids=lambda row: row["file"])
def test_instance(read, row):
    model = read(DATA / row["file"])
    assert (len(model.getVars()), len(model.getConstrs())) == (row["cols"], row["rows"])
    model.optimize()
    assert model.Status == STATUS[row["status"]]
    if row["status"] != "optimal":
        return
    assert model.HasSolution == 1
    optimum, slack = row["optimum"], row["tolerance"] * max(1, abs(row["optimum"]))
    assert abs(model.ObjVal - optimum) <= slack
    x = model.getAttr("X", model.getVars())
    assert x == [v.X for v in model.getVars()]
    # What is called feasible is feasible, in the rows, the bounds and the types.
    rows = (model.getAttr(name, model.getConstrs()) for name in ("LHS", "Activity", "RHS"))
    columns = (model.getAttr(name, model.getVars()) for name in ("LB", "X", "UB", "VType"))
    for low, value, high, kind in [*((*row, b"C") for row in zip(*rows)), *zip(*columns)]:
        size, zero = 1e-5 * max(1, abs(value)), kind in (b"S", b"N") and abs(value) < 1e-9
        assert (zero or low - size <= value) and value <= high + size
        assert kind not in (b"I", b"B", b"N") or abs(value - round(value)) < 1e-5


def test_files_beside_the_model(read, tmp_path):
    model, fresh = (read(DATA / "lp/afiro.mps") for _ in range(2))
    before = fresh.getVars()
    model.optimize()
    model.Params.MaxTime = 12.25
    for name in ("a.sol", "a.bas", "a.prm.gz"):
        model.write(str(tmp_path / name))
        fresh.read(str(tmp_path / name))
    assert fresh.getVars() is before
    assert fresh.getAttr("Start", before) == model.getAttr("X", model.getVars())
    fresh.optimize()
    assert (fresh.getAttr("SPX/NumIters"), fresh.Params.MaxTime) == (0, 12.25)  # it begins where the other ended
    with pytest.raises(tso.TessolvError) as caught:
        fresh.read(str(tmp_path / "nosuch.mst"))
    assert caught.value.errno == tso.TSO.FILE_READ_ERROR
