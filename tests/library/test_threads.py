"""Two threads at one model, and models in many threads."""

import ctypes
import functools
import threading
import time
from concurrent.futures import ThreadPoolExecutor

import answers
import capi
import pytest


def in_threads(count, work, meanwhile):
    """Runs work() in threads and meanwhile() here, from one moment on; the first error in a thread is raised here."""
    start = threading.Barrier(count + 1)

    def run(act):
        start.wait()
        return act()

    with ThreadPoolExecutor(count) as pool:
        ends = [pool.submit(run, work) for _ in range(count)]
        result = run(meanwhile)
    return result, [end.result() for end in ends]


def add(m):
    return m.dll.TSOaddvar(m.handle, 0, None, None, 1.0, 0.0, 1.0, b"C", None)


@pytest.fixture
def running(library):
    """A model that another thread is solving, that thread, and what the solve returned."""
    m = answers.market_split(functools.partial(answers.build, library), 5, 40)
    m.parameter("MaxTime", 60.0)
    codes = []
    thread = threading.Thread(target=lambda: codes.append(m.dll.TSOoptimize(m.handle)))
    thread.start()
    deadline = time.monotonic() + 20
    while m.dll.TSOgetintattr(m.handle, b"NumVars", ctypes.byref(ctypes.c_int())) == 0:
        assert time.monotonic() < deadline, "the solve did not begin"
        time.sleep(0.01)
    yield m, thread, codes
    m.dll.TSOfreemodel(m.handle)
    thread.join(30)
    assert not thread.is_alive()


def test_others_are_kept_out_of_a_model_that_is_being_solved(library, running, fails):
    m, thread, codes = running
    for call in (
        m.state, m.addvar, lambda: m.delete("vars", [0]), lambda: m.call("TSOoptimize"),
        lambda: m.call("TSOgetattrinfo", "X", None, None, None), lambda: m.call("TSOreset", 0),
        lambda: m.parameter("MaxTime", 1.0),
    ):  # fmt: skip
        fails(capi.ERROR, call)
    assert m.dll.TSOcopymodel(m.handle) is None
    other = library.model()  # other models go on meanwhile
    other.addvar(obj=1.0, lb=2.0)
    other.call("TSOoptimize")
    assert other.get("X", [0]) == [2]
    assert thread.is_alive() and not codes


def test_freeing_a_model_ends_its_run(running):
    m, thread, codes = running
    begin = time.monotonic()
    assert m.dll.TSOfreemodel(m.handle) == 0
    assert m.dll.TSOfreemodel(m.handle) == add(m) == capi.INVALID_ARGUMENT
    assert m.dll.TSOgetenv(m.handle) is None
    thread.join(10)
    assert not thread.is_alive() and codes == [capi.ABORT_INTERRUPTED]
    assert time.monotonic() - begin < 5


def test_one_model_from_many_threads_is_an_error_or_right(library):
    m, stop = library.model(), threading.Event()

    def build():
        codes = []
        while not stop.is_set():
            codes.append(add(m))
        return codes

    _, codes = in_threads(4, build, lambda: (time.sleep(0.5), stop.set()))
    added = sum(each.count(0) for each in codes)
    assert set().union(*codes) <= {0, capi.ERROR} and m.count("NumVars") == added > 0
    assert m.get("Obj", length=added) == [1.0] * added


def test_freeing_while_others_use_it(library):
    env = library.env()
    for _ in range(200):
        m = library.model(env)
        m.addvars(50)
        use, free = lambda m=m: [add(m) for _ in range(50)], lambda m=m: m.dll.TSOfreemodel(m.handle)
        freed, codes = in_threads(2, use, free)
        assert freed == 0 and set().union(*codes) <= {0, capi.ERROR, capi.INVALID_ARGUMENT}
