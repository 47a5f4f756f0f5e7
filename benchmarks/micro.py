"""What reading and writing attributes costs: nanoseconds a call, and what they are made of.

    python benchmarks/micro.py [variables]

Needs tessolvpy and NumPy only. Each figure is the best of five rounds, with the empty loop taken off, so that a busy
machine shows as little as it can. The share of the library is measured by calling its functions from a loop in C,
which is compiled on the spot if there is a compiler.
"""

import ctypes
import os
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import numpy
import tessolvpy as tso

HERE = Path(__file__).resolve().parent
ROUNDS = 5

LIBRARY_PART = """
#include "tessolv.h"
#include <time.h>
typedef int (*Info)(TSOmodel, const char*, int*, int*, int*);
typedef int (*Get)(TSOmodel, const char*, int, const int*, double*);
typedef int (*Set)(TSOmodel, const char*, int, const int*, const double*);
static double now(void) {
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return (double)t.tv_sec * 1e9 + (double)t.tv_nsec;
}
double info_ns(Info info, void* model, const char* name, int times) {
    int type, owner, writable;
    double begin = now();
    for (int k = 0; k < times; ++k) info((TSOmodel)model, name, &type, &owner, &writable);
    return (now() - begin) / times;
}
double get_ns(Get get, void* model, const char* name, int n, int times) {
    double value, begin = now();
    for (int k = 0; k < times; ++k) {
        int index = k % n;
        get((TSOmodel)model, name, 1, &index, &value);
    }
    return (now() - begin) / times;
}
double set_ns(Set set, void* model, const char* name, int n, int times) {
    double value = 2, begin = now();
    for (int k = 0; k < times; ++k) {
        int index = k % n;
        set((TSOmodel)model, name, 1, &index, &value);
    }
    return (now() - begin) / times;
}
"""


def solved_model(folder, count):
    """A solved LP of `count` variables, all but the first of them bounded and in no row."""
    path = Path(folder) / "wide.lp"
    with path.open("w") as file:
        file.write("Minimize\n obj: x0\n")
        file.writelines(f" + x{j}\n" for j in range(1, count))
        file.write("Subject To\n c: x0 >= 1\nBounds\n")
        file.writelines(f" x{j} <= 10\n" for j in range(count))
        file.write("End\n")
    env = tso.Env(empty=True)
    env.setParam("OutputFlag", 0)
    model = tso.read(str(path), env)
    model.optimize()
    assert model.Status == tso.TSO.OPTIMAL
    return model


def best(action, count):
    """Nanoseconds for one of `count`."""
    times = []
    for _ in range(ROUNDS):
        begin = time.perf_counter_ns()
        action()
        times.append(time.perf_counter_ns() - begin)
    return min(times) / count


def line(what, nanoseconds, note=""):
    print(f"  {what:<46} {nanoseconds:9.1f} ns  {note}")


class Slots:
    """An ordinary Python object with a field: what any attribute costs in this interpreter."""

    __slots__ = ("X",)


def loops(variables):
    def empty():
        for _ in variables:
            pass

    def read():
        for x in variables:
            x.X  # noqa: B018

    def write():
        for x in variables:
            x.UB = 4.0

    def read_named():
        for x in variables:
            x.getAttr("X")

    def index():
        for x in variables:
            x.index  # noqa: B018

    return empty, read, write, read_named, index


def plain_reads(count):
    one = Slots()
    one.X = 1.0
    objects = [one] * count

    def read():
        for x in objects:
            x.X  # noqa: B018

    return read


def library_part(folder, model, count):
    """Costs of the library's own calls, by name; empty where nothing can be compiled."""
    source, shared = Path(folder) / "part.c", Path(folder) / "part.so"
    source.write_text(LIBRARY_PART)
    include = HERE.parent / "libtessolv" / "include"
    command = ["cc", "-O2", "-shared", "-fPIC", f"-I{include}", str(source), "-o", str(shared)]
    try:
        subprocess.run(command, check=True, capture_output=True)
    except (OSError, subprocess.CalledProcessError):
        return {}
    with open(f"/proc/{os.getpid()}/maps") as maps:
        loaded = next(entry.split()[-1] for entry in maps if "libtessolv.so" in entry)
    library, part = ctypes.CDLL(loaded), ctypes.CDLL(str(shared))
    handle, times = model.ctypes().data, 1_000_000

    def address(name):
        return ctypes.cast(getattr(library, name), ctypes.c_void_p)

    for name in ("info_ns", "get_ns", "set_ns"):
        getattr(part, name).restype = ctypes.c_double
    runs = {
        "TSOgetattrinfo": lambda: part.info_ns(address("TSOgetattrinfo"), handle, b"X", times),
        "TSOgetdblattrlist, one": lambda: part.get_ns(address("TSOgetdblattrlist"), handle, b"X", count, times),
        "TSOsetdblattrlist, one": lambda: part.set_ns(address("TSOsetdblattrlist"), handle, b"UB", count, times),
    }
    return {name: min(run() for _ in range(ROUNDS)) for name, run in runs.items()}


def main(count):
    with tempfile.TemporaryDirectory() as folder:
        model = solved_model(folder, count)
        variables = model.getVars()
        empty, read, write, read_named, index = loops(variables)
        base = best(empty, count)
        print(f"{count} variables, Python {sys.version.split()[0]}, NumPy {numpy.__version__}")
        print("One element at a time:")
        line("x.X", best(read, count) - base)
        line("x.UB = 4.0", best(write, count) - base)
        line('x.getAttr("X")', best(read_named, count) - base)
        print("of which, or beside which:")
        line("x.index, a property without the library", best(index, count) - base)
        line("the field of a Python object with slots", best(plain_reads(count), count) - base)
        for name, cost in library_part(folder, model, count).items():
            line(f"the library: {name}", cost)
        line("a NumPy scalar made of a double", best(lambda: [numpy.float64(1.0) for _ in range(100_000)], 100_000))

        print("All elements at once, an element:")
        line('m.getAttr("X", m.getVars())', best(lambda: model.getAttr("X", variables), count))
        line('m.getAttr("VarName", m.getVars())', best(lambda: model.getAttr("VarName", variables), count))
        values, array = [4.0] * count, numpy.full(count, 4.0)
        line('m.setAttr("UB", m.getVars(), list)', best(lambda: model.setAttr("UB", variables, values), count))
        line('m.setAttr("UB", m.getVars(), array)', best(lambda: model.setAttr("UB", variables, array), count))
        print("of which:")
        handle, out = model.ctypes().data, (ctypes.c_double * count)()
        indices = (ctypes.c_int * count)(*range(count))
        with open(f"/proc/{os.getpid()}/maps") as maps:
            library = ctypes.CDLL(next(entry.split()[-1] for entry in maps if "libtessolv.so" in entry))
        line(
            "the library: TSOgetdblattrlist, all",
            best(lambda: library.TSOgetdblattrlist(handle, b"X", count, indices, out), count),
        )
        line("an array made into a list", best(array.tolist, count))
        model.dispose()


if __name__ == "__main__":
    main(int(sys.argv[1]) if len(sys.argv) > 1 else 1_000_000)
