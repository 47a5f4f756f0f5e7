"""Ctrl-C, time limits and threads, each in a process of its own."""

import os
import subprocess
import sys
from pathlib import Path

import capi
import pytest

KINDS = ["mip", "lp", "barrier", "qp", "first_order", "presolving", "sets", "nonconvex"]
KINDS += ["semidefinite"] if capi.has_csdp() else []
HERE = Path(__file__).resolve().parent
HEAD = f"""
import functools, os, signal, sys, threading, time
sys.path[:0] = [{str(HERE)!r}, {str(HERE.parent / "library")!r}]
import capi, numpy as np
import answers
dll = capi.load()
library = capi.Library(dll)
build = functools.partial(answers.build, library)

def mip(): return answers.market_split(build, 5, 50)
def sets():
    m = mip()
    m.addsos([1], [0], [50, 51])
    return m
def nonconvex():
    m = library.model()
    rng = np.random.default_rng(2)
    m.addvars(60, ub=np.ones(60))
    m.addrow(np.arange(60), np.ones(60), 5, 20)
    i, j = np.tril_indices(60)
    answers.add_quadratic(m, i, j, rng.normal(size=len(i)))
    return m
def qp(): return answers.large_qp(library, 2000)
def lp(rows=1500, columns=2500):
    rng = np.random.default_rng(3)
    m = library.model()
    m.addvars(columns, obj=-rng.uniform(0, 1000, columns), ub=np.ones(columns))
    index = (np.arange(40) * (columns // 40))[None, :] + rng.integers(0, columns // 40, (rows, 40))
    value = rng.integers(1, 51, (rows, 40)).astype(float)
    m.addrows(rows, np.arange(rows) * 40, index.ravel(), value.ravel(), upper=value.sum(axis=1) / 4)
    return m
def barrier(): m = lp(); m.parameter("Method", 2); return m
def first_order(): m = lp(); m.parameter("Method", 4); m.parameter("IPM/GapTolerance", 1e-10); return m
def presolving(): return lp(60000, 100000)
def semidefinite(n=900):
    rng = np.random.default_rng(5)
    return answers.max_cut(library, n, [(i, j) for i in range(n) for j in range(i) if rng.random() < 0.1])

def optimize(m, press=()):
    for after in press:
        threading.Timer(after, os.kill, (os.getpid(), signal.SIGINT)).start()
    begin = time.monotonic()
    code = dll.TSOoptimize(m.handle)
    return code, time.monotonic() - begin
"""


@pytest.fixture
def script():
    def run(code, timeout=100, returncode=0):
        done = subprocess.run(
            [sys.executable, "-X", "faulthandler", "-c", HEAD + code],
            capture_output=True, text=True, timeout=timeout, env=os.environ | {"PYTHONUNBUFFERED": "1"},
        )  # fmt: skip
        assert done.returncode == returncode, f"{done.returncode}: {done.stderr[-3000:]}"
        return done.stdout.split()

    return run


@pytest.mark.parametrize("kind", KINDS)
def test_ctrl_c_ends_every_kind_of_run_within_a_second(script, kind):
    """Also where the engine does not look; the process then ends in good order although a thread is left behind."""
    code, seconds, handler = script(
        f"""
m = {kind}()
before = signal.getsignal(signal.SIGINT)
code, seconds = optimize(m, [0.5])
print(code, seconds, signal.getsignal(signal.SIGINT) is before is signal.default_int_handler)
"""
    )
    assert int(code) == capi.ABORT_INTERRUPTED
    assert 0.45 < float(seconds) < 1.5
    assert handler == "True"


def test_what_was_found_is_kept_and_the_model_goes_on(script):
    found = script(
        """
m = mip()
code, _ = optimize(m, [1.0])
print(code, m.count("Status"), m.count("HasSolution"), m.number("ObjVal") >= m.number("DualObjVal"))
m.parameter("MaxTime", 0.5)
code, _ = optimize(m)
print(code, m.count("HasSolution"))
q = qp()
print(optimize(q, [1.0])[0])
q.set("UB", None, [0.0] * 2000)
q.set("LB", None, [0.0] * 2000)
print(optimize(q)[0], m.count("Status"))
"""
    )
    expected = [capi.ABORT_INTERRUPTED, 5, 1, True, capi.ABORT_TIME_LIMIT, 1, capi.ABORT_INTERRUPTED, 0, 5]
    assert found == [str(v) for v in expected]


def test_the_second_ctrl_c_goes_to_the_handler_that_was_there(script):
    # Python's handler notes it, and KeyboardInterrupt follows the run.
    assert script(
        """
m = qp()
try:
    optimize(m, [0.2, 0.4])
    time.sleep(1)
except KeyboardInterrupt:
    print("raised")
"""
    ) == ["raised"]
    # The default handler ends the process.
    script("signal.signal(signal.SIGINT, signal.SIG_DFL); optimize(qp(), [0.2, 0.4]); time.sleep(3)", returncode=-2)


def test_ignored_ctrl_c_stays_ignored_and_other_threads_do_not_see_it(script):
    found = script(
        """
signal.signal(signal.SIGINT, signal.SIG_IGN)
m = mip()
m.parameter("MaxTime", 1.0)
print(optimize(m, [0.3])[0])
signal.signal(signal.SIGINT, signal.default_int_handler)
codes = []
thread = threading.Thread(target=lambda: codes.append(optimize(m)[0]))
try:
    thread.start()
    os.kill(os.getpid(), signal.SIGINT)
    time.sleep(5)
except KeyboardInterrupt:
    thread.join()
    print(*codes)
"""
    )
    assert found == [str(capi.ABORT_TIME_LIMIT)] * 2


@pytest.mark.parametrize("kind", KINDS)
def test_time_limit_holds_and_counts_each_run_afresh(script, kind):
    found = script(
        f"""
m = {kind}()
m.parameter("MaxTime", 0.7)
for _ in range(2):
    print(*optimize(m))
"""
    )
    for code, seconds in (found[:2], found[2:]):
        assert int(code) == capi.ABORT_TIME_LIMIT
        assert float(seconds) < 0.7 * 1.1 + 1


def test_runs_in_threads_with_different_numbers_of_threads(script):
    found = script(
        """
threads_before = len(os.listdir("/proc/self/task"))
models = []
for k in range(6):
    m = answers.market_split(build, 2, 20 + k, k)
    m.parameter("NumThreads", k % 3)
    models.append(m)
reference = []
for m in models:
    assert optimize(m)[0] == 0
    reference.append(m.number("ObjVal"))
def work(m):
    for _ in range(3):
        dll.TSOreset(m.handle, 1)
        assert optimize(m)[0] == 0
threads = [threading.Thread(target=work, args=(m,)) for m in models]
for t in threads: t.start()
for t in threads: t.join()
print(all(abs(m.number("ObjVal") - r) < 1e-6 for m, r in zip(models, reference)))
deadline = time.monotonic() + 10  # a joined thread may still be on its way out
while len(os.listdir("/proc/self/task")) != threads_before and time.monotonic() < deadline:
    time.sleep(0.01)
print(len(os.listdir("/proc/self/task")) == threads_before)
"""
    )
    assert found == ["True", "True"]
