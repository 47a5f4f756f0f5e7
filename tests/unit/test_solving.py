"""Runs, files and messages: the calls, their order around the interpreter lock, and the callback's way in and out."""

import gc
import threading
import weakref

import pytest
import tessolvpy as tso
from expressions import refusal

RUNS = [("optimize", "TSOoptimize"), ("computeIIS", "TSOcomputeIIS")]
each_run = pytest.mark.parametrize(("method", "function"), RUNS, ids=[row[0] for row in RUNS])


@each_run
def test_order_of_a_run(stub, model, method, function):
    run, mdl = getattr(model, method), stub.handle_of(model)
    assert run() is run(callback=None) is None
    assert stub.calls() == [("TSOsetcallbackfunc", mdl, None, id(model)), (function, mdl)] * 2
    run(lambda *_: None)
    assert stub.calls() == [("TSOsetcallbackfunc", mdl, "callback", id(model)), (function, mdl)]
    stub.fail(function, -9001)
    for error in (tso.TessolvError, None):
        assert refusal(run)[0] is error
        assert stub.without_lock() == [function]


@each_run
def test_the_last_callback_is_kept_until_the_next_run(stub, model, method, function):
    first, second = (lambda m, where: None for _ in range(2))
    kept, also = weakref.ref(first), weakref.ref(second)
    getattr(model, method)(first)
    del first
    gc.collect()
    assert kept() is not None
    stub.fail("TSOsetcallbackfunc", -3)
    assert refusal(getattr(model, method), second)[0] is tso.TessolvError
    del second
    gc.collect()
    assert kept() is None and also() is not None  # replaced even though the run did not begin
    getattr(model, method)()
    assert also() is None


@pytest.mark.parametrize("on_thread", [False, True], ids=["same thread", "another thread"])
@each_run
def test_callbacks_come_in(stub, model, capfd, on_thread, method, function):
    """Also from a thread of the library's own, which could never come in if the run held the lock."""
    seen, threads = [], set()

    def callback(*arguments):
        seen.append(arguments)
        threads.add(threading.get_ident())
        assert model.NumVars == 3

    stub.call_back(3, where=5, on_thread=on_thread)
    getattr(model, method)(callback)
    assert seen == [(model, 5)] * 3
    assert (threads == {threading.get_ident()}) is not on_thread
    assert capfd.readouterr().err == ""


def test_callback_errors_are_printed_and_the_run_goes_on(stub, model, capfd):
    calls = []

    def callback(m, where):
        calls.append(where)
        raise ValueError("from the callback")

    stub.call_back(2)
    assert model.optimize(callback) is None
    assert calls == [4, 4]
    assert capfd.readouterr().err.count("ValueError: from the callback") == 2
    assert model.optimize(5) is None  # not tested for being callable
    assert capfd.readouterr().err.count("TypeError: 'int' object is not callable") == 2


@each_run
def test_terminate_ends_the_run(stub, model, capfd, method, function):
    """The library is told by a callback that answers with a failure; it is the one that ends the run."""
    run, seen = getattr(model, method), []
    stub.call_back(3)
    text = f"text of code {tso.TSO.ABORT_INTERRUPTED}"
    assert refusal(run, lambda m, where: seen.append(m.terminate())) == (tso.TessolvError, text)
    assert seen == [None]
    stub.clear()
    assert refusal(model.terminate) == (RuntimeError, "method can only be called in callback function")
    assert stub.calls() == []
    run()


@each_run
def test_exit_in_a_callback_ends_the_run(stub, model, method, function):
    """What is no Exception is not printed and forgotten."""
    seen = []

    def callback(m, where):
        seen.append(where)
        raise KeyboardInterrupt

    stub.call_back(3, on_thread=True)
    with pytest.raises((tso.TessolvError, KeyboardInterrupt)):
        getattr(model, method)(callback)
    assert len(seen) == 1
