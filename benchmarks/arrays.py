"""Times models stated as arrays, here and in the open peers that take matrices, side by side, and prints ratios.

    python benchmarks/arrays.py [--rounds 3] [--cases sparse_rows,dense_rows] [--peers highspy,linopy] [--parts]

The method is that of build_models.py: each figure is the least CPU time of a few repeats in a process of its own, after
a first run that warms the memory; the libraries take turns, round by round. The data (matrices, right-hand sides) is
made before the clock starts; the time runs from an empty model until the solver library has it: HiGHS's model for
highspy, PyOptInterface and linopy (`to_highspy`), the solver's input data for CVXPY, the model proto for OR-Tools, the
library behind the module for us. Every library uses the form its own guide recommends (matrices/); one that has none
for a case is left out there, and so are peers that are not installed; what takes long runs once. The variables live on
when the clock stops, as their user holds them. --parts tells where our own time goes, line by line.

What is needed: python -m pip install scipy highspy pyoptinterface linopy ortools cvxpy highsbox
"""

import argparse
import gc
import json
import subprocess
import sys
import time
from pathlib import Path

import numpy as np
import peers

HERE = Path(__file__).resolve().parent
LIBRARIES = {
    "tessolvpy": "tessolv",
    "highspy": "highspy_",
    "linopy": "linopy_",
    "cvxpy": "cvxpy_",
    "pyoptinterface": "pyoptinterface",
    "ortools": "ortools_",
}
SIZES = {
    "sparse_rows": 100_000,
    "dense_rows": 1000,
    "quadratic": 1000,
    "elementwise": 1_000_000,
    "facility": 300,
    "queens": 500,
    "transport": 500,
}
REPEATS = 2
LONG = 2.0  # seconds: what takes longer is run once


def sparse_data(n):
    """n rows with ten entries each, in different sorted places of n columns."""
    import scipy.sparse

    rng = np.random.default_rng(1)
    columns = np.sort(rng.integers(0, n - 9, (n, 10)), axis=1) + np.arange(10)
    matrix = scipy.sparse.csr_array(
        (rng.random(10 * n) + 0.5, columns.ravel().astype(np.int32), np.arange(0, 10 * n + 1, 10, dtype=np.int32)),
        shape=(n, n),
    )
    return matrix, rng.random(n)


def dense_data(n):
    rng = np.random.default_rng(2)
    return rng.random((n, n)) + 0.5, rng.random(n)


def quadratic_data(n):
    """A symmetric positive definite matrix."""
    a = np.random.default_rng(3).random((n, n))
    return (a + a.T + 2.0 * n * np.eye(n),)


def cost_data(n):
    i = np.arange(n, dtype=float)
    return (np.add.outer(i, i),)


def transport_data(n):
    i = np.arange(n, dtype=float)
    return (np.add.outer(i, 2.0 * i),)


DATA = {
    "sparse_rows": sparse_data,
    "dense_rows": dense_data,
    "quadratic": quadratic_data,
    "elementwise": lambda n: (n // 1000 or 1, min(n, 1000)),  # the shape
    "facility": cost_data,
    "queens": lambda n: (n,),
    "transport": transport_data,
}


def load(library):
    return peers.load(HERE / "matrices" / f"{LIBRARIES[library]}.py")


def measure(library, case, size):
    """The least CPU seconds of one case, in this process."""
    function = getattr(load(library), case, None)
    if function is None:
        return None
    data = DATA[case](size)
    least = float("inf")
    for _ in range(REPEATS + 1):  # the first one warms the memory
        seconds, built = peers.seconds_of(function, data)
        peers.forget(built)
        del built
        least = min(least, seconds)
        if seconds > LONG:
            break
    return least


def run(library, case, size):
    # One thread: helpers of a linear algebra library that wait in a loop would count as time spent.
    return peers.run(__file__, library, case, size, environment={"OPENBLAS_NUM_THREADS": "1"})


def print_parts(case, size):
    """Our own time, step by step."""
    command = [sys.executable, __file__, "--steps", case, str(size)]
    done = subprocess.run(command, capture_output=True, text=True)
    for line in done.stdout.splitlines():
        if line.startswith("    "):
            print(line)


def steps(case, size):
    """Runs our case twice and prints the CPU time of each of its lines, taken from the second run."""
    function = getattr(load("tessolvpy"), case)
    lines = Path(function.__code__.co_filename).read_text().splitlines()
    spent = {}

    def trace(frame, event, _):
        nonlocal last, at
        now = time.process_time()
        if at is not None:
            spent[at] = spent.get(at, 0.0) + now - last
        at = None if event == "return" else frame.f_lineno
        last = time.process_time()
        return trace

    for _ in range(2):
        data, spent, last, at = DATA[case](size), {}, 0.0, None
        gc.collect()
        gc.disable()
        sys.settrace(lambda frame, event, _: trace if frame.f_code is function.__code__ else None)
        built = function(*data)
        sys.settrace(None)
        gc.enable()
        peers.forget(built)
        del built
    for number, seconds in sorted(spent.items()):
        print(f"    {seconds:8.4f} s  {lines[number - 1].strip()}")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    peers.add_options(parser, LIBRARIES, SIZES)
    parser.add_argument("--parts", action="store_true", help="print where our own time goes too")
    parser.add_argument("--one", nargs=3, help=argparse.SUPPRESS)
    parser.add_argument("--steps", nargs=2, help=argparse.SUPPRESS)
    options = parser.parse_args()
    if options.one:
        library, case, size = options.one
        print(json.dumps(measure(library, case, int(size))))
        return
    if options.steps:
        steps(options.steps[0], int(options.steps[1]))
        return
    wanted = peers.installed(options)
    for case in options.cases.split(","):
        size = max(20, int(SIZES[case] * options.scale))
        least = {}
        for _ in range(options.rounds):
            for library in wanted:
                if library in least and (least[library] is None or least[library] > LONG):
                    continue
                peers.keep_least(least, library, run(library, case, size))
        if not peers.report(case, size, least):
            continue
        if options.parts:
            print_parts(case, size)
        sys.stdout.flush()


if __name__ == "__main__":
    main()
