"""Callbacks in real runs: what they are asked about, what their cuts, solutions and branchings do to the answer."""

import itertools
import os
import random
import signal
import sys
import time
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import pytest
import tessolvpy as tso
from tableio import read_table
from tessolvpy import TSO, quicksum
from travelling_salesman import distances, solve

START, SOLUTION, NODE = TSO.Callback.MIPSTART, TSO.Callback.MIPSOL, TSO.Callback.MIPNODE


def quiet(**parameters):
    m = tso.Model()
    m.setParam("OutputFlag", 0)
    m.setParam("MIP/GapRel", 0)
    for name, value in parameters.items():
        m.setParam(name, value)
    return m


def knapsacks(n=30, rows=5, seed=7):
    """A problem that needs some hundred nodes, and its variables."""
    rng = random.Random(seed)
    m = quiet()
    x = m.addVars(n, vtype=TSO.BINARY, obj=[rng.randint(10, 60) for _ in range(n)])
    for _ in range(rows):
        weight = [rng.randint(5, 60) for _ in range(n)]
        m.addConstr(quicksum(w * x[j] for j, w in enumerate(weight)) <= sum(weight) // 3)
    m.ModelSense = TSO.MAXIMIZE
    return m, [x[j] for j in range(n)]


@pytest.mark.parametrize("node_cuts", [True, False])
@pytest.mark.parametrize(("name", "shortest"), [("burma14", 3323), ("eil51", 426)])
def test_shortest_tours(name, shortest, node_cuts):
    length = distances(read_table(f"{name}.csv"))
    value, tour, added = solve(length, node_cuts)
    assert value == pytest.approx(shortest) and added > 0
    steps = zip(tour, [*tour[1:], tour[0]])
    assert sum(length[min(step), max(step)] for step in steps) == shortest
    assert sorted(tour) == list(range(len(tour)))


@pytest.mark.parametrize("seed", range(40))
def test_rows_that_come_late_give_the_answer_of_rows_that_were_there(seed):
    rng = random.Random(seed)
    n = rng.randint(5, 12)
    rows = [(tuple((j, rng.randint(-3, 7)) for j in rng.sample(range(n), 4)), rng.randint(0, 9)) for _ in range(n)]
    cost = [rng.choice([0, 0, 1, -1, rng.randint(-12, 8)]) for _ in range(n)]
    bounds, kinds = [rng.randint(1, 4) for _ in range(n)], rng.choices("IB", k=n)

    def state(rows, **parameters):
        m = quiet(**parameters)
        x = [m.addVar(vtype=kinds[j], ub=bounds[j], obj=cost[j]) for j in range(n)]
        m.addConstrs(quicksum(a * x[j] for j, a in row) <= rhs for row, rhs in rows)
        return m, x

    (whole, _), (late, x) = state(rows), state(rows[: n // 2], MIP_EnableLazyConstr=1)

    def rest(model, where):
        if where == SOLUTION:
            value = model.cbGetSolution(x)
            for row, rhs in rows[n // 2 :]:
                if sum(a * value[j] for j, a in row) > rhs + 1e-6:
                    model.cbCut(quicksum(a * x[j] for j, a in row), "<", rhs)

    whole.optimize()
    late.optimize(rest)
    assert late.Status == whole.Status
    if whole.Status == TSO.OPTIMAL:
        assert late.ObjVal == pytest.approx(whole.ObjVal)


@pytest.mark.parametrize("presolved", [False, True])
def test_a_cut_closes_the_gap_at_the_root(presolved):
    """An odd cycle: the relaxation sets all to a half, one cut makes it whole."""
    n = 21
    m = quiet()
    x = m.addMVar(n, vtype=TSO.BINARY, obj=-1)
    m.addConstrs(x[i] + x[(i + 1) % n] <= 1 for i in range(n))
    bounds, answers = [], []

    def cut(model, where):
        if where == START and presolved:
            columns = list(range(model.cbGet(TSO.Callback.PRE_NUMVARS)))
            assert len(columns) == n  # nothing to be reduced here
            model.cbSetSolution(columns, 1)
            answers.append(model.cbUseSolution())
            model.cbSetSolution(columns[:2], [1, 0])  # the rest is found
            answers.append(model.cbUseSolution())
        if where == NODE:
            bounds.append((model.cbGet(TSO.Callback.MIP_RELVAL), model.cbGetNodeRel(x).sum()))
            if bounds[-1][1] > n // 2 + 1e-6:
                model.cbCut(([*range(n)], [1] * n), "<", n // 2) if presolved else model.cbCut(x.sum() <= n // 2)

    m.optimize(cut)
    assert (m.ObjVal, m.MIP_GapAbs) == (-(n // 2), 0)
    assert answers == ([(1, -n), (0, -(n // 2))] if presolved else [])
    for relaxation, total in bounds:
        assert relaxation == pytest.approx(-total)


def test_solutions_of_the_user():
    m, x = knapsacks()
    m.optimize()
    best, values = m.ObjVal, m.getAttr("X", x)
    m.reset(1)
    answers = []

    def offer(model, where):
        if where == START:
            model.cbSetSolution(x, [1] * len(x))
            answers.append(model.cbUseSolution()[0])  # too heavy
            model.cbSetSolution([x[0]], [round(values[0])])
            status, objective = model.cbUseSolution()  # the rest is found
            answers.append(status)
            assert objective <= best + 1e-6
            model.cbSetSolution(x, values)
        elif where == NODE and len(answers) == 2:
            model.cbSetSolution(x, [0] * len(x))
            answers.append(model.cbUseSolution()[0])  # nothing is worth less
            assert model.cbGet(TSO.Callback.MIP_OBJBST) == pytest.approx(best)

    m.optimize(offer)
    assert answers == [1, 0, 2] and m.ObjVal == pytest.approx(best)


def test_branching_steers_the_tree():
    found = set()
    for choose in (None, min, max):
        m, x = knapsacks(40, rows=12, seed=5)
        nodes = [0]

        def branch(model, where, choose=choose, x=x, nodes=nodes):
            nodes.append(model.cbGet(TSO.Callback.MIP_NODCNT))
            if where == NODE and choose:
                distances = [(abs(v - round(v)), i, v) for i, v in enumerate(model.cbGetNodeRel(x))]
                if fractional := [d for d in distances if d[0] > 1e-4]:
                    _, i, value = choose(fractional)
                    model.cbBranch(x[i], value, 1)

        m.optimize(branch)
        found.add((round(m.ObjVal, 6), nodes[-1]))
    values, counts = map(set, zip(*found))
    assert len(values) == 1 < len(counts)


EVERYWHERE = [*range(200, 213), 300, 301, 303, 306, 307, 308, 309, 312, 316]
AT_NODES = [302, 304, 305, 310, 311, 313, 314, 317]


def test_values_of_the_run_at_every_place():
    m, x = knapsacks(20)
    seen = {}

    def look(model, where):
        seen[where] = seen.get(where, 0) + 1
        for code in (*EVERYWHERE, *AT_NODES, 199, 215, 315, 999):
            if code in EVERYWHERE or (code in AT_NODES and where == NODE):
                model.cbGet(code)
                continue
            with pytest.raises(tso.TessolvError) as refused:
                model.cbGet(code)
            assert refused.value.errno == (TSO.CB_INVALID_WHERE if code in AT_NODES else TSO.CB_INVALID_WHAT)
        columns, rows = model.cbGet(200), model.cbGet(201)
        starts, indices = model.cbGet(211), model.cbGet(210)
        assert len(starts) == columns + 1 and starts[-1] == model.cbGet(202) == len(indices)
        assert (np.diff(starts) >= 0).all() and (not len(indices) or 0 <= indices.min() <= indices.max() < rows)
        assert (model.cbGet(203) <= model.cbGet(204)).all() and (model.cbGet(205) <= model.cbGet(206)).all()
        if where == NODE:
            relaxation = model.cbGet(304)
            assert model.cbGet(207) @ relaxation + model.cbGet(212) == pytest.approx(model.cbGet(302))
            weights = np.zeros(rows)
            np.add.at(weights, indices, model.cbGet(209) * np.repeat(relaxation, np.diff(starts)))
            assert (weights <= model.cbGet(206) + 1e-6).all() and (weights >= model.cbGet(205) - 1e-6).all()
            assert (model.cbGet(313) <= np.array(model.cbGetNodeRel(x)) + 1e-6).all()
            assert model.cbGet(301) >= model.cbGet(302) - 1e-6  # of a maximization, all nodes beside one of them
            assert model.cbGet(310) >= 1 and model.cbGet(311) >= 0
        if where == SOLUTION:
            values = model.cbGetSolution(x)
            assert all(abs(v - round(v)) < 1e-6 for v in values)

    m.optimize(look)
    assert seen[START] == 1 and seen[SOLUTION] > 0 and seen[NODE] > 0
    assert m.Status == TSO.OPTIMAL


def test_what_does_not_go_where():
    m, x = knapsacks(20)
    refused = {}

    def attempt(model, where):
        for name, act in {
            "cut": lambda: model.cbCut(x[0] + x[1] <= 2), "branch": lambda: model.cbBranch(x[0], 0.5),
            "branch at a bound": lambda: model.cbBranch(x[0], 1.5), "relaxation": lambda: model.cbGetNodeRel(x),
            "edit": lambda: model.addVar(), "row": lambda: model.addConstr(x[0] <= 0),
            "bound": lambda: setattr(x[0], "UB", 0), "itself": lambda: model.optimize(attempt),
            "read": lambda: model.NumVars,
        }.items():  # fmt: skip
            try:
                act()
            except tso.TessolvError as error:
                refused.setdefault((name, where), error.errno)

    m.optimize(attempt)
    for act in (("cut", START), ("branch", START), ("branch", SOLUTION), ("relaxation", SOLUTION)):
        assert refused[act] == TSO.CB_INVALID_WHERE
    for act in (("cut", SOLUTION), ("branch at a bound", NODE)):  # lazy constraints were not announced
        assert refused[act] == TSO.CB_INVALID_SUBMISSION
    for name, where in itertools.product(("edit", "row", "bound", "itself"), (START, SOLUTION, NODE)):
        assert (name, where) in refused
    assert not [name for name, _ in refused if name == "read"]
    assert m.NumVars == len(m.getVars()) == 20 and m.Status == TSO.OPTIMAL


def end_by_exception(error):
    raise error


ENDS = {  # what a callback does, and what the exception of the run has as its context
    "terminate": (lambda m: m.terminate(), AttributeError),
    "interrupt": (lambda m: end_by_exception(KeyboardInterrupt), KeyboardInterrupt),
    "exit": (lambda m: end_by_exception(SystemExit(3)), SystemExit),
    "signal": (lambda m: (os.kill(os.getpid(), signal.SIGINT), time.sleep(0.01)), KeyboardInterrupt),
    "dispose": (lambda m: m.dispose() or pytest.raises(tso.TessolvError, m.cbGet, 300), None),
}


@pytest.mark.parametrize("how", ENDS)
def test_ends(how):
    (act, context), (m, x), acted = ENDS[how], knapsacks(), []

    def callback(model, where):
        if where == NODE and not acted and model.cbGet(TSO.Callback.MIP_SOLCNT) > 0:
            acted.append(how)
            act(model)

    begin = time.perf_counter()
    with pytest.raises(tso.TessolvError) as ended:
        m.optimize(callback)
    assert time.perf_counter() - begin < 20
    assert ended.value.errno == TSO.ABORT_INTERRUPTED
    if context:
        assert type(ended.value.__context__) is context
        assert m.HasSolution == 1 and len(m.getAttr("X", x)) == 30
    assert sys.exc_info() == (None, None, None)


def test_kept_models_and_threads():
    """Two models at once, a model kept by its callback, and calls from outside of it."""
    plain, _ = knapsacks(22)
    plain.optimize()
    kept = []

    def work(_):
        m, x = knapsacks(22)

        def watch(model, where):
            kept.append(model)
            assert model is m
            model.cbGetSolution(x)

        m.optimize(watch)
        return m.ObjVal

    with ThreadPoolExecutor(2) as pool:
        assert list(pool.map(work, range(2))) == pytest.approx([plain.ObjVal] * 2)
    assert len(set(map(id, kept))) == 2
    with pytest.raises(RuntimeError, match="can only be called in callback"):
        kept[0].cbGet(300)


def test_no_callback_without_anything_discrete():
    m = quiet()
    x = m.addVar(ub=3, obj=-1)
    called = []
    m.optimize(lambda model, where: called.append(where))
    assert (x.X, m.ObjVal, called) == (3, -3, [])
