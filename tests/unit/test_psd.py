"""Semi-definite variables: their matrices, expressions against a plain reference, rows, objective, attributes."""

import random
from operator import mul

import numpy as np
import pytest
import scipy.sparse as sp
import tessolvpy as tso
from expressions import raises, refusal
from loops import check_growth, refused
from test_build_variables import state

INF = 1e20
A, B = np.array([[1.0, 2.0], [4.0, 3.0]]), np.array([[0.0, 1.0], [1.0, -1.0]])
SYM = [[1, 3], [3, 3]]  # of A


@pytest.fixture
def built(stub, env):
    """A model with two semi-definite variables, which the stand-in says have dimension 2, and two others."""
    stub.set(PsdVarName="X", VarName="x")
    m = tso.Model("m", env)
    made = m, m.addPsdVar(2), m.addPsdVar(2), m.addVar(), m.addVar()
    stub.clear()
    return made


def dense(matrix):
    return matrix.toarray() if sp.issparse(matrix) else matrix


def parts(e):
    """Coefficients by index of the semi-definite and of the other variables, and the constant."""
    matrices, linear, lin = {}, {}, e.getLinExpr()
    for i in range(e.size()):
        k = e.getPsdVar(i).index
        assert e.getVar(i) is e.getPsdVar(i)
        matrices[k] = matrices.get(k, np.zeros((2, 2))) + dense(e.getCoeff(i))
    for i in range(lin.size()):
        k = lin.getVar(i).index
        linear[k] = linear.get(k, 0.0) + lin.getCoeff(i)
    assert e.getConstant() == lin.getConstant()
    return matrices, linear, e.getConstant()


# ---- Matrices ----


def test_forms_of_a_matrix(stub, built):
    m, X, *_ = built
    arrays = [A, A.astype(int), A.astype("f4"), A.astype(">f8"), A.astype(object), A[::-1, ::-1][::-1, ::-1], A.T,
              np.asfortranarray(A), A.tolist()]  # fmt: skip
    for matrix in [*arrays, *(form(A) for form in (sp.csr_matrix, sp.coo_array, sp.dok_matrix, sp.dia_matrix))]:
        for e in (matrix * X, X * matrix, tso.PsdExpr(matrix, X), tso.PsdExpr([matrix], [X])):
            coefficient = e.getCoeff(0)
            assert type(coefficient) is (sp.csr_matrix if sp.issparse(matrix) else np.ndarray)
            assert dense(coefficient).tolist() == SYM
    twice = sp.coo_matrix(([1.0, 2.0, 3.0, -3.0], ([0, 0, 1, 1], [1, 1, 0, 0])), (2, 2))  # entries add up
    assert (twice * X).getCoeff(0).toarray().tolist() == [[0, 1.5], [1.5, 0]]
    assert [(z * X).size() for z in (np.zeros((2, 2)), sp.csr_matrix((2, 2)), [[0, 1], [-1, 0]])] == [0, 0, 0]
    mine = A.copy()
    e = mine * X
    mine[:] = 0  # it was copied, and so is what comes back
    e.getCoeff(0)[:] = 0
    assert e.getCoeff(0).tolist() == SYM


def test_matrices_that_are_none(stub, built):
    m, X, _, x, _ = built

    def shape(text):
        return ValueError, f"Expect a square matrix, not one of shape {text}"

    def wrong(n):
        return ValueError, f"a matrix of shape ({n}, {n}) does not fit a semi-definite variable of dimension 2"

    def none(kind):
        text = "Expect a symmetric matrix: a NumPy array, a SciPy sparse matrix or a list of lists, not "
        return TypeError, text + kind

    damaged = sp.csr_matrix(A)
    damaged.indices = np.array([0, 7, 0, 1], dtype=np.int32)
    outside = sp.coo_matrix(A)
    outside.row[:] = 5
    for bad, expected in [
        (np.ones((2, 3)), shape("(2, 3)")), (sp.csr_matrix((3, 2)), shape("(3, 2)")), (np.ones(4), shape("(4,)")),
        (np.ones((2, 2, 2)), shape("(2, 2, 2)")), ([1, 2], shape("(2,)")), (np.eye(3), wrong(3)), (sp.eye(1), wrong(1)),
        (np.zeros((0, 0)), wrong(0)), ([[1, np.nan], [1, 1]], (ValueError, "the matrix has nan at [0, 1]")),
        (sp.csr_matrix([[0, 0], [0, np.inf]]), (ValueError, "the matrix has an infinite entry at [1, 1]")),
        (1j * A, (TypeError, "Expect a matrix of real numbers, not of complex128")),
        ([[1], [1, 2]], (ValueError, None)), ([["a", "b"], ["c", "d"]], (TypeError, None)),
        ([[x, x], [x, x]], (TypeError, None)),
        (damaged, (ValueError, None)), (outside, (ValueError, None)),
    ]:  # fmt: skip
        e = tso.PsdExpr(B, X)
        acts = [(mul, bad, X), (e.addTerm, bad, X), (e.addTerms, [A, bad], [X, X])]
        for act in [*acts, (setattr, X, "PsdObj", bad), (m.addPsdVar, 2, bad)]:
            error, text = refusal(*act)
            assert error is expected[0] and expected[1] in (None, text), (bad, text)
        assert e.size() == 1
    for bad, kind in ((5, "int"), ("x", "str"), (None, "NoneType"), (x, "Var"), (X, "PsdVar")):
        raises(*none(kind), tso.PsdExpr().addTerm, bad, X)
        raises(*none(kind), setattr, X, "PsdObj", bad)
        texts = [f"unsupported operand type(s) for *: `{a}` and `{b}`" for a, b in ((kind, "PsdVar"), ("PsdVar", kind))]
        for a, b in ((bad, X), (X, bad)):
            error, text = refusal(mul, a, b)
            assert error is TypeError and text in texts
    assert not {"TSOsetmatattrlist", "TSOaddpsdvar"} & set(stub.names())


# ---- Expressions ----


def test_expressions_against_a_reference(stub, built):
    """Random programs of every operation, beside a dict of matrices, a dict of numbers and a number."""
    m, X, Y, x, y = built
    rng = random.Random(20)

    def leaf():
        k, n = rng.choice([0, 1]), rng.randint(-3, 3)
        return rng.choice([
            (rng.choice([A, sp.csc_matrix(A)]) * (X, Y)[k], ({k: np.array(SYM)}, {}, 0)), (B * X, ({0: B}, {}, 0)),
            (n, ({}, {}, n)), ((x, y)[k], ({}, {k: 1}, 0)), (n * x + y + n, ({}, {0: n, 1: 1}, n)),
        ])  # fmt: skip

    def combined(p, q, s):
        def dicts(a, b):
            return {k: a.get(k, 0) + s * b.get(k, 0) for k in {**a, **b}}

        return dicts(p[0], q[0]), dicts(p[1], q[1]), p[2] + s * q[2]

    def check(e, p):
        matrices, linear, constant = parts(e)
        for k in (0, 1):
            assert np.array_equal(matrices.get(k, 0 * A), p[0].get(k, 0 * A))
            assert linear.get(k, 0) == p[1].get(k, 0)
        assert constant == p[2]

    for _ in range(60):
        e, p = A * X, ({0: np.array(SYM)}, {}, 0)
        kept = []
        for _ in range(12):
            other, q = leaf()
            s = rng.choice([1, -1])
            step = rng.randrange(6)
            if step == 0:
                e, p = (e + other, combined(p, q, 1)) if s > 0 else (e - other, combined(p, q, -1))
            elif step == 1:
                e, p = (other + e, combined(p, q, 1)) if s > 0 else (other - e, combined(q, p, -1))
            elif step == 2:
                kept.append((e.copy(), p))
                e, p = (e.__iadd__(other), combined(p, q, 1)) if s > 0 else (e.__isub__(other), combined(p, q, -1))
            elif step == 3:
                kept.append((tso.PsdExpr(e), p))
                e *= -2
                p = combined(({}, {}, 0), p, -2)
            elif step == 4:
                e, p = tso.quicksum([e, other, -e / 2]), combined(combined(p, q, 1), p, -0.5)
            else:
                e.add(e, s)
                p = combined(p, p, s)
            kept.append((e, p))
            check(e, p)
        for old, q in [k for k in kept if k[0] is not e]:
            if type(old) is tso.PsdExpr and not any(old is other and q is not o for other, o in kept):
                check(old, q)  # copies are not touched by what came later


def test_terms_removal_and_text(stub, built):
    m, X, Y, x, y = built
    e = tso.PsdExpr([A, B], (X, Y))
    e.addTerm(((1, 0), (0, 1)), X)
    e.addTerms([], [])
    e.addConstant(2)
    e += x
    e -= y
    assert (e.size(), [e.getVar(i).index for i in range(3)], e.getConstant()) == (3, [0, 1, 0], 2.0)
    assert str(e) == repr(e) == "<PsdExpr: (2, 2) * X + (2, 2) * X + (2, 2) * X + x - x + 2.0>"
    assert len(str(sum((A * X for _ in range(40)), x))) == 251 + len("<PsdExpr: >")
    assert [str(a) for a in (tso.PsdExpr(), tso.PsdExpr(x), -(A * X), tso.PsdExpr(None))] == [
        "<PsdExpr: >", "<PsdExpr: x>", "<PsdExpr: (2, 2) * X>", "<PsdExpr: >"]  # fmt: skip
    e.remove(7)
    e.remove(-1)
    e.remove(1)
    assert parts(e) == ({0: pytest.approx(np.array(SYM) + np.eye(2))}, {0: 1.0, 1: -1.0}, 2.0)
    e.remove(x)
    e.remove(X)
    assert parts(e) == ({}, {1: -1.0}, 2.0)
    e.clear()
    assert parts(e) == ({}, {}, 0.0)
    # The stand-in's value of every variable is [[1, 2], [2, 3]], that of x is 0.5.
    assert (A * X + B * Y + 2 * x + 1).getValue() == (1 + 12 + 9) + (4 - 3) + 1 + 1
    assert [call[3:5] for call in stub.calls() if call[0] == "TSOgetmatattrlist"] == [(1, [0])] * 2 + [(1, [1])] * 2


def test_what_expressions_refuse(stub, built):
    m, X, _, x, y = built
    e, mx = A * X + x, m.addMVar(2)

    def no(op, a, b):
        return TypeError, f"unsupported operand type(s) for {op}: `{a}` and `{b}`"

    def inplace(kind):
        return TypeError, f"unsupport operation +=: `PsdExpr` and `{kind}`"

    for act, expected in [
        (lambda: e * e, no("*", "PsdExpr", "PsdExpr")), (lambda: x * e, no("*", "Var", "PsdExpr")),
        (lambda: x * X, no("*", "Var", "PsdVar")), (lambda: X * X, no("*", "PsdVar", "PsdVar")),
        (lambda: x * x + e, no("+", "QuadExpr", "PsdExpr")), (lambda: e - x * x, no("-", "PsdExpr", "QuadExpr")),
        (lambda: mx - e, no("-", "MVar", "PsdExpr")), (lambda: A + e, no("+", "ndarray", "PsdExpr")),
        (lambda: A * e, no("*", "ndarray", "PsdExpr")), (lambda: e + "a", no("+", "PsdExpr", "str")),
        (lambda: e / x, no("/", "PsdExpr", "Var")), (lambda: e / 0, (ZeroDivisionError, "float division")),
        (lambda: tso.quicksum([x * x, e]), no("+", "QuadExpr", "PsdExpr")), (lambda: e <= x * x, (TypeError, None)),
        (lambda: x + X, (TypeError, None)), (lambda: X + 1, (TypeError, None)), (lambda: X <= 1, (TypeError, None)),
        (lambda: e**2, (TypeError, None)), (lambda: e < 1, (TypeError, None)), (lambda: 1 / e, (TypeError, None)),
        (lambda: hash(e), (TypeError, "unsupported operand type(s) for hash(): `PsdExpr`")),
        (lambda: e.__iadd__(x * x), inplace("QuadExpr")), (lambda: e.__imul__(x), inplace("Var")),
        (lambda: e == [1, 2, 3], (ValueError, "`=` expect an array with 2 elements: [ LHS, RHS ]")),
        (lambda: e == ["a", 1], (TypeError, "range constraint requires numeric values")),
        (lambda: e.add(x), (TypeError, "Argument `expr` cannot be <class 'tessolvpy.Var'> type")),
        (lambda: e.addTerm(A, x), (tso.TessolvError, "Expect a PsdVar")),
        (lambda: e.addTerm(A, [X]), (tso.TessolvError, "Expect a PsdVar")),
        (lambda: e.addTerms([A], [X, X]), (ValueError, "1 matrices given for 2 variables")),
        (lambda: e.addTerms([A, A], [X, x]), (tso.TessolvError, "Expect a PsdVar")),
        (lambda: tso.PsdExpr(X), (TypeError, None)), (lambda: tso.PsdExpr(A, x), (tso.TessolvError, "Expect a PsdVar")),
        (lambda: e.remove("x"), (TypeError, "Argument `item` should be an integer, PsdVar or Var")),
        *[(lambda i=i, get=get: get(i), (IndexError, "list index out of range"))
          for i in (-1, 1) for get in (e.getCoeff, e.getPsdVar, e.getVar)],
    ]:  # fmt: skip
        error, text = refusal(act)
        assert error is expected[0] and expected[1] in (None, text), text
        assert parts(e) == ({0: pytest.approx(np.array(SYM))}, {0: 1.0}, 0.0)
    assert (X.__array_priority__, tso.PsdExpr.__array_priority__) == (1000.0, 1000)
    raises(TypeError, "Value is readonly", type(X).__array_priority__.fset, X, 5)


# ---- The model ----


def test_variables(stub, built):
    m, *_ = built
    for arguments, expected in [
        ((3,), (3, 0, None, None, None, "")), ((np.int64(2), None, "é"), (2, 0, None, None, None, "é")),
        ((2, A, "n"), (2, 3, [0, 1, 1], [0, 0, 1], [1.0, 3.0, 3.0], "n")),
        ((2, sp.csr_matrix(B)), (2, 2, [1, 1], [0, 1], [1.0, -1.0], "")),
    ]:  # fmt: skip
        made = m.addPsdVar(*arguments)
        ((name, _, *call),) = stub.calls()
        assert name == "TSOaddpsdvar" and tuple(a or None if isinstance(a, list) else a for a in call) == expected
        assert m.getPsdVars()[-1] is made and made.index == len(m.getPsdVars()) - 1
    before = m.getPsdVars().copy()
    for bad in (0, -1, 2**31, 2**70):
        raises(ValueError, f"dim must be from 1 to 2147483647, not {bad}", m.addPsdVar, bad)
    for bad in (("2",), (2.0,), (None,), (2, None, 5), (2, 5)):
        assert refusal(m.addPsdVar, *bad)[0] is TypeError
    stub.fail("TSOaddpsdvar", -3)
    assert refusal(m.addPsdVar, 2)[0] is tso.TessolvError
    assert refusal(tso.Model(empty=True).addPsdVar, 2)[0] in (TypeError, tso.TessolvError)
    assert m.getPsdVars() == before


def test_rows(stub, built, env):
    m, X, Y, x, y = built
    two = ([0, 0, 0, 1, 1], [0, 1, 1, 1, 1], [0, 0, 1, 0, 1], [1.0, 3.0, 3.0, 1.0, -1.0])
    one = ([1, 1], [1, 1], [0, 1], [2.0, -2.0])
    e, P = A * X + B * Y + x - 3 * y + x + 1, m.addPsdConstr
    for add, *expected in [
        (lambda: m.addConstr(e <= 2, "r"), [0, 1], [2.0, -3.0], 2, two, -INF, 1.0, "r"),
        (lambda: m.addConstr(1 >= B * Y * 2), [], [], 1, one, -INF, 1.0, ""),
        (lambda: m.addConstr(x == 2 * B * Y), [0], [-1.0], 1, one, 0.0, 0.0, ""),
        (lambda: m.addConstr(e == (-float("inf"), 5)), [0, 1], [2.0, -3.0], 2, two, -INF, 4.0, ""),
        (lambda: m.addRange(e, None, INF, None), [0, 1], [2.0, -3.0], 2, two, -INF, INF, ""),
        (lambda: m.addRange(2 * B * Y + 1, -1, 3, "n"), [], [], 1, one, -2.0, 2.0, "n"),
        (lambda: P(e, ">", 2 * x + 5, "g"), [0, 1], [0.0, -3.0], 2, two, 4.0, INF, "g"),
        (lambda: P(y, "=", 0 * e), [1], [1.0], 0, ([],) * 4, 0.0, 0.0, ""),
        (lambda: P(e == [1, 2], name="é"), [0, 1], [2.0, -3.0], 2, two, 0.0, 1.0, "é"),
        (lambda: m.addConstrs((2 * B * Y <= i for i in [7]), "c")[7], [], [], 1, one, -INF, 7.0, "c[7]"),
    ]:  # fmt: skip
        rows = len(m.getConstrs())
        made = add()
        ((name, _, nl, nv, nz, cind, cval, *arrays, low, high, text),) = (
            call for call in stub.calls() if call[0] != "TSOgetintattrlist"
        )
        arrays = tuple(a or [] for a in arrays)
        assert [cind or [], cval or [], nv, arrays, low, high, text] == expected
        assert (name, nl, nz) == ("TSOaddrangepsdconstr", len(cind or []), len(arrays[0]))
        assert type(made) is tso.PsdConstr and made is m.getPsdConstrs()[-1]
        for kind in (m.getConstrs(), m.getQConstrs(), m.getPsdConstrs()):
            assert [c.index for c in kind] == list(range(rows + 1))
    kinds = "should be one of [constant, Var, LinExpr, PsdExpr"
    before = state(m)
    for act, expected in [
        (lambda: m.addConstr(e <= 1, name=None), (TypeError, "expected bytes, NoneType found")),
        (lambda: m.addConstr(e == [0, 1j]), (TypeError, "must be real number, not complex")),
        (lambda: m.addRange(e, None, None), (TypeError, "must be real number, not NoneType")),
        (lambda: P(e), (ValueError, "sense and rhs can not be None if lhs is not a TempConstr")),
        (lambda: P(e <= 1, "<"), (ValueError, "sense and rhs should be None if lhs is a TempConstr")),
        (lambda: P(e, "<=", 1), (tso.TessolvError, "Invalid sense `<=`")),
        (lambda: P(e, "<", x * x), (TypeError, f"rhs {kinds}] type")),
        (lambda: P("e", "<", 1), (TypeError, f"lhs {kinds}, TempConstr] type")),
        (lambda: P(x * x <= 1), (TypeError, f"expression in TempConstr {kinds}] type")),
        (lambda: m.remove([x, X]), (TypeError, "remove psd variable temporary not support")),
        (lambda: m.remove(m.getPsdConstrs()), (TypeError, "remove psd constraint temporary not support")),
    ]:
        assert refusal(act) == expected
        assert (state(m), stub.names()) == (before, [])
    # Variables of another model reach the solver as what no model has.
    other = tso.Model("other", env)
    other.addConstr(e <= 1)
    assert stub.calls()[-1][5:8] == ([-1], [-1.0], [-1] * 5)
    c = m.getPsdConstrs()[1]
    m.remove(m.getConstrs()[1])
    assert c.index == -2 and len(m.getPsdConstrs()) == len(m.getConstrs()) == 9


def test_objective(stub, built, env):
    m, X, Y, x, y = built

    def psd_calls():
        return [call[2:] for call in stub.calls() if call[0] == "TSOsetmatattrlist"]

    clear = ("PsdObj", 2, [0, 1], 0, [0, 0], None, None, None)
    m.setObjective(B * Y + A * X + 2 * B * Y + x + 7, -1)
    both = ("PsdObj", 2, [1, 0], 5, [0, 2], [1, 1, 0, 1, 1], [0, 1, 0, 0, 1], [3.0, -3.0, 1.0, 3.0, 3.0])
    names = [call[0] for call in stub.calls()]
    assert names.index("TSOsetmatattrlist") < names.index("TSOsetdblattr")  # cleared before anything is written
    m.setObjective(B * Y + A * X + 2 * B * Y + x + 7)
    none = [[None if a == [] else a for a in call] for call in psd_calls()]
    assert none == [list(clear), list(both)]
    m.setObjective(x + y)
    assert [[None if a == [] else a for a in call] for call in psd_calls()] == [list(clear)]
    made = m.getObjective()
    assert type(made) is tso.PsdExpr and type(made.getCoeff(0)) is sp.csr_matrix
    value = np.array([[1.0, 2.0], [2.0, 3.0]])
    assert parts(made) == ({0: pytest.approx(value), 1: pytest.approx(value)}, {0: 0.5, 1: 1.5}, 0.0)
    other = tso.Model("other", env)
    z = other.addVar()
    stub.clear()
    for bad in (A * X + z, 1e25 * A * X):
        assert refusal(m.setObjective, bad)[0] is tso.TessolvError
    assert refusal(other.setObjective, A * X)[0] is tso.TessolvError
    assert set(stub.names()) == {"TSOgetintattrlist", "TSOexplainerror"}  # nothing was written


def test_matrix_attributes_of_many(stub, built):
    m, X, Y, x, _ = built
    value = [[1, 2], [2, 3]]
    for name, kind in (("PsdX", np.ndarray), ("PsdObj", sp.csr_matrix)):
        for one in (getattr(X, name), X.getAttr(name), m.getAttr(name, X), *m.getAttr(name, [X, Y])):
            assert type(one) is kind and dense(one).tolist() == value
    assert m.getAttr("PsdX", []) == []
    a, b = [1.0, 3.0, 3.0], [1.0, -1.0]
    stub.clear()
    for write, expected in [
        (lambda: m.setAttr("PsdObj", X, A), a), (lambda: X.setAttr("psdobj", sp.coo_matrix(B)), b),
        (lambda: m.setAttr("PsdObj", [X, Y], [A, B.tolist()]), a + b), (lambda: m.setAttr("PsdObj", [X, Y], B), b + b),
        (lambda: m.setAttr("PsdObj", [X, Y], np.array([B, A])), b + a),
        (lambda: m.setAttr("PsdObj", (Y, X), sp.csr_matrix(A)), a + a),
    ]:  # fmt: skip
        write()
        calls = [call for call in stub.calls() if call[0] == "TSOsetmatattrlist"]
        assert len(calls) == 1 and calls[0][-1] == expected
    for objects, bad in (([X, Y], [A]), ([X, Y], [A, np.eye(3)]), ([X, Y], np.eye(3)), ([X], []), (X, None), (X, 1.0)):
        assert refusal(m.setAttr, "PsdObj", objects, bad)[0] in (TypeError, ValueError, AttributeError)
    raises(AttributeError, "Attribute `PsdObj` does not exist", m.getAttr, "PsdObj", x)
    assert "TSOsetmatattrlist" not in stub.names()


def test_loops_hold_on_to_nothing(stub, built):
    m, X, Y, x, y = built
    sparse = sp.csr_matrix(A)

    def use():
        e = A * X + sparse * Y + x - 1
        f = e.copy()
        f += e
        f *= 2.5
        f.addTerms([A, B], [X, Y])
        str(f), f.getValue(), f.getCoeff(0), f.getCoeff(1), f.getPsdVar(0), e <= f, e == [0, 1], tso.quicksum([e, f])
        f.remove(X)
        f.__init__(A, Y)
        f.clear()
        m.setObjective(e)
        m.getObjective()
        X.PsdObj = sparse
        m.setAttr("PsdObj", [X, Y], [A, B]), m.getAttr("PsdX", [X, Y])
        stub.clear()

    e = A * X + x
    check_growth(use, [A, B, sparse, X, Y, x, m, tso.PsdExpr, tso.PsdVar])
    bad = [lambda: np.eye(3) * X, lambda: [[1, float("nan")]] * 2 * X, lambda: e.addTerms([A, 5], [X, X])]
    bad += [lambda: m.addConstr(e == [0, "a"]), lambda: m.setObjective(1e30 * e), lambda: m.addPsdVar(2, np.eye(3))]
    for act in bad:
        refuse = refused(act, (TypeError, ValueError, tso.TessolvError))
        check_growth(lambda refuse=refuse: (refuse(), stub.clear()), [A, X, x, e, m, tso.PsdExpr])
