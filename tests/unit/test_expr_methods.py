"""Methods of expressions: constructors, terms, removal, text; what copies share."""

import math
import struct
import sys
from fractions import Fraction

import numpy
import pytest
import tessolvpy as tso
from expressions import refusal, terms

PLUS = "unsupport operation +=: `{}` and `{}`"
EXPECT = (tso.TessolvError, "Expect a var")
EXPECTS = (tso.TessolvError, "Expect a list of var")
WRONG = "Argument 'expr' has incorrect type (expected tessolvpy.LinExpr, got "
ITEM = (TypeError, "Argument `item` should be an integer or Var")
NO_INDEX = (IndexError, "list index out of range")


def test_making_linear_expressions(xyz):
    x, y, _ = xyz
    for arguments, expected in [
        ((), ([], 0.0)),
        ((5,), ([], 5.0)),
        (("2.5",), ([], 2.5)),
        ((x,), ([(1.0, 0)], 0.0)),
        ((0, x), ([], 0.0)),
        ((-2, x), ([(-2.0, 0)], 0.0)),
        (([], []), ([], 0.0)),
        (([1, 0, 2], [x, "never looked at", y, y]), ([(1.0, 0), (2.0, 1)], 0.0)),
        ((numpy.array([1, 2]), numpy.array([x, y], object)), ([(1.0, 0), (2.0, 1)], 0.0)),
        (((1, 2), {0: x, 1: y}), ([(1.0, 0), (2.0, 1)], 0.0)),
        (([(1, x, None), [2, y, 3, 4]],), ([(1.0, 0), (2.0, 1)], 0.0)),
        (([([1, 2], [x, y], 0)],), ([(1.0, 0), (2.0, 1)], 0.0)),
        (((), None), ([], 0.0)),
    ]:
        assert terms(tso.LinExpr(*arguments)) == expected
        if len(arguments) == 1:
            assert terms(tso.QuadExpr(*arguments)) == (*expected, [])
    pairs = "Each element should be a tuple or list with length 2"
    for act, expected in [
        (lambda: tso.LinExpr([(1, x)]), (tso.TessolvError, pairs)),
        (lambda: tso.LinExpr([x, x, x]), (tso.TessolvError, pairs)),
        (lambda: tso.LinExpr(5, 6), EXPECT),
        (lambda: tso.LinExpr(0, "a"), EXPECT),
        (lambda: tso.LinExpr([1], ["a"]), EXPECTS),
        (lambda: tso.LinExpr([1, 2], [x]), NO_INDEX),
        (lambda: tso.LinExpr("a"), (ValueError, "could not convert string to float: 'a'")),
        (lambda: tso.List((1,)), (TypeError, "Expect a list")),
        (lambda: tso.List() + 5, (TypeError, PLUS.format("List", "int"))),
    ]:
        assert refusal(act) == expected
    for wrong in (None, x * y, object(), tso.Column(), x <= 1):
        assert refusal(tso.LinExpr, wrong)[0] is TypeError
        if wrong is not None and not isinstance(wrong, tso.QuadExpr):
            assert refusal(tso.QuadExpr, wrong)[0] is TypeError


def test_terms_and_removal(xyz):
    x, y, z = xyz
    e = 2 * x + y + x + 3
    e.add(y + 1, 2)
    assert terms(e) == ([(2.0, 0), (1.0, 1), (1.0, 0), (2.0, 1)], 5.0)
    for nothing in (4, -1, 2**40, -(2**70), z):
        e.remove(nothing)
    assert e.size() == 4
    e.remove(x)
    e.remove(True)  # an int
    e.addTerms(0, x)
    e.add(1 * x, 0)
    e.addConstant(0.5)
    assert terms(e) == ([(1.0, 1)], 5.5)
    q = 2 * x * y + z * z + y * z + x + y + 1
    q.remove(y)
    assert terms(q) == ([(1.0, 0)], 1.0, [(1.0, 2, 2)])
    q.addTerms(1, y)
    q.addTerms(2, z, x)
    q.addTerms([3], [z], [x])  # as it stands
    q.addTerms(0, x, 5)
    q.addTerms([1, 0], [x, 5])
    assert terms(q) == ([(1.0, 0), (1.0, 1), (1.0, 0)], 1.0, [(1.0, 2, 2), (2.0, 0, 2), (3, 2, 0)])
    q *= 2
    assert [type(q.getCoeff(i)) for i in range(3)] == [float, float, int]
    q.getLinExpr().addConstant(1)
    assert q.getConstant() == 3.0
    zeros = x + 1
    zeros *= 0
    assert terms(zeros) == ([(0.0, 0)], 0.0)
    before = terms(e), terms(q)
    for act, expected in [
        (lambda: e.remove(1.0), ITEM),
        (lambda: q.remove("a"), ITEM),
        (lambda: e.add(x), (TypeError, WRONG + "tessolvpy.Var)")),
        (lambda: e.add(None), (TypeError, WRONG + "NoneType)")),
        (lambda: q.add(3), (TypeError, "Argument `expr` cannot be <class 'int'> type")),
        (lambda: e.add(e, "2"), (TypeError, "must be real number, not str")),
        (lambda: e.addTerms("a", x), (ValueError, "could not convert string to float: 'a'")),
        (lambda: e.addTerms(1, None), EXPECT),
        (lambda: e.addTerms([1], [2]), EXPECTS),
        (lambda: q.addTerms(0, 5, x), EXPECT),
        (lambda: q.addTerms(1, x, 5), EXPECT),
        (lambda: q.addTerms((1,), (x,), (y,)), (TypeError, PLUS.format("List", "tuple"))),
        (lambda: e.getVar(-1), NO_INDEX),
        (lambda: e.getCoeff(1), NO_INDEX),
        (lambda: q.getVar1(3), NO_INDEX),
        (lambda: q.getVar2(-1), NO_INDEX),
        (lambda: q.getCoeff(3), NO_INDEX),
    ]:  # fmt: skip
        assert refusal(act) == expected
        assert (terms(e), terms(q)) == before
    assert math.isnan((float("nan") * x).getCoeff(0))


@pytest.mark.parametrize(
    "lists",
    [
        lambda x, y: ([1, 2, 3] * 9, [x], [y]),
        lambda x, y: ([1, 2], [x, y], []),
        lambda x, y: ([2, 1], ["a", None], [x, y]),
        lambda x, y: (["a"], [x], [y]),
    ],
    ids=["short", "empty", "no variables", "no number"],
)
def test_lists_of_a_quadratic_expression_as_they_stand(stub, env, xyz, request, lists):
    x, y, _ = xyz
    q = tso.QuadExpr()
    q.addTerms(*lists(x, y))
    size = q.size()
    model = tso.Model("other", env)
    acts = [lambda: str(q), lambda: model.setObjective(q), lambda: q.getValue()]
    if size != len(lists(x, y)[2]):
        acts += [lambda: q * 2.5, lambda: q + x, lambda: -q, lambda: q.remove(x)]
    for act in acts:
        assert refusal(act)[0] in (IndexError, TypeError, AttributeError)
    q.add(q, 1.0)
    assert q.copy().size() == 2 * size
    assert "TSOaddqpterms" not in stub.names()


def test_coefficients_of_any_kind(xyz):
    x, y, _ = xyz
    strange = [struct.unpack("d", struct.pack("Q", bits << 48 | 0x1234))[0] for bits in (0xFFFC, 0xFFFD, 0xFFFF)]
    floats = [*strange, 1.5, -0.0, 5e-324, float("inf"), -float("inf"), float("nan")]
    ints = [0, 1, -1, 2**31 - 1, -(2**31), 2**31, -(2**31) - 1, 2**70, True]
    others = [Fraction(1, 3), numpy.float64(1.5), numpy.int64(2**20), numpy.float32(0.1), 2j]
    values = floats + ints + others
    held = [sys.getrefcount(v) for v in others]
    q = tso.QuadExpr()
    q.addTerms(values, [x] * len(values), [y] * len(values))

    def seen(e):
        return [(type(c), repr(c)) for c in map(e.getCoeff, range(e.size()))]

    def expected(function):
        return [(type(c), repr(c)) for c in map(function, values)]

    assert seen(q) == expected(lambda v: v)
    assert all(q.getCoeff(len(floats + ints) + i) is v for i, v in enumerate(others))
    assert seen(q * 0.5) == expected(lambda v: 0.5 * v)
    for mult in (3, 2**31, 0.5, True, numpy.float64(2), Fraction(1, 2)):
        e = q.copy()
        e *= mult
        assert seen(e) == expected(lambda v, mult=mult: v * mult)
    assert seen(q) == expected(lambda v: v)
    with pytest.raises(OverflowError):
        huge = tso.QuadExpr()
        huge.addTerms([10**400], [x], [y])
        huge.add(huge, 2)
    e = q = None
    assert [sys.getrefcount(v) for v in others] == held


def test_text(stub, xyz):
    x, y, _ = xyz
    stub.set(VarName="é")
    for made, text in [
        (tso.LinExpr(), "<LinExpr: >"),
        (x + 1, "<LinExpr: é + 1.0>"),
        (-x, "<LinExpr: - é>"),
        (x - 1, "<LinExpr: é - 1.0>"),
        (-2.5 * x - y - 0.0, "<LinExpr: - 2.5 * é - é>"),
        (tso.LinExpr(-3), "<LinExpr: - 3.0>"),
        (x * x, "<QuadExpr: é ^ 2>"),
        (2 * x * y + 3 * x + 1, "<QuadExpr: 2.0 * é * é + 3.0 * é + 1.0>"),
        (x * y - x, "<QuadExpr: é * é + - é>"),
        (-x * y, "<QuadExpr: - é * é>"),
        (tso.QuadExpr(x), "<QuadExpr: é>"),
        (tso.QuadExpr(-x), "<QuadExpr: - é>"),
        (tso.QuadExpr(), "<QuadExpr: >"),
    ]:
        assert (str(made), repr(made)) == (text, text)
    for length in (250, 251, 5000):
        text = "3.0 * " + "".join(chr(97 + i % 26) for i in range(length - 6))
        stub.set(VarName=text[6:])
        assert str(3 * x) == f"<LinExpr: {text if length == 250 else text[:123] + ' ... ' + text[-123:]}>"
    stub.fail("TSOgetstrattrlist", -2003)
    with pytest.raises(tso.TessolvError):
        str(x + y)
