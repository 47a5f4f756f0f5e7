"""Expressions: what no operator takes, texts, what goes in and stays as it stands, what Python code in between may do.

Their arithmetic is compared with a second implementation on random programs in tests/property.
"""

import math
import operator
import struct
import sys
import time
from contextlib import suppress
from fractions import Fraction

import numpy
import pytest
import tessolvpy as tso
from expressions import refusal, terms

# What no operator takes. Things like arrays among it are refused by the operator, or after a recursion.
OTHERS = [None, {}, {1}, object(), "a", b"a", (x for x in ()), print, type, tso.TempConstr, tso.Column()]


def test_other_kinds(xyz):
    x, y, _ = xyz
    for other in [*OTHERS, x <= 1]:
        shown = type(other).__name__
        for operand in (x, 2 * x + y, x * y):
            kind = type(operand).__name__
            for symbol, act in {"+": operator.add, "-": operator.sub, "*": operator.mul, "@": operator.matmul}.items():
                text = f"unsupported operand type(s) for {symbol}: `{kind}` and `{shown}`"
                assert refusal(act, operand, other) == (TypeError, text)
                assert refusal(act, other, operand)[0] in (TypeError, RecursionError)
            for act in (operator.truediv, operator.floordiv, operator.mod, operator.lt, operator.gt):
                assert refusal(act, operand, other)[0] is refusal(act, other, operand)[0] is TypeError
            for act in (operator.le, operator.ge):
                assert refusal(act, operand, other) == refusal(operator.sub, operand, other)
            assert refusal(pow, operand, other)[0] is tso.TessolvError
            if operand is not x and not isinstance(other, (tso.Column, tso.TempConstr)):
                before = terms(operand)
                for act in (operator.iadd, operator.isub, operator.imul):
                    text = f"unsupport operation +=: `{kind}` and `{shown}`"
                    assert refusal(act, operand, other) in ((TypeError, text), refusal(operator.neg, other))
                    assert terms(operand) == before
        assert refusal(tso.quicksum, [x, other]) == (TypeError, f"bad type for quicksum: {shown}")


def test_texts(stub, xyz):
    x, y, z = xyz
    shape = "TempConstr:\nlhs:\n----\n{}\nexpr:\n-----\n{}\nrhs:\n----\n{}"
    for made, *parts in [
        (x <= 5, None, "<LinExpr: v - 5.0>", 0), (5 <= x, 0, "<LinExpr: v - 5.0>", None),
        (x + y >= 2 * z, 0, "<LinExpr: v + v - 2.0 * v>", None), (x == y, 0, "<LinExpr: - v + v>", 0),
        (x == [0, 100], 0, "<Var v>", 100), (x + y == (True, 2.5), True, "<LinExpr: v + v>", 2.5),
        (x == numpy.array([1, 2]), 1, "<Var v>", 2), (x * y >= x, 0, "<QuadExpr: v * v + - v>", None),
        (x == {1: 5, 0: 0}, 0, "<Var v>", 5),
        (tso.TempConstr.new(lhs=x, lb=None, rhs=2), None, "<LinExpr: v - 2.0>", 0),
        (tso.TempConstr.new(x, 1, 2), 1, "<Var v>", 2),
    ]:  # fmt: skip
        assert str(made) == repr(made) == shape.format(*parts)
    pair, sides = (x == 1) >> (x + y <= 2), (x == 1, x + y <= 2)
    blocks = ["\n".join("  " + line for line in str(one).split("\n")) for one in sides]
    assert str(pair) == "(\n{}\n) >> (\n{}\n)".format(*blocks)
    stub.set(VarName="é")
    for made, text in [
        (tso.LinExpr(), "<LinExpr: >"), (-x, "<LinExpr: - é>"), (-2.5 * x - y - 0.0, "<LinExpr: - 2.5 * é - é>"),
        (tso.LinExpr(-3), "<LinExpr: - 3.0>"), (x * x, "<QuadExpr: é ^ 2>"),
        (2 * x * y + 3 * x + 1, "<QuadExpr: 2.0 * é * é + 3.0 * é + 1.0>"), (x * y - x, "<QuadExpr: é * é + - é>"),
        (-x * y, "<QuadExpr: - é * é>"), (tso.QuadExpr(-x), "<QuadExpr: - é>"),
    ]:  # fmt: skip
        assert (str(made), repr(made)) == (text, text)
    for length in (250, 251, 5000):
        text = "3.0 * " + "".join(chr(97 + i % 26) for i in range(length - 6))
        stub.set(VarName=text[6:])
        assert str(3 * x) == f"<LinExpr: {text if length == 250 else text[:123] + ' ... ' + text[-123:]}>"
    stub.fail("TSOgetstrattrlist", -2003)
    assert refusal(str, x + y)[0] is tso.TessolvError


def test_making_linear_expressions(xyz):
    x, y, _ = xyz
    for arguments, expected in [
        (("2.5",), ([], 2.5)), ((0, x), ([], 0.0)), ((-2, x), ([(-2.0, 0)], 0.0)),
        (([1, 0, 2], [x, "never looked at", y, y]), ([(1.0, 0), (2.0, 1)], 0.0)),
        ((numpy.array([1, 2]), numpy.array([x, y], object)), ([(1.0, 0), (2.0, 1)], 0.0)),
        (((1, 2), {0: x, 1: y}), ([(1.0, 0), (2.0, 1)], 0.0)),
        ((tso.List([1, 2]), tso.List([x, y])), ([(1.0, 0), (2.0, 1)], 0.0)),
        (([(1, x, None), [2, y, 3, 4]],), ([(1.0, 0), (2.0, 1)], 0.0)),
        (([([1, 2], [x, y], 0)],), ([(1.0, 0), (2.0, 1)], 0.0)), (((), None), ([], 0.0)),
    ]:  # fmt: skip
        assert terms(tso.LinExpr(*arguments)) == expected
        if len(arguments) == 1:
            assert terms(tso.QuadExpr(*arguments)) == (*expected, [])
    for again in (x + y, x * y + x):
        again.__init__(again)
        assert terms(again)[:2] == ([], 0.0) and again.size() == 0
    e = x + y
    for nothing in (4, -1, 2**40, -(2**70)):
        e.remove(nothing)
    e.remove(True)  # an int
    assert terms(e) == ([(1.0, 0)], 0.0)
    assert math.isnan((float("nan") * x).getCoeff(0))


def test_lists_of_a_quadratic_expression_as_they_stand(stub, env, xyz):
    x, y, _ = xyz
    model = tso.Model("other", env)
    for lists in [([1, 2, 3] * 9, [x], [y]), ([1, 2], [x, y], []), ([2, 1], ["a", None], [x, y]), (["a"], [x], [y])]:
        q = tso.QuadExpr()
        q.addTerms(*lists)
        size = q.size()
        acts = [lambda: str(q), lambda: model.setObjective(q), lambda: q.getValue()]  # noqa: B023
        if size != len(lists[2]):
            acts += [lambda: q * 2.5, lambda: q + x, lambda: -q, lambda: q.remove(x)]  # noqa: B023
        for act in acts:
            assert refusal(act)[0] in (IndexError, TypeError, AttributeError)
        q.add(q, 1.0)
        assert q.copy().size() == 2 * size
    assert "TSOaddqpterms" not in stub.names()


def test_coefficients_of_any_kind(xyz):
    x, y, _ = xyz
    strange = [struct.unpack("d", struct.pack("Q", bits << 48 | 0x1234))[0] for bits in (0xFFFC, 0xFFFD, 0xFFFF)]
    numbers = [*strange, -0.0, 5e-324, 0, -1, 2**31 - 1, -(2**31), 2**31, -(2**31) - 1, 2**70, True]
    others = [Fraction(1, 3), numpy.float64(1.5), numpy.int64(2**20), numpy.float32(0.1), 2j]
    values = numbers + others
    held = [sys.getrefcount(v) for v in others]
    q = tso.QuadExpr()
    q.addTerms(values, [x] * len(values), [y] * len(values))

    def seen(e):
        return [(type(c), repr(c)) for c in map(e.getCoeff, range(e.size()))]

    assert all(q.getCoeff(len(numbers) + i) is v for i, v in enumerate(others))
    for mult in (3, 2**31, 0.5, True, numpy.float64(2), Fraction(1, 2)):
        e = q.copy()
        e *= mult
        assert seen(e) == [(type(c), repr(c)) for c in (v * mult for v in values)]
    assert seen(q) == [(type(v), repr(v)) for v in values]
    e = q = None
    assert [sys.getrefcount(v) for v in others] == held


def test_sums_take_linear_time(xyz):
    x, y, _ = xyz

    def seconds(n):
        items = [x, 2 * y, x * 1.0] * (n // 3)
        begin = time.process_time()
        assert sum(items).size() == len(items)
        return time.process_time() - begin

    small, large = (min(seconds(n) for _ in range(3)) for n in (100_000, 200_000))
    assert large < 3 * small + 0.05  # a quadratic sum takes four times as long, and minutes


def test_subclasses_decide_for_themselves(xyz):
    x, y, _ = xyz

    class Mine(tso.LinExpr):
        def __add__(self, other):
            return "added", other

        def __mul__(self, other):
            return "multiplied", other

        def __len__(self):
            raise RuntimeError("not asked")

    mine = Mine(x + y)
    assert mine + 1 == 1 + mine == ("added", 1)
    assert 2 * mine == ("multiplied", 2) and mine / 4 == ("multiplied", 0.25)
    assert terms(x + mine) == ([(1.0, 0), (1.0, 1), (1.0, 0)], 0.0)
    assert terms(tso.quicksum([mine, mine]))[0] == terms(mine)[0] * 2
    assert type(tso.LinExpr(mine)) is tso.LinExpr
    assert -mine == ("multiplied", -1)

    plain, e = type("Plain", (tso.LinExpr,), {})(3 * x), 2 * y + 1
    assert (terms(e + plain), terms(plain - e)) == (([(2.0, 1), (3.0, 0)], 1.0), ([(3.0, 0), (-2.0, 1)], -1.0))
    assert (terms(e - plain), terms(1 - plain)) == (([(2.0, 1), (-3.0, 0)], 1.0), ([(-3.0, 0)], 1.0))
    names = {"__sub__": "subtracted", "__eq__": None, "__iadd__": "added"}
    other = type("Other", (tso.LinExpr,), {k: lambda self, o, v=v: v and (v, o) for k, v in names.items()})(x)
    assert "('subtracted', 1)" in str(other <= 1) and (other != 1) is True
    assert operator.isub(other, 1) == ("added", -1)


def test_operators_as_methods(xyz):
    x, y, _ = xyz
    e, f = 2 * x + 1, 3 * y
    for made, expected in [
        (e.__radd__(f), ([(2.0, 0), (3.0, 1)], 1.0)), (e.__rsub__(f), ([(-2.0, 0), (3.0, 1)], -1.0)),
        (x.__radd__(y), ([(1.0, 0), (1.0, 1)], 0.0)), (e.__rmul__(2), ([(4.0, 0)], 2.0)),
        (tso.Operand.__add__(2, x), ([(1.0, 0)], 2.0)), (tso.Operand.__sub__(2, x), ([(-1.0, 0)], 2.0)),
        (tso.Operand.__mul__(2, f), ([(6.0, 1)], 0.0)), (tso.Operand.__add__([2], x).item(), ([(1.0, 0)], 2.0)),
    ]:  # fmt: skip
        assert terms(made) == expected
    assert tso.Operand() - 1 is tso.Operand() - object() is tso.Operand.__sub__("a", x) is None
    assert list(tso.List([1, x])) == [1, x] and terms(tso.quicksum(tso.List([x, 2]))) == ([(1.0, 0)], 2.0)


def test_nesting_ends_well_however_deep(xyz):
    for wrap in (
        lambda one: tso.List([one]), lambda one: tso.TempConstr.new(one, 0, 1),
        lambda one: (q := tso.QuadExpr(), q.addTerms([1], [one], xyz[:1]))[0],
    ):  # fmt: skip
        one = None
        for _ in range(500_000):
            one = wrap(one)


def acting(answer):
    """A method that runs the object's piece of code before it answers."""

    def method(self, *arguments):
        self.act()
        return answer(self, *arguments)

    return method


class Hostile:
    def __init__(self, act):
        self.act = act

    __hash__ = None
    __float__ = acting(lambda self: 2.0)
    __eq__ = acting(lambda self, other: False)
    __len__ = acting(lambda self: 2)
    __index__ = acting(lambda self: 0)
    __neg__ = __radd__ = __abs__ = acting(lambda self, *other: 1.5)
    __iter__ = acting(lambda self: iter([self, 1]))
    VarName = shape = property(acting(lambda self: "ab"))
    sameAs = acting(lambda self, other: True)
    __getitem__ = acting(lambda self, i: ([Hostile(self.act)] * 2)[i])
    __mul__ = __rmul__ = acting(lambda self, other: self)


@pytest.mark.parametrize("change", ["clear", "grow", "boom"])
def test_python_code_in_between(xyz, change):
    x, y, _ = xyz
    e, q, data = x + y, x * y + x, []

    def act():
        if change == "clear":
            e.clear(), q.clear(), data.clear()
        elif change == "grow":
            e.addTerms(1, x), q.addTerms(1, x, y)
            data.append(1) if len(data) < 50 else None
        else:
            raise KeyError("boom")

    hostile = Hostile(act)
    data += [hostile] * 3
    for use in (
        lambda: e.addTerms(hostile, x), lambda: e.addTerms(data, [x] * 60), lambda: e.addTerms([1, 2], hostile),
        lambda: tso.LinExpr(hostile), lambda: tso.quicksum(data), lambda: x == hostile,
        lambda: q.addTerms(hostile, x, y), lambda: q.addTerms([hostile] * 3, [x] * 3, [y] * 3),
        lambda: operator.imul(q, 2), lambda: q * 3, lambda: q.add(q, 2.0), lambda: q.remove(x), lambda: str(q),
        lambda: e.getVar(hostile), lambda: q.getVar1(hostile), lambda: e.addConstant(hostile), lambda: x - hostile,
        lambda: operator.isub(q, hostile), lambda: tso.quicksum(hostile), lambda: x / hostile, lambda: x**hostile,
        lambda: q.addTerms([hostile] * 2, [x, hostile], [hostile, y]), lambda: str(q), lambda: q.remove(x),
    ):  # fmt: skip
        with suppress(KeyError, TypeError, ValueError, IndexError, AttributeError, tso.TessolvError):
            use()
        assert len(terms(e)[0]) == e.size()
    q.clear()
    assert terms(q) == terms(q.copy()) == ([], 0.0, [])
    small = y + 1
    grows = type("Grows", (), {"__index__": lambda self: small.addTerms([2.0] * 30, [x] * 30) or 29})()
    assert small.getCoeff(grows) == 2.0 and small.getVar(grows) is x
