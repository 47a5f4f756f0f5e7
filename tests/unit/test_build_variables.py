"""Adding variables: the exact calls, keys and names, and what is refused before anything changes."""

import numpy
import pytest
import tessolvpy as tso
from expressions import refusal

INF = 1e20


@pytest.fixture
def built(stub, env):
    """A model with two variables and three rows."""
    m = tso.Model("m", env)
    x, y = m.addVar(), m.addVar()
    rows = [m.addConstr(x + y <= i) for i in range(3)]
    stub.clear()
    return m, rows


def state(m):
    lists = [m.getVars(), m.getConstrs(), m.getQConstrs(), m.getPsdConstrs(), m.getSOSs(), m.getGenConstrs()]
    return [id(one) for one in lists], [[(id(e), e.index) for e in one] for one in lists]


def test_one_variable(stub, built):
    m, (a, b, c) = built
    Column = tso.Column
    for arguments, keywords, expected in [
        ((), {}, (0, None, None, 0.0, 0.0, INF, "C", "")),
        ((1, 2.5, True, "Integer", "é"), {}, (0, None, None, 1.0, 1.0, 2.5, "I", "é")),
        ((numpy.int8(-1),), {"name": "x", "vtype": "b"}, (0, None, None, 0.0, -1.0, INF, "b", "x")),
        ((-INF, float("inf")), {}, (0, None, None, 0.0, -INF, float("inf"), "C", "")),
        ((), {"column": None}, (0, None, None, 0.0, 0.0, INF, "C", "")),
        ((), {"column": Column()}, (0, None, None, 0.0, 0.0, INF, "C", "")),
        ((), {"column": Column(2, b), "obj": 3}, (1, [1], [2.0], 3.0, 0.0, INF, "C", "")),
        ((), {"column": Column([1, 2, 4, 0], [c, a, c, b])}, (3, [0, 1, 2], [2.0, 0.0, 5.0], 0.0, 0.0, INF, "C", "")),
    ]:
        count = len(m.getVars())
        made = m.addVar(*arguments, **keywords)
        ((name, _, *call),) = stub.calls()
        assert (name, tuple(call)) == ("TSOaddvar", expected)
        assert type(made) is tso.Var
        assert m.getVars()[-1] is made
        assert made.index == count == len(m.getVars()) - 1


def test_columns(built):
    m, (a, b, c) = built
    column = tso.Column([1, 2.5], [a, b])
    column.addTerms(3, a)
    column.addTerms(numpy.array([4.0]), (c,))
    seen = [(column.getCoeff(i), column.getConstr(i)) for i in range(column.size())]
    assert seen == [(1, a), (2.5, b), (3, a), (4.0, c)]
    copy = column.copy()
    for nothing in (4, -1, 2**70):
        column.remove(nothing)
    column.remove(a)
    column.remove(0)
    assert [column.getConstr(i) for i in range(column.size())] == [c]
    column.clear()
    assert (column.size(), copy.size(), tso.Column().size()) == (0, 4, 0)
    for act, expected in [
        (lambda: tso.Column(None, a), (tso.TessolvError, "Argument `coeffs` cannot be None")),
        (lambda: tso.Column(1), (tso.TessolvError, "Argument `constrs` cannot be None")),
        (lambda: copy.addTerms([1], [m.getVars()[0]]), (tso.TessolvError, "Expect a list of constr")),
        (lambda: copy.addTerms(1, "a"), (tso.TessolvError, "Expect a constr")),
        (lambda: copy.addTerms([1], []), (IndexError, "list index out of range")),
        (lambda: copy.getCoeff(4), (IndexError, "list index out of range")),
        (lambda: copy.remove("a"), (TypeError, "Argument `item` should be an integer or Constr")),
    ]:
        assert refusal(act) == expected
        assert copy.size() == 4
    for act in (lambda: copy + 1, lambda: 2 * copy, lambda: m.getVars()[0] + copy):
        assert refusal(act)[0] is TypeError


def test_many_variables(stub, built):
    m, _ = built
    null = [None] * 5  # obj, lb, ub, vtype, names
    for indices, keywords, keys, arrays in [
        ((3,), {}, [0, 1, 2], null),
        ((1, 2), {"name": "x"}, [(0, 0), (0, 1)], [*null[:4], ["x[0,0]", "x[0,1]"]]),
        ((["a", "b"],), {"name": "x"}, ["a", "b"], [*null[:4], ["x['a']", "x['b']"]]),
        ((["ab"], [(1, "c d"), ()]), {"name": "é"}, [("a", "b", 1, "c d"), ("a", "b")],
         [*null[:4], ["é['a','b',1,'cd']", "é['a','b']"]]),
        (({"p": 1}, (i for i in (7, 8))), {"name": 5}, [("p", 7), ("p", 8)], [*null[:4], ["5['p',7]", "5['p',8]"]]),
        ((["a'b", "\\", "é", -1.5, None],), {"name": ""}, None, null),
        ((True,), {"name": None, "lb": None, "ub": None, "vtype": None}, [0], null),
        ((0,), {"name": "x"}, [], null),
        ((-5, 2), {}, [], null),
        ((2,), {"lb": 0, "ub": 1e30, "obj": numpy.zeros(2), "vtype": b"c"}, [0, 1], null),
        ((2,), {"lb": [0, 0], "ub": [1, INF], "obj": -1, "vtype": "B"}, [0, 1],
         [[-1.0, -1.0], [0.0, 0.0], [1.0, INF], "BB", None]),
        ((1, 2), {"lb": numpy.array([[1], [2]], "int8"), "ub": numpy.float64(3), "obj": [[4, 5]]}, [(0, 0), (0, 1)],
         [[4.0, 5.0], [1.0, 2.0], [3.0, 3.0], None, None]),
        ((2,), {"vtype": ["Int", b"b"], "name": ["p", 7]}, [0, 1], None),
        (([5, 5],), {"vtype": numpy.array(["C", "I"]), "name": ("p", "q")}, [5, 5], [*null[:3], "CI", ["p", "q"]]),
    ]:  # fmt: skip
        before = len(m.getVars())
        made = m.addVars(*indices, **keywords)
        ((name, _, count, entries, *rest),) = stub.calls()
        assert (name, entries, rest[:3]) == ("TSOaddvars", 0, [None] * 3)
        assert count == len(m.getVars()) - before
        assert type(made) is tso.tupledict
        if keys is not None:
            assert count == len(keys)
            assert list(made) == list(dict.fromkeys(keys))
        if arrays is not None:
            assert rest[3:] == arrays
        if made:
            assert list(made.values())[-1] is m.getVars()[-1]
        assert [v.index for v in m.getVars()] == list(range(before + count))


class Sequence(list):
    """Adds variables while it is walked, then raises."""

    def __init__(self, m, fail):
        super().__init__()
        self.m, self.fail = m, fail

    def __iter__(self):
        yield 1
        self.m.addVar()
        if self.fail:
            raise KeyError("halfway")
        yield 2


class Unhashable:
    __hash__ = None


def test_refused_before_anything_changes(stub, built):
    m, rows = built
    few = "{} doesn't have enough elements".format
    bad_type = "vtype contains bad type {} at {}".format
    x, y = m.getVars()
    for act, expected in [
        (lambda: m.addVars(), (ValueError, "empty indices")),
        (lambda: m.addVars(lb=1), (ValueError, "empty indices")),
        *[(lambda n=n, v=v: m.addVars(2, **{n: v}), (ValueError, few(n)))
          for n in ("lb", "ub", "obj", "vtype") for v in (["1"], [1, 2, 3], [])],
        (lambda: m.addVars(2, name=["a"]), (ValueError, few("names"))),
        (lambda: m.addVars(2, vtype=[1, 2]), (TypeError, bad_type("int64", 0))),
        (lambda: m.addVars(2, vtype=numpy.array(["B", 5.5], object)), (TypeError, bad_type("float", 1))),
        (lambda: m.addVars(2, vtype=1), (TypeError, "vtype should be str or byte")),
        (lambda: m.addVars(2, lb="a"), (ValueError, "could not convert string to float: 'a'")),
        (lambda: m.addVars(2, ub=object()), (TypeError, None)),
        (lambda: m.addVars(2, ub=x), (TypeError, None)),
        (lambda: m.addVars(2, lb=[1, "a"]), (ValueError, None)),
        (lambda: m.addVars(2, name="\ud800"), (UnicodeEncodeError, None)),
        (lambda: m.addVars(1.5), (TypeError, None)),
        (lambda: m.addVars(None), (TypeError, None)),
        (lambda: m.addVars([Unhashable()]), (TypeError, "unhashable type: 'Unhashable'")),
        (lambda: m.addVars([[[1]]]), (TypeError, "unhashable type: 'list'")),
        (lambda: m.addVars(2, x=1), (TypeError, None)),
        (lambda: m.addVars(10**6, 10**6, 10**6), (MemoryError, None)),
        (lambda: m.addVar(lb="a"), (TypeError, "must be real number, not str")),
        (lambda: m.addVar(ub=None), (TypeError, None)),
        (lambda: m.addVar(vtype=5), (TypeError, "Argument 'vtype' has incorrect type (expected str, got int)")),
        (lambda: m.addVar(name=b"x"), (TypeError, "Argument 'name' has incorrect type (expected str, got bytes)")),
        (lambda: m.addVar(name=None), (TypeError, None)),
        (lambda: m.addVar(column=rows),
         (TypeError, "Argument 'column' has incorrect type (expected tessolvpy.Column, got list)")),
        (lambda: m.addVar(column=tso.Column(["a"], rows)), (TypeError, "must be real number, not str")),
        (lambda: m.addVar(0, 1, 2, "C", "x", None, 7), (TypeError, None)),
    ]:  # fmt: skip
        before = state(m)
        error, text = refusal(act)
        assert error is expected[0], act
        assert expected[1] in (None, text)
        assert state(m) == before
        assert stub.calls() == []
    assert refusal(lambda: m.addVars(Sequence(m, True)))[0] is KeyError
    assert len(m.getVars()) == 3
    made = m.addVars(Sequence(m, False))
    assert [v.index for v in made.values()] == [4, 5]
    with pytest.raises(TypeError):
        tso.Model(empty=True).addVars(2)
