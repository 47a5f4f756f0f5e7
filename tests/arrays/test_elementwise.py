"""Sums, differences and products of every kind of operand with every other, cell by cell, against the oracle."""

import operator

import numpy as np
import oracle
import pytest
import scipy.sparse as sp
import tessolvpy as tso
from operands import ARRAY_KINDS, EXPRESSIONS, KINDS, NUMPY_KINDS, PAIRS, SHAPES, fresh, numbers, pair, variables

OPERATORS = {
    "+": (operator.add, oracle.add),
    "-": (operator.sub, oracle.subtract),
    "*": (operator.mul, oracle.multiply),
}


@pytest.fixture(autouse=True)
def variables_of(model):
    return model.addVars(6)


SIZED = {*ARRAY_KINDS, *NUMPY_KINDS}
KIND_PAIRS = [(a, b) for a in KINDS for b in KINDS if {a, b} & {*EXPRESSIONS} and {a, b} & SIZED]


def shapes(a, b):
    return [(p, q) for p, q in PAIRS if (a in SIZED or p == ()) and (b in SIZED or q == ())]


@pytest.mark.parametrize("a, b", KIND_PAIRS)
def test_every_pair_of_operands_gives_what_the_cells_give_one_by_one(model, a, b):
    values = np.random.default_rng(1).integers(-5, 6, model.NumVars).astype(float)
    for p, q in shapes(a, b):
        for name, (act, expected) in OPERATORS.items():
            x, y = pair(model, a, b, p, q)
            found = oracle.outcome(lambda: act(x, y))  # noqa: B023
            x, y = pair(model, a, b, p, q)  # as they were, not looked at by the first
            assert found == oracle.outcome(lambda: expected(x, y)), f"{a} {p} {name} {b} {q}"  # noqa: B023
            if found[0].startswith("M") and (name != "*" or not (a in EXPRESSIONS and b in EXPRESSIONS)):
                worth = act(oracle.value_of(x, values), oracle.value_of(y, values))
                assert np.array_equal(oracle.value_of(act(x, y), values), worth), f"{a} {p} {name} {b} {q}"


@pytest.mark.parametrize("sign, act", [("<=", operator.le), (">=", operator.ge)])
@pytest.mark.parametrize("b", ["MVar", "fresh MLinExpr", "Var", "LinExpr", "int", "float array", "array of objects"])
def test_a_comparison_holds_the_difference(model, sign, act, b):
    for p, q in shapes("fresh MLinExpr", b):
        x, y = pair(model, "fresh MLinExpr", b, p, q)
        wanted = oracle.outcome(lambda: oracle.subtract(x, y))  # noqa: B023
        x, y = pair(model, "fresh MLinExpr", b, p, q)
        if wanted[0].endswith("Error"):
            assert oracle.outcome(lambda: act(x, y)) == wanted  # noqa: B023
        else:
            before = model.NumConstrs
            assert model.addConstr(act(x, y)).shape == wanted[1]
            rows = oracle.rows_of(model)[before:] if model.NumConstrs else []
            for (terms, *bounds), (_, wanted_terms, constant) in zip(rows, wanted[2], strict=True):
                merged = {}
                for coefficient, v in wanted_terms:
                    merged[v] = merged.get(v, 0.0) + coefficient
                assert terms == {v: c for v, c in merged.items() if c}
                infinite = tso.TSO.INFINITY
                assert bounds == ([-infinite, -constant] if sign == "<=" else [-constant, infinite])


def test_equality_and_the_other_comparisons(model):
    x = model.addMVar(2)
    row = model.addConstr(2 * x + 1 == np.array([3, 5]))
    assert row.LHS.tolist() == row.RHS.tolist() == [2.0, 4.0]
    assert (x != x) is False
    with pytest.raises(TypeError, match="not supported between instances"):
        x < 1  # noqa: B015
    with pytest.raises(TypeError, match="unsupported operand type.s. for -: `MVar` and `list`"):
        x <= [1, 2]  # noqa: B015


@pytest.mark.parametrize("kind", ARRAY_KINDS)
@pytest.mark.parametrize("shape", SHAPES)
def test_sums_over_axes(model, kind, shape):
    for axis in [None, *range(-len(shape) - 1, len(shape) + 1), (), tuple(range(len(shape))), (0, -1), "a", 1.0]:
        x = ARRAY_KINDS[kind](model, np.random.default_rng(3), shape)
        found = oracle.outcome(lambda: x.sum(axis=axis))  # noqa: B023
        x = ARRAY_KINDS[kind](model, np.random.default_rng(3), shape)
        cells = oracle.inside(x)
        if cells.ndim > 1 and kind.endswith(("Fortran order", "view")):  # NumPy sums in the order of memory
            continue
        wrap = tso.MQuadExpr if kind == "MQuadExpr" else tso.MLinExpr
        assert found == oracle.outcome(lambda: wrap.new(np.array(cells.sum(axis=axis)))), (kind, shape, axis)  # noqa: B023


@pytest.mark.parametrize("kind", ARRAY_KINDS)
def test_negation_powers_and_division(model, kind):
    for shape in SHAPES:
        x, y = (ARRAY_KINDS[kind](model, np.random.default_rng(4), shape) for _ in range(2))
        assert oracle.content(-x) == oracle.content(oracle.negative(y))
        assert oracle.content(x / 4) == oracle.content(oracle.multiply(y, 0.25))
        square = oracle.outcome(lambda: x**2.0)  # noqa: B023
        if kind == "MQuadExpr":
            assert square == ("TypeError", "unsupported operand type(s) for ** or pow(): `MQuadExpr` and 'int'")
        else:
            assert square == oracle.content(oracle.multiply(y, y))
    assert oracle.outcome(lambda: x / 0) == ("ZeroDivisionError", "float division")
    text = f"`{type(x).__name__}` can only be raised to a power of two"
    assert oracle.outcome(lambda: x**3) == ("TessolvError", text)
    for act in (lambda: 2**x, lambda: 1 / x, lambda: x / x, lambda: x / None):
        assert oracle.outcome(act)[0] == "TypeError"


@pytest.mark.parametrize("form", [sp.csr_matrix, sp.coo_matrix, sp.csr_array, sp.dok_array])
@pytest.mark.parametrize("kind", [*ARRAY_KINDS, "Var"])
def test_sparse_matrices_are_refused_by_sums_and_elementwise_products(model, form, kind):
    matrix = form(np.eye(3))
    x = EXPRESSIONS[kind](model, np.random.default_rng(5), (3, 3))
    for sign, (act, _) in OPERATORS.items():
        text = f"unsupported operand type(s) for {sign}: `{type(x).__name__}` and `{type(matrix).__name__}`"
        assert oracle.outcome(lambda: act(x, matrix)) == ("TypeError", text)  # noqa: B023


@pytest.mark.parametrize("kind", ["fresh MLinExpr", "MLinExpr with cells", "MQuadExpr"])
@pytest.mark.parametrize("act, plain", [("iadd", "add"), ("isub", "subtract"), ("imul", "multiply")])
def test_in_place_operators_make_a_new_array(model, kind, act, plain):
    for other in [2, np.float32(0.5), np.arange(3.0), model.getVars()[0], fresh(model, np.random.default_rng(6), (3,))]:
        x, same, again = (ARRAY_KINDS[kind](model, np.random.default_rng(7), (2, 3)) for _ in range(3))
        before = oracle.content(same)
        kept = x
        found = oracle.outcome(lambda: getattr(operator, act)(x, other))  # noqa: B023
        if plain == "multiply" and isinstance(other, oracle.OPERANDS):
            names = f"`{type(x).__name__}` and `{type(other).__name__}`"
            assert found == ("TypeError", f"unsupport operation *=: {names}")
        elif plain == "subtract":
            assert found == oracle.content(oracle.add(again, -other))
        else:
            assert found == oracle.content(getattr(oracle, plain)(again, other))
        assert oracle.content(kept) == before


def test_what_operands_became_later_does_not_show(model):
    rng = np.random.default_rng(8)
    v = model.getVars()
    for build in [
        lambda x, a, e: a * x + e, lambda x, a, e: x + a, lambda x, a, e: e * 2 - x, lambda x, a, e: x.sum() + a,
        lambda x, a, e: e.sum(axis=0), lambda x, a, e: a @ x, lambda x, a, e: x * e,
        lambda x, a, e: (np.eye(3) @ x) + e * a,
    ]:  # fmt: skip
        cells = np.array(v[:3], object)
        a, x, e = numbers(rng, 3), tso.MVar.new(cells), fresh(model, rng, (3,))
        now, later = build(x, a, e), build(x, a, e)
        wanted = oracle.content(now)
        cells[...], a[...] = v[5], 77.0
        e[0] = v[4] + 1
        e[1].item().addTerms(9, v[3])
        x[:2].sum()
        assert oracle.content(later) == wanted


def test_an_empty_quadratic_cell_refuses_to_be_added_to(model):
    x, q = model.addMVar(2), tso.MQuadExpr.zeros(2)
    refusal = ("TypeError", "Cannot convert tessolvpy.LinExpr to tessolvpy.QuadExpr")
    for act in (lambda: q + 1, lambda: q + x, lambda: x + q, lambda: np.ones(2) + q, lambda: q + q, lambda: q.sum()):
        assert oracle.outcome(act) == refusal
    assert oracle.outcome(lambda: q - 1) == ("TypeError", "unsupported operand type(s) for -: `MQuadExpr` and `int`")
    assert oracle.outcome(lambda: variables(model, np.random.default_rng(0), (2,)) * x + q)[0] == "MQuadExpr"
