"""What a callback may call: exact solver calls, forms of arguments and results, refusals that hand over nothing."""

import itertools
import threading

import numpy as np
import pytest
import tessolvpy as tso
from expressions import refusal
from tessolvpy import TSO, LinExpr, tupledict

WRONG = (TypeError, ValueError, KeyError, OverflowError)


@pytest.fixture
def inside(stub, model):
    """inside(act): the result of act() in a callback, and the calls that it made of its own."""

    def run(act, where=5):
        stub.call_back(1, where)
        outcome = {}

        def callback(m, where):
            stub.clear()
            try:
                outcome["result"] = act()
            except Exception as error:
                outcome["error"] = error
            outcome["calls"] = [call for call in stub.calls() if call[0].startswith("TSOcb")]

        model.optimize(callback)
        if "error" in outcome:
            assert not [call for call in outcome["calls"] if call[0] != "TSOcbget"]
            raise outcome["error"]
        return outcome["result"], outcome["calls"]

    return run


@pytest.fixture
def x(stub, model):
    model.addVar()
    stub.set(NumVars=4)
    return model.getVars()[:4]


def test_refusals(stub, model, x, inside):
    stranger, wrong_index = tso.Model().addVar(), TSO.MODEL_INVALID_COL_IDX
    get, cut, branch, offer = model.cbGetSolution, model.cbCut, model.cbBranch, model.cbSetSolution
    for act, wrong in [
        *[(get, (w,)) for w in (1.5, "x", [x[0], 2], [None])],
        *[(cut, w) for w in ((x[0] * x[1] <= 1,), (x[0],), (3,), ("a",), ([x[0] <= 1, 5],), (x[0] <= 1, "<", 2),
                             (x[0], "<"), (x[0], "!", 1), (x[0], 5, 1), ({}, "<", 1), (([0], [1, 2]), "<", 1),
                             ((["a"], [1]), "<", 1), ((x[0] == 1) >> (x[1] <= 1),))],
        *[(branch, w) for w in (("x", 1), (x[0], "a"), (x[0], 1, "up"), (2**40, 1))],
        *[(offer, w) for w in ((x, [1]), (x[0], "a"), (x[0], float("nan")), ("ab", 1), ([x[0], None], 1),
                               ({"a": x[0]}, {"b": 1}))],
    ]:  # fmt: skip
        assert refusal(inside, lambda act=act, wrong=wrong: act(*wrong))[0] in WRONG
    error, text = refusal(inside, lambda: (offer(x[0], 1), offer(1, 1)))
    assert error is ValueError and "not of both" in text
    codes = [(lambda code=code: model.cbGet(code), TSO.CB_INVALID_WHAT) for code in (0, 215, 315, 318, -1)]
    codes += [(lambda i=i: offer(i, 1), wrong_index) for i in (4, -1)]
    for act, code in [*codes, (lambda: get(stranger), wrong_index)]:
        assert refusal(inside, act) == (tso.TessolvError, f"text of code {code}")
    model.optimize(lambda m, where: None)
    for act, *arguments in [
        (model.cbGet, 300), (get,), (model.cbGetNodeRel,), (cut, x[0] <= 1), (branch, x[0], 0.5), (offer, x[0], 1),
        (model.cbUseSolution,),
    ]:  # fmt: skip
        assert refusal(act, *arguments) == (RuntimeError, "method can only be called in callback function")


def test_values(model, x, inside):
    for code, kind, length in [(203, "f8", 4), (210, "i4", 4), (211, "i4", 5), (316, "f8", 4)]:
        values, calls = inside(lambda code=code: model.cbGet(code))
        assert (values.dtype, values.shape, *calls[0][2:4]) == (np.dtype(kind), (length,), 5, code)
    keyed = tupledict({(0, "a"): x[3], (1, "b"): x[1]})
    grid = tso.MVar.fromlist([[x[0], x[1]], [x[2], x[3]]])
    for kind, expected, *asked in [
        (float, 0.5, x[2]), (list, [0.75, 0.5, 0.25, 0.0], reversed(x)), (np.ndarray, [0.0, 0.25, 0.5, 0.75]),
        (dict, {(0, "a"): 0.75, (1, "b"): 0.25}, keyed), (np.ndarray, [[0.0, 0.25], [0.5, 0.75]], grid),
    ]:  # fmt: skip
        found = inside(lambda asked=asked: model.cbGetSolution(*asked))[0]
        assert isinstance(found, kind) and (found.tolist() if kind is np.ndarray else found) == expected
    assert inside(lambda: model.cbGetNodeRel(x[:2]))[0] == [TSO.UNDEFINED] * 2  # no relaxation was solved


def test_cuts_and_branches(model, x, inside):
    one, block = (2, [0, 1], [2.0, 1.0], "<", 3.0), tso.MVar.fromlist(x[:2])
    each = [(1, [i], [1.0], "<", 1.0) for i in range(2)]
    for arguments, *expected in [
        ((2 * x[0] + x[1] + 1 <= 4,), one),
        ((x[1] + 2 * x[0], "<", 3), one),
        ((2 * x[0] + x[1] + 1, "<=", LinExpr(4)), one),
        ((x[0] == [1, 2],), (1, [0], [1.0], ">", 1.0), (1, [0], [1.0], "<", 2.0)),
        ((x[0] + x[1] + x[0] == 1,), (2, [0, 1], [2.0, 1.0], "=", 1.0)),
        (([x[0] <= 1, x[1] >= 2, True],), each[0], (1, [1], [1.0], ">", 2.0)),
        ((False,), (0, None, None, "<", -1.0)),
        ((block <= 1,), *each),
        ((block, "<", np.ones(2)), *each),
        ((([3, 1, 3], [1, 2, 4]), ">", 7), (2, [1, 3], [2.0, 5.0], ">", 7.0)),
    ]:
        calls = inside(lambda arguments=arguments: model.cbCut(*arguments))[1]
        assert [call[2:] for call in calls] == expected
    assert inside(lambda: model.cbBranch(x[2], 0.5, -1))[1][0][2:] == (2, 0.5, -1)
    name, *_, value, way = inside(lambda: model.cbBranch(1, 2))[1][0]
    assert (name, value, way) == ("TSOcbbranchp", 2.0, 0)


def test_solutions(model, x, inside):
    U, array = TSO.UNDEFINED, tso.MVar.fromlist(x)

    def offered(*entries):
        for entry in entries:
            model.cbSetSolution(*entry)
        return model.cbUseSolution()

    for entries, *expected in [
        ([(x[1], 3), (x[:2], [1, 2])], "TSOcbsolution", [1.0, 2.0, U, U]),
        ([(tupledict(enumerate(x)), {0: 1, 1: 2, 2: 3, 3: 4})], "TSOcbsolution", [1.0, 2.0, 3.0, 4.0]),
        ([(array, np.arange(4)), ({"a": x[0]}, 9)], "TSOcbsolution", [9.0, 1.0, 2.0, 3.0]),
        ([([0, 2], 1.5)], "TSOcbsolutionp", [1.5, U, 1.5, U]),
    ]:
        (status, objective), ((name, _, solution, *_),) = inside(lambda entries=entries: offered(*entries))
        assert status == 0 and isinstance(objective, float)
        assert [name, solution] == expected
    assert inside(model.cbUseSolution) == (None, [])


def test_what_was_entered_is_offered_when_the_callback_returns(stub, model, x):
    """Once, and with nothing of an earlier callback in it."""
    stub.call_back(3)
    turns = itertools.count()

    def callback(m, where):
        turn = next(turns)
        if turn != 1:
            m.cbSetSolution(x[turn], 1)

    model.optimize(callback)
    offers = [call[2] for call in stub.calls() if call[0] == "TSOcbsolution"]
    assert [[v != TSO.UNDEFINED for v in offer].index(True) for offer in offers] == [0, 2]


def test_a_run_with_a_callback_inside_a_callback_ends(stub, model, capfd):
    other = tso.Model()
    seen = []

    def callback(m, where):
        other.optimize()  # calls nobody back
        try:
            other.optimize(lambda *_: seen.append("inner"))
        except tso.TessolvError as error:
            seen.append(str(error.__context__))

    stub.call_back(1)
    run = threading.Thread(target=model.optimize, args=(callback,), daemon=True)
    run.start()
    run.join(20)
    assert not run.is_alive() and seen == ["a run that was started in a callback cannot call back"]
