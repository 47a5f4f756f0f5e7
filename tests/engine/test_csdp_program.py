"""The program that the library starts for semi-definite problems: whatever becomes of it, the run ends with a code."""

import os
import shutil
import signal
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import capi
import pytest
from answers import OPTIMAL, SUB_OPTIMAL, max_cut, needs_csdp

pytestmark = needs_csdp
PROGRAM = "tessolv-csdp"


@pytest.fixture
def moved(tmp_path):
    """The library and all that is beside it in another folder."""
    folder = tmp_path / "a folder of its own"
    shutil.copytree(Path(capi.find_library()).parent, folder)
    return folder


def test_a_killed_program_is_a_code_and_a_line_in_the_log(script):
    out = script(
        """
m = semidefinite()
m.parameter("OutputFlag", 1)
threading.Timer(1, lambda: os.kill(children()[0], signal.SIGKILL)).start()
print(dll.TSOoptimize(m.handle), m.count("Status"), m.count("HasSolution"), children())
m = pentagon()
print(dll.TSOoptimize(m.handle), m.count("Status"))
"""
    )
    assert f"{capi.INTERIOR_NUMERIC} 0 0 []" in out
    assert "failed: it was ended by signal 9" in out
    assert out.endswith("0 1\n")


@pytest.mark.parametrize(
    ("content", "mode", "code", "words"),
    [
        (None, None, capi.ABORT_SOLVER_NOT_AVAILABLE, "install that package"),
        (b"\x7fELF nonsense", 0o755, capi.ABORT_SOLVER_NOT_AVAILABLE, "can't be started"),
        (b"#!/bin/sh\nexit 0\n", 0o644, capi.ABORT_SOLVER_NOT_AVAILABLE, "can't be started"),
        (b"#!/bin/sh\nexit 7\n", 0o755, capi.INTERIOR_NUMERIC, "ended with code 7"),
        (b"#!/bin/sh\nexit 205\n", 0o755, capi.NOMEMORY, "ran out of memory"),
        (b"#!/bin/sh\nhead -c 4096 /dev/urandom >&0\n", 0o755, capi.INTERIOR_NUMERIC, "not what it should be"),
        (b"#!/bin/sh\nexec 0<&- 1<&- 2<&-\nsleep 60\n", 0o755, capi.INTERIOR_NUMERIC, "failed"),
        (b"#!/bin/sh\ntrap '' TERM INT\nsleep 60\n", 0o755, capi.ABORT_TIME_LIMIT, ""),
    ],
)
def test_a_program_that_is_missing_or_another_one(script, moved, content, mode, code, words):
    (moved / PROGRAM).unlink()
    if content:
        (moved / PROGRAM).write_bytes(content)
        (moved / PROGRAM).chmod(mode)
    out = script(
        """
m = pentagon(1)
m.parameter("MaxTime", 1.0)
begin = time.monotonic()
print(dll.TSOoptimize(m.handle), m.count("Status"), time.monotonic() - begin < 3, children())
""",
        moved / "libtessolv.so",
    )
    assert f"{code} 0 True []" in out
    assert words in out


def test_it_is_found_beside_a_library_that_moved_and_needs_nothing_around_it(script, moved, tmp_path):
    (tmp_path / "param.csdp").write_text("axtol=1\natytol=1\nobjtol=1\npinftol=1\ndinftol=1\nmaxiter=1\n")
    out = script(
        """
os.close(0)  # the descriptor that the program gets as its own
signal.signal(signal.SIGCHLD, signal.SIG_IGN)
m = pentagon()
print(dll.TSOoptimize(m.handle), round(m.number("ObjVal"), 6), len(os.listdir("/proc/self/fd")))
for _ in range(20):
    dll.TSOoptimize(m.handle)
print(len(os.listdir("/proc/self/fd")), children())
""",
        moved / "libtessolv.so",
    )
    first, second = out.splitlines()
    code, value, descriptors = first.split()
    assert (code, value) == ("0", "4.522542")
    assert second == f"{descriptors} []"


def test_it_dies_with_its_parent_and_does_not_hear_the_terminal(script):
    started = script(
        """
m = semidefinite()
threading.Timer(1, lambda: print(children()[0])).start()
dll.TSOoptimize(m.handle)
""",
        wait=False,
    )
    child = int(started.stdout.readline())
    assert os.getpgid(child) == child != os.getpgid(started.pid)
    started.kill()
    started.communicate()
    for _ in range(200):
        try:
            state = Path(f"/proc/{child}/stat").read_text().rsplit(")", 1)[1].split()[0]
        except FileNotFoundError:
            return
        if state == "Z":  # nobody here takes it, but it is dead
            return
        signal.sigtimedwait([], 0.01)
    pytest.fail("the program outlives its parent")


def test_several_at_once_and_limits_keep_what_was_found(library, run):
    models = [max_cut(library, 5, [(i, (i + 1) % 5) for i in range(5)]) for _ in range(8)]
    with ThreadPoolExecutor(8) as pool:
        assert list(pool.map(run, models)) == [(0, OPTIMAL)] * 8
    assert [m.number("ObjVal") for m in models] == pytest.approx([4.522542] * 8)
    m = max_cut(library, 200, [(i, j) for i in range(200) for j in range(i) if i * j % 7 == 1])
    m.parameter("IPM/MaxIterations", 5)
    assert (run(m), m.count("IPM/NumIters")) == ((capi.ABORT_ITERATION_LIMIT, SUB_OPTIMAL), 5)
    assert m.number("ObjVal") < m.number("DualObjVal") and m.matrices("PsdX", [0])[0].shape == (200, 200)
    m.parameter("MaxTime", 0.0)
    assert run(m)[0] == capi.ABORT_TIME_LIMIT
