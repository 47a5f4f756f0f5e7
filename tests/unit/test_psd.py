"""Semi-definite variables: their matrices, expressions beside plain numbers, the exact calls of rows and objective."""

import random
from operator import mul

import numpy as np
import pytest
import scipy.sparse as sp
import tessolvpy as tso
from expressions import check_rows, refusal

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


def numbers(e):
    """The coefficients of the cells of X and Y, of x and y, and the constant: eleven numbers."""
    found, linear = np.zeros(11), e.getLinExpr()
    for i in range(e.size()):
        assert e.getVar(i) is e.getPsdVar(i)
        found[4 * e.getVar(i).index :][:4] += dense(e.getCoeff(i)).ravel()
    for i in range(linear.size()):
        found[8 + linear.getVar(i).index] += linear.getCoeff(i)
    found[10] = e.getConstant()
    return found


def test_forms_of_a_matrix(stub, built):
    m, X, *_ = built
    arrays = [A, A.astype(int), A.astype("f4"), A.astype(">f8"), A.astype(object), A[::-1, ::-1][::-1, ::-1], A.T]
    arrays += [np.asfortranarray(A), A.tolist()]
    for matrix in [
        *arrays,
        *(form(A) for form in (sp.csr_matrix, sp.csc_array, sp.coo_array, sp.dok_matrix, sp.dia_matrix, sp.bsr_array)),
    ]:
        for e in (matrix * X, X * matrix, tso.PsdExpr(matrix, X), tso.PsdExpr([matrix], [X])):
            coefficient = e.getCoeff(0)
            assert type(coefficient) is (sp.csr_matrix if sp.issparse(matrix) else np.ndarray)
            assert dense(coefficient).tolist() == SYM
        stub.clear()
        m.addPsdVar(np.int64(2), matrix, "é")
        assert stub.calls()[0][2:] == (2, 3, [0, 1, 1], [0, 0, 1], [1.0, 3.0, 3.0], "é")
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
    none = "Expect a symmetric matrix: a NumPy array, a SciPy sparse matrix or a list of lists, not "
    square, wrong = "Expect a square matrix, not one of shape ", "a matrix of shape {} does not fit a semi-definite "
    wrong += "variable of dimension 2"
    damaged, outside, falling, long = sp.csr_matrix(A), sp.coo_matrix(A), sp.csc_matrix(A), sp.csr_matrix(A)
    damaged.indices = np.array([0, 7, 0, 1], dtype=np.int32)
    falling.indptr[1] = -1
    long.indptr[2] = 50
    outside.row[:] = 5
    for bad, error, expected in [
        (np.ones((2, 3)), ValueError, square + "(2, 3)"), (sp.csr_matrix((3, 2)), ValueError, square + "(3, 2)"),
        (np.ones(4), ValueError, square + "(4,)"), (np.ones((2, 2, 2)), ValueError, square + "(2, 2, 2)"),
        (np.eye(3), ValueError, wrong.format("(3, 3)")), (sp.eye(1), ValueError, wrong.format("(1, 1)")),
        (np.zeros((0, 0)), ValueError, wrong.format("(0, 0)")), ([[1], [1, 2]], ValueError, None),
        ([[1, np.nan], [1, 1]], ValueError, "the matrix has nan at [0, 1]"),
        (sp.csr_matrix([[0, 0], [0, np.inf]]), ValueError, "the matrix has an infinite entry at [1, 1]"),
        (1j * A, TypeError, "Expect a matrix of real numbers, not of complex128"), (damaged, ValueError, None),
        ([["a", "b"], ["c", "d"]], TypeError, None), ([[x, x], [x, x]], TypeError, None), (outside, ValueError, None),
        *[(bad, ValueError, "the indices of the sparse matrix do not fit its shape") for bad in (falling, long)],
    ]:  # fmt: skip
        e = tso.PsdExpr(B, X)
        for act in [(mul, bad, X), (e.addTerm, bad, X), (e.addTerms, [A, bad], [X, X]), (setattr, X, "PsdObj", bad),
                    (m.setAttr, "PsdObj", [X, X], [A, bad]), (m.addPsdVar, 2, bad)]:  # fmt: skip
            kind, text = refusal(*act)
            assert kind is error and expected in (None, text), (bad, text)
        assert e.size() == 1
    for bad, kind in ((5, "int"), ("x", "str"), (None, "NoneType"), (x, "Var"), (X, "PsdVar")):
        for act in (tso.PsdExpr().addTerm, bad, X), (setattr, X, "PsdObj", bad):
            assert refusal(*act) == (TypeError, none + kind)
        for act in (mul, bad, X), (mul, X, bad):
            error, text = refusal(*act)
            assert error is TypeError and text.startswith("unsupported operand type(s) for *: `")
    for bad in (0, -1, 2**31, 2**70):
        assert refusal(m.addPsdVar, bad) == (ValueError, f"dim must be from 1 to 2147483647, not {bad}")
    for bad in (("2",), (2.0,), (None,), (2, None, 5)):
        assert refusal(m.addPsdVar, *bad)[0] is TypeError
    assert not {"TSOsetmatattrlist", "TSOaddpsdvar"} & set(stub.names()) and len(m.getPsdVars()) == 2


def test_expressions_beside_numbers(stub, built):
    """Random programs of every operation, and what they should come to."""
    m, X, Y, x, y = built
    rng = random.Random(20)

    def leaf():
        k, n = rng.choice([0, 1]), rng.randint(-3, 3)
        e, places, values = rng.choice([
            (rng.choice([A, sp.csc_matrix(A)]) * (X, Y)[k], slice(4 * k, 4 * k + 4), np.ravel(SYM)), (n, 10, n),
            (B * X, slice(4), B.ravel()), ((x, y)[k], 8 + k, 1), (n * x + y + n, slice(8, 11), [n, 1, n]),
        ])  # fmt: skip
        p = np.zeros(11)
        p[places] = values
        return e, p

    for _ in range(60):
        e, p, copies = A * X, np.array([1, 3, 3, 3, *[0] * 7]), []
        for _ in range(12):
            (other, q), step = leaf(), rng.randrange(8)
            copies.append((rng.choice([tso.PsdExpr, tso.PsdExpr.copy])(e), p))
            if step < 4:
                e, p = (e + other, other + e, e - other, other - e)[step], (p + q, p + q, p - q, q - p)[step]
            elif step == 4:
                e += other
                p = p + q
            elif step == 5:
                e -= other
                e *= -2
                p = -2 * (p - q)
            elif step == 6:
                e, p = tso.quicksum([e, other, -e / 2]), p + q - 0.5 * p
            else:
                e.add(e, 3)
                p = 4 * p
            assert np.array_equal(numbers(e), p)
        for copy, q in copies:  # not touched by what came later
            assert np.array_equal(numbers(copy), q)


def test_terms_removal_and_text(stub, built):
    m, X, Y, x, y = built
    e = tso.PsdExpr([A, B], (X, Y))
    e.addTerm(((1, 0), (0, 1)), X)
    e.addTerms([], [])
    e.addConstant(2)
    e += x
    e -= y
    assert (e.size(), [e.getVar(i).index for i in range(3)]) == (3, [0, 1, 0])
    assert str(e) == repr(e) == "<PsdExpr: (2, 2) * X + (2, 2) * X + (2, 2) * X + x - x + 2.0>"
    assert len(str(sum((A * X for _ in range(40)), x))) == 251 + len("<PsdExpr: >")
    assert [str(a) for a in (tso.PsdExpr(), tso.PsdExpr(x), -(A * X))] == [
        "<PsdExpr: >", "<PsdExpr: x>", "<PsdExpr: (2, 2) * X>"]  # fmt: skip
    for item, left in [(7, [2, 3, 3, 4, 0, 1, 1, -1, 1, -1, 2]), (-1, None), (1, [2, 3, 3, 4, 0, 0, 0, 0, 1, -1, 2]),
                       (x, [2, 3, 3, 4, 0, 0, 0, 0, 0, -1, 2]), (X, [0] * 9 + [-1, 2])]:  # fmt: skip
        e.remove(item)
        assert left in (None, numbers(e).tolist())
    e.clear()
    assert not numbers(e).any()
    # The stand-in's value of every variable is [[1, 2], [2, 3]], that of x is 0.5.
    assert (A * X + B * Y + 2 * x + 1).getValue() == (1 + 12 + 9) + (4 - 3) + 1 + 1


def test_rows(stub, built, env):
    m, X, Y, x, y = built
    two = ([0, 0, 0, 1, 1], [0, 1, 1, 1, 1], [0, 0, 1, 0, 1], [1.0, 3.0, 3.0, 1.0, -1.0])
    one = ([1, 1], [1, 1], [0, 1], [2.0, -2.0])
    e, P = A * X + B * Y + x - 3 * y + x + 1, m.addPsdConstr
    for add, *expected in [
        (lambda: m.addConstr(e <= 2, "r"), [0, 1], [2.0, -3.0], 2, two, -INF, 1.0, "r"),
        (lambda: m.addConstr(x == 2 * B * Y), [0], [-1.0], 1, one, 0.0, 0.0, ""),
        (lambda: m.addConstr(e == (-float("inf"), 5)), [0, 1], [2.0, -3.0], 2, two, -INF, 4.0, ""),
        (lambda: m.addRange(e, None, INF, None), [0, 1], [2.0, -3.0], 2, two, -INF, INF, ""),
        (lambda: m.addRange(2 * B * Y + 1, -1, 3, "n"), [], [], 1, one, -2.0, 2.0, "n"),
        (lambda: P(e, ">", 2 * x + 5, "g"), [0, 1], [0.0, -3.0], 2, two, 4.0, INF, "g"),
        (lambda: P(y, "=", 0 * e), [1], [1.0], 0, ([],) * 4, 0.0, 0.0, ""),
        (lambda: P(e == [1, 2], name="é"), [0, 1], [2.0, -3.0], 2, two, 0.0, 1.0, "é"),
        (lambda: m.addConstrs((2 * B * Y <= i for i in [7]), "c")[7], [], [], 1, one, -INF, 7.0, "c[7]"),
    ]:  # fmt: skip
        rows, made = len(m.getConstrs()), add()
        ((name, _, nl, nv, nz, cind, cval, *arrays, low, high, text),) = (
            call for call in stub.calls() if call[0] != "TSOgetintattrlist"
        )
        arrays = tuple(a or [] for a in arrays)
        assert [cind or [], cval or [], nv, arrays, low, high, text] == expected
        assert (name, nl, nz) == ("TSOaddrangepsdconstr", len(cind or []), len(arrays[0]))
        assert type(made) is tso.PsdConstr and made is m.getPsdConstrs()[-1]
        check_rows(m, rows + 1)
    # Variables of another model reach the solver as what no model has.
    other = tso.Model("other", env)
    other.addConstr(e <= 1)
    assert stub.calls()[-1][5:8] == ([-1], [-1.0], [-1] * 5)


def test_objective_and_matrix_attributes(stub, built, env):
    m, X, Y, x, y = built
    a, b = [1.0, 3.0, 3.0], [1.0, -1.0]
    clear = (2, [0, 1], 0, [0, 0], None)
    both = (2, [1, 0], 5, [0, 2], [3.0, -3.0, *a])
    for write, *expected in [
        (lambda: m.setObjective(B * Y + A * X + 2 * B * Y + x), clear, both), (lambda: m.setObjective(x + y), clear),
        (lambda: m.setAttr("PsdObj", X, A), (1, [0], 3, [0], a)), (lambda: X.setAttr("psdobj", B), (1, [0], 2, [0], b)),
        (lambda: m.setAttr("PsdObj", [X, Y], [A, B.tolist()]), (2, [0, 1], 5, [0, 3], a + b)),
        (lambda: m.setAttr("PsdObj", [X, Y], B), (2, [0, 1], 4, [0, 2], b + b)),
        (lambda: m.setAttr("PsdObj", [X, Y], np.array([B, A])), (2, [0, 1], 5, [0, 2], b + a)),
        (lambda: m.setAttr("PsdObj", (Y, X), sp.csr_matrix(A)), (2, [1, 0], 6, [0, 3], a + a)),
    ]:  # fmt: skip
        stub.clear()
        write()
        calls = [call for call in stub.calls() if call[0] == "TSOsetmatattrlist"]
        assert [(*call[3:7], call[-1] or None) for call in calls] == expected
    stub.set(NumQuads=1)
    stub.clear()
    made = m.getObjective()
    assert [name for name in stub.names() if "attr" not in name] == ["TSOgetq"] * 2
    assert type(made) is tso.PsdExpr and type(made.getCoeff(0)) is sp.csr_matrix
    assert numbers(made).tolist() == [1, 2, 2, 3, 1, 2, 2, 3, 0.5, 1.5, 0]
    for name, kind in (("PsdX", np.ndarray), ("PsdObj", sp.csr_matrix)):
        for one in (getattr(X, name), X.getAttr(name), m.getAttr(name, X), *m.getAttr(name, [X, Y])):
            assert type(one) is kind and dense(one).tolist() == [[1, 2], [2, 3]]
    other = tso.Model("other", env)
    z = other.addVar()
    stub.clear()
    for model, bad in ((m, A * X + z), (m, 1e25 * A * X), (other, A * X)):  # found before anything is cleared
        assert refusal(model.setObjective, bad)[0] is tso.TessolvError
    for objects, bad in (([X, Y], [A]), ([X, Y], [A, np.eye(3)]), ([X, Y], np.eye(3)), ([X], []), (X, 1.0)):
        assert refusal(m.setAttr, "PsdObj", objects, bad)[0] in (TypeError, ValueError)
    assert set(stub.names()) <= {"TSOgetintattrlist", "TSOgetattrinfo", "TSOexplainerror"}
