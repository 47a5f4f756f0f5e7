"""An allocation that fails, whichever it is, is a MemoryError and leaves whole objects; expressions in loops hold on to
nothing."""

import gc

import numpy
import pytest
import scipy.sparse
import tessolvpy as tso
from expressions import check_rows, terms
from loops import check_growth, without_memory
from statements import MATRIX, NAME, NUMBER, STATEMENTS

A = numpy.array([[1.5, 0.0], [2.5, 3.5]])


def change(e, x, y):
    """Every way in which an expression changes in place."""
    e += x
    e += NUMBER
    e -= 2 * y + 1
    e *= NUMBER
    e.addTerms([1, NUMBER] * 5, [x, y] * 5)
    copy = type(e)(e)
    e.add(2 * x + y, NUMBER)
    copy += y
    copy -= e
    e.remove(x)
    copy.remove(0)
    if isinstance(e, tso.QuadExpr):
        e.addTerms(NUMBER, x, y)
        e.addTerms([2, NUMBER], [x, y], [y, y])
        e.add(e, 2.0)
        copy.add(e, NUMBER)
        e.remove(y)
    copy.clear()
    e.clear()


def change_arrays(m, a):
    """Arithmetic of arrays, looked at and not."""
    e = A @ a + NUMBER - A * a.T + [[1, 2], [3, 4]]
    f = a + e * NUMBER - a[0]
    str(f), f.sum(axis=0).copy(), e.sum().item(), -f, f * A, f @ A, a @ a, a * f, f * f, a**2, a[0] @ A @ a[1]
    f += a
    f[0, 0] = a[0, 0].item() * 2
    m.setAttr("LB", a.tolist()[0], [NUMBER, 1.0])
    a.LB = A
    return a.UB, a.VarName, tso.MQuadExpr.zeros(2).clear(), tso.MLinExpr.zeros((2, 2)).clear()


def change_matrices(m, x):
    """Expressions of semi-definite variables, and what becomes of them and of matrices in the model."""
    X, Y = m.getPsdVars()[:2]
    e = A * X + x
    f = e.copy() + MATRIX * Y - 1
    f += e
    f *= NUMBER
    f.addTerms([A, MATRIX], [X, Y])
    str(f), f.getValue(), f.getCoeff(0), f.getCoeff(2), f.getPsdVar(0), e <= f, e == [0, 1], tso.quicksum([e, f])
    f.remove(X)
    f.__init__(A, Y)
    m.setObjective(f)
    f.clear()
    X.PsdObj = A
    m.setAttr("PsdObj", [X, Y], [A, MATRIX])
    return m.getObjective(), X.PsdX, m.getAttr("PsdX", [X, Y])


def query(e, x):
    return e.getCoeff(0), e.getConstant(), e.size(), str(e), e.getValue()


GOOD = {
    "operators": lambda m, x, y: (2 * x + y - NUMBER, -(x - y) / 3, NUMBER - x, x - (y + NUMBER) * 2),
    "long sums": lambda m, x, y: (sum([x, 2 * y] * 20), tso.quicksum(v * NUMBER for v in [x, y] * 20)),
    "products": lambda m, x, y: (x * y * NUMBER, (x + NUMBER) * (y - 1), (x + y) ** 2 - x * y, -(x * y + x)),
    "quadratic sums": lambda m, x, y: sum([x * y, y * y + x] * 8) + tso.quicksum([x * y, 3, x, x + y]),
    "comparisons": lambda m, x, y: (x <= NUMBER, x + y >= y, x == [0, NUMBER], x != y, (x == 1) >> (y <= NUMBER)),
    "constructors": lambda m, x, y: (
        tso.LinExpr(NUMBER), tso.LinExpr([(NUMBER, x, NAME)]), tso.QuadExpr(x * y).copy(), tso.List([NAME]) + [NUMBER]
    ),
    "changes": lambda m, x, y: (change(x + y, x, y), change(x * y + x, x, y)),
    "columns": lambda m, x, y: (
        c := tso.Column([1, NUMBER], m.getConstrs()[:2]).copy(), c.addTerms(1, m.getConstrs()[0]), c.getCoeff(0),
        c.remove(0), c.remove(m.getConstrs()[0]), c.clear(),
    ),
    "methods": lambda m, x, y: (tso.Operand.__add__(NUMBER, x), x.__rsub__(NUMBER), list(tso.List([x, NUMBER]))),
    "queries": lambda m, x, y: (query(x + y, x), query(x * y + 1, x), str(x <= y)),
    **{
        name: lambda m, x, y, act=STATEMENTS[name]: m.remove(act(m, None))
        for name in ("variable", "variables", "row", "linear row", "generated rows", "quadratic row", "quadratic range",
                     "set", "indicator")
    },
    "rows of an array": lambda m, x, y: m.remove(m.addConstr(tso.MVar.fromlist([x, y]) <= NUMBER, NAME)),
    "semi-definite row": lambda m, x, y: (
        m.addConstr(A * m.getPsdVars()[0] + x + 1 <= NUMBER, NAME), m.remove(m.getConstrs()[-1])
    ),
    "semi-definite changes": lambda m, x, y: change_matrices(m, x),
    "objective": lambda m, x, y: (m.setObjective(x * y + NUMBER * x + y + 1, -1), m.getObjective()),
}  # fmt: skip
FAILING = GOOD | {"semi-definite variable": lambda m, x, y: m.addPsdVar(2, MATRIX)}  # which cannot be removed
LONG = {
    "arrays": lambda m, x, y: change_arrays(m, tso.MVar.fromlist([[x, y], [y, x]])),
    "sparse": lambda m, x, y: scipy.sparse.csr_matrix([[1, NUMBER]]) @ tso.MVar.fromlist([x, y]),
    "sparse matrix": lambda m, x, y: setattr(m.getPsdVars()[0], "PsdObj", scipy.sparse.csr_matrix(A)),
    "quadratic rows": lambda m, x, y: m.remove(m.addConstr(tso.MVar.fromlist([x, y]) * x <= A[0] + NUMBER, NAME)),
}


# Functions that add one element.
ADDING = {
    "Vars": {"TSOaddvar"}, "PsdVars": {"TSOaddpsdvar"},
    "Constrs": {"TSOaddrangeconstr", "TSOaddqconstr", "TSOaddrangepsdconstr"},
}  # fmt: skip


def counts(m):
    return {kind: len(getattr(m, "get" + kind)()) for kind in ADDING}


def left_by(calls):
    """How many more elements of each kind the library has after the calls."""
    left = {}
    for kind, one in ADDING.items():
        many = {f"TSOadd{kind.lower()}": 1, f"TSOaddrange{kind.lower()}": 1, f"TSOdel{kind.lower()}": -1}
        left[kind] = sum(1 if c[0] in one else many[c[0]] * c[2] for c in calls if c[0] in {*one, *many})
    return left


@pytest.fixture
def built(stub, env):
    stub.set(VarName="v")
    m = tso.Model("m", env)
    x, y, *_ = m.addVar(), m.addVar(), m.addPsdVar(2), m.addPsdVar(2)
    for _ in range(3):
        m.addConstr(x + y <= 1)
    return m, x, y


def test_loops_hold_on_to_nothing(stub, built):
    watched = [NUMBER, NAME, *built, 0, tso.Var, tso.LinExpr, tso.QuadExpr, tso.TempConstr, tso.Constr, tso.PsdExpr, A]
    for act in [*GOOD.values(), *LONG.values()]:
        check_growth(lambda act=act: (act(*built), stub.clear()), watched, times=100)


@pytest.mark.parametrize("name", FAILING)
@pytest.mark.parametrize("only_one", [False, True])
@pytest.mark.parametrize("by_new", [False, True])
def test_every_allocation_that_fails(stub, built, name, only_one, by_new):
    act = FAILING[name]
    m, x, y = built
    act(*built)
    vars, rows = m.getVars()[:2], m.getConstrs()[:3]
    failed = passed = 0
    held = []  # so that no list of free objects has any
    for first in range(4000):
        stub.clear()
        held += [(x + i, x <= i, i * 1.5, x * y) for i in range(300 if first == 0 else 10)]
        before = counts(m)
        library = stub.lib if by_new else None
        error = without_memory(lambda: act(*built), first, first + 1 if only_one else 0, library)
        left = left_by(stub.calls())
        assert counts(m) == {kind: count + left[kind] for kind, count in before.items()}
        # A subtraction tells all that goes wrong as a matter of types.
        assert error in (None, MemoryError, TypeError)
        failed += error is not None
        passed = passed + 1 if error is None else 0
        if passed == (20 if only_one else 1):
            break
    assert failed > 3 or by_new
    assert passed
    gc.collect()
    assert (m.getVars()[:2], m.getConstrs()[:3]) == (vars, rows)
    assert [v.index for v in m.getVars()] == list(range(len(m.getVars())))
    check_rows(m, len(m.getConstrs()))
    act(*built)
    assert terms(2 * x + y) == ([(2.0, 0), (1.0, 1)], 0.0)


WHOLE = [
    lambda e, f, q, r, x, y: e.addTerms(3, x), lambda e, f, q, r, x, y: e.addTerms([1] * 9, [y] * 9),
    lambda e, f, q, r, x, y: e.add(f, 2.0), lambda e, f, q, r, x, y: f.add(e),
    lambda e, f, q, r, x, y: q.addTerms(3, x, y), lambda e, f, q, r, x, y: q.add(r, 2.0),
]  # fmt: skip


def test_expressions_stay_whole_when_memory_runs_out(built):
    m, x, y = built
    for act in WHOLE:
        for first in range(12):
            for last in (0, first + 1, first + 2):
                e, q = 2 * x + y, x * y + x
                arguments = e, tso.LinExpr(e), q, tso.QuadExpr(q), x, y
                without_memory(lambda: act(*arguments), first, last)  # noqa: B023
                for one in arguments[:4]:
                    terms(one)  # as many coefficients as variables
                assert terms(e)[0][:2] == [(2.0, 0), (1.0, 1)]
                assert terms(q)[2][:1] == [(1.0, 0, 1)]
    X, Y = m.getPsdVars()
    p = A * X + x
    before = str(p)
    for act in (lambda: p + p - x, lambda: tso.PsdExpr(p), lambda: p.copy().addTerms([A], [Y])):
        for first in range(60):
            without_memory(act, first, first + 1)
            assert (str(p), p.getCoeff(0).tolist()) == (before, [[1.5, 1.25], [1.25, 3.5]])
