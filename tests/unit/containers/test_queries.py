"""Random queries against a plain reading of the rules, and random changes against plain lists and dicts."""

import itertools
import operator

import pytest
from containers.values import Value
from hypothesis import given, settings
from hypothesis import strategies as st
from tessolvpy import tupledict, tuplelist

plain = st.one_of(st.integers(-2, 3), st.sampled_from(["a", "b", "*", 1.0, 2.5, True, None, 2**70]))
boxed = plain.map(Value)
kinds = st.sampled_from(["plain", "boxed", "mixed", "opened"])


def values_of(kind):
    return {"plain": plain, "opened": plain, "boxed": boxed, "mixed": st.one_of(plain, boxed)}[kind]


@st.composite
def cases(draw):
    kind = draw(kinds)
    width = draw(st.integers(0, 3))
    field = values_of(kind)
    row = field if width == 0 else st.tuples(*[field] * width)
    rows = draw(st.lists(row, max_size=12))
    known = [v for row in rows for v in (row if width else (row,))]
    element = st.one_of(plain, st.sampled_from(known) if known else plain)
    queries = st.lists(st.one_of(element, st.just("*"), st.lists(element, max_size=4)), max_size=max(width, 1) + 1)
    return kind, rows, draw(st.lists(queries, min_size=1, max_size=6)), draw(st.sampled_from(["*", "a", None]))


def fields(row):
    return row if isinstance(row, tuple) else (row,)


def expected(rows, query, wildcard):
    """What a query selects; TypeError for alternatives of which a later one is in no row."""
    if not rows or len(query) > len(fields(rows[0])):
        return [] if query else list(rows)
    lists = []
    for j, pattern in enumerate(query):
        if pattern == wildcard:
            continue
        column = [fields(row)[j] for row in rows]
        found = pattern in column
        if isinstance(pattern, list):
            known = [alternative in column for alternative in pattern]
            if any(known) and not all(known[known.index(True) :]):
                raise TypeError
            found = any(known)
        if not found:
            return []
        lists.append(j)
    if len(lists) == 1 and isinstance(query[lists[0]], list):
        return [row for row in rows if fields(row)[lists[0]] in query[lists[0]]]
    return [row for row in rows if all(fields(row)[j] == query[j] for j in lists)]


def outcome(act, *arguments):
    try:
        return [id(one) for one in act(*arguments)]
    except TypeError:
        return TypeError


@settings(max_examples=600, deadline=None)
@given(cases())
def test_select_follows_the_rules(case):
    kind, rows, queries, wildcard = case
    made = tuplelist(rows, wildcard)
    keyed = tupledict(zip(rows, rows))
    for query in queries:
        assert outcome(made.select, *query) == outcome(expected, rows, query, wildcard)
        if kind == "opened":
            assert made.tuple_index_ is None or type(made.tuple_index_) is list
        keys = list(keyed)
        assert outcome(keyed.select, *query) == outcome(lambda: map(keyed.get, expected(keys, query, "*")))  # noqa: B023


DROPPING = {
    "append": lambda x, row, n: x.append(row), "insert": lambda x, row, n: x.insert(n, row),
    "remove": lambda x, row, n: x.remove(x[n]) if len(x) > n else x.reverse(),
    "add": lambda x, row, n: operator.iadd(x, [row]), "add nothing": lambda x, row, n: operator.iadd(x, ()),
    "multiply": lambda x, row, n: operator.imul(x, n if len(x) < 20 else 0),
    "store slice": lambda x, row, n: x.__setitem__(slice(0, n), [row, row]),
    "delete": lambda x, row, n: x.__delitem__(slice(n)),
    "pop": lambda x, row, n: x.pop(*[0][:n]) if x else x.reverse(), "clear": lambda x, row, n: x.clear(),
    "clean": lambda x, row, n: x.clean() if isinstance(x, tuplelist) else None,
}  # fmt: skip
KEEPING = {
    "extend": lambda x, row, n: x.extend([row]),
    "sort": lambda x, row, n: x.sort(key=lambda r: hash((r, n))),
    "cut": lambda x, row, n: list.__delitem__(x, slice(n, None)),
    "query": lambda x, row, n: None,
}
steps = st.tuples(st.sampled_from([*DROPPING, *KEEPING, "store", "query"]), st.integers(0, 3), st.integers(0, 2))


@settings(max_examples=600, deadline=None)
@given(kinds, st.lists(steps, max_size=40))
def test_changes_between_queries(kind, steps):
    """Queries of one field, on a list whose index may be older than its rows."""
    wrap = Value if kind == "boxed" else lambda v: v
    made, mirror, indexed = tuplelist(), [], None  # the last: the rows when the index was built
    for step, a, b in steps:
        row = (wrap(a), wrap(b))
        if step == "store":
            if b < len(mirror):
                indexed = indexed if row == mirror[b] else None
                made[b] = mirror[b] = row
        else:
            act = DROPPING.get(step) or KEEPING[step]
            same = step == "store slice" and mirror[:b] == [row, row]  # what is stored was there before
            result, expected = act(made, row, b), act(mirror, row, b)
            assert result is made if expected is mirror else result is expected
            indexed = indexed if same or step in KEEPING else None
        assert list(made) == mirror
        if kind == "opened":
            assert (made.tuple_index_ is None) is (indexed is None)
        if step == "query" and mirror:
            indexed = indexed or list(mirror)
            positions = [i for i, old in enumerate(indexed) if old[0] == a]
            if any(i >= len(mirror) for i in positions):
                with pytest.raises(IndexError):
                    made.select(a)
            else:
                assert [id(found) for found in made.select(a)] == [id(mirror[i]) for i in positions]


CHANGES = {
    "store": lambda d, key, v: d.__setitem__(key, v),
    "delete": lambda d, key, v: d.__delitem__(key) if key in d else None, "clear": lambda d, key, v: d.clear(),
    "setdefault": lambda d, key, v: (d.setdefault(key, v), None)[1], "update": lambda d, key, v: d.update({key: v}),
    "or": lambda d, key, v: operator.ior(d, {key: v}) is d, "pop": lambda d, key, v: d.pop(key) if key in d else None,
    "popitem": lambda d, key, v: d.popitem() if d else None,
}  # fmt: skip


@settings(max_examples=200, deadline=None)
@given(st.lists(st.tuples(st.sampled_from(list(CHANGES)), st.integers(0, 3), st.integers(0, 2)), max_size=40))
def test_values_between_changes(steps):
    made, mirror = tupledict(), {}
    for number, (step, a, b) in enumerate(steps):
        assert CHANGES[step](made, (a, b), number) == CHANGES[step](mirror, (a, b), number)
        assert list(made.items()) == list(mirror.items())
        assert made.select(a) == [v for k, v in mirror.items() if k[0] == a]
        assert made.select("*", b) == [v for k, v in mirror.items() if k[1] == b]
        assert made.select() == list(mirror.values())


@pytest.mark.parametrize("opened", [False, True])
def test_large_lists(opened):
    """Enough rows for every way of merging positions: few of many, halves, all."""
    rows = [(i % 7, i % 1000, i // 500) for i in range(20_000)]
    made = tuplelist(rows)
    made.select(0)
    if opened:
        assert len(made.tuple_index_[1]) == 1000
    for query in itertools.product([3, "*"], [500, "*"], [1, 39, "*"]):
        assert made.select(*query) == [r for r in rows if all(q in ("*", v) for q, v in zip(query, r))]
    for some in ([3, 999], list(range(0, 1000, 3)), [5] * 50, list(range(999, -1, -1))):
        assert made.select("*", some) == [r for r in rows if r[1] in some]
