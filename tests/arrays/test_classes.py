"""What arrays of handles and of expressions offer beside arithmetic."""

import gc
import pickle

import numpy as np
import oracle
import pytest
import scipy.sparse as sp
import tessolvpy as tso


def names(x):
    return x.VarName.tolist()


@pytest.fixture
def x(model):
    return model.addMVar((2, 3), lb=-1, ub=np.arange(6.0).reshape(2, 3), obj=[1, 2, 3, 4, 5, 6], vtype="I", name="x")


# ---- addMVar ----


def test_a_block_of_variables(model, x):
    assert (x.shape, x.ndim, x.size, len(x), model.NumVars) == ((2, 3), 2, 6, 2, 6)
    assert names(x) == [["x[0,0]", "x[0,1]", "x[0,2]"], ["x[1,0]", "x[1,1]", "x[1,2]"]]
    assert (x.lb == -1).all() and (x.ub == np.arange(6).reshape(2, 3)).all()
    assert x.obj.tolist() == [[1, 2, 3], [4, 5, 6]] and set(x.vtype.flat) == {b"I"}
    y = model.addMVar(3, lb=None, ub=1e30, vtype=["C", b"B", "I"], name=["a", "b", "c"])
    assert (names(y), y.lb.tolist(), y.ub.tolist()[0]) == (["a", "b", "c"], [0, 0, 0], tso.TSO.INFINITY)
    assert names(model.addMVar((1, 1, 2), name="z")) == [[["z[0,0,0]", "z[0,0,1]"]]]
    fortran = model.addMVar((2, 2), lb=np.asfortranarray([[1, 2], [3, 4]]), ub=np.arange(8).reshape(2, 4)[:, ::2] + 10)
    assert (fortran.lb.tolist(), fortran.ub.tolist()) == ([[1, 2], [3, 4]], [[10, 12], [14, 16]])


@pytest.mark.parametrize(
    "shape, given, error, text",
    [
        ((), {}, ValueError, "empty shape"),
        (2, {"lb": [1]}, ValueError, "lb doesn't have enough elements"),
        ((2, 2), {"ub": np.ones(3)}, ValueError, "ub doesn't have enough elements"),
        (2, {"obj": np.ones((2, 2))}, ValueError, "obj doesn't have enough elements"),
        (2, {"vtype": ["C"]}, ValueError, "vtype doesn't have enough elements"),
        (2, {"name": ["a"]}, ValueError, "names doesn't have enough elements"),
        (-1, {}, ValueError, "negative dimensions are not allowed"),
        ("ab", {}, TypeError, None),
        ((10**9, 10**9, 10**9), {}, ValueError, None),
    ],
)
def test_a_bad_block_adds_nothing(model, shape, given, error, text):
    with pytest.raises(error) as caught:
        model.addMVar(shape, **given)
    assert text is None or str(caught.value) == text
    assert model.NumVars == 0 and not model.getVars()
    assert model.addMVar((2, 0), name="e").shape == (2, 0) and model.NumVars == 0


# ---- Handles ----


def test_attributes_through_arrays(model, x):
    x.lb = [[1, 2, 3], [4, 5, 6]]
    assert x.LB.tolist() == [[1, 2, 3], [4, 5, 6]] and x.T.lb.tolist() == [[1, 4], [2, 5], [3, 6]]
    x[:, 1].setAttr("lb", [20, 50])
    x[0, 0].lb = 7
    x.T[2].ub = np.array([30, 60])
    x[1].VarName = ["p", "q", "r"]
    assert x.getAttr("lb").tolist() == [[7, 20, 3], [4, 50, 6]]
    assert x.ub[:, 2].tolist() == [30, 60] and names(x)[1] == ["p", "q", "r"]
    x[0].vtype = "C"
    assert x.vtype.tolist() == [[b"C"] * 3, [b"I"] * 3]
    x.reshape(-1, order="F").obj = sp.csr_matrix(np.arange(6.0))
    assert x.obj.tolist() == [[0, 2, 4], [1, 3, 5]]
    assert x[0, 0].lb.shape == ()
    rows = model.addConstr(x <= np.ones((2, 3)), name="c")
    rows.RHS = np.arange(6.0).reshape(2, 3)
    rows[1].LHS = [-1, -2, -3]
    assert rows.RHS.tolist() == [[0, 1, 2], [3, 4, 5]] and rows.LHS[1].tolist() == [-1, -2, -3]
    assert rows.ConstrName.tolist()[1] == ["c[1,0]", "c[1,1]", "c[1,2]"]


@pytest.mark.parametrize("values", [[1], [1] * 7, np.ones(5), np.ones((7, 1)), [], [[1, 2, 3]], (1,) * 8, sp.eye(3)])
@pytest.mark.parametrize("name", ["ub", "VarName", "vtype"])
def test_values_of_another_number_write_nothing(x, name, values):
    before = x.getAttr(name).tolist()
    values = values if name == "ub" or sp.issparse(values) else [str(v) for v in values]
    with pytest.raises(ValueError, match="values given for 6 elements|inhomogeneous"):
        x.setAttr(name, values)
    assert x.getAttr(name).tolist() == before


def test_names_that_are_no_attributes(model, x):
    rows = model.addConstr(x >= 0)
    for array, name in [(x, "nothing"), (x, "RHS"), (x, "NumVars"), (rows, "lb"), (rows, "X1")]:
        text = f"Attribute `{name}` does not exist"
        assert oracle.outcome(lambda: getattr(array, name)) == ("AttributeError", text)  # noqa: B023
        assert oracle.outcome(lambda: setattr(array, name, 1)) == ("AttributeError", text)  # noqa: B023
    for array, name in [(x, "__array_interface__"), (x[:0], "__array_struct__"), (rows[:0], "__array__")]:
        assert not hasattr(array, name)
    for name in ("shape", "T", "size", "ndim"):
        with pytest.raises((AttributeError, tso.TessolvError)):
            setattr(x, name, 1)
    with pytest.raises(AttributeError):
        del x.lb
    with pytest.raises(TypeError):
        pickle.dumps(x)
    assert np.array([x[:0]], dtype=object).size <= 1


def test_empty_arrays(model, x):
    for empty in (x[:0], model.addMVar(0), tso.MConstr.new([]), tso.MQConstr.fromlist([]), tso.MVar.fromlist([])):
        assert empty.size == 0 and empty.tolist() == [] and empty.copy().shape == empty.shape
        for name in ("X", "no such name"):
            assert (empty.getAttr(name).dtype, empty.getAttr(name).shape) == (object, (0,))
            setattr(empty, name, [1, 2])
        what = "variable" if type(empty) is tso.MVar else "constraint"
        assert oracle.outcome(empty.item) == ("ValueError", f"{type(empty).__name__} contains more than 1 {what}")
        model.remove(empty)
    rows = model.addConstr(x[:0] <= 1, name="none")
    assert (rows.shape, model.NumConstrs) == ((0, 3), 0)


@pytest.mark.parametrize("cls", [tso.MVar, tso.MLinExpr, tso.MQuadExpr, tso.MConstr, tso.MQConstr])
def test_a_bare_array_answers_with_errors(model, cls):
    bare, v = cls(), model.addVar()
    with pytest.raises(TypeError, match="takes no arguments"):
        cls(1)
    for act in [
        lambda: bare.shape, lambda: bare.T, lambda: len(bare), lambda: bare[0], lambda: str(bare), lambda: bare.item(),
        lambda: bare + 1, lambda: 1 - bare, lambda: bare * v, lambda: bare @ bare, lambda: np.eye(2) @ bare,
        lambda: sp.eye(2) @ bare, lambda: -bare, lambda: bare**2, lambda: bare.sum(), lambda: bare.copy(),
        lambda: bare.getValue(), lambda: bare.clear(), lambda: list(bare), lambda: bare.lb, lambda: bare.tolist(),
        lambda: model.addConstr(bare <= 1), lambda: model.remove(bare), lambda: bare + v, lambda: v * bare,
    ]:  # fmt: skip
        assert oracle.outcome(act)[0].endswith("Error")


def test_views_share_and_copies_do_not(model):
    v = model.addVars(7).values()
    cells = np.array(list(v)[:6], object).reshape(2, 3)
    other = list(v)[6]
    x = tso.MVar.new(cells)
    views = [x.T, x.reshape(3, 2), x[0], x[:, ::2], x.transpose(), x.reshape((6,)), x[...], x.diagonal()]
    copies = [
        x.copy(), x[[0]], x.reshape(-1, order="F"), tso.MVar.new(cells.tolist()), tso.MVar.fromlist(cells), x[0, 0],
    ]  # fmt: skip
    cells[0, 0] = other
    assert all(view.reshape(-1)[0].item() is other for view in views)
    assert all(copy.reshape(-1)[0].item() is not other for copy in copies)
    assert [list(view.shape) for view in views[:4]] == [[3, 2], [3, 2], [3], [2, 2]]
    assert x[1, 2].shape == () and x[1, 2].item() is cells[1, 2] and tso.MVar.fromvar(other).shape == (1,)
    assert [row.tolist() for row in x] == cells.tolist() == x.tolist()
    assert x[x.lb < 0].size == 0 and x[np.array([[True, False, False]] * 2)].shape == (2,)
    for act, error in [(lambda: x.reshape(4), "ValueError"), (lambda: x[5], "IndexError"),
                       (lambda: x["a"], "IndexError"),
                       (lambda: len(x[0, 0]), "TypeError"), (lambda: x.item(), "ValueError"),
                       (lambda: x.reshape(6, order="Q"), "ValueError"), (lambda: hash(x), "TypeError")]:  # fmt: skip
        assert oracle.outcome(act)[0] == error


def test_constraints_come_as_arrays_and_print(model, x):
    rows = model.addConstr(x[0] >= 2, name="r")
    assert str(rows) == repr(rows) == "<MConstr (3,)>\n[<Constr r[0]> <Constr r[1]> <Constr r[2]>]"
    assert str(x[0, 0]) == "<MVar ()>\n<Var x[0,0]>"
    assert rows[1].item() is model.getConstrs()[1] and tso.MConstr.fromconstr(rows[1].item()).shape == (1,)
    assert str(x[0, :2] + 1) == "<MLinExpr (2,)>\n[<LinExpr: x[0,0] + 1.0> <LinExpr: x[0,1] + 1.0>]"
    assert oracle.outcome(lambda: rows + 1)[0] == "TypeError"


# ---- Expressions ----


def test_arrays_of_expressions(model):
    x = model.addMVar(4)
    e = 2 * x + np.arange(4.0)
    assert e[1].shape == () and e[1:3].shape == (2,) and len(e) == 4 and len(list(e)) == 4
    e[1:3][0] = x[0].item() + 5  # a view of the same cells
    assert oracle.expression(e[1].item()) == ("l", [(1.0, 0)], 5.0)
    same, copy = e[:], e.copy()
    e[3].item().addConstant(1)
    assert same[3].item().getConstant() == copy[3].item().getConstant() == 4.0
    copy[3] = 0
    assert e[3].item().getConstant() == 4.0
    copy = e.copy()
    assert e.clear() is None and copy[0].item().size() == 0
    q = x * x
    copy = q.copy()
    q.clear()
    assert (q[0].item().size(), copy[0].item().size()) == (0, 1)
    with pytest.raises(NotImplementedError, match="Subscript deletion not supported by tessolvpy.MLinExpr"):
        del e[0]
    assert oracle.outcome(e.item) == ("ValueError", "MLinExpr contains more than 1 LinExpr")
    assert oracle.outcome(q[:0].item) == ("ValueError", "MQuadExpr contains more than 1 QuadExpr")


def test_values_of_a_solution(model):
    x = model.addMVar((2, 2), lb=[[1, 2], [3, 4]], obj=1)
    e = 2 * x + 1
    with pytest.raises(tso.TessolvError):
        e.getValue()
    model.optimize()
    assert x.X.tolist() == [[1, 2], [3, 4]]
    for looked in (e, e[...], e[:, ::-1][:, ::-1]):
        assert looked.getValue().tolist() == [[3, 5], [7, 9]] and looked.getValue().dtype == float
    assert e.sum(axis=0).getValue().tolist() == [10, 14]
    assert (x * x).getValue().tolist() == [[1, 4], [9, 16]] and (x[0] @ x[1]).getValue() == 11


# ---- Models that change and end ----


def test_arrays_are_removed_as_a_whole(model):
    x, y = model.addMVar((2, 2), name="x"), model.addMVar(2, name="y")
    rows, last = model.addConstr(x + 1 <= 5, name="r"), model.addConstr(y >= 1, name="s")
    model.remove([rows.T, {"a": rows}])
    assert (model.NumConstrs, [r.index for r in last.tolist()]) == (2, [0, 1])
    model.remove(x[:, 0])
    assert (model.NumVars, [v.index for v in x.tolist()[0] + x.tolist()[1]]) == (4, [-1, 0, -3, 1])
    assert names(y) == ["y[0]", "y[1]"] and last.ConstrName.tolist() == ["s[0]", "s[1]"]
    model.remove(x)
    model.remove(x)
    assert model.NumVars == 2
    for act in (lambda: x.lb, lambda: rows.RHS, lambda: setattr(x, "lb", 1), lambda: model.addConstr(x <= 1)):
        assert oracle.outcome(act)[0].endswith("Error")
    assert model.NumConstrs == 2 and (model.NumVars, y.lb.tolist()) == (2, [0, 0])


def test_arrays_of_a_model_that_is_gone(quiet_env):
    m, other = (tso.Model(name, quiet_env) for name in ("gone", "other"))
    x = m.addMVar(3)
    rows = m.addConstr(x <= 1)
    e, q = x + 1, x * x
    for end in (m.dispose, lambda: None):
        end()
        for act in (lambda: x.lb, lambda: setattr(x, "lb", 1), lambda: rows.RHS, lambda: m.addConstr(e <= 1),
                    lambda: m.addMVar(2), lambda: m.remove(x), lambda: e.getValue(), lambda: q.getValue(),
                    lambda: setattr(rows, "RHS", [1, 2, 3])):  # fmt: skip
            assert oracle.outcome(act)[0].endswith("Error")
        assert ((e * 2).shape, (x @ x + 1).shape) == ((3,), ())
        oracle.outcome(lambda: str(x) + str(e))
    gc.collect()
    assert oracle.outcome(lambda: x.lb)[0].endswith("Error")
    assert oracle.outcome(lambda: other.addConstr(x <= 1))[0].endswith("Error")
    other.dispose()
