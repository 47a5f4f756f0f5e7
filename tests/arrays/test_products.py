"""Matrix products, dense and sparse, against slow ones."""

import itertools

import numpy as np
import oracle
import pytest
import scipy.sparse as sp
from operands import ARRAY_KINDS, NUMPY_KINDS, fresh, numbers, pair, quadratic, variables

# Those that fit have an inner length of three.
FITTING = [((3,), (3,)), ((2, 3), (3,)), ((3,), (3, 2)), ((2, 3), (3, 4)), ((1, 3), (3, 1)), ((3, 1), (1, 3))]
OTHERS = [((3,), (2,)), ((2, 3), (2,)), ((2, 2), (3, 2)), ((), (3,)), ((3,), ()), ((0,), (0,)), ((2, 0), (0, 2)),
          ((2, 3), (0, 2)), ((2, 2, 3), (3,)), ((3,), (2, 3, 2)), ((2, 2, 3), (2, 3, 2)), ((2, 3), (2, 3, 1)),
]  # fmt: skip
PRODUCT_KINDS = {**ARRAY_KINDS, **NUMPY_KINDS}
PAIRS = [(a, b) for a, b in itertools.product(PRODUCT_KINDS, repeat=2) if a in ARRAY_KINDS or b in ARRAY_KINDS]


@pytest.fixture(autouse=True)
def variables_of(model):
    return model.addVars(6)


@pytest.mark.parametrize("a, b", PAIRS)
def test_every_pair_of_operands(model, a, b):
    values = np.random.default_rng(1).integers(-5, 6, model.NumVars).astype(float)
    for p, q in FITTING + OTHERS:
        x, y = pair(model, a, b, p, q)
        if float in (type(x), type(y)):  # what a list without dimensions is
            continue
        found = oracle.outcome(lambda: x @ y)  # noqa: B023
        x, y = pair(model, a, b, p, q)
        assert found == oracle.outcome(lambda: oracle.product(x, y), tuple), f"{a} {p} @ {b} {q}"  # noqa: B023
        if (p, q) in FITTING and not found[0].endswith("Error") and (a not in ARRAY_KINDS or b not in ARRAY_KINDS):
            assert np.array_equal(
                oracle.value_of(x @ y, values), oracle.value_of(x, values) @ oracle.value_of(y, values)
            )


def test_scalars_and_strangers_are_refused(model):
    x, v = model.addMVar(2), model.getVars()[0]
    for act, left, right in [
        (lambda: v @ x, "Var", "MVar"), (lambda: x @ v, "MVar", "Var"),
        (lambda: (v + 1) @ np.ones(1), "LinExpr", "ndarray"), (lambda: np.ones(1) @ (v * v), "ndarray", "QuadExpr"),
        (lambda: x @ 2, "MVar", "int"), (lambda: 2.5 @ (x + 1), "float", "MLinExpr"),
        (lambda: x @ "ab", "MVar", "str"),
    ]:  # fmt: skip
        assert oracle.outcome(act) == ("TypeError", f"unsupported operand type(s) for @: `{left}` and `{right}`")
    for act in (lambda: x @ None, lambda: {} @ x, lambda: x @ ["a", "b"], lambda: x @ [v, v]):
        assert oracle.outcome(act)[0] in ("TypeError", "ValueError")


# ---- Sparse ----


def unsorted(form):
    """Entries out of order, twice in one place, zero, and a row and a column without any."""

    def build(matrix):
        made = form(matrix.shape)
        made.indptr = np.array([0, 2, 2, 5, 5], np.int32)[: len(made.indptr)]
        made.indices, made.data = np.array([1, 1, 2, 0, 2], np.int32), np.array([0.0, -0.5, 1.0, 3.0, 4.0])
        return made

    return build


def wide(form):
    def build(matrix):
        made = form(matrix)
        made.indptr, made.indices = made.indptr.astype(np.int64), made.indices.astype(np.int64)
        return made

    return build


FORMS = {f.__name__: f for kind in ("matrix", "array") for f in
         (getattr(sp, f"{name}_{kind}") for name in ("csr", "csc", "coo", "dia", "bsr", "lil", "dok"))}  # fmt: skip
for _form in (sp.csr_matrix, sp.csc_matrix, sp.csr_array, sp.csc_array):
    FORMS["unsorted " + _form.__name__], FORMS["wide " + _form.__name__] = unsorted(_form), wide(_form)
FORMS["repeated coo_matrix"] = lambda m: sp.coo_matrix(([1.0, 2.5, -1.0, 0.0], ([1, 1, 0, 2], [2, 2, 0, 1])), m.shape)
FORMS["int8 csr_matrix"] = lambda m: sp.csr_matrix(m.astype(np.int8))
FORMS["bool csc_array"] = lambda m: sp.csc_array(m != 0)
FORMS["no entries"] = lambda m: sp.csr_matrix(m.shape)


@pytest.mark.parametrize("kind", ARRAY_KINDS)
@pytest.mark.parametrize("name", FORMS)
def test_sparse_products(model, name, kind):
    values = np.random.default_rng(9).integers(-5, 6, model.NumVars).astype(float)
    form = FORMS[name]
    dense = numbers(np.random.default_rng(10), (3, 4))
    for shape in [(4,), (4, 1), (4, 3)]:
        a, x, y = form(dense), *(ARRAY_KINDS[kind](model, np.random.default_rng(11), shape) for _ in range(2))
        assert oracle.content(a @ x) == oracle.content(oracle.sparse_product(a, y))
        assert np.allclose(oracle.value_of(a @ x, values), a.toarray() @ oracle.value_of(y, values), rtol=0, atol=1e-9)
    for shape in [(3,), (1, 3), (2, 3)]:
        a, x, y = form(dense), *(ARRAY_KINDS[kind](model, np.random.default_rng(12), shape) for _ in range(2))
        assert oracle.content(x @ a) == oracle.content(oracle.sparse_product(y, a))
        assert np.allclose(oracle.value_of(x @ a, values), oracle.value_of(y, values) @ a.toarray(), rtol=0, atol=1e-9)
    for shape in [(3,), (3, 2), (4, 3, 1), ()]:
        x = ARRAY_KINDS[kind](model, np.random.default_rng(13), shape)
        seen = {(3,): (3, 1)}.get(shape, shape)
        text = f"matmul: (3, 4) @ {seen} operation not support"
        assert oracle.outcome(lambda: form(dense) @ x) == ("ValueError", text)  # noqa: B023
        if shape != (3,):
            text = f"matmul: {shape} @ (3, 4) operation not support"
            assert oracle.outcome(lambda: x @ form(dense)) == ("ValueError", text)  # noqa: B023


@pytest.mark.parametrize("build", [variables, fresh, quadratic])
def test_empty_sparse_products(model, build):
    none = build(model, np.random.default_rng(0), (0, 2))
    assert oracle.outcome(lambda: sp.csr_matrix((3, 0)) @ none) == ("ValueError", "ndarray is empty")
    assert oracle.outcome(lambda: none.sum(axis=0) @ sp.csr_matrix((0, 2)))[0] == "ValueError"


@pytest.mark.parametrize("build", [variables, fresh, quadratic])
@pytest.mark.parametrize("kind", [np.int32, np.int64])
@pytest.mark.parametrize("form", [sp.csr_matrix, sp.csc_matrix, sp.csr_array])
def test_a_broken_sparse_matrix_is_an_error(model, form, kind, build):
    x, good, ends = build(model, np.random.default_rng(0), (3,)), [0, 1, 2], [0, 1, 2, 3]
    for indices, indptr in [
        ([0, 3, 2], ends), ([0, -1, 2], ends), ([2**31 - 1, 1, 2], ends), (good, [0, 1, 2, 4]), (good, [-1, 1, 2, 3]),
        (good, [0, 3, 1, 3]), (good, [0, 1, -5, 3]),
    ]:  # fmt: skip
        a = form(np.eye(3))
        a.indices, a.indptr = np.array(indices, kind), np.array(indptr, kind)
        # Only in the order that needs no conversion: SciPy's own walks memory without a look.
        found = oracle.outcome(lambda: x @ a if form is sp.csc_matrix else a @ x)  # noqa: B023
        assert found[0] in ("ValueError", "IndexError"), (indices, indptr)


def test_a_product_is_added_with_one_row_for_each_cell(model):
    x = model.addMVar(3)
    a = sp.csr_matrix(([1.0, 2.0, 4.0, 5.0], [2, 0, 2, 1], [0, 3, 3, 4]), (3, 3))  # twice in one place
    rows = model.addConstr(a @ x + np.array([1, 2, 3]) == np.array([4, 5, 6]), name="r")
    assert [r.ConstrName for r in rows.tolist()] == ["r[0]", "r[1]", "r[2]"]
    assert oracle.rows_of(model) == [({6: 2.0, 8: 5.0}, 3.0, 3.0), ({}, 3.0, 3.0), ({7: 5.0}, 3.0, 3.0)]
