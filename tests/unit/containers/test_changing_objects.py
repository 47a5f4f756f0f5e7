"""Objects whose methods fail or change the container meanwhile, memory that runs out, and what loops hold on to."""

import gc
import itertools
import weakref
from contextlib import suppress

import pytest
from containers.test_rules import keyed, refusals, rows
from containers.values import Value
from expressions import refusal
from loops import check_growth, given_to, refused, without_memory
from tessolvpy import multidict, tupledict, tuplelist


class Fault(Exception):
    pass


def countdown(n, act):
    """Does nothing n times, then acts at every call."""
    times = itertools.count()
    return lambda: act() if next(times) >= n else None


def fail():
    raise Fault


CHANGES = {
    "clear": lambda x: x.clear(), "clear rows only": list.clear, "drop index": lambda x: x.clean(),
    "break index": lambda x: setattr(x, "tuple_index_", []),
    "empty index": lambda x: [d.clear() for d in x.tuple_index_ or ()],
    "empty lists": lambda x: [p.clear() for d in x.tuple_index_ or () for p in list(d.values())],
    "shorter rows": lambda x: list.__setitem__(x, slice(None), [(1,)]),
    "scalars": lambda x: list.__setitem__(x, slice(None), [1] * 9), "nested query": lambda x: x.select("*", 2),
    "wildcard": lambda x: delattr(x, "wildcard_"),
}  # fmt: skip


@pytest.mark.parametrize("name", CHANGES)
def test_lists_that_change_meanwhile(name):
    """Every moment of a query is tried; what it gives then is some list or an ordinary error."""
    for moment in range(60):
        for pattern in ([1], [1, 2], ["*", [2, 3]], [[1, 2]], ["acting"], ["acting", 2], [["acting", 1]]):
            made = tuplelist()
            busy = []

            def step(made=made, busy=busy):
                if not busy:
                    busy.append(True)
                    CHANGES[name](made)
                    busy.clear()

            value = Value(1, countdown(moment, step))
            made += [(1, 2), (value, 2), (2, Value(2, value.act)), (2, 3)] * 3
            query = [value if p == "acting" else p for p in pattern]
            query = [[value, *p[1:]] if isinstance(p, list) and p[0] == "acting" else p for p in query]
            with suppress(TypeError, IndexError, ValueError, ZeroDivisionError, RecursionError):
                assert isinstance(made.select(*query), tuplelist)


def test_garbage_that_empties_the_dict():
    """Collected at whichever allocation of a query: what is selected is alive."""

    class Garbage:
        def __init__(self, act):
            self.itself, self.act = self, act

        def __del__(self):
            self.act()

    usual, collected, held = gc.get_threshold(), [], []
    for allocations in range(12):
        values = [Value(i, int) for i in range(50)]
        made, references = tupledict(((i, 1), v) for i, v in enumerate(values)), list(map(weakref.ref, values))
        made.select(0)  # so that there is an index
        held.append([[] for _ in range(200)])  # so that no freed list is at hand, and the next one is an allocation
        del values
        gc.collect()
        Garbage(lambda made=made, allocations=allocations: (made.clear(), collected.append(allocations)))
        try:
            gc.set_threshold(gc.get_count()[0] + allocations)
            found = made.select("*", 1)
        except KeyError:
            found = []
        finally:
            gc.set_threshold(*usual)
        assert len(found) == sum(r() is not None for r in references)
    assert len(set(collected)) > 3


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
    for act in (
        lambda: tuplelist([row]), lambda: made.append(row), lambda: made + [row], lambda: multidict({"a": row}),
    ):  # fmt: skip
        assert refusal(act)[0] is Fault
    assert made == [(1, 2)]
    row.length = lambda: made.clear() or 2
    made.append(row)
    assert len(made) == 1
    row.length = lambda: 10**10
    assert refusal(made.select, 1)[0] is MemoryError
    row.length = lambda: list.clear(made) or 2
    assert made.select(1) == []
    shrinking = [(1, 2), row, (1, 2)]
    row.length = lambda: shrinking.clear() or 2
    assert tuplelist(shrinking) == []


def test_objects_that_change_what_is_walked():
    class Growing(int):
        def __mul__(self, other):
            coeffs[len(coeffs)] = 1
            return 1

        __rmul__ = __mul__

    class Length(list):
        def __len__(self):
            d[len(d)] = [1]
            return 1

    coeffs, d = {"a": 1, "b": 2}, {"a": Length([1]), "b": [2]}
    for act in (lambda: tupledict(a=Growing(1), b=1).prod(coeffs), lambda: multidict(d)):
        assert refusal(act) == (RuntimeError, "dictionary changed size during iteration")

    class Cutting(int):
        def __hash__(self):
            del armed[:]
            return 1

        __eq__ = object.__eq__

    armed = []
    d = {Cutting(1): [1, 2]}
    armed = d["b"] = [3, 4]
    assert refusal(multidict, d) == (IndexError, "list index out of range")
    made, key = tupledict(), Value(1)
    made.update({(key, 2): 5, (2, 2): 6})
    made.select(1)
    key.act = countdown(1, lambda: dict.clear(made))
    for act in (lambda: made.select(1), lambda: made.select(), lambda: made.prod({(2, 2): 1}, key)):
        with suppress(KeyError):
            act()
        dict.update(made, {(2, 2): 6})


def test_cycles_and_deep_nesting_are_freed():
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
    row, keyed = tuplelist([1]), tupledict()
    for _ in range(200_000):
        row, keyed = tuplelist([row]), tupledict(a=keyed)
    del row, keyed


TEXT = "a text that nobody else holds"
ROWS = [(i % 5, TEXT, 1000.5 + i) for i in range(20)]
BOXED = [(Value(i % 5), TEXT) for i in range(20)] + [(7, "other")]


def change(x):
    x.append(ROWS[0]), x.insert(0, ROWS[1]), x.pop(), x.remove(ROWS[1]), x.reverse(), x.copy()
    x[0] = ROWS[5]
    x += [ROWS[0]]
    x *= 2
    del x[3]
    x.select(1), x.clear()


def query(x):
    x.select(1), x.select("*", TEXT), x.select([9, 1, 2]), x.select(1, TEXT), x.select(), x.select("*")
    assert (1, TEXT) in x and (1, "other") not in x
    x.tuple_index_ = [{TEXT: [0]}]
    x.wildcard_ = TEXT
    del x.wildcard_, x.tuple_index_


def change_dict():
    d = tupledict(zip(ROWS, range(20)), extra=5)
    d.pop("extra"), d.popitem(), d.setdefault(TEXT), d.pop(TEXT), d.update({ROWS[0]: 1.5})
    d |= {ROWS[1]: 2.5}
    del d[ROWS[1]]
    d.select(1), d.select(), d.sum("*", TEXT), d.prod(d), d.prod({ROWS[0]: 1.5}, 0), d.prod(dict(d), "*")
    d.clean(), d.clear()


ACTIONS = {
    "changes": lambda: change(tuplelist(ROWS)), "queries": lambda: query(tuplelist(ROWS)),
    "queries of objects": lambda: query(tuplelist(BOXED)),
    "scalars": lambda: tuplelist([TEXT, "other"], wildcard=TEXT).select([TEXT, "other"]), "dict": change_dict,
    "multidict": lambda: multidict({row: [1.5, TEXT] for row in ROWS}),
}  # fmt: skip
ACTIONS["refusals"] = lambda: [refused(act)(rows(), keyed()) for act, *_ in refusals()]


@pytest.mark.parametrize("name", ACTIONS)
def test_loops_hold_on_to_nothing(name):
    check_growth(ACTIONS[name], [tuplelist, tupledict, "*", TEXT, *given_to([act for act, *_ in refusals()])])


@pytest.mark.parametrize("name", ["changes", "queries", "queries of objects", "dict", "multidict"])
def test_memory_running_out(name):
    """Each allocation in turn fails; what comes of it is MemoryError."""
    act = ACTIONS[name]
    act()
    errors = [without_memory(act, nth, nth + 1) for nth in range(1, 300)]
    act()
    assert set(errors) <= {None, MemoryError} and errors.count(MemoryError) >= 5
