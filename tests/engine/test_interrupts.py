"""Ctrl-C, time limits and threads, each in a process of its own."""

import capi
import pytest

KINDS = ["mip", "lp", "barrier", "qp", "first_order", "presolving", "sets", "nonconvex"]
KINDS += ["semidefinite"] if capi.has_csdp() else []


@pytest.mark.parametrize("kind", KINDS)
def test_ctrl_c_ends_every_kind_of_run_within_a_second(script, kind):
    """Also where the engine does not look; the process then ends in good order although a thread is left behind."""
    out = script(
        f"""
print(*optimize({kind}(), [0.5]))
try:
    os.kill(os.getpid(), signal.SIGINT)
    time.sleep(1)
except KeyboardInterrupt:
    print("by the handler of before")
"""
    )
    code, seconds, then = out.split(maxsplit=2)
    assert int(code) == capi.ABORT_INTERRUPTED
    assert 0.45 < float(seconds) < 1.5
    assert then == "by the handler of before\n"


@pytest.mark.parametrize("kind", KINDS)
def test_time_limit_holds_and_counts_each_run_afresh(script, kind):
    found = script(f'm = {kind}(); m.parameter("MaxTime", 0.7); print(*optimize(m)); print(*optimize(m))')
    for code, seconds in map(str.split, found.splitlines()):
        assert int(code) == capi.ABORT_TIME_LIMIT
        assert 0.65 < float(seconds) < 0.7 * 1.1 + 1


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
    assert found.split() == [str(v) for v in expected]


def test_the_second_ctrl_c_goes_to_the_handler_that_was_there(script):
    # Python's handler notes it, and KeyboardInterrupt follows the run.
    assert (
        script(
            """
m = qp()
try:
    optimize(m, [0.2, 0.4])
    time.sleep(1)
except KeyboardInterrupt:
    print("raised")
"""
        )
        == "raised\n"
    )
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
    assert found.split() == [str(capi.ABORT_TIME_LIMIT)] * 2


def test_runs_in_threads_with_different_numbers_of_threads(script):
    found = script(
        """
from concurrent.futures import ThreadPoolExecutor
threads_before = len(os.listdir("/proc/self/task"))
models = [answers.market_split(build, 2, 20 + k, k) for k in range(6)]
for k, m in enumerate(models):
    m.parameter("NumThreads", k % 3)
def work(m):
    for _ in range(3):
        dll.TSOreset(m.handle, 1)
        assert optimize(m)[0] == 0
    return round(m.number("ObjVal"), 6)
reference = list(map(work, models))
with ThreadPoolExecutor(6) as pool:
    print(list(pool.map(work, models)) == reference)
deadline = time.monotonic() + 10  # a joined thread may still be on its way out
while len(os.listdir("/proc/self/task")) != threads_before and time.monotonic() < deadline:
    time.sleep(0.01)
print(len(os.listdir("/proc/self/task")) == threads_before)
"""
    )
    assert found.split() == ["True", "True"]
