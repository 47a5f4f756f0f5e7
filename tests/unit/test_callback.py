"""What a callback may call: exact solver calls, forms of arguments and results, refusals that hand over nothing."""

import itertools
import threading

import numpy as np
import pytest
import tessolvpy as tso
from tessolvpy import TSO, LinExpr, tupledict

OUTSIDE = "^method can only be called in callback function$"


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


def test_only_inside_a_callback(model, x):
    kept = []
    calls = [
        lambda: model.cbGet(300),
        model.cbGetSolution,
        model.cbGetNodeRel,
        lambda: model.cbCut(x[0] <= 1),
        lambda: model.cbBranch(x[0], 0.5),
        lambda: model.cbSetSolution(x[0], 1),
        model.cbUseSolution,
    ]
    for call in calls:
        with pytest.raises(RuntimeError, match=OUTSIDE):
            call()
    model.optimize(lambda m, where: kept.append(m))
    for call in calls:
        with pytest.raises(RuntimeError, match=OUTSIDE):
            call()


def test_values_by_code(stub, model, x, inside):
    assert inside(lambda: model.cbGet(300))[0] == 300.0
    for code, kind, length in [(203, "f8", 4), (210, "i4", 4), (211, "i4", 5), (205, "f8", 4), (316, "f8", 4)]:
        values, calls = inside(lambda code=code: model.cbGet(code))
        assert (values.dtype, values.shape) == (np.dtype(kind), (length,)), code
        assert calls[0][2:4] == (5, code)
    for code in (0, 215, 315, 318, -1):
        with pytest.raises(tso.TessolvError) as refused:
            inside(lambda code=code: model.cbGet(code))
        assert refused.value.errno == TSO.CB_INVALID_WHAT


def test_values_in_the_form_in_which_they_are_asked(model, x, inside):
    keyed = tupledict({(0, "a"): x[3], (1, "b"): x[1]})
    grid = tso.MVar.fromlist([[x[0], x[1]], [x[2], x[3]]])
    assert inside(lambda: model.cbGetSolution(x[2]))[0] == 0.5
    assert inside(lambda: model.cbGetSolution(reversed(x)))[0] == [0.75, 0.5, 0.25, 0.0]
    found = inside(lambda: model.cbGetSolution(keyed))[0]
    assert type(found) is tupledict and found == {(0, "a"): 0.75, (1, "b"): 0.25}
    assert inside(lambda: model.cbGetSolution(grid))[0].tolist() == [[0.0, 0.25], [0.5, 0.75]]
    assert inside(model.cbGetSolution)[0].tolist() == [0.0, 0.25, 0.5, 0.75]
    assert inside(lambda: model.cbGetNodeRel(x[:2]))[0] == [TSO.UNDEFINED] * 2  # no relaxation was solved
    for wrong in (1.5, "x", [x[0], 2], [None]):
        with pytest.raises(TypeError):
            inside(lambda wrong=wrong: model.cbGetSolution(wrong))
    with pytest.raises(tso.TessolvError) as refused:
        inside(lambda: model.cbGetSolution(tso.Model().addVar()))
    assert refused.value.errno == TSO.MODEL_INVALID_COL_IDX


def test_cuts(model, x, inside):
    def cuts(*arguments):
        return [call[2:] for call in inside(lambda: model.cbCut(*arguments))[1]]

    one = (2, [0, 1], [2.0, 1.0], "<", 3.0)
    assert cuts(2 * x[0] + x[1] + 1 <= 4) == [one]
    assert cuts(x[1] + 2 * x[0], "<", 3) == cuts(2 * x[0] + x[1] + 1, "<=", LinExpr(4)) == [one]
    assert cuts(x[0] == [1, 2]) == [(1, [0], [1.0], ">", 1.0), (1, [0], [1.0], "<", 2.0)]
    assert cuts(x[0] + x[1] + x[0] == 1) == [(2, [0, 1], [2.0, 1.0], "=", 1.0)]
    assert [c[-1] for c in cuts([x[0] <= 1, x[1] >= 2, True])] == [1.0, 2.0]
    assert cuts(False) == [(0, None, None, "<", -1.0)]
    block = tso.MVar.fromlist(x[:2])
    assert cuts(block <= 1) == cuts(block, "<", np.ones(2)) == [(1, [i], [1.0], "<", 1.0) for i in range(2)]
    assert cuts(([3, 1, 3], [1, 2, 4]), ">", 7) == [(2, [1, 3], [2.0, 5.0], ">", 7.0)]
    bad = [
        (x[0] * x[1] <= 1,),
        (x[0],),
        (3,),
        ("a",),
        ([x[0] <= 1, 5],),
        (x[0] <= 1, "<", 2),
        (x[0], "<"),
        (x[0], "!", 1),
    ]
    bad += [(x[0], 5, 1), ({}, "<", 1), (([0], [1, 2]), "<", 1), ((["a"], [1]), "<", 1), ((x[0] == 1) >> (x[1] <= 1),)]
    for arguments in bad:
        with pytest.raises((TypeError, ValueError)):
            inside(lambda arguments=arguments: model.cbCut(*arguments))


def test_branching(model, x, inside):
    assert inside(lambda: model.cbBranch(x[2], 0.5, -1))[1][0][2:] == (2, 0.5, -1)
    name, *_, value, way = inside(lambda: model.cbBranch(1, 2))[1][0]
    assert (name, value, way) == ("TSOcbbranchp", 2.0, 0)
    for wrong in (("x", 1), (x[0], "a"), (x[0], 1, "up"), (2**40, 1)):
        with pytest.raises((TypeError, OverflowError)):
            inside(lambda wrong=wrong: model.cbBranch(*wrong))


def test_solutions(stub, model, x, inside):
    def offered(*entries):
        def act():
            for entry in entries:
                model.cbSetSolution(*entry)
            return model.cbUseSolution()

        (status, objective), calls = inside(act)
        assert status == 0 and isinstance(objective, float)
        return [(name, solution) for name, _, solution, *_ in calls]

    U = TSO.UNDEFINED
    assert offered((x[1], 3), (x[:2], [1, 2])) == [("TSOcbsolution", [1.0, 2.0, U, U])]
    assert offered((tupledict(enumerate(x)), {0: 1, 1: 2, 2: 3, 3: 4})) == [("TSOcbsolution", [1.0, 2.0, 3.0, 4.0])]
    assert offered((tso.MVar.fromlist(x), np.arange(4)), ({"a": x[0]}, 9)) == [("TSOcbsolution", [9.0, 1.0, 2.0, 3.0])]
    assert offered(([0, 2], 1.5)) == [("TSOcbsolutionp", [1.5, U, 1.5, U])]

    assert inside(model.cbUseSolution) == (None, [])
    for wrong in ((x, [1]), (x[0], "a"), (x[0], float("nan")), ("ab", 1), ([x[0], None], 1), ({"a": x[0]}, {"b": 1})):
        with pytest.raises((TypeError, ValueError, KeyError)):
            inside(lambda wrong=wrong: model.cbSetSolution(*wrong))
    for index in (4, -1):
        with pytest.raises(tso.TessolvError):
            inside(lambda index=index: model.cbSetSolution(index, 1))
    with pytest.raises(ValueError, match="not of both"):
        inside(lambda: (model.cbSetSolution(x[0], 1), model.cbSetSolution(1, 1)))


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
