"""tupledict and multidict: queries over keys, sums and products of values, columns out of a mapping."""

import collections

import pytest
import tessolvpy as tso
from expressions import raises
from tessolvpy import multidict, tupledict, tuplelist

MIXED = b"Cannot mix scalar and tuple values in a tuplelist"


def value(expression):
    """The number that a sum of numbers is."""
    return expression if isinstance(expression, float) else expression.getConstant()


def terms(expression):
    return [(expression.getCoeff(i), expression.getVar(i).index) for i in range(expression.size())]


def sample():
    return tupledict([((1, 2), 3), ((2, 2), 4), ((1, 3), 5)])


def test_construction():
    assert issubclass(tupledict, dict)
    assert tupledict() == {} and tupledict({"a": 1}, b=2) == {"a": 1, "b": 2}
    assert tupledict(zip("ab", [1, 2])).select("b") == [2]
    again = tupledict(a=1)
    assert again.select() == [1]
    again.__init__(b=2)
    assert again.select() == [1, 2]
    assert not hasattr(again, "keys_")
    with pytest.raises(TypeError):
        tupledict(1)


def test_queries():
    made = sample()
    assert made.select() == made.select("*") == made.select("*", "*") == made.select([2, 1]) == [3, 4, 5]
    assert made.select(9) == made.select(1, 2, 3) == tupledict().select() == tupledict().select(1) == []
    assert type(made.select(1)) is list
    assert value(made.sum()) == 12.0 and value(made.sum("*", 2)) == 7.0 and value(tupledict().sum()) == 0.0
    nan = float("nan")
    odd = tupledict({(nan, 1): 5, (1, 1): 6})
    assert odd.select(nan) == [5] and odd.select(nan, 1) == [] and odd.select([nan, 1], 1) == []
    assert tupledict({(1, "a"): 1, (1, ("x",)): 2}).select(1) == [1, 2]


def test_changes_that_differ_from_those_of_dict():
    made = tupledict(a=1)
    assert made.update([("b", 2)], c=3) is None and made == {"a": 1, "b": 2, "c": 3}
    assert made.setdefault("a", 5) is None and made.setdefault(key="d") is None and made["d"] is None
    assert made.select() == [1, 2, 3, None] and made.pop(key="d") is None and made.select() == [1, 2, 3]
    before = dict(made)
    raises(TypeError, "unhashable type: 'list'", made.setdefault, [])
    raises(KeyError, (9, 9), made.pop, (9, 9))
    raises(KeyError, (9, 9), made.__delitem__, (9, 9))
    for error, act in [
        (TypeError, lambda: made.update(1, 2)),
        (TypeError, lambda: made.pop("a", None)),
        (KeyError, tupledict().popitem),
    ]:
        with pytest.raises(error):
            act()
    assert made == before
    for plain in (made.copy(), made | {}):
        assert type(plain) is dict and plain == made


def test_changes_past_the_class_are_not_seen():
    made = sample()
    made.select(1)
    dict.__setitem__(made, (1, 9), 9)
    dict.__setitem__(made, (1, 2), 33)
    assert made.select(1) == [33, 5] and made.select() == [33, 4, 5]
    dict.__delitem__(made, (1, 2))
    raises(KeyError, (1, 2), made.select, 1)
    assert made.select(2) == [4]
    made.clean()
    assert made.select(1) == [5, 9]


def test_keys_must_be_uniform_for_queries_only():
    made = tupledict({(1, 2): 1, 3: 2})
    for act in (made.select, made.sum, lambda: made.select(1), lambda: made.prod({}, 1)):
        raises(ValueError, MIXED, act)
    assert value(made.prod({3: 5})) == 10.0
    del made[3]
    assert made.select(1) == [1]


def test_products():
    made = sample()
    assert value(made.prod({(1, 2): 2, (7, 7): 100})) == 6.0
    assert value(made.prod({(1, 2): 2, (1, 3): 1.5, (2, 2): 100}, 1)) == 13.5
    assert value(made.prod({(1, 3): 1.5}, "*", 2)) == value(made.prod({})) == value(made.prod({}, "*")) == 0.0
    assert value(made.prod(coeffs=made)) == 50.0
    assert value(tupledict(a=None, b=2).prod({"a": 5, "b": 3})) == 6.0
    assert value(tupledict(a=2).prod({"a": None}, "a")) == 0.0
    counted = collections.defaultdict(lambda: 9, {(1, 2): 2})  # get() makes nothing
    assert value(made.prod(counted, 1)) == 6.0 and len(counted) == 1

    class Doubling(dict):
        def get(self, key):
            return 2

        def items(self):
            return [((1, 2), 10)]

    assert value(made.prod(Doubling(), "*", 2)) == 14.0
    assert value(made.prod(Doubling())) == 30.0
    for wrong in ([1, 2], None, 5, [((1, 2), 3)]):
        raises(TypeError, "expect a dict for argument `coeffs`", made.prod, wrong)
        raises(TypeError, "expect a dict for argument `coeffs`", made.prod, wrong, 1)
    for act in (lambda: made.prod(), lambda: made.prod({}, 1, coeffs={}), lambda: made.prod(c={})):
        with pytest.raises(TypeError):
            act()
    raises(TypeError, "can't multiply sequence by non-int of type 'float'", tupledict(a=1.5).prod, {"a": "x"})
    raises(TypeError, "bad type for quicksum: str", tupledict(a=2).prod, {"a": "x"})
    # A product that fails does so before one that cannot be added.
    text = "can't multiply sequence by non-int of type 'float'"
    raises(TypeError, text, tupledict(a=2, b=1.5).prod, {"a": "x", "b": "x"})


def test_sums_and_products_of_variables(model):
    x, y, z = model.getVars()
    made = tupledict({(1, 1): x, (1, 2): y, (2, 1): z})
    assert terms(made.sum()) == [(1.0, 0), (1.0, 1), (1.0, 2)]
    assert terms(made.sum("*", 1)) == [(1.0, 0), (1.0, 2)]
    assert tupledict().sum().size() == 0 and made.sum(9).size() == 0
    coeffs = {(2, 1): 3, (1, 1): 0, (1, 2): 2.5}
    assert terms(made.prod(coeffs)) == [(3.0, 2), (2.5, 1)]
    assert terms(made.prod(coeffs, "*")) == [(2.5, 1), (3.0, 2)]
    # Other numbers, expressions and quadratic terms go the way of Python's operators, in the same order.
    made[1, 2] = y + z
    mixed = {(1, 1): True, (1, 2): 2, (2, 1): 4.0}
    assert terms(made.prod(mixed)) == terms(tso.quicksum([True * x, 2 * (y + z), 4.0 * z]))
    made[1, 1] = 7
    assert made.prod({(1, 1): x, (1, 2): 1.0}).size() == 3
    made[2, 1] = x * y
    assert isinstance(made.sum(), tso.QuadExpr)
    raises(OverflowError, "int too large to convert to float", tupledict(a=x).prod, {"a": 10**400})
    raises(TypeError, "bad type for quicksum: str", tupledict(a=x, b="b").sum)


# ---- multidict ----


def test_multidict():
    made = multidict({"a": [1, 2], "b": (3, 4)})
    assert made == [["a", "b"], {"a": 1, "b": 3}, {"a": 2, "b": 4}]
    assert type(made) is list and [type(one) for one in made] == [tuplelist, tupledict, tupledict]
    assert multidict({"a": [1, 2, 3], "b": [4]}) == [["a", "b"], {"a": 1, "b": 4}]
    assert multidict(d={"a": [1, 2], "b": 3}) == [["a", "b"], {"a": [1, 2], "b": 3}]
    assert multidict({"a": "xy"}) == [["a"], {"a": "xy"}]
    assert multidict({"a": []}) == [["a"], {}]
    assert multidict({"a": [1], "b": []}) == [["a", "b"], {}]
    keys, cost, cap = multidict({(1, 2): [3, 4], (1, 3): [5, 6]})
    assert keys.select("*", 3) == [(1, 3)] and cost.select(1) == [3, 5] and value(cap.sum()) == 10.0


def test_multidict_refuses():
    raises(ValueError, MIXED, multidict, {"a": [1], (1, 2): [2]})
    raises(AttributeError, "'NoneType' object has no attribute 'items'", multidict, None)
    for wrong in ([], tupledict(a=[1]), collections.OrderedDict(a=[1]), 5):
        text = f"Argument 'd' has incorrect type (expected dict, got {type(wrong).__name__})"
        with pytest.raises(TypeError) as caught:
            multidict(wrong)
        assert str(caught.value).replace("tessolvpy.", "").replace("collections.", "") == text

    class Endless(list):
        def __len__(self):
            return 1_900_000_000

    for wrong in ({}, {"a": Endless()}):
        with pytest.raises(MemoryError):
            multidict(wrong)
