"""Operators: what they refuse and in which words, what they give, what Python code in between may do."""

import operator
import time

import numpy
import pytest
import scipy.sparse
import tessolvpy as tso
from expressions import refusal, terms

# What no operator takes. Things like arrays among it are refused by the operator, or after a recursion.
OTHERS = [None, {}, {1}, object(), "a", b"a", (x for x in ()), print, type, tso.TempConstr]


@pytest.mark.parametrize("other", OTHERS, ids=lambda o: type(o).__name__)
def test_other_kinds(xyz, other):
    x, y, _ = xyz
    constr = x <= 1
    for operand in (x, 2 * x + y, x * y):
        kind = type(operand).__name__
        for wrong in (other, constr, tso.Column()):
            name = type(wrong).__name__
            for symbol, act in {"+": operator.add, "-": operator.sub, "*": operator.mul, "@": operator.matmul}.items():
                error, text = refusal(act, operand, wrong)
                assert (error, text) == (TypeError, f"unsupported operand type(s) for {symbol}: `{kind}` and `{name}`")
                assert refusal(act, wrong, operand)[0] in (TypeError, RecursionError)
            for act in (operator.truediv, operator.floordiv, operator.mod, operator.lt, operator.gt):
                assert refusal(act, operand, wrong)[0] is TypeError
                assert refusal(act, wrong, operand)[0] is TypeError
            assert refusal(operator.le, operand, wrong) == refusal(operator.sub, operand, wrong)
            assert refusal(operator.ge, operand, wrong) == refusal(operator.sub, operand, wrong)
            assert refusal(pow, operand, wrong)[0] is tso.TessolvError
            if not isinstance(wrong, (str, bytes)):
                assert refusal(operator.eq, operand, wrong)[0] in (TypeError, ValueError)
        for name, act in {"+=": operator.iadd, "-=": operator.isub, "*=": operator.imul}.items():
            if operand is not x:
                before = terms(operand)
                error, text = refusal(act, operand, other)
                assert error is TypeError
                if name != "-=":
                    assert text == f"unsupport operation +=: `{kind}` and `{type(other).__name__}`"
                assert terms(operand) == before
    assert refusal(tso.quicksum, [x, other]) == (TypeError, f"bad type for quicksum: {type(other).__name__}")


def test_words_of_refusals(xyz):
    x, y, _ = xyz
    q = x * y
    unsupported = "unsupported operand type(s) for {}: `{}` and `{}`"
    for act, expected in [
        (lambda: q * x, (TypeError, unsupported.format("*", "QuadExpr", "Var"))),
        (lambda: x * q, (TypeError, unsupported.format("*", "Var", "QuadExpr"))),
        (lambda: (x + y) * q, (TypeError, unsupported.format("*", "LinExpr", "QuadExpr"))),
        (lambda: q * q, (TypeError, unsupported.format("*", "QuadExpr", "QuadExpr"))),
        (lambda: x - 1j, (TypeError, unsupported.format("-", "Var", "complex"))),
        (lambda: x - 10**400, (TypeError, unsupported.format("-", "Var", "int"))),
        (lambda: x + 1j, (TypeError, "must be real number, not complex")),
        (lambda: x * 10**400, (OverflowError, "int too large to convert to float")),
        (lambda: x + scipy.sparse.eye(3), (TypeError, unsupported.format("+", "Var", "dia_matrix"))),
        (lambda: x / 0, (ZeroDivisionError, "float division")),
        (lambda: q / -0.0, (ZeroDivisionError, "float division")),
        (lambda: x / y, (TypeError, "must be real number, not tessolvpy.Var")),
        (lambda: x**3, (tso.TessolvError, "`Var` can only be raised to a power of two")),
        (lambda: q**1, (tso.TessolvError, "`QuadExpr` can only be raised to a power of two")),
        (lambda: q**2, (TypeError, "unsupported operand type(s) for ** or pow(): `QuadExpr` and 'int'")),
        (lambda: -tso.Operand(), (TypeError, "bad operand type for unary -: `Operand`")),
        (lambda: tso.Operand() + 1, (TypeError, unsupported.format("+", "Operand", "int"))),
        (lambda: 1 @ x, (TypeError, unsupported.format("@", "int", "Var"))),
        (lambda: hash(x + y), (TypeError, "unsupported operand type(s) for hash(): `LinExpr`")),
        (lambda: tso.QuadExpr() + 1, (TypeError, "Cannot convert tessolvpy.LinExpr to tessolvpy.QuadExpr")),
        (lambda: y + tso.QuadExpr(x), (TypeError, "Cannot convert tessolvpy.LinExpr to tessolvpy.QuadExpr")),
        (lambda: x == [1, 2, 3], (ValueError, "`=` expect an array with 2 elements: [ LHS, RHS ]")),
        (lambda: x == ["a", 1], (TypeError, "range constraint requires numeric values")),
        (lambda: (x == 1) >> 3, (TypeError, "range constraint requires numeric values")),
    ]:
        assert refusal(act) == expected


def test_comparisons(xyz):
    x, y, z = xyz
    shape = "TempConstr:\nlhs:\n----\n{}\nexpr:\n-----\n{}\nrhs:\n----\n{}"
    for made, parts in [
        (x <= 5, (None, "<LinExpr: v - 5.0>", 0)),
        (5 <= x, (0, "<LinExpr: v - 5.0>", None)),
        (x + y >= 2 * z, (0, "<LinExpr: v + v - 2.0 * v>", None)),
        (x == 1, (0, "<LinExpr: v - 1.0>", 0)),
        (x == y, (0, "<LinExpr: - v + v>", 0)),
        (x == [0, 100], (0, "<Var v>", 100)),
        (x + y == (True, 2.5), (True, "<LinExpr: v + v>", 2.5)),
        (x == numpy.array([1, 2]), (1, "<Var v>", 2)),
        (x * y >= x, (0, "<QuadExpr: v * v + - v>", None)),
        (tso.TempConstr.new(lhs=x, lb=None, rhs=2), (None, "<LinExpr: v - 2.0>", 0)),
        (tso.TempConstr.new(x, 1, 2), (1, "<Var v>", 2)),
    ]:
        assert type(made) is tso.TempConstr
        assert str(made) == repr(made) == shape.format(*parts)
    pair = (x == 1) >> (x + y <= 2)
    blocks = [
        "\n".join("  " + line for line in str(one).split("\n"))
        for one in (x == 1, x + y <= 2)
    ]  # fmt: skip
    assert str(pair) == "(\n{}\n) >> (\n{}\n)".format(*blocks)


def test_sums_take_linear_time_and_share_nothing(xyz):
    x, y, _ = xyz

    def seconds(n):
        items = [x, 2 * y, x * 1.0] * (n // 3)
        best = 9e9
        for _ in range(3):
            begin = time.process_time()
            made = sum(items)
            best = min(best, time.process_time() - begin)
        assert made.size() == len(items)
        return best

    small, large = seconds(100_000), seconds(200_000)
    assert large < 3 * small + 0.05  # a quadratic sum takes four times as long, and minutes
    partial = [tso.LinExpr()]
    for k in range(300):  # every partial sum stays what it was
        partial.append(partial[-1] + (k + 1) * x)
    branches = [one + y for one in partial]
    for k, (one, branch) in enumerate(zip(partial, branches)):
        assert terms(one)[0] == [(float(i + 1), 0) for i in range(k)]
        assert terms(branch)[0] == [*terms(one)[0], (1.0, 1)]


def test_loops_of_numpy_corrupt_no_elements(xyz):
    x, y, z = xyz
    made = [x + y + z + x + y, y - z - z - y - x, 3 * z + 1 + z + z + z + z]
    array = numpy.array(made, dtype=object)
    before = [terms(e) for e in made]
    total = [array.sum(), numpy.add.reduce(array), sum(made), tso.quicksum(made)]
    assert [terms(t) for t in total[1:]] == [terms(total[0])] * 3
    running = numpy.add.accumulate(array)
    doubled = array + array
    doubled += array
    assert [terms(e) for e in made] == [terms(e) for e in array] == before
    assert terms(running[-1]) == terms(total[0])
    assert terms(doubled[0])[0] == before[0][0] * 3


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
    assert mine + 1 == ("added", 1)
    assert 1 + mine == ("added", 1)
    assert 2 * mine == ("multiplied", 2)
    assert mine / 4 == ("multiplied", 0.25)
    assert terms(x + mine) == ([(1.0, 0), (1.0, 1), (1.0, 0)], 0.0)
    assert terms(tso.quicksum([mine, mine]))[0] == terms(mine)[0] * 2
    assert type(tso.LinExpr(mine)) is tso.LinExpr
    assert (mine == mine) is not False

    class Quad(tso.QuadExpr):
        pass

    assert type(Quad(x * y) + 1) is type(2 * Quad(x * y)) is tso.QuadExpr
    assert type(Quad(x * y).copy()) is tso.QuadExpr


class Hostile:
    """Asked for anything, it runs a piece of code first."""

    def __init__(self, act):
        self.act = act

    def __float__(self):
        self.act()
        return 2.0

    def __eq__(self, other):
        self.act()
        return False

    __hash__ = None

    def __len__(self):
        self.act()
        return 2

    def __getitem__(self, i):
        self.act()
        if i > 1:
            raise IndexError(i)
        return Hostile(self.act)

    def __mul__(self, other):
        self.act()
        return self

    __rmul__ = __mul__


def boom():
    raise KeyError("boom")


@pytest.mark.parametrize("change", ["clear", "grow", "boom"])
def test_python_code_in_between(xyz, change):
    x, y, _ = xyz
    e, q, data = x + y, x * y + x, []

    def clear():
        for one in (e, q, data):
            one.clear()

    def grow():
        e.addTerms(1, x)
        q.addTerms(1, x, y)
        data.append(1) if len(data) < 50 else None

    hostile = Hostile({"clear": clear, "grow": grow, "boom": boom}[change])
    data += [hostile] * 3
    for act in (
        lambda: e.addTerms(hostile, x),
        lambda: e.addTerms(data, [x] * 60),
        lambda: e.addTerms([1, 2], hostile),
        lambda: tso.LinExpr(hostile),
        lambda: tso.quicksum(data),
        lambda: x == hostile,
        lambda: q.addTerms(hostile, x, y),
        lambda: q.addTerms([hostile] * 3, [x] * 3, [y] * 3),
        lambda: operator.imul(q, 2),
        lambda: q * 3,
        lambda: q.add(q, 2.0),
        lambda: q.remove(x),
        lambda: str(q),
    ):
        try:
            act()
        except (KeyError, TypeError, ValueError, IndexError, AttributeError, tso.TessolvError):
            pass
        assert len(terms(e)[0]) == e.size()
    q.clear()
    assert terms(q) == terms(q.copy()) == ([], 0.0, [])
