"""Times model building here and in the open peers, side by side, and prints ratios.

    python benchmarks/build_models.py [--rounds 3] [--cases facility,rows] [--peers pyoptinterface,highspy]

Each figure is the least CPU time of a few repeats in a process of its own, after a first run that warms the memory; the
libraries take turns, round by round. Peers that are not installed are left out; a library that has no idiom for a case
too. The floor is a C program that builds the same model through HiGHS's C interface (floor.c; needs a C compiler and
the package highsbox). What is needed: python -m pip install highspy pyoptinterface linopy pulp pyomo pyscipopt ortools
cvxpy highsbox
"""

import argparse
import gc
import importlib
import importlib.util
import json
import subprocess
import sys
import tempfile
import time
from pathlib import Path

HERE = Path(__file__).resolve().parent
LIBRARIES = {
    "tessolvpy": "tessolv",
    "pyoptinterface": "pyoptinterface",
    "highspy": "highspy_",
    "ortools": "ortools_",
    "pulp": "pulp_",
    "pyscipopt": "pyscipopt_",
    "pyomo": "pyomo_",
    "linopy": "linopy_",
    "cvxpy": "cvxpy_",
}
SIZES = {
    "facility": 300,
    "queens": 500,
    "queens_patterns": 500,
    "transport": 500,
    "long_sum": 1_000_000,
    "variables": 1_000_000,
    "rows": 200_000,
    "bounds": 100_000,
    "read": 100_000,
    "read_bulk": 100_000,
    "removal": 100_000,
}
PREPARE = {"long_sum": "prepare_sum"}  # by name, where it is not prepare_<case>
SLOW = {"pyomo", "pulp", "pyscipopt", "ortools"}  # one repeat is enough


def load(library):
    """The cases of one library. Its file may have the library's own name, so it is loaded by path."""
    path = HERE / "building" / f"{LIBRARIES[library]}.py"
    spec = importlib.util.spec_from_file_location(f"cases_of_{library}", path)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


def measure(library, case, size, repeats):
    """The least CPU seconds of one case, in this process."""
    cases = load(library)
    function = getattr(cases, case, None)
    if function is None:
        return None
    prepare = getattr(cases, PREPARE.get(case, f"prepare_{case}"), None)
    least = float("inf")
    for _ in range(repeats + 1):  # the first one warms the memory
        arguments = (size, prepare(size)) if prepare else (size,)
        gc.collect()
        gc.disable()
        begin = time.process_time()
        built = function(*arguments)
        least = min(least, time.process_time() - begin)
        gc.enable()
        if hasattr(built, "dispose"):
            built.dispose()
        del built, arguments
    return least


def run(library, case, size):
    command = [sys.executable, __file__, "--one", library, case, str(size), "1" if library in SLOW else "3"]
    done = subprocess.run(command, capture_output=True, text=True)
    try:
        return json.loads(done.stdout.splitlines()[-1])
    except (IndexError, ValueError):
        print(f"{library} {case}: {done.stderr.strip().splitlines()[-1:]}", file=sys.stderr)
        return None


def floor(folder):
    """A program that builds the cases through HiGHS's C interface, or None."""
    try:
        package = Path(importlib.util.find_spec("highsbox").origin).parent / "highs_dist"
        program = folder / "floor"
        subprocess.run(
            ["cc", "-O2", f"-I{package}/include/highs", str(HERE / "building" / "floor.c"), "-o", str(program)]
            + [f"-L{package}/lib", "-lhighs", f"-Wl,-rpath,{package}/lib"],
            check=True,
        )
        return program
    except (AttributeError, OSError, subprocess.CalledProcessError):
        return None


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--cases", default=",".join(SIZES))
    parser.add_argument("--peers", default=",".join(list(LIBRARIES)[1:]))
    parser.add_argument("--scale", type=float, default=1.0, help="of the sizes")
    parser.add_argument("--one", nargs=4, help=argparse.SUPPRESS)
    options = parser.parse_args()
    if options.one:
        library, case, size, repeats = options.one
        print(json.dumps(measure(library, case, int(size), int(repeats))))
        return
    wanted = ["tessolvpy"] + [name for name in options.peers.split(",") if importlib.util.find_spec(name)]
    with tempfile.TemporaryDirectory() as folder:
        program = floor(Path(folder))
        for case in options.cases.split(","):
            size = max(4, int(SIZES[case] * options.scale))
            least = {}
            for _ in range(options.rounds):
                for library in wanted:
                    if least.get(library, 0) is None:
                        continue
                    seconds = run(library, case, size)
                    before = least.get(library)
                    least[library] = seconds if before is None or seconds is None else min(before, seconds)
                if program:
                    done = subprocess.run([program, case, str(size)], capture_output=True, text=True)
                    if done.returncode == 0:
                        least["floor (C)"] = min(float(done.stdout), least.get("floor (C)", float("inf")))
            ours = least.pop("tessolvpy")
            if ours is None:
                continue
            found = sorted((seconds, name) for name, seconds in least.items() if seconds is not None)
            print(f"{case} ({size:,}): {ours:.4f} s")
            for seconds, name in found:
                print(f"    {ours / seconds:6.2f} of {name} ({seconds:.4f} s)")
            sys.stdout.flush()


if __name__ == "__main__":
    main()
