"""Solutions, starts, bases and parameters: written, read back, and refused."""

import ctypes

import capi
import pytest
from files import DATA, load, save
from test_round_trip import AWKWARD

LP = "min\n obj: x + 2 y + 0 z + 0 w\nst\n c1: x + y >= 2\n c2: x - y <= 3\nbounds\n z free\n w <= 5\nend\n"
LOWER, BASIC, UPPER, FREE = range(4)


def start(model):
    values = model.get("Start", length=model.count("NumVars"))
    return [None if v == capi.UNDEFINED else v for v in values]


@pytest.fixture
def model(files):
    return files.text(LP)


def test_a_solution_becomes_starts(files, model):
    model.call("TSOoptimize")
    path = files.folder / "a.sol"
    save(model, path)
    lines = path.read_text().splitlines()
    assert lines[1] == "# Objective value: 2" and [line for line in lines if line[0] != "#"] == [
        f"{name} {value}" for name, value in zip("xyzw", (2, 0, 0, 0), strict=True)
    ]
    load(model, path)
    assert start(model) == [2, 0, 0, 0]


def test_starts(files, model):
    model.set("Start", [0, 2], [1 / 3, -5e-324])
    save(model, files.folder / "a.mst")
    other = files.text(LP)
    other.set("Start", [1], [7.0])
    load(other, files.folder / "a.mst")
    assert start(other) == [1 / 3, 7, -5e-324, None]
    files.make("b.mst", "# a comment\n\n  w\t1e1  \r\nx 2")
    load(other, files.folder / "b.mst")
    assert start(other) == [2, 7, -5e-324, 10]


def test_nothing_to_write(files, model, fails):
    for suffix in (".sol", ".mst", ".bas"):
        fails(capi.DATA_NOT_AVAILABLE, save, model, files.folder / f"a{suffix}")
    assert [p.name for p in files.folder.iterdir() if p.name != "log.txt"] == ["text.lp"]


@pytest.mark.parametrize(
    ("cols", "rows"),
    [
        ([BASIC, LOWER, FREE, UPPER], [LOWER, BASIC]),
        ([BASIC, BASIC, FREE, LOWER], [LOWER, UPPER]),
        ([BASIC, BASIC, BASIC, BASIC], [BASIC, UPPER]),  # more than rows leave
        ([LOWER, LOWER, FREE, UPPER], [UPPER, LOWER]),  # fewer
    ],
)
def test_a_basis_that_was_set(files, model, cols, rows):
    model.set("ColBasis", [0, 1, 2, 3], cols)
    model.set("RowBasis", [0, 1], rows)
    save(model, files.folder / "a.bas")
    other = files.text(LP)
    load(other, files.folder / "a.bas")
    assert other.get("ColBasis", kind="int", length=4) == cols
    # A row without the bound at which it rests, rests at the other.
    assert other.get("RowBasis", kind="int", length=2)[0] == rows[0]


def test_a_basis_by_other_hands(files, model):
    files.make("a.bas", "* comment\nNAME  whatever   Rows 2\n XL x         c1\n UL w\n LL y\nENDATA\n")
    load(model, files.folder / "a.bas")
    assert model.get("ColBasis", kind="int", length=4) == [BASIC, LOWER, FREE, UPPER]
    assert model.get("RowBasis", kind="int", length=2) == [LOWER, BASIC]


def test_awkward_names_in_all_of_them(files):
    model, names = files.model(), [name for name in AWKWARD if name]
    model.addvars(len(names), names=names)
    for name in names:
        model.addrow([0], [1.0], 0.0, 1.0, name)
    every, codes = range(len(names)), [k % 2 for k in range(len(names))]
    model.set("Start", every, [float(k) for k in every])
    model.set("ColBasis", every, codes)
    model.set("RowBasis", every, codes)
    for suffix in (".mst", ".bas"):
        save(model, files.folder / f"a{suffix}")
    model.call("TSOreset", 1)
    assert set(start(model)) == {None}
    for suffix in (".mst", ".bas"):
        load(model, files.folder / f"a{suffix}")
    assert start(model) == list(every)
    assert model.get("ColBasis", every, "int") == model.get("RowBasis", every, "int") == codes


@pytest.mark.parametrize(
    ("name", "content", "code", "expected"),
    [
        ("a.sol", "x 1\nu 2\n", capi.MODEL_INVALID_COL_NAME, ":2: the model has no column 'u'"),
        ("a.sol", "x 1\ny\n", capi.FORMAT_ERROR, ":2: expected a column's name and a finite number, found 'y'"),
        ("a.mst", "x 1\ny one\n", capi.FORMAT_ERROR, ":2: expected a column's name and a finite number, found 'one'"),
        ("a.mst", "x 1\ny nan\n", capi.FORMAT_ERROR, "found 'nan'"),
        ("a.mst", "x 1\ny inf\n", capi.FORMAT_ERROR, "found 'inf'"),
        ("a.mst", "x 1\ny 1 2\n", capi.FORMAT_ERROR, "found 'y 1 2'"),
        ("a.mst", "x 1\nx 2\n", capi.FORMAT_ERROR, ":2: expected each column once, found 'x'"),
        ("a.bas", "NAME\n XU x c3\nENDATA\n", capi.MODEL_INVALID_ROW_NAME, ":2: the model has no row 'c3'"),
        ("a.bas", "NAME\n XU c1 x\nENDATA\n", capi.MODEL_INVALID_COL_NAME, ":2: the model has no column 'c1'"),
        ("a.bas", "NAME\n XX x c1\nENDATA\n", capi.FORMAT_ERROR, ":2: expected XU, XL, UL, LL, BS, RU or RL, found"),
        ("a.bas", "NAME\n XU x\nENDATA\n", capi.FORMAT_ERROR, ":2: expected a column and a row, found 'XU x'"),
        ("a.bas", "NAME\n UL x\n", capi.FORMAT_ERROR, ":3: expected ENDATA, found the end of the file"),
        ("a.bas", "", capi.FORMAT_ERROR, ":1: expected ENDATA"),
        ("a.prm", "MaxTime 5\nMaxTimes 6\n", capi.PARAM_SET_ERROR, ":2: there is no parameter 'MaxTimes'"),
        ("a.prm", "MaxTime 5\nPresolve 9\n", capi.PARAM_SET_ERROR, ":2: the value '9' of Presolve is out of range"),
        ("a.prm", "MaxTime 5\nPresolve 0.5\n", capi.FORMAT_ERROR, ":2: expected a whole number, found '0.5'"),
        ("a.prm", "MaxTime 5\nMIP/GapRel x\n", capi.FORMAT_ERROR, ":2: expected a number, found 'x'"),
        ("a.prm", "MaxTime 5\nPresolve\n", capi.FORMAT_ERROR, ":2: expected a whole number, found end of line"),
        ("a.prm", "MaxTime 5\nMIP/GapRel nan\n", capi.FORMAT_ERROR, ":2: expected a number, found 'nan'"),
    ],
)  # fmt: skip
def test_refused_as_a_whole(files, model, name, content, code, expected):
    path = files.make(name, content)
    got, log = files.refused(path, load, model)
    assert got == code and log.startswith(str(path)) and expected in log
    assert start(model) == [None] * 4
    assert parameter(files, model, "MaxTime") == 1e20


def parameter(files, model, name):
    value = ctypes.c_double()
    env = model.dll.TSOgetenv(model.handle)
    files.library.call("TSOgetdblparam", env, name, ctypes.byref(value))
    return value.value


@pytest.mark.parametrize("suffix", ["", ".gz", ".bz2"])
def test_parameters(files, model, suffix):
    path = files.folder / f"a.prm{suffix}"
    for name, value in (("MaxTime", 0.1), ("MIP/GapRel", 1 / 3), ("Presolve", 0), ("SPX/MaxIterations", 100000)):
        model.parameter(name, value)
    save(model, path)
    opened = files.content(path).splitlines()
    assert opened[0].startswith("#") and sorted(opened[1:]) == sorted(
        ["MaxTime 0.1", f"MIP/GapRel {1 / 3!r}", "Presolve 0", "SPX/MaxIterations 100000", "LogToConsole 0",
         f"LogFile {files.log_path}"]
    )  # fmt: skip
    other = files.text(LP)
    load(other, path)
    assert parameter(files, other, "MaxTime") == 0.1 and parameter(files, other, "MIP/GapRel") == 1 / 3
    before = other.texts("VarName", range(4))
    load(other, files.make("b.prm", "# comment\n\n  mip_gaprel\t 0.5 \r\n"))
    assert parameter(files, other, "MIP/GapRel") == 0.5 and parameter(files, other, "MaxTime") == 0.1
    assert other.texts("VarName", range(4)) == before


def test_parameters_of_an_environment(files, fails):
    path, call = str(files.folder / "e.prm"), files.library.call
    call("TSOwriteparams", files.env, path)
    call("TSOreadparams", files.library.env(), path)
    fails(capi.FORMAT_ERROR, call, "TSOreadparams", files.env, str(DATA / "lp/afiro.mps"))
