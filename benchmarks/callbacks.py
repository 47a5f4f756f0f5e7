"""What a callback costs that does nothing: the same runs with it and with a C function in its place.

    python benchmarks/callbacks.py [--repeats 5]

Prints CPU seconds, the least of the repeats, and the ratio. The runs take turns.
"""

import argparse
import contextlib
import ctypes
import io
import sys
import time
from pathlib import Path

import tessolvpy as tso
from tessolvpy import TSO

sys.path[:0] = [str(Path(__file__).resolve().parents[1] / "examples")]
import bounds_picture  # noqa: E402

LIBRARY = next(Path(tso.__file__).parent.glob("tessolvpy.libs/libtessolv.so"))


def model():
    values, limits = bounds_picture.data()
    m = tso.Model()
    m.setParam("OutputFlag", 0)
    m.setParam("MIP/GapRel", 0)
    x = m.addVars(len(values), vtype=TSO.BINARY)
    for weights, most in limits:
        m.addConstr(tso.quicksum(w * x[j] for j, w in enumerate(weights)) <= most)
    m.setObjective(tso.quicksum(v * x[j] for j, v in enumerate(values)), TSO.MAXIMIZE)
    return m


def seconds(run, *arguments):
    begin = time.process_time()
    run(*arguments)
    return time.process_time() - begin


def with_python():
    m, calls = model(), []
    took = seconds(m.optimize, lambda model, where: calls.append(where))
    return took, len(calls)


def with_c():
    m = model()
    library, nothing = ctypes.CDLL(str(LIBRARY)), ctypes.CDLL(None).sched_yield  # takes anything, answers 0
    pointer = ctypes.c_void_p(m.ctypes().data.value)
    library.TSOsetcallbackfunc(pointer, nothing, None)
    return seconds(library.TSOoptimize, pointer)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--repeats", type=int, default=5)
    repeats = parser.parse_args().repeats
    python, c, calls = [], [], 0
    for _ in range(repeats):
        with contextlib.redirect_stdout(io.StringIO()):
            c.append(with_c())
            took, calls = with_python()
            python.append(took)
    print(f"{calls} calls: {min(python):.3f} s with a Python function, {min(c):.3f} s with one of C")
    print(f"ratio {min(python) / min(c):.3f}")


if __name__ == "__main__":
    main()
