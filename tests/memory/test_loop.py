"""A loop of create, read, solve, dispose ends with the memory that it began with."""

import os
import subprocess
import sys
from pathlib import Path

import pytest

EXAMPLES = Path(__file__).resolve().parents[2] / "examples"
LOOP = """
import ctypes, gc, os, sys
import tessolvpy

class Mallinfo(ctypes.Structure):
    _fields_ = [(name, ctypes.c_size_t) for name in
        "arena ordblks smblks hblks hblkhd usmblks fsmblks uordblks fordblks keepcost".split()]

mallinfo2 = ctypes.CDLL(None).mallinfo2
mallinfo2.restype = Mallinfo

def in_use():
    gc.collect()
    info = mallinfo2()
    return info.uordblks + info.hblkhd

def once():
    m = tessolvpy.read(sys.argv[1])
    m.setParam("OutputFlag", 0)
    m.optimize()
    x = m.getVars()
    m.getAttr("X", x), m.getAttr("VarName", x), x[0].X, m.ObjVal
    try:
        m.setParam("MaxTime", -1.0)
    except tessolvpy.TessolvError:
        pass
    m.write(sys.argv[2])
    m.dispose()

def rounds(n):
    for _ in range(n):
        once()
rounds(20)
before = in_use()
rounds(60)
print(before, in_use())
"""


@pytest.mark.skipif(
    "libasan" in os.environ.get("LD_PRELOAD", ""), reason="the sanitizer's allocator keeps no such counts"
)
@pytest.mark.parametrize("model", ["afiro.mps", "p0033.mps"])
def test_memory_does_not_grow(model, tmp_path):
    command = [sys.executable, "-c", LOOP, str(EXAMPLES / model), str(tmp_path / "out.lp")]
    run = subprocess.run(
        command, env={**os.environ, "PYTHONMALLOC": "malloc"}, capture_output=True, text=True, timeout=300
    )
    assert run.returncode == 0, run.stderr
    before, after = map(int, run.stdout.split()[-2:])
    # The smallest object lost in each of the 60 rounds would be 60 times 24 bytes; threads that end may move a little.
    assert after - before < 60 * 100, f"{after - before} bytes more after 60 rounds"
