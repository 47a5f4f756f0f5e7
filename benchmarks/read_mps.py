"""Reading an MPS file of many rows: this library against the reader of HiGHS (highspy).

    python benchmarks/read_mps.py [rows]

Each reading happens in a process of its own, the two sides taking turns, so that neither profits from the memory or the
load of the other; the file is in the page cache for both. Printed are the times of the reading alone (without importing
and without making handles in Python), and the ratio of the medians.
"""

import argparse
import json
import random
import statistics
import subprocess
import sys
import tempfile
from pathlib import Path

ROUNDS = 9

OURS = """
import json, sys, time
import tessolvpy as tso
env = tso.Env(empty=True)
env.setParam("OutputFlag", 0)
tso.Model("the default environment is there before the clock runs")
begin = time.perf_counter()
m = tso.read(sys.argv[1], env)
took = time.perf_counter() - begin
print(json.dumps([took, int(m.NumConstrs), int(m.NumVars), int(m.NumNZs)]))
"""
THEIRS = """
import json, sys, time
import highspy
h = highspy.Highs()
h.setOptionValue("output_flag", False)
begin = time.perf_counter()
h.readModel(sys.argv[1])
took = time.perf_counter() - begin
print(json.dumps([took, h.getNumRow(), h.getNumCol(), h.getNumNz()]))
"""


def write_model(path, rows, columns, entries=6, seed=1):
    """A random sparse model with bounds, ranges and integers, by columns as the format wants it."""
    rng = random.Random(seed)
    with path.open("w") as file:
        file.write("NAME big\nROWS\n N cost\n")
        file.writelines(f" {rng.choice('LGE')} row{i}\n" for i in range(rows))
        file.write("COLUMNS\n")
        for j in range(columns):
            if j % 1000 == 500:
                file.write(f"    M{j} 'MARKER' 'INTORG'\n")
            file.write(f"    col{j}  cost  {rng.uniform(-100, 100):.6f}\n")
            for i in sorted(rng.sample(range(rows), entries)):
                file.write(f"    col{j}  row{i}  {rng.uniform(-1000, 1000):.9g}\n")
            if j % 1000 == 600:
                file.write(f"    M{j} 'MARKER' 'INTEND'\n")
        file.write("RHS\n")
        file.writelines(f"    RHS  row{i}  {rng.uniform(-1000, 1000):.6f}\n" for i in range(rows))
        file.write("BOUNDS\n")
        file.writelines(f" UP BND  col{j}  {rng.randrange(1, 1000)}\n" for j in range(0, columns, 2))
        file.write("ENDATA\n")


def reading(code, path):
    run = subprocess.run([sys.executable, "-c", code, str(path)], capture_output=True, text=True, check=True)
    took, *size = json.loads(run.stdout.splitlines()[-1])
    return took, size


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("rows", nargs="?", type=int, default=100_000)
    rows = parser.parse_args().rows
    with tempfile.TemporaryDirectory() as folder:
        path = Path(folder) / "big.mps"
        write_model(path, rows, rows)
        ours, theirs = [], []
        for _ in range(ROUNDS):
            for code, times in ((OURS, ours), (THEIRS, theirs)):
                took, size = reading(code, path)
                times.append(took)
                if times is ours:
                    expected = size
                elif size != expected:
                    sys.exit(f"the two did not read the same model: {expected} and {size}")
        print(f"{path.stat().st_size / 1e6:.1f} MB: {size[0]} rows, {size[1]} columns, {size[2]} entries")
        for name, times in (("tessolvpy", ours), ("highspy", theirs)):
            print(f"  {name:<10} median {statistics.median(times):.3f} s, best {min(times):.3f} s")
        print(f"  ratio of the medians, ours to theirs: {statistics.median(ours) / statistics.median(theirs):.2f}")


if __name__ == "__main__":
    main()
