"""Times model building here and in the open peers, side by side, and prints ratios.

    python benchmarks/build_models.py [--rounds 3] [--cases facility,rows] [--peers pyoptinterface,highspy]

Each figure is the least CPU time of a few repeats in a process of its own, after a first run that warms the memory; the
libraries take turns, round by round. Peers that are not installed are left out; a library that has no idiom for a case
too. The floor is a C program that builds the same model through HiGHS's C interface (floor.c; needs a C compiler and
the package highsbox). What is needed: python -m pip install highspy pyoptinterface linopy pulp pyomo pyscipopt ortools
cvxpy highsbox
"""

import argparse
import importlib.util
import json
import subprocess
import sys
import tempfile
from pathlib import Path

import peers

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


def measure(library, case, size, repeats):
    """The least CPU seconds of one case, in this process."""
    cases = peers.load(HERE / "building" / f"{LIBRARIES[library]}.py")
    function = getattr(cases, case, None)
    if function is None:
        return None
    prepare = getattr(cases, PREPARE.get(case, f"prepare_{case}"), None)
    least = float("inf")
    for _ in range(repeats + 1):  # the first one warms the memory
        arguments = (size, prepare(size)) if prepare else (size,)
        seconds, built = peers.seconds_of(function, arguments)
        least = min(least, seconds)
        peers.forget(built)
        del built, arguments
    return least


def run(library, case, size):
    return peers.run(__file__, library, case, size, 1 if library in SLOW else 3)


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
    peers.add_options(parser, LIBRARIES, SIZES)
    parser.add_argument("--one", nargs=4, help=argparse.SUPPRESS)
    options = parser.parse_args()
    if options.one:
        library, case, size, repeats = options.one
        print(json.dumps(measure(library, case, int(size), int(repeats))))
        return
    wanted = peers.installed(options)
    with tempfile.TemporaryDirectory() as folder:
        program = floor(Path(folder))
        for case in options.cases.split(","):
            size = max(4, int(SIZES[case] * options.scale))
            least = {}
            for _ in range(options.rounds):
                for library in wanted:
                    if least.get(library, 0) is None:
                        continue
                    peers.keep_least(least, library, run(library, case, size))
                if program:
                    done = subprocess.run([program, case, str(size)], capture_output=True, text=True)
                    if done.returncode == 0:
                        peers.keep_least(least, "floor (C)", float(done.stdout))
            peers.report(case, size, least)
            sys.stdout.flush()


if __name__ == "__main__":
    main()
