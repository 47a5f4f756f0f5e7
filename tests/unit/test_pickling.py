"""Values through pickle and copy, handles that refuse, and pickles that were damaged or made up."""

import contextlib
import copy
import io
import pickle
import pickletools
import random

import numpy as np
import pytest
import tessolvpy as tso
from expressions import refusal
from tessolvpy import TSO, Column, LinExpr, MLinExpr, MQuadExpr, PsdExpr, QuadExpr, TessolvError, tupledict, tuplelist

UNPICKLE = {name[len("__pyx_unpickle_") :]: f for name, f in vars(tso).items() if name.startswith("__pyx_unpickle_")}
WAYS = {f"protocol {p}": lambda o, p=p: pickle.loads(pickle.dumps(o, p)) for p in range(pickle.HIGHEST_PROTOCOL + 1)}
WAYS |= {"in Python": lambda o: pickle._loads(pickle._dumps(o)), "copy": copy.copy, "deepcopy": copy.deepcopy}


class Routes(tuplelist):
    def __init__(self, must_be_given):
        super().__init__(must_be_given, "?")


class Failure(TessolvError):
    def __init__(self, one, two, three):
        super().__init__(one, two)


def looks(value):
    """All that can be seen of a value."""
    seen = [type(value), getattr(value, "__dict__", None) or {}]
    if isinstance(value, TessolvError):
        return [*seen, value.errno, value.message, value.args]
    if isinstance(value, Column):
        return [*seen, value.size()]
    if isinstance(value, QuadExpr):
        terms = [[get(i) for i in range(value.size())] for get in (value.getCoeff, value.getVar1, value.getVar2)]
        return [*seen, value.getConstant(), terms]
    return [*seen, getattr(value, "wildcard_", None), repr(value)]


def values():
    error, routes, failure = TessolvError(5, "x"), Routes([(1, 2), (1, 3)]), Failure(7, "seven", None)
    error.note, routes.name, failure.args = "late", "mine", (1, 2)
    odd = QuadExpr(2.5)
    odd.addTerms([1, 2.0], ["a", None], ["c", (1,)])
    return [
        error, TessolvError("only text"), failure, tuplelist(), tuplelist([(1, "a"), (2, "b")], None), routes,
        tuplelist([1, 2]), tupledict({(1, 2): 3, (2, 2): LinExpr(1)}), tso.List([1, 2.5, "a", None, 2**70]), Column(),
        LinExpr(), LinExpr(float("nan")), LinExpr(4.5), QuadExpr(), QuadExpr(-1), odd, PsdExpr(1.5),
        MLinExpr.new([[LinExpr(1), LinExpr(2)]]), MLinExpr.zeros((2, 0)), MQuadExpr.zeros(3),
    ]  # fmt: skip


@pytest.mark.parametrize("way", WAYS)
def test_values_survive(stub, way):
    for value in values():
        again = WAYS[way](value)
        assert looks(again) == looks(value)
        assert again is not value
    for constants in (TSO, TSO.Attr, TSO.Param, TSO.Callback, TSO.Error, TSO.Status):
        assert WAYS[way](constants) is constants


def test_copies_share_nothing_that_changes(stub):
    q, items = QuadExpr(1), tso.List([[1]])
    for again in (copy.copy(q), copy.deepcopy(q), pickle.loads(pickle.dumps(q))):
        again.getLinExpr().addConstant(1)
    assert q.getConstant() == 1
    shallow, deep = copy.copy(items), copy.deepcopy(items)
    items += [2]
    items[0].append(5)
    assert (str(shallow), str(deep)) == ("[[1, 5]]", "[[1]]")
    built = tuplelist([(1, 2)])
    assert built.select(1) and copy.copy(built).tuple_index_ is None
    shared = tuplelist([("a",)])
    first, second = pickle.loads(pickle.dumps((shared, {"again": shared})))
    assert first is second["again"]
    first.append(("b",))


def test_values_that_hold_themselves(stub):
    items = tso.List([1])
    items += [items]
    rows, table = tuplelist([(1,)]), tupledict()
    rows.append((rows,))
    table["me"] = table
    for way in ("protocol 2", "protocol 5", "in Python", "deepcopy"):
        for one, held in (items, lambda a: a[1]), (rows, lambda a: a[1][0]), (table, lambda a: a["me"]):
            again = WAYS[way](one)
            assert held(again) is again is not one


def test_handles_and_what_holds_them_refuse(stub, model):
    x, c, array = model.addVar(), model.addConstr(LinExpr(1) <= 2), model.addMVar(3)
    holders = [
        x, c, model.getQConstrs()[0], x + 1, QuadExpr(x), x * x, x <= 1, Column([1], [c]), tso.List([x]), array,
        tuplelist([x]), tuplelist([("a", x)]), tupledict({1: x}), tupledict({1: x + 1}), array + 1, array @ array,
        model.addConstr(array <= 1), model, tso.Var(), tso.SOS(), PsdExpr(x),
    ]  # fmt: skip
    x -= x  # terms are not merged: it holds the handle twice
    refused = "self.{} cannot be converted to a Python object for pickling".format
    for holder in (*holders, x):
        for way in WAYS.values():
            assert refusal(way, holder) == (TypeError, refused("mdl_"))
    for holder in (tso.Env(), model.Params):
        assert refusal(copy.copy, holder) == (TypeError, refused("envptr"))


def test_the_functions_that_pickles_name():
    assert set(UNPICKLE) >= {"TessolvError", "tuplelist", "tupledict", "List", "Column", "LinExpr", "QuadExpr"}
    for name, unpickle in UNPICKLE.items():
        cls = getattr(tso, name)
        assert unpickle.__name__ == f"__pyx_unpickle_{name}" and unpickle.__module__ == "tessolvpy"
        assert type(unpickle(cls, 1, None)) is cls
        for arguments, error in [
            ((), TypeError), ((cls, 1), TypeError), ((cls, 2, None), ValueError), ((cls, 2**80, None), ValueError),
            ((cls, "1", None), TypeError), ((object, 1, None), TypeError), ((5, 1, None), TypeError),
            ((tso.Model, 1, None), TypeError), ((cls, 1, ()), (TypeError, ValueError)),
            ((cls, 1, (1,) * 9), ValueError),
        ]:  # fmt: skip
            if name in ("tupledict", "Column") and arguments[2:] == ((),):
                continue  # they have no fields
            assert issubclass(refusal(unpickle, *arguments)[0], error)


WRONG = [
    None, 0, -1, 2**40, 2**80, 1.5, float("nan"), "", "x" * 1000, b"", (), (1,), [], [1], {}, {1: 2}, set(), object,
    LinExpr(1), QuadExpr(1), tso.List([1]), tuplelist([1]), np.zeros(3), np.zeros(3, object), np.array(1), TSO,
]  # fmt: skip


def test_states_of_every_wrong_kind(stub):
    rng = random.Random(1)
    for value in values():
        before = looks(value)
        for _ in range(100):
            state = rng.choice([rng.choice(WRONG), tuple(rng.choices(WRONG, k=rng.randrange(6)))])
            again = copy.copy(value)
            try:
                again.__setstate__(state)
            except (TypeError, ValueError, OverflowError):
                assert looks(again) == before  # nothing of it was taken over
            else:
                looks(again)
                again.__reduce__()


class Reader(pickle._Unpickler):
    """Finds what the pickles of values name, and nothing that could do harm."""

    def find_class(self, module, name):
        found = super().find_class(module, name) if module in ("tessolvpy", "builtins", __name__) else None
        if isinstance(found, type) and found is not tso.Model and found is not tso.Env or found in UNPICKLE.values():
            return found
        raise pickle.UnpicklingError(name)


def test_damaged_pickles(stub):
    rng = random.Random(2)
    whole = [pickle.dumps(value, protocol) for value in values()[:16] for protocol in (0, 2, 4)]
    opcodes = [ord(each.code) for each in pickletools.opcodes]
    for data in whole:
        assert looks(Reader(io.BytesIO(data)).load())
        damaged = [data[:cut] for cut in range(0, len(data), 11)]
        for _ in range(25):
            mutant = bytearray(data)
            for _ in range(rng.randrange(1, 4)):
                at = rng.randrange(len(mutant))
                mutant[at : at + rng.randrange(2)] = [rng.choice([rng.randrange(256), rng.choice(opcodes)])]
            damaged.append(bytes(mutant))
        for each in damaged:
            with contextlib.suppress(Exception):  # whatever it is that damage leads to, it is an error of Python
                looks(Reader(io.BytesIO(each)).load())
