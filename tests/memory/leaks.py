"""Under the leak sanitizer (scripts/sanitize): whether a loop of create, read, solve and dispose loses memory of ours.

The interpreter and NumPy leave memory behind when they end; what counts here are the findings that came through our own
sources, which the sanitizer's report names frame by frame.
"""

import os
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
MODEL = ROOT / "examples" / "afiro.mps"
LOOP = """
import sys
import tessolvpy
for _ in range(5):
    m = tessolvpy.read(sys.argv[1])
    m.setParam("OutputFlag", 0)
    m.optimize()
    m.getAttr("X", m.getVars())
    m.dispose()
tessolvpy.disposeDefaultEnv()
print("done")
"""


def main():
    options = {"ASAN_OPTIONS": "detect_leaks=1:fast_unwind_on_malloc=0", "LSAN_OPTIONS": "max_leaks=0"}
    run = subprocess.run(
        [sys.executable, "-c", LOOP, str(MODEL)], env={**os.environ, **options}, capture_output=True, text=True
    )
    if not run.stdout.endswith("done\n") or "ERROR: AddressSanitizer" in run.stderr or "runtime error" in run.stderr:
        sys.exit(f"the loop ended with {run.returncode}\n{run.stderr[-8000:]}")
    blocks = [block for block in re.split(r"\n\n", run.stderr) if "leak of" in block]
    ours = [block for block in blocks if re.search(rf" {ROOT}/(src|libtessolv)/\S+:\d+", block)]
    # An object that Python still held at its end was not lost by us: the module itself, its types and tables.
    ours = [block for block in ours if "PyInit_tessolvpy" not in block]
    print(f"{len(blocks)} findings of the leak sanitizer, {len(ours)} of them through Tessolv")
    if ours:
        sys.exit("\n\n".join(ours[:20]))


if __name__ == "__main__":
    main()
