"""Objects whose methods fail or change the container meanwhile, memory that runs out, and what loops hold on to."""

import gc
import weakref

import pytest
from loops import check_growth, refused
from tessolvpy import multidict, tupledict, tuplelist


class Fault(Exception):
    pass


class Value:
    """A value that does something each time it is hashed or compared."""

    def __init__(self, value, act):
        self.value, self.act = value, act

    def __hash__(self):
        self.act()
        return hash(self.value)

    def __eq__(self, other):
        self.act()
        return self.value == getattr(other, "value", other)

    def __ne__(self, other):
        self.act()
        return self.value != getattr(other, "value", other)


def countdown(n, act):
    """Does nothing n times, then acts at every call."""
    left = [n]

    def step():
        left[0] -= 1
        if left[0] < 0:
            act()

    return step


def fail():
    raise Fault


def targets():
    """Things that can be done to a list in the middle of a query on it."""

    yield "clear", lambda x: x.clear()
    yield "clear rows only", list.clear
    yield "drop index", lambda x: x.clean()
    yield "break index", lambda x: setattr(x, "tuple_index_", [])
    yield "empty index", lambda x: [d.clear() for d in x.tuple_index_ or ()]
    yield "empty lists", lambda x: [p.clear() for d in x.tuple_index_ or () for p in list(d.values())]
    yield "shorter rows", lambda x: list.__setitem__(x, slice(None), [(1,)])
    yield "scalars", lambda x: list.__setitem__(x, slice(None), [1] * 9)
    yield "nested query", lambda x: x.select("*", 2)
    yield "wildcard", lambda x: delattr(x, "wildcard_")


@pytest.mark.parametrize("name", dict(targets()))
def test_lists_that_change_meanwhile(name):
    """Every moment of a query is tried; what it gives then is some list or an ordinary error."""
    act = dict(targets())[name]
    for moment in range(60):
        for pattern in ([1], [1, 2], ["*", [2, 3]], [[1, 2]], ["acting"], ["acting", 2], [["acting", 1]]):
            made = tuplelist()
            busy = [False]

            def step(made=made, busy=busy):
                if not busy[0]:
                    busy[0] = True
                    act(made)
                    busy[0] = False

            value = Value(1, countdown(moment, step))
            made += [(1, 2), (value, 2), (2, Value(2, value.act)), (2, 3)] * 3
            query = [value if p == "acting" else p for p in pattern]
            query = [[value, *p[1:]] if isinstance(p, list) and p[0] == "acting" else p for p in query]
            try:
                assert isinstance(made.select(*query), tuplelist)
            except (TypeError, IndexError, ValueError, ZeroDivisionError, RecursionError):
                pass


def test_failing_values_end_the_query():
    for moment in range(200):
        value = Value(1, countdown(moment, fail))
        made = tuplelist([(value, 2), (2, 2), (value, 3)])
        keyed = tupledict()
        try:
            made.select(1), made.select(value, 2), made.select([1, value]), (value, 3) in made
            made[0] = (value, 2)
            keyed.update({(value, 2): 1, (2, 2): 2})
            keyed.select(value), keyed.sum(1, 2), keyed.prod({(value, 2): 3}), keyed.prod({(2, 2): 1}, value)
            multidict({value: [1, 2]})
        except Fault:
            assert made == [(value, 2), (2, 2), (value, 3)] or moment > 3
            continue
        break
    assert 20 < moment < 199  # all moments were tried


class Row(tuple):
    length = None

    def __len__(self):
        return self.length()


def test_rows_with_lengths_of_their_own():
    row = Row((1, 2))
    row.length = fail
    made = tuplelist([(1, 2)])
    for act in (lambda: tuplelist([row]), lambda: made.append(row), lambda: made.insert(0, row), lambda: made + [row]):
        with pytest.raises(Fault):
            act()
    with pytest.raises(Fault):
        multidict({"a": row})
    assert made == [(1, 2)]
    row.length = lambda: made.clear() or 2
    made.append(row)
    assert len(made) == 1
    made.clear()
    row.length = lambda: 2
    made.append(row)
    row.length = lambda: 10**10
    with pytest.raises(MemoryError):
        made.select(1)
    row.length = lambda: list.clear(made) or 2
    assert made.select(1) == []
    shrinking = [(1, 2), row, (1, 2)]
    row.length = lambda: shrinking.clear() or 2
    assert tuplelist(shrinking) == []


def test_sequences_that_misbehave():
    class Rows(list):
        def __iter__(self):
            return iter([(1, 2), (3,)])

    class Lengthless(list):
        def __len__(self):
            raise Fault

    class Firstless(list):
        def __getitem__(self, i):
            raise Fault

    class Endless(list):
        def __iter__(self):
            yield (1, 2)
            raise Fault

    with pytest.raises(ValueError):
        tuplelist(Rows([(1, 2)]))
    for rows in (Lengthless([1]), Firstless([1]), Endless([(1, 2)])):
        with pytest.raises(Fault):
            tuplelist(rows)


def test_dicts_that_change_meanwhile():
    changed = "dictionary changed size during iteration"

    class Growing(int):
        def __rmul__(self, other):
            coeffs[len(coeffs)] = 1
            return 1

        __mul__ = __rmul__

    coeffs = {"a": 1, "b": 2}
    with pytest.raises(RuntimeError, match=f"^{changed}$"):
        tupledict(a=Growing(1), b=1).prod(coeffs)

    class Length(list):
        def __len__(self):
            d[len(d)] = [1]
            return 1

    d = {"a": Length([1]), "b": [2]}
    with pytest.raises(RuntimeError, match=f"^{changed}$"):
        multidict(d)

    class Cutting(int):
        def __hash__(self):
            del armed[:]
            return 1

        __eq__ = object.__eq__

    armed = []
    d = {Cutting(1): [1, 2]}
    armed = second = [3, 4]
    d["b"] = second
    with pytest.raises(IndexError, match="^list index out of range$"):
        multidict(d)


def test_keys_that_remove_themselves():
    made = tupledict()
    key = Value(1, lambda: None)
    made.update({(key, 2): 5, (2, 2): 6})
    made.select(1)
    key.act = countdown(1, lambda: dict.clear(made))
    for act in (lambda: made.select(1), lambda: made.select(), lambda: made.prod({(2, 2): 1}, key)):
        try:
            act()
        except KeyError:
            pass
        dict.update(made, {(2, 2): 6})


def test_cycles_are_collected():
    class Held:
        pass

    held = Held()
    gone = weakref.ref(held)
    row = tuplelist([1])
    row.append(held)
    list.append(row, row)
    row.tuple_index_ = [row]
    keyed = tupledict(a=held)
    keyed["b"] = keyed
    del row, keyed, held
    gc.collect()
    assert gone() is None


def test_deep_nesting_is_freed():
    row, keyed = tuplelist([1]), tupledict()
    for _ in range(200_000):
        row, keyed = tuplelist([row]), tupledict(a=keyed)
    del row, keyed


def actions():
    text = "a text that nobody else holds"
    rows = [(i % 5, text, 1000.5 + i) for i in range(20)]
    boxed = [(Value(i % 5, lambda: None), text) for i in range(20)]
    scalars = ["x" * 20 + str(i) for i in range(20)]

    def changes(x):
        x.append(rows[0]), x.insert(0, rows[1]), x.pop(), x.remove(rows[1]), x.reverse(), x.copy()
        x[0] = rows[5]
        x += [rows[0]]
        x *= 2
        del x[3]
        x.select(1), x.clear()

    def queries(x):
        x.select(1), x.select("*", text), x.select([9, 1, 2]), x.select(1, text), x.select(), x.select("*")
        assert (1, text) in x and (1, "other") not in x

    def opened(x):
        x.select(1)
        queries(x if x.tuple_index_ else None)
        x.tuple_index_ = [{text: [0]}]
        x.wildcard_ = text
        del x.wildcard_, x.tuple_index_

    yield "construct", lambda: (tuplelist(rows), tuplelist(scalars, text), tuplelist(tuple(rows), wildcard=None))
    yield "changes", lambda: changes(tuplelist(rows))
    yield "queries", lambda: queries(tuplelist(rows))
    yield "queries of objects", lambda: queries(tuplelist(boxed + [(7, "other")]))
    yield "index", lambda: opened(tuplelist(rows))
    yield "scalars", lambda: (tuplelist(scalars).select(scalars[3]), tuplelist(scalars).select(scalars[:4]))
    yield "bad rows", refused(lambda: tuplelist([*rows, text]))
    yield "bad field", refused(lambda: tuplelist([(1, text), (1, [text])]).select(1))
    yield "bad key", refused(lambda: tuplelist(rows).select([1, []]))
    yield "bad alternative", refused(lambda: tuplelist(rows).select([1, text]))
    yield "bad wildcard", refused(lambda: tuplelist(rows, 5))
    yield "bad index", refused(lambda: setattr(tuplelist(rows), "tuple_index_", text))
    yield "bad sum", refused(lambda: [text] + tuplelist(rows))

    def dict_changes():
        d = tupledict(zip(rows, range(20)), extra=5)
        d.pop("extra"), d.popitem(), d.setdefault(text), d.pop(text), d.update({rows[0]: 1.5})
        d |= {rows[1]: 2.5}
        del d[rows[1]]
        d.select(1), d.select(), d.sum("*", text), d.prod(d), d.prod({rows[0]: 1.5}, 0), d.prod(dict(d), "*")
        d.clean(), d.clear()

    yield "dict", dict_changes
    yield "bad pop", refused(lambda: tupledict(a=text).pop(text))
    yield "bad prod", refused(lambda: tupledict(a=1.5).prod({"a": text}))
    yield "bad dict sum", refused(lambda: tupledict(a=text).sum())
    yield "bad keys", refused(lambda: tupledict([(text, 1), (rows[0], 2)]).select(1))
    yield "multidict", lambda: multidict({row: [1.5, text] for row in rows})
    yield "bad multidict", refused(lambda: multidict({rows[0]: [text], text: [1]}))


@pytest.mark.parametrize("name", [name for name, _ in actions()])
def test_loops_hold_on_to_nothing(name):
    check_growth(dict(actions())[name], [tuplelist, tupledict, "*"])


@pytest.mark.parametrize("name", ["queries", "queries of objects", "index", "dict", "multidict", "changes"])
def test_memory_running_out(name):
    """Each allocation in turn fails; what comes of it is MemoryError."""
    testcapi = pytest.importorskip("_testcapi")
    act = dict(actions())[name]
    act()
    failed = 0
    for nth in range(1, 300):
        testcapi.set_nomemory(nth, nth + 1)
        try:
            act()
        except MemoryError:
            failed += 1
        finally:
            testcapi.remove_mem_hooks()
    act()
    assert failed >= 5
