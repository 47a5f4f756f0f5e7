"""Runs beside runs: threads, time limits, interrupts, models that go away, and the end of the process."""

import threading
import time

import pytest
import tessolvpy as tso
from files import DATA

TSO = tso.TSO


def test_python_runs_while_the_library_solves(hard, capsys):
    hard.Params.MaxTime = 1.5
    ticks = []
    done = threading.Event()

    def tick():
        while not done.wait(0.01):
            ticks.append(time.monotonic())

    thread = threading.Thread(target=tick)
    thread.start()
    started = time.monotonic()
    with pytest.raises(tso.TessolvError) as caught:
        hard.optimize()
    took = time.monotonic() - started
    done.set()
    thread.join()
    assert len(ticks) > 50
    assert max(b - a for a, b in zip(ticks, ticks[1:])) < 0.5
    assert caught.value.errno == TSO.ABORT_TIME_LIMIT
    assert 1.2 < took < 1.5 * 1.1 + 1
    assert hard.SolutionTime == pytest.approx(took, abs=0.5)
    assert hard.HasSolution == 1


def test_handles_of_a_disposed_model(read):
    m = read(DATA / "lp/afiro.mps")
    x, c, params = m.getVars()[0], m.getConstrs()[0], m.Params
    m.dispose()
    m.dispose()
    for act in (
        lambda: x.X, lambda: setattr(x, "UB", 1), lambda: str(c), lambda: m.NumVars, m.optimize, m.computeIIS, m.copy,
        lambda: m.getAttr("X", m.getVars()), lambda: m.setAttr("LB", m.getVars(), [0.0] * 32), m.reset, m.cleanupMilp,
        lambda: m.write("a.lp"), lambda: m.read("a.lp"), lambda: params.MaxTime, lambda: setattr(params, "MaxTime", 1),
        lambda: m.ctypes().reload(),
    ):  # fmt: skip
        with pytest.raises(tso.TessolvError):
            act()


@pytest.mark.parametrize("callback", ["None", "lambda model, where: (time.sleep(0.1), model.cbGetSolution())"])
def test_exit_with_live_models_while_a_thread_solves(python, hard, tmp_path, callback):
    path = str(tmp_path / "hard.lp")
    hard.write(path)
    code = f"""
import threading, time, tessolvpy as tso
env = tso.Env(empty=True)
env.setParam("OutputFlag", 0)
models = [tso.Model("empty", env)]
for i in range(5):
    m = tso.read({str(DATA / "lp/25fv47.mps")!r}, env); m.optimize(); models += [m, m.copy()]
x = m.getVars()[0]
m = tso.read({path!r}, env)
threading.Thread(target=m.optimize, args=({callback},), daemon=True).start()
time.sleep(0.5)
print(time.time())
"""
    for _ in range(5):  # the thread comes back from the library before, while or after the interpreter goes
        ended = float(python(code, timeout=60).splitlines()[-1])
        assert time.time() - ended < 3
