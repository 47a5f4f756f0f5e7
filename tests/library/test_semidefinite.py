"""Semi-definite variables and rows as data: built, read, changed, removed, copied, refused."""

import capi
import pytest
from capi import INFINITY

NAN = float("nan")


@pytest.fixture
def model(library):
    m = library.model()
    m.addvars(2)
    m.addpsdvar(3, [(0, 0, 1.0), (0, 2, 2.0), (2, 0, 3.0), (1, 1, 4.0), (1, 1, -4.0)], "P")
    m.addpsdvar(1)
    m.addrow([0], [1.0], 0, 5, "linear")
    m.addpsdrow([(0, 1, 0, 2.0), (1, 0, 0, 1.0)], -1, 1, [(1, 2.0), (0, 1.0)], "both")
    m.addpsdrow([(1, 0, 0, 1.0)], -INFINITY, 2)
    return m


def check_refused(m, code, call, *args):
    before = m.state()
    with pytest.raises(capi.Failed) as error:
        call(*args)
    assert error.value.code == code
    assert m.state() == before


def test_what_was_built_is_read(model):
    m = model
    assert [m.count(name) for name in ("NumPsdVars", "NumPsdConstrs", "NumConstrs", "NumQConstrs")] == [2, 2, 3, 0]
    assert m.get("Dim", kind="int", length=2) == [3, 1]
    assert m.texts("PsdVarName", [0, 1])[0] == "P"
    assert m.texts("PsdCName", [1, 0]) == ["both", "linear"]
    first, second = m.matrices("PsdObj", [0, 1])
    assert first.tolist() == [[1, 0, 5], [0, 0, 0], [5, 0, 0]]  # what stands at one position or its mirror adds up
    assert second.tolist() == [[0]]
    assert m.matrices("PsdObj", [1, 0])[1].tolist() == first.tolist()
    assert m.get("PsdCLHS", length=3) == [0, -1, -INFINITY]
    assert m.get("PsdCRHS", [2, 1]) == [2, 1]
    assert m.rows()[1] == [(0, 1.0), (1, 2.0)]
    assert m.terms(1) is None
    m.set("PsdCRHS", [1], [7.0])
    m.set("PsdCName", [2], ["new"])
    m.set("PsdVarName", [1], ["Q"])
    assert (m.get("RHS", [1]), m.texts("ConstrName", [2]), m.texts("PsdVarName", [1])) == ([7], ["new"], ["Q"])


def test_objective_matrices_are_replaced_as_a_whole(model):
    m = model
    m.setmatrices("PsdObj", [1, 0], [[(0, 0, 9.0)], [(1, 2, 1.5)]])
    assert m.matrices("PsdObj", [0, 1])[0].tolist() == [[0, 0, 0], [0, 0, 1.5], [0, 1.5, 0]]
    m.setmatrices("PsdObj", None, [[]])
    assert [matrix.sum() for matrix in m.matrices("PsdObj", [0, 1])] == [0, 9]
    for matrices, code in (
        ([[(3, 0, 1.0)]], capi.MODEL_INVALID_SYM_MAT_ROW_IDX),
        ([[(0, -1, 1.0)]], capi.MODEL_INVALID_SYM_MAT_COL_IDX),
        ([[(0, 0, NAN)]], capi.MODEL_INVALID_REAL_ATTR_SYM_MAT),
        ([[(0, 0, 1e20)]], capi.MODEL_INVALID_REAL_ATTR_SYM_MAT),
        ([[(0, 0, 1.0)], [(1, 0, 1.0)]], capi.MODEL_INVALID_SYM_MAT_ROW_IDX),  # of the second: nothing is set
    ):
        check_refused(m, code, m.setmatrices, "PsdObj", range(len(matrices)), matrices)
    check_refused(m, capi.MODEL_INVALID_SYM_MAT_IDX, m.setmatrices, "PsdObj", [2], [[]])
    check_refused(m, capi.INVALID_ARGUMENT, m.setmatrices, "PsdX", [0], [[(0, 0, 1.0)]])
    check_refused(m, capi.MODEL_INVALID_MAT_ATTR, m.setmatrices, "LB", [0], [[]])
    check_refused(m, capi.MODEL_INVALID_SYM_MAT_IDX, m.matrices, "PsdObj", [-1])
    check_refused(m, capi.MODEL_INVALID_MAT_ATTR, m.matrices, "Dim", [0])
    check_refused(m, capi.DATA_NOT_AVAILABLE, m.matrices, "PsdX", [0])


def test_bad_input_leaves_the_model_as_it_was(model):
    m = model
    for code, *args in (
        (capi.INVALID_ARGUMENT, 0),
        (capi.INVALID_ARGUMENT, -3),
        (capi.INVALID_ARGUMENT, 2, [(0, 0, NAN)]),
        (capi.INVALID_ARGUMENT, 2, (), "x" * 256),
        (capi.MODEL_INVALID_SYM_MAT_ROW_IDX, 2, [(2, 0, 1.0)]),
        (capi.MODEL_INVALID_SYM_MAT_COL_IDX, 2, [(0, 2, 1.0)]),
    ):
        check_refused(m, code, m.addpsdvar, *args)
    for code, *args in (
        (capi.MODEL_INVALID_SYM_MAT_IDX, [(2, 0, 0, 1.0)]),
        (capi.MODEL_INVALID_SYM_MAT_IDX, [(-1, 0, 0, 1.0)]),
        (capi.MODEL_INVALID_SYM_MAT_ROW_IDX, [(0, 3, 0, 1.0)]),
        (capi.MODEL_INVALID_SYM_MAT_COL_IDX, [(1, 0, 1, 1.0)]),
        (capi.INVALID_ARGUMENT, [(0, 0, 0, NAN)]),
        (capi.INVALID_ARGUMENT, [(0, 0, 0, 1e20)]),
        (capi.INVALID_ARGUMENT, [(0, 0, 0, 9e19), (0, 0, 0, 9e19)]),
        (capi.INVALID_ARGUMENT, [], INFINITY),
        (capi.INVALID_ARGUMENT, [], NAN),
        (capi.MODEL_INVALID_COL_IDX, [], 0, 0, [(2, 1.0)]),
    ):
        check_refused(m, code, m.addpsdrow, *args)
    check_refused(m, capi.MODEL_INVALID_ROW_IDX, m.set, "PsdCLHS", [3], [0.0])
    check_refused(m, capi.INVALID_ARGUMENT, m.set, "PsdCLHS", [1], [NAN])
    check_refused(m, capi.MODEL_INVALID_SYM_MAT_IDX, m.get, "Dim", [2], "int")
    for null in range(3):
        arrays = [capi.Arrays().ints([0]), capi.Arrays().ints([0]), capi.Arrays().doubles([1.0])]
        arrays[null] = None
        check_refused(m, capi.INVALID_ARGUMENT, m.call, "TSOaddpsdvar", 2, 1, *arrays, None)


def test_rows_are_removed_and_models_copied(library, model, dll, tmp_path):
    m = model
    twin = library.wrap(dll.TSOcopymodel(m.handle))
    assert twin.state() == m.state()
    m.delete("constrs", [0, 1])
    assert (m.count("NumPsdConstrs"), m.count("NumConstrs"), m.get("PsdCRHS", length=1)) == (1, 1, [2])
    m.delete("vars", [0])
    m.delete("constrs", [0])
    assert (m.count("NumPsdConstrs"), m.count("NumPsdVars")) == (0, 2)
    assert (twin.count("NumPsdConstrs"), twin.rows()[1]) == (2, [(0, 1.0), (1, 2.0)])
    if not capi.has_csdp():
        return
    # Solving the copy gives what the copied data tell: min 2 * 5 X20 + X00, and 1 x 1 beside it.
    assert dll.TSOoptimize(twin.handle) == 0
    assert twin.count("Status") == 3
    twin.addpsdrow([(0, i, i, 1.0) for i in range(3)], 1, 1)
    assert dll.TSOoptimize(twin.handle) == 0
    assert twin.number("ObjVal") == pytest.approx(0.5 - 25.25**0.5, abs=1e-6)
    again = library.wrap(dll.TSOcopymodel(twin.handle))
    assert again.matrices("PsdX", [0])[0].tolist() == twin.matrices("PsdX", [0])[0].tolist()


@pytest.mark.parametrize("suffix", ["lp", "mps", "mps.gz"])
def test_files_without_a_form_for_them_are_refused(library, model, dll, tmp_path, suffix, capfd):
    library.call("TSOsetintparam", dll.TSOgetenv(model.handle), b"OutputFlag", 1)
    for rows in ([0], [1, 2]):  # what is left: rows and variables, variables alone
        path = tmp_path / f"model.{suffix}"
        capfd.readouterr()
        assert dll.TSOwrite(model.handle, str(path).encode()) == capi.FORMAT_ERROR
        assert "no form for semi-definite" in capfd.readouterr().out
        assert list(tmp_path.iterdir()) == []
        model.delete("constrs", rows if rows == [0] else range(model.count("NumConstrs")))
