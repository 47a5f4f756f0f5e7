"""tuplelist: rows and their checks, patterns, and what each change of the list does to a built index."""

import copy
import operator
import pickle

import numpy
import pytest
import tessolvpy as tso
from expressions import raises
from tessolvpy import tuplelist

MIXED = b"Cannot mix scalar and tuple values in a tuplelist"
LENGTHS = b"All tuples in a tuplelist must be the same length"
NO_LEN = "object of type 'NoneType' has no len()"


def rows():
    return tuplelist([(1, 2, "a"), (2, 2, "b"), (1, 3, "b")])


def built(wildcard="*"):
    made = tuplelist([(1, 2), (2, 2), (1, 3)], wildcard)
    made.select(1)
    return made


# ---- Rows ----


def test_construction():
    for empty in (tuplelist(), tuplelist([]), tuplelist(None), tuplelist(li=()), tuplelist({})):
        assert empty == [] and empty.tuple_index_ is None and empty.wildcard_ == "*"
    assert issubclass(tuplelist, list)
    assert tuplelist("abc") == ["a", "b", "c"]
    assert tuplelist(range(3)) == [0, 1, 2]
    assert tuplelist(numpy.arange(3)).select(1) == [1]
    assert tuplelist(rows()) == rows()
    assert tuplelist([1], wildcard=None).wildcard_ is None
    raises(TypeError, "object of type 'generator' has no len()", tuplelist, (i for i in range(3)))
    raises(TypeError, "'set' object is not subscriptable", tuplelist, {1})
    raises(TypeError, "Expected unicode, got int", tuplelist, [1], 5)
    raises(TypeError, "Expected unicode, got bytes", tuplelist, [1], b"*")


def test_a_second_construction_checks_against_the_rows_that_are_there():
    made = rows()
    raises(ValueError, MIXED, made.__init__, [1, 2], "?")
    assert made == rows() and made.wildcard_ == "?"  # stored before the rows are looked at
    made.select(1)
    index = made.tuple_index_
    made.__init__([(7, 7, 7)])
    assert made == [(7, 7, 7)] and made.tuple_index_ is index


@pytest.mark.parametrize(
    ("there", "wrong", "text"),
    [
        ([1], (1,), MIXED),
        ([1], [1], MIXED),
        ([(1,)], 1, MIXED),
        (["ab"], ("a", "b"), MIXED),
        ([(1, 2)], "ab", MIXED),
        ([(1, 2)], (1,), LENGTHS),
        ([(1, 2)], [1, 2, 3], LENGTHS),
    ],
)
def test_mixed_rows_are_refused(there, wrong, text):
    made = tuplelist(there)
    made.select(there[0] if not isinstance(there[0], tuple) else there[0][0])
    index = made.tuple_index_
    raises(ValueError, text, tuplelist, [*there, wrong])
    raises(ValueError, text, made.append, wrong)
    raises(ValueError, text, made.insert, 0, wrong)
    raises(ValueError, text, made.__setitem__, 0, wrong)
    raises(ValueError, text, operator.add, made, [wrong])
    assert made == there and made.tuple_index_ is index
    made += [wrong]  # no check here
    assert made == [*there, wrong]
    raises(ValueError, text, made.copy)
    raises(ValueError, text, operator.mul, made, 1)
    raises(ValueError, text, made.select)


# ---- Patterns ----


def test_patterns():
    """What they select is compared with the rules on random rows elsewhere; here are results and arguments."""
    assert rows().select(1.0, True + 1) == [(1, 2, "a")]
    assert rows().select(5) == rows().select(1, 2, "a", 4) == tuplelist([1]).select("*", "*") == []
    assert tuplelist([()]).select(1) == [] and tuplelist([()]).select() == [()]
    for result in (rows().select(1), rows().select(), rows().select("*"), rows().select(9), tuplelist().select(1)):
        assert type(result) is tuplelist and result.tuple_index_ is None and result.wildcard_ == "*"
    assert rows().select([2, 1], "b") == []  # two fields: the list is compared as it is
    raises(TypeError, NO_LEN, rows().select, [1, 9])
    for select in (rows().select, tso.tupledict().select, tso.tupledict().sum):
        with pytest.raises(TypeError, match="takes no keyword arguments$"):
            select(x=1)


def test_wildcards():
    made = tuplelist([("*", 1), ("?", 2)], wildcard="?")
    assert made.select("*") == [("*", 1)]
    assert made.select("?") == made and made.select("?").wildcard_ == "*"
    made.wildcard_ = None
    assert made.select(None, 2) == [("?", 2)]
    assert made.select("?") == [("?", 2)]
    del made.wildcard_
    assert made.wildcard_ is None
    raises(TypeError, "Expected unicode, got list", setattr, made, "wildcard_", [])
    assert tuplelist([1, None]).select(None) == [None]
    assert (tuplelist([1], "?") + [2]).wildcard_ == (tuplelist([1], "?") * 2).wildcard_ == "*"
    assert tuplelist([1], "?").copy().wildcard_ == "*"


def test_membership_is_a_query():
    made = tuplelist([(1, 2)])
    assert (1,) in made and (1, 2) in made and ("*", 2) in made and () in made
    assert (2,) not in made and (1, 2, 3) not in made and () not in tuplelist() and None not in tuplelist()
    assert (2,) in tuplelist([1, 2])
    raises(TypeError, "Expected tuple, got int", operator.contains, tuplelist([1]), 1)
    raises(TypeError, "Expected tuple, got list", operator.contains, made, [1, 2])
    raises(TypeError, NO_LEN, operator.contains, made, None)


# ---- The index ----


def test_index_is_lists_of_positions():
    made = rows()
    assert made.select() == made and made.tuple_index_ is None
    made.select("*")
    assert made.tuple_index_ == [{1: [0, 2], 2: [1]}, {2: [0, 1], 3: [2]}, {"a": [0], "b": [1, 2]}]
    assert [list(one) for one in made.tuple_index_] == [[1, 2], [2, 3], ["a", "b"]]
    scalars = tuplelist(["x", "y", "x"])
    assert ("z",) not in scalars
    assert scalars.tuple_index_ == [{"x": [0, 2], "y": [1]}]


def test_what_is_written_into_the_index_is_used():
    made = built()
    index = made.tuple_index_
    index[0][1].remove(0)
    index[0][7] = [-1, 1]
    assert made.select(1) == [(1, 3)] and made.select(7) == [(1, 3), (2, 2)]
    assert made.select([1, 7]) == [(1, 3), (2, 2), (1, 3)]  # merged as if ascending
    assert made.tuple_index_ is index
    made.tuple_index_ = [{5: [0]}]
    assert made.select(5) == [(1, 2)] and made.select(1) == []
    raises(IndexError, "list index out of range", made.select, 5, 2)
    made.tuple_index_ = [{5: [9]}, {2: [9]}]
    raises(IndexError, "list index out of range", made.select, 5)
    raises(IndexError, "list index out of range", made.select, 5, 2)
    made.tuple_index_ = [{5: 3, 6: [2**40], 7: ["a"], 8: [slice(2)]}, {2: [0]}]
    raises(TypeError, "Expected list, got int", made.select, 5)
    raises(OverflowError, "value too large to convert to int", made.select, 6, 2)
    for query in ([7], [7, 2]):
        with pytest.raises(TypeError):
            made.select(*query)
    raises(ValueError, LENGTHS, tuplelist([(1,), (1,), (1,)]).__iadd__([(1, 1)]).copy)
    raises(TypeError, "Expected list, got dict", setattr, made, "tuple_index_", {})
    made.tuple_index_ = None
    assert made.select(1) == [(1, 2), (1, 3)]
    del made.tuple_index_
    assert made.tuple_index_ is None


FAILS = {
    "pop": (True, lambda x: x.pop(9), IndexError, "pop index out of range"),
    "pop text": (True, lambda x: x.pop("a"), TypeError, "'str' object cannot be interpreted as an integer"),
    "remove": (True, lambda x: x.remove((9, 9)), ValueError, "list.remove(x): x not in list"),
    "add in place": (True, lambda x: operator.iadd(x, 5), TypeError, "'int' object is not iterable"),
    "multiply": (True, lambda x: operator.imul(x, "a"), TypeError, "'str' object cannot be interpreted as an integer"),
    "store": (False, lambda x: x.__setitem__(9, (1, 9)), IndexError, "list index out of range"),
    "delete": (False, lambda x: x.__delitem__(9), IndexError, "list assignment index out of range"),
    "insert": (False, lambda x: x.insert(2**31, (1, 9)), OverflowError, "value too large to convert to int"),
    "add": (False, lambda x: x + (1, 2), TypeError, 'can only concatenate list (not "tuple") to list'),
}


@pytest.mark.parametrize("name", FAILS)
def test_failing_changes(name):
    drops, act, exception, text = FAILS[name]
    made = built()
    raises(exception, text, act, made)
    assert made == built() and (made.tuple_index_ is None) is drops


def test_failed_index_stays():
    made = tuplelist([(1, 5), (1, []), (2, 5)])
    raises(TypeError, "unhashable type: 'list'", made.select, 1)
    assert made.tuple_index_ == [{1: [0, 1]}, {5: [0]}]
    made.clean()
    made[1] = (1, 6)
    assert made.select(1) == [(1, 5), (1, 6)]
    ragged = tuplelist([(1, 2), (1, 3)])
    ragged += [(1,), 7]
    raises(IndexError, "tuple index out of range", ragged.select, 3)
    assert ragged.tuple_index_ == [{1: [0, 1, 2]}, {2: [0], 3: [1]}]
    scalars = tuplelist([1, 2])
    scalars += [(1, 9), 2]
    assert scalars.select(2) == [2, 2]
    raises(ValueError, MIXED, scalars.select, 1)
    assert scalars.tuple_index_ == [{1: [0, 2], 2: [1, 3]}]


# ---- Operators, copies ----


def test_operators_give_checked_lists_without_an_index():
    made = built("?")
    for result, expected in [
        (made + [(5, 5)], [*made, (5, 5)]),
        (made * 2, [*made, *made]),
        (made * numpy.int64(0), []),
        (made.copy(), list(made)),
        (made + made, [*made, *made]),
    ]:
        assert type(result) is tuplelist and result == expected
        assert result.tuple_index_ is None and result.wildcard_ == "*"
    assert made.tuple_index_ is not None


def test_reflected_operators_fail():
    made = tuplelist([(3, 4)])
    for act, *operands in (
        (operator.add, [(1, 2)], made), (operator.mul, 2, made), (operator.add, (), made), (operator.mul, made, 1.5),
        (operator.add, made, None), (lambda: made.__radd__([(1, 2)]),), (lambda: made.__rmul__(2),),
    ):  # fmt: skip
        with pytest.raises(TypeError):
            act(*operands)


def test_subclasses_copies_and_pickles():
    class Routes(tuplelist):
        pass

    routes = Routes([(1, 2), (1, 3)], "?")
    routes.name = "mine"
    for again in (pickle.loads(pickle.dumps(built("?"))), copy.copy(built("?")), copy.deepcopy(built("?"))):
        assert type(again) is tuplelist and again == built() and again.wildcard_ == "?"
        assert again.select("?", 2) == [(1, 2), (2, 2)]
    again = copy.deepcopy(routes)
    assert type(again) is Routes and again == routes and again.name == "mine"
    assert type(routes.select(1)) is type(tuplelist([(0, 0)]) + routes) is tuplelist
    with pytest.raises(AttributeError):
        built().name = "mine"
