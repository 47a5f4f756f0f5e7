"""Operations that fail halfway, and objects that are not what they seem: nothing leaks, nothing crashes."""

import gc
import os
import sys

import numpy as np
import oracle
import pytest
import scipy.sparse as sp
import tessolvpy as tso


class Refuses:
    """A number as far as arrays go, until somebody computes with it."""

    def __add__(self, other):
        raise RuntimeError("no")

    __radd__ = __mul__ = __rmul__ = __matmul__ = __neg__ = __float__ = __add__


class NoArray:
    def __array__(self, *args, **kwargs):
        raise RuntimeError("no array")


class Plain:
    """What only its metadata make an array."""

    __array_priority__ = 5
    shape, ndim, size, dtype = (2,), 1, 2, float


def objects(*items):
    a = np.empty(len(items), object)
    a[:] = items
    return a


def containing_itself():
    a = np.empty(2, object)
    a[0], a[1] = 1.0, a
    return a


def nested_list():
    a = []
    a.append(a)
    return a


STRANGE = {
    "None": lambda: None, "object": object, "generator": lambda: (i for i in range(2)), "text": lambda: "ab",
    "list of text": lambda: ["a", "b"], "ragged list": lambda: [[1, 2], [3]], "list in itself": nested_list,
    "array of refusers": lambda: objects(1.0, Refuses()), "array never filled": lambda: np.empty(2, object),
    "refuser": Refuses, "no array": NoArray, "metadata only": Plain, "array of complex": lambda: np.array([1j, 2]),
    "huge int": lambda: 10**400, "masked array": lambda: np.ma.array([1.0, 2.0], mask=[True, False]),
    "sparse complex": lambda: sp.csr_matrix(np.array([[1j, 2], [0, 1]])),
    "sparse without dimensions": lambda: sp.coo_array(np.ones(2)), "wrong length": lambda: np.ones(3),
    "empty": lambda: np.ones(0),
}  # fmt: skip

ACTS = [
    lambda x, y: x + y, lambda x, y: y + x, lambda x, y: x - y, lambda x, y: y - x, lambda x, y: x * y,
    lambda x, y: y * x, lambda x, y: x @ y, lambda x, y: y @ x, lambda x, y: x / y, lambda x, y: y / x,
    lambda x, y: x**y, lambda x, y: x <= y, lambda x, y: y <= x, lambda x, y: x == y, lambda x, y: x != y,
    lambda x, y: x < y, lambda x, y: x[y], lambda x, y: x.sum(axis=y), lambda x, y: type(x).new(y) + 1,
    lambda x, y: type(x).new(y) @ np.eye(2), lambda x, y: type(x).new(y).sum(), lambda x, y: str(type(x).new(y)),
    lambda x, y: type(x).new(y) @ type(x).new(y), lambda x, y: sp.eye(2).tocsr() @ type(x).new(y),
    lambda x, y: -type(x).new(y) * 2 + x, lambda x, y: type(x).zeros(y), lambda x, y: type(x).new(y).getValue(),
    lambda x, y: type(x).new(y).lb, lambda x, y: x.reshape(y), lambda x, y: x.setAttr("ub", y),
    lambda x, y: x.getAttr(y),
    lambda x, y: x.__setitem__(0, y) or x + 1, lambda x, y: x.__iadd__(y), lambda x, y: x.__imul__(y),
]  # fmt: skip

TARGETS = [
    lambda m, y: m.addMVar(y), lambda m, y: m.addMVar(2, y, y, y, y, y), lambda m, y: m.addConstr(y),
    lambda m, y: m.remove(y), lambda m, y: m.addConstr(operands(m)["fresh"] <= 1, name=y),
    lambda m, y: m.addConstr(tso.MVar.new(y) <= 1), lambda m, y: m.addConstr(tso.MLinExpr.new(y) >= 1),
    lambda m, y: m.remove(tso.MConstr.new(y)), lambda m, y: tso.MConstr.new(y).RHS,
    lambda m, y: tso.MQConstr.new(y).setAttr("RHS", 1), lambda m, y: tso.MVar.new(y).setAttr("LB", y),
]  # fmt: skip


def operands(model):
    x = model.addMVar(2, ub=5)
    cells = x + 1
    str(cells)
    return {"MVar": x, "fresh": 2 * x + 1, "looked": cells, "MQuadExpr": x * x, "Var": x[0].item(), "0-D": x.sum()}


def survives(act):
    """In a process of its own, so that a crash is the failure of one test."""
    process = os.fork()
    if process == 0:
        try:
            act()
        finally:
            os._exit(0)
    return os.waitpid(process, 0)[1] == 0


@pytest.mark.parametrize("name", STRANGE)
@pytest.mark.filterwarnings("ignore")
def test_strange_operands_give_an_error_or_an_array(model, name):
    def meet(kind, act):
        try:
            result = act(operands(model)[kind], STRANGE[name]())
        except Exception:
            return
        if isinstance(result, oracle.ARRAYS):
            str(result), oracle.outcome(lambda: result + model.getVars()[0])
        elif isinstance(result, tso.TempConstr):
            oracle.outcome(lambda: model.addConstr(result))

    def meet_all():
        for kind in operands(model):
            for act in ACTS:
                meet(kind, act)
        for act in TARGETS:
            oracle.outcome(lambda: act(model, STRANGE[name]()))  # noqa: B023

    assert survives(meet_all)


def test_an_array_in_itself_does_not_run_for_ever(model):
    def meet_all():
        for kind, x in operands(model).items():
            for act in (lambda x, y: x + y, lambda x, y: x * y, lambda x, y: y * x, lambda x, y: x @ [y, y]):
                if not kind.startswith("MQ"):
                    oracle.outcome(lambda: act(x, containing_itself()))  # noqa: B023
            oracle.outcome(lambda: x + nested_list())  # noqa: B023

    assert survives(meet_all)


FAILING = {
    "a cell that refuses": lambda x, v: (x + 1) * objects(1.0, 2.0, Refuses()),
    "a cell that refuses to be added": lambda x, v: objects(1.0, 2.0, None) + x,
    "a mapped cell": lambda x, v: v + objects(v, v + 1, Refuses()), "a mapped text": lambda x, v: v * ["a", "b"],
    "shapes of a sum": lambda x, v: (2 * x + 1) + np.ones(4), "shapes of two arrays": lambda x, v: x + (x + 1)[:2],
    "shapes of a dense product": lambda x, v: np.ones((2, 2)) @ x,
    "shapes of a sparse product": lambda x, v: sp.eye(2).tocsr() @ (x + v), "degree": lambda x, v: (x * x) * v,
    "degree in a product": lambda x, v: (x * x) @ x,
    "an empty quadratic cell": lambda x, v: x + tso.MQuadExpr.new(objects(v * v, tso.QuadExpr(), v * v)),
    "sums of empty quadratic cells": lambda x, v: (x * 0 + 0) @ x, "a comparison": lambda x, v: x <= [1, 2, 3],
    "rows with a strange cell": lambda x, v: x, "values of another number": lambda x, v: x.setAttr("lb", [1, 2]),
    "an array of other things": lambda x, v: np.eye(3) @ tso.MVar.new(objects(v, v, None)),
    "variables and other things": lambda x, v: tso.MVar.new(objects(v, v, 1)) @ x,
    "sparse and other things": lambda x, v: sp.eye(3).tocsr() @ tso.MQuadExpr.new(objects(v * v, v, None)),
    "no value": lambda x, v: (x + v).getValue(), "a division": lambda x, v: (x + v) / v,
    "a power": lambda x, v: (x + v) ** 3, "a bad index": lambda x, v: (x + v)[7],
    "a bad axis": lambda x, v: (x + v).sum(axis=4),
}  # fmt: skip


@pytest.mark.parametrize("name", FAILING)
def test_failing_operations_leak_nothing(model, name):
    x = model.addMVar(3)
    v = x[0].item()
    act = FAILING[name]
    if name == "rows with a strange cell":
        strange = tso.MLinExpr.new(objects(v + 1, v + 2, v * v))
        act = lambda x, v: model.addConstr(tso.TempConstr.new(strange, None, 0))  # noqa: E731
    for _ in range(500):  # what the interpreter keeps for later use is there afterwards
        assert oracle.outcome(lambda: act(x, v))[0].endswith("Error")
    gc.collect()
    watched = (v, x[1].item(), x, tso.LinExpr, tso.QuadExpr, tso.MLinExpr, tso.MQuadExpr, tso.MVar)
    before, blocks = [sys.getrefcount(w) for w in watched], sys.getallocatedblocks()
    for _ in range(1000):
        try:
            act(x, v)
        except Exception:
            pass
    gc.collect()
    assert [sys.getrefcount(w) for w in watched] == before
    assert sys.getallocatedblocks() - blocks < 500
    assert model.NumConstrs == 0
