"""What containers refuse and in which words, where they differ from list and dict, and what a built index is.

What queries select is compared with a plain reading of the rules on random rows in test_queries.py.
"""

import collections
import operator

import tessolvpy as tso
from expressions import refusal, terms
from tessolvpy import multidict, tupledict, tuplelist

# Texts of bytes.
MIXED = "b'Cannot mix scalar and tuple values in a tuplelist'"
LENGTHS = "b'All tuples in a tuplelist must be the same length'"
NO_LEN = "object of type 'NoneType' has no len()"
NO_INT = "'str' object cannot be interpreted as an integer"
NO_PRODUCT = "can't multiply sequence by non-int of type 'float'"
OUTSIDE = "list index out of range"


def rows(wildcard="*"):
    """With an index."""
    made = tuplelist([(1, 2), (2, 2), (1, 3)], wildcard)
    made.select(1)
    return made


def keyed():
    return tupledict([((1, 2), 3), ((2, 2), 4), ((1, 3), 5)])


def value(expression):
    """The number that a sum of numbers is."""
    return expression if isinstance(expression, float) else expression.getConstant()


def indexed(index):
    made = rows()
    made.tuple_index_ = index
    return made


class Endless(list):
    def __len__(self):
        return 1_900_000_000


class DictOfItsOwn(dict):
    pass


def refusals():
    """Of a list and a dict with an index: (call, error, text), and whether the list loses its index. No text is given
    where it is Python's own."""
    scattered = [{5: 3, 6: [2**40], 7: [9]}, {2: [0]}]
    incorrect = "Argument 'd' has incorrect type (expected dict, got {})".format
    return [
        (lambda r, d: tuplelist(i for i in range(3)), TypeError, "object of type 'generator' has no len()"),
        (lambda r, d: tuplelist({1}), TypeError, "'set' object is not subscriptable"),
        (lambda r, d: tuplelist([1], 5), TypeError, "Expected unicode, got int"),
        (lambda r, d: setattr(r, "wildcard_", []), TypeError, "Expected unicode, got list"),
        (lambda r, d: r.__init__([1, 2]), ValueError, MIXED),
        (lambda r, d: r.select([1, 9]), TypeError, NO_LEN),
        (lambda r, d: operator.contains(r, [1, 2]), TypeError, "Expected tuple, got list"),
        (lambda r, d: operator.contains(r, None), TypeError, NO_LEN),
        (lambda r, d: setattr(r, "tuple_index_", {}), TypeError, "Expected list, got dict"),
        (lambda r, d: indexed([{5: [0]}]).select(5, 2), IndexError, OUTSIDE),
        (lambda r, d: indexed(scattered).select(5), TypeError, "Expected list, got int"),
        (lambda r, d: indexed(scattered).select(6, 2), OverflowError, "value too large to convert to int"),
        (lambda r, d: indexed(scattered).select(7), IndexError, OUTSIDE),
        (lambda r, d: r.__setitem__(9, (1, 9)), IndexError, OUTSIDE),
        (lambda r, d: r.__delitem__(9), IndexError, "list assignment index out of range"),
        (lambda r, d: r.insert(2**31, (1, 9)), OverflowError, "value too large to convert to int"),
        (lambda r, d: r + (1, 2), TypeError, 'can only concatenate list (not "tuple") to list'),
        (lambda r, d: r.pop(9), IndexError, "pop index out of range", True),
        (lambda r, d: r.pop("a"), TypeError, NO_INT, True),
        (lambda r, d: r.remove((9, 9)), ValueError, "list.remove(x): x not in list", True),
        (lambda r, d: operator.iadd(r, 5), TypeError, "'int' object is not iterable", True),
        (lambda r, d: operator.imul(r, "a"), TypeError, NO_INT, True),
        (lambda r, d: d.setdefault([]), TypeError, "unhashable type: 'list'"),
        (lambda r, d: d.pop((9, 9)), KeyError, "(9, 9)"),
        (lambda r, d: d.__delitem__((9, 9)), KeyError, "(9, 9)"),
        *[(lambda r, d, w=w: d.prod(w), TypeError, "expect a dict for argument `coeffs`") for w in ([1, 2], None)],
        (lambda r, d: d.prod([((1, 2), 3)], 1), TypeError, "expect a dict for argument `coeffs`"),
        (lambda r, d: tupledict(a=1.5).prod({"a": "x"}), TypeError, NO_PRODUCT),
        (lambda r, d: tupledict(a=2).prod({"a": "x"}), TypeError, "bad type for quicksum: str"),
        # A product that fails does so before one that cannot be added.
        (lambda r, d: tupledict(a=2, b=1.5).prod({"a": "x", "b": "x"}), TypeError, NO_PRODUCT),
        *[(lambda r, d, act=act: act(tupledict({(1, 2): 1, 3: 2})), ValueError, MIXED)
          for act in (tupledict.select, tupledict.sum, lambda d: d.select(1), lambda d: d.prod({}, 1))],
        (lambda r, d: multidict({"a": [1], (1, 2): [2]}), ValueError, MIXED),
        (lambda r, d: multidict(None), AttributeError, "'NoneType' object has no attribute 'items'"),
        (lambda r, d: multidict([]), TypeError, incorrect("list")),
        (lambda r, d: multidict(tupledict(a=[1])), TypeError, incorrect("tessolvpy.tupledict")),
        *[(act, TypeError, None) for act in (
            lambda r, d: r.select(x=1), lambda r, d: d.select(x=1), lambda r, d: d.sum(x=1), lambda r, d: d.prod(),
            lambda r, d: d.prod({}, 1, coeffs={}), lambda r, d: d.update(1, 2), lambda r, d: d.pop((1, 2), None),
            lambda r, d: tupledict(1), lambda r, d: multidict(DictOfItsOwn(a=[1])), lambda r, d: [(1, 2)] + r,
            lambda r, d: 2 * r, lambda r, d: r * 1.5)],
        (lambda r, d: tupledict().popitem(), KeyError, None),
        (lambda r, d: setattr(r, "name", "mine"), AttributeError, None),
        *[(lambda r, d, w=w: multidict(w), MemoryError, None) for w in ({}, {"a": Endless()})],
    ]  # fmt: skip


def test_refusals():
    for act, error, text, *loses in refusals():
        made, mapped = rows(), keyed()
        index = made.tuple_index_
        found, words = refusal(act, made, mapped)
        assert (found, words) == (error, text or words)
        assert made == rows() and mapped == keyed() and made.tuple_index_ is (None if loses else index)


def test_mixed_rows_are_refused():
    for there, wrong, text in [
        ([1], (1,), MIXED), ([1], [1], MIXED), ([(1,)], 1, MIXED), ([(1, 2)], "ab", MIXED),
        ([(1, 2)], (1,), LENGTHS), ([(1, 2)], [1, 2, 3], LENGTHS),
    ]:  # fmt: skip
        made = tuplelist(there)
        assert ((9,) in made) is False
        index = made.tuple_index_
        for act, *arguments in [
            (tuplelist, [*there, wrong]), (made.append, wrong), (made.insert, 0, wrong), (made.__setitem__, 0, wrong),
            (operator.add, made, [wrong]),
        ]:  # fmt: skip
            assert refusal(act, *arguments) == (ValueError, text)
            assert made == there and made.tuple_index_ is index
        made += [wrong]  # no check here
        assert made == [*there, wrong]
        for act, *arguments in [(made.copy,), (operator.mul, made, 1), (made.select,)]:
            assert refusal(act, *arguments) == (ValueError, text)


def test_the_index():
    made = tuplelist([(1, 2, "a"), (2, 2, "b"), (1, 3, "b")])
    assert made.select() == made and made.tuple_index_ is None
    made.select("*")
    assert made.tuple_index_ == [{1: [0, 2], 2: [1]}, {2: [0, 1], 3: [2]}, {"a": [0], "b": [1, 2]}]
    assert [list(one) for one in made.tuple_index_] == [[1, 2], [2, 3], ["a", "b"]]
    made = rows()
    index = made.tuple_index_
    index[0][1].remove(0)
    index[0][7] = [-1, 1]
    assert made.select(1) == [(1, 3)] and made.select(7) == [(1, 3), (2, 2)]
    assert made.select([1, 7]) == [(1, 3), (2, 2), (1, 3)]  # merged as if ascending
    made.__init__([(7, 7)])  # the rows change, the index stays
    assert made == [(7, 7)] and made.tuple_index_ is index
    made.tuple_index_ = None
    assert made.select(7) == [(7, 7)]
    # What was built of an index when its building failed.
    made = tuplelist([(1, 5), (1, []), (2, 5)])
    assert refusal(made.select, 1) == (TypeError, "unhashable type: 'list'")
    assert made.tuple_index_ == [{1: [0, 1]}, {5: [0]}]
    made = tuplelist([(1, 2), (1, 3)])
    made += [(1,), 7]
    assert refusal(made.select, 3) == (IndexError, "tuple index out of range")
    assert made.tuple_index_ == [{1: [0, 1, 2]}, {2: [0], 3: [1]}]


def test_lists_where_they_differ():
    for empty in (tuplelist(), tuplelist(None), tuplelist(li=()), tuplelist({})):
        assert empty == [] and empty.tuple_index_ is None and empty.wildcard_ == "*"
    assert tuplelist("abc") == ["a", "b", "c"] and tuplelist(range(3)) == [0, 1, 2]
    made = tuplelist([("*", 1), ("?", 2)], wildcard="?")
    assert made.select("*") == [("*", 1)] and made.select("?") == made
    made.wildcard_ = None
    assert made.select(None, 2) == made.select("?") == [("?", 2)]
    del made.wildcard_
    assert made.wildcard_ is None
    made = tuplelist([(1, 2)])
    for there in ((1,), (1, 2), ("*", 2), ()):  # membership is a query
        assert there in made
    assert (2,) not in made and (1, 2, 3) not in made and () not in tuplelist() and None not in tuplelist()
    made = rows("?")
    for result, expected in [
        (made + [(5, 5)], [*made, (5, 5)]), (made * 2, [*made, *made]), (made.copy(), list(made)),
        (made.select("?"), list(made)), (made.select(9), []),
    ]:  # fmt: skip
        assert type(result) is tuplelist and result == expected
        assert result.tuple_index_ is None and result.wildcard_ == "*"
    assert made.tuple_index_ is not None

    class Routes(tuplelist):
        pass

    routes = Routes([(1, 2), (1, 3)], "?")
    assert type(routes.select(1)) is type(tuplelist([(0, 0)]) + routes) is tuplelist


def test_dicts_where_they_differ():
    made = tupledict(a=1)
    assert made.select() == [1] and not hasattr(made, "keys_")
    assert made.update([("b", 2)], c=3) is None and made == {"a": 1, "b": 2, "c": 3}
    assert made.setdefault("a", 5) is None and made.setdefault(key="d") is None and made["d"] is None
    assert made.select() == [1, 2, 3, None] and made.pop(key="d") is None and made.select() == [1, 2, 3]
    for plain in (made.copy(), made | {}):
        assert type(plain) is dict and plain == made
    made = keyed()
    made.select(1)
    dict.__setitem__(made, (1, 9), 9)  # changes past the class are not seen
    dict.__setitem__(made, (1, 2), 33)
    assert made.select(1) == [33, 5] and made.select() == [33, 4, 5]
    dict.__delitem__(made, (1, 2))
    assert refusal(made.select, 1) == (KeyError, "(1, 2)")
    made.clean()
    assert made.select(1) == [5, 9]
    nan = float("nan")
    odd = tupledict({(nan, 1): 5, (1, 1): 6})
    assert odd.select(nan) == [5] and odd.select(nan, 1) == [] and odd.select([nan, 1], 1) == []


def test_sums_and_products(model):
    class Doubling(dict):
        def get(self, key):
            return 2

        def items(self):
            return [((1, 2), 10)]

    own = {"__getitem__": lambda d, key: 100, "get": lambda d, key: 10, "select": lambda d, *query: [7, *query]}
    Own, made = type("Own", (tupledict,), own), keyed()
    counted = collections.defaultdict(lambda: 9, {(1, 2): 2})  # get() makes nothing
    for found, expected in [
        (made.sum(), 12), (made.sum("*", 2), 7), (tupledict().sum(), 0), (made.prod({(1, 2): 2, (7, 7): 100}), 6),
        (made.prod({(1, 2): 2, (1, 3): 1.5, (2, 2): 100}, 1), 13.5), (made.prod({(1, 3): 1.5}, "*", 2), 0),
        (made.prod({}), 0), (made.prod(coeffs=made), 50), (tupledict(a=None, b=2).prod({"a": 5, "b": 3}), 6),
        (tupledict(a=2).prod({"a": None}, "a"), 0), (made.prod(counted, 1), 6), (made.prod(Doubling(), "*", 2), 14),
        (made.prod(Doubling()), 30), (Own(made).sum(1), 8), (Own(made).prod({1: 2}), 20),
        (Own(made).prod({(2, 2): 3}, "*"), 300),
    ]:  # fmt: skip
        assert value(found) == expected
    assert len(counted) == 1
    x, y, z = model.getVars()
    made = tupledict({(1, 1): x, (1, 2): y, (2, 1): z})
    assert terms(made.sum("*", 1))[0] == [(1.0, 0), (1.0, 2)] and made.sum(9).size() == 0
    coeffs = {(2, 1): 3, (1, 1): 0, (1, 2): 2.5}
    assert terms(made.prod(coeffs))[0] == [(3.0, 2), (2.5, 1)]
    assert terms(made.prod(coeffs, "*"))[0] == [(2.5, 1), (3.0, 2)]
    # Other numbers, expressions and quadratic terms go the way of Python's operators, in the same order.
    made[1, 2] = y + z
    mixed = {(1, 1): True, (1, 2): 2, (2, 1): 4.0}
    assert terms(made.prod(mixed)) == terms(tso.quicksum([True * x, 2 * (y + z), 4.0 * z]))
    made[2, 1] = x * y
    assert isinstance(made.sum(), tso.QuadExpr)
    huge = tupledict(a=x).prod, {"a": 10**400}
    assert refusal(*huge) == (OverflowError, "int too large to convert to float")
    assert refusal(tupledict(a=x, b="b").sum) == (TypeError, "bad type for quicksum: str")


def test_multidict():
    made = multidict({"a": [1, 2], "b": (3, 4)})
    assert type(made) is list and [type(one) for one in made] == [tuplelist, tupledict, tupledict]
    for given, *expected in [
        ({"a": [1, 2], "b": (3, 4)}, {"a": 1, "b": 3}, {"a": 2, "b": 4}),
        ({"a": [1, 2, 3], "b": [4]}, {"a": 1, "b": 4}),
        ({"a": [1, 2], "b": 3}, {"a": [1, 2], "b": 3}),
        ({"a": "xy"}, {"a": "xy"}),
        ({"a": [1], "b": []}, {}),
    ]:
        assert multidict(d=given) == [list(given), *expected]
    keys, cost, cap = multidict({(1, 2): [3, 4], (1, 3): [5, 6]})
    assert keys.select("*", 3) == [(1, 3)] and cost.select(1) == [3, 5] and value(cap.sum()) == 10.0
