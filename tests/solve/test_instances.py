"""Model files with known optima: read, solved, written in both formats, read again, solved again."""

import json
from pathlib import Path

import pytest
import tessolvpy as tso

DATA = Path(__file__).resolve().parents[1] / "data"
ROWS = [row for row in json.loads((DATA / "manifest.json").read_text()) if row["class"] in ("lp", "mip", "qp")]
STATUS = {"optimal": (1,), "infeasible": (2, 4), "unbounded": (3, 4)}
TINY = {"lp/gas11.mps": 12}  # entries below 1e-9, which the manifest does not count


def check(model, row):
    assert (model.NumVars, len(model.getVars())) == (row["cols"],) * 2
    assert (model.NumConstrs, len(model.getConstrs())) == (row["rows"],) * 2
    assert model.NumNZs == row["nnz"] + TINY.get(row["file"], 0)
    model.optimize()
    assert model.Status in STATUS[row["status"]]
    if row["status"] != "optimal":
        assert model.Status != tso.TSO.INF_OR_UBD  # which of the two must be known
        return
    assert model.HasSolution == 1
    optimum, slack = row["optimum"], row["tolerance"] * max(1, abs(row["optimum"]))
    assert abs(model.ObjVal - optimum) <= slack
    x = model.getAttr("X", model.getVars())
    assert x == [v.X for v in model.getVars()]
    # What is called feasible is feasible, in the rows, the bounds and the types.
    for low, value, high in [
        *zip(*(model.getAttr(name, model.getConstrs()) for name in ("LHS", "Activity", "RHS"))),
        *(
            (0 if abs(value) < 1e-9 and kind in (b"S", b"N") else low, value, high)
            for low, value, high, kind in zip(
                *(model.getAttr(name, model.getVars()) for name in ("LB", "X", "UB", "VType"))
            )
        ),
    ]:
        size = 1e-5 * max(1, abs(value))
        assert low - size <= value <= high + size
    for value, kind in zip(x, model.getAttr("VType", model.getVars())):
        if kind in (b"I", b"B", b"N"):
            assert abs(value - round(value)) < 1e-5


def facts(model):
    """Everything that a model file holds, by name."""
    columns = [model.getAttr(n, model.getVars()) for n in ("VarName", "LB", "UB", "Obj", "VType")]
    rows = [model.getAttr(n, model.getConstrs()) for n in ("ConstrName", "LHS", "RHS")]
    return sorted(zip(*columns)), sorted(zip(*rows)), model.ObjConst, model.ModelSense, model.NumNZs


@pytest.mark.parametrize("row", ROWS, ids=[row["file"] for row in ROWS])
def test_instance(read, tmp_path, row):
    model = read(DATA / row["file"])
    check(model, row)
    for suffix in (".lp", ".mps", ".lp.gz", ".mps.bz2"):
        path = tmp_path / f"written{suffix}"
        model.write(str(path))
        again = read(path)
        assert facts(again) == facts(model)
        if suffix in (".lp", ".mps"):
            check(again, row)
        copy = tmp_path / f"copy{suffix}"
        again.write(str(copy))
        if not suffix.endswith(("gz", "bz2")):
            assert copy.read_bytes() == path.read_bytes()


@pytest.mark.parametrize("name", ["lp/afiro.mps", "mip/p0033.mps", "qp/hs118.qps"])
def test_solution_and_basis_files(read, tmp_path, name):
    model = read(DATA / name)
    model.optimize()
    objective, x = model.ObjVal, model.getAttr("X", model.getVars())
    model.write(str(tmp_path / "a.sol"))
    fresh = read(DATA / name)
    fresh.read(str(tmp_path / "a.sol"))
    assert fresh.getAttr("Start", fresh.getVars()) == x
    if name.startswith("lp/"):
        model.write(str(tmp_path / "a.bas"))
        fresh.read(str(tmp_path / "a.bas"))
        assert fresh.getAttr("ColBasis", fresh.getVars()) == model.getAttr("ColBasis", model.getVars())
        fresh.optimize()
        assert fresh.getAttr("SPX/NumIters") == 0  # it begins where the other ended
        assert fresh.ObjVal == pytest.approx(objective)
    if name.startswith("mip/"):
        fresh.write(str(tmp_path / "a.mst"))
        third = read(DATA / name)
        third.read(str(tmp_path / "a.mst"))
        assert third.getAttr("Start", third.getVars()) == x


def test_parameter_files(read, tmp_path, capsys):
    model = read(DATA / "lp/afiro.mps")
    before = model.getVars()
    model.Params.MaxTime = 12.25
    model.Params.MIP_GapRel = 0.125
    model.write(str(tmp_path / "a.prm.gz"))
    other = read(DATA / "lp/afiro.mps")
    other.read(str(tmp_path / "a.prm.gz"))
    assert (other.Params.MaxTime, other.Params.MIP_GapRel) == (12.25, 0.125)
    assert model.getVars() is before
    env = tso.Env(empty=True)
    env.setParam("MaxTime", 12.25)
    env.writeParams(str(tmp_path / "b.prm"))
    third = read(DATA / "lp/afiro.mps")
    third.read(str(tmp_path / "b.prm"))
    assert third.Params.MaxTime == 12.25


def code_of(act):
    with pytest.raises(tso.TessolvError) as caught:
        act()
    assert len(caught.value.message) > 5
    return caught.value.errno


def test_files_that_cannot_be_used(read, tmp_path):
    model = read(DATA / "lp/afiro.mps")
    before = facts(model)
    (tmp_path / "bad.mps").write_text("ROWS\n N obj\n X c\n")
    (tmp_path / "empty.lp").write_text("")
    (tmp_path / "folder.lp").mkdir()
    assert code_of(lambda: read(tmp_path / "nosuch.lp")) == tso.TSO.FILE_READ_ERROR
    assert code_of(lambda: read(tmp_path / "folder.lp")) in (tso.TSO.FILE_READ_ERROR, tso.TSO.DIRECTORY_ERROR)
    assert code_of(lambda: read(tmp_path / "bad.mps")) == tso.TSO.FORMAT_ERROR
    assert code_of(lambda: read(tmp_path / "empty.lp")) == tso.TSO.FORMAT_ERROR
    assert code_of(lambda: read(tmp_path / "a.xyz")) == tso.TSO.FORMAT_ERROR
    assert code_of(lambda: model.write(str(tmp_path / "a.xyz"))) == tso.TSO.FORMAT_ERROR
    assert code_of(lambda: model.write(str(tmp_path / "nosuch" / "a.lp"))) in (
        tso.TSO.FILE_WRITE_ERROR,
        tso.TSO.DIRECTORY_ERROR,
    )
    assert code_of(lambda: model.write(str(tmp_path / "a.sol"))) == tso.TSO.DATA_NOT_AVAILABLE
    assert code_of(lambda: model.read(str(tmp_path / "nosuch.mst"))) == tso.TSO.FILE_READ_ERROR
    assert facts(model) == before
    assert sorted(p.name for p in tmp_path.iterdir()) == ["bad.mps", "empty.lp", "folder.lp"]
