"""What the comparisons with peers share: cases by path, measured in processes of their own, rounds and ratios."""

import gc
import importlib.util
import json
import os
import subprocess
import sys
import time

OURS = "tessolvpy"


def load(path):
    """The cases of one library. Its file may have the library's own name, so it is loaded by path."""
    spec = importlib.util.spec_from_file_location(f"cases_of_{path.stem}", path)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


def add_options(parser, libraries, sizes):
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--cases", default=",".join(sizes))
    parser.add_argument("--peers", default=",".join(name for name in libraries if name != OURS))
    parser.add_argument("--scale", type=float, default=1.0, help="of the sizes")


def installed(options):
    """We, and the peers that are asked for and there."""
    return [OURS, *(name for name in options.peers.split(",") if name and importlib.util.find_spec(name))]


def seconds_of(function, arguments):
    """The CPU time of a call, and what it gave."""
    gc.collect()
    gc.disable()
    begin = time.process_time()
    built = function(*arguments)
    seconds = time.process_time() - begin
    gc.enable()
    return seconds, built


def forget(built):
    """Frees a model; it may come with the variables, which its user would still hold."""
    model = built[0] if isinstance(built, tuple) else built
    if hasattr(model, "dispose"):
        model.dispose()


def run(script, *arguments, environment=None):
    """What the script prints as its last line, as JSON, when it measures one case; None if it fails."""
    command = [sys.executable, script, "--one", *map(str, arguments)]
    done = subprocess.run(command, capture_output=True, text=True, env={**os.environ, **(environment or {})})
    try:
        return json.loads(done.stdout.splitlines()[-1])
    except (IndexError, ValueError):
        print(f"{' '.join(map(str, arguments))}: {done.stderr.strip().splitlines()[-1:]}", file=sys.stderr)
        return None


def keep_least(least, library, seconds):
    before = least.get(library)
    least[library] = seconds if before is None or seconds is None else min(before, seconds)


def report(case, size, least):
    """Prints the ratios; whether there are any."""
    ours = least.pop(OURS)
    if ours is None:
        return False
    print(f"{case} ({size:,}): {ours:.4f} s")
    for seconds, name in sorted((seconds, name) for name, seconds in least.items() if seconds is not None):
        print(f"    {ours / seconds:6.2f} of {name} ({seconds:.4f} s)")
    return True
