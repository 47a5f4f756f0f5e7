"""The tests of this folder run against the recording stand-in for the solver library.

A process has one libtessolv.so, so each file of tests runs in a child process with the stand-in on LD_LIBRARY_PATH. The
parent collects the tests, starts the children and passes on what they report; to the one who runs them, they are
ordinary tests. A child that dies fails the test it died in, and a new child goes on with the next one.
"""

import atexit
import functools
import gc
import json
import os
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

import pytest

HERE = Path(__file__).resolve().parent
sys.path[:0] = [str(HERE), str(HERE.parent / "stub")]

IN_CHILD = "TESSOLV_STUB_REPORTS" in os.environ
SECONDS = 300  # for the tests of one file

_reports = {}  # by file: {nodeid: [report, ...]}


@functools.cache
def stub_folder():
    """Where the stand-in is built, once and until the process ends."""
    import generate

    folder = tempfile.mkdtemp(prefix="tessolv-stub-")
    atexit.register(shutil.rmtree, folder)
    return str(generate.build(folder))


def stub_environment(**more):
    if IN_CHILD:
        return {**os.environ, **more}
    before = os.environ.get("LD_LIBRARY_PATH")
    return {**os.environ, "LD_LIBRARY_PATH": stub_folder() + (f":{before}" if before else ""), **more}


# ---- In the parent ----


def _run_children(items):
    config, done = items[0].config, {}
    left = list(items)
    while left:
        with tempfile.NamedTemporaryFile(suffix=".jsonl") as file:
            command = [sys.executable, *subprocess._args_from_interpreter_flags(), "-m", "pytest", "-q"]
            command += ["-p", "no:cacheprovider", f"--rootdir={config.rootpath}"]
            command += [part for rule in config.getoption("pythonwarnings") or [] for part in ("-W", rule)]
            command += [item.nodeid for item in left]
            try:
                run = subprocess.run(
                    command, cwd=config.rootpath, env=stub_environment(TESSOLV_STUB_REPORTS=file.name),
                    stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=SECONDS,
                )  # fmt: skip
                output, how = run.stdout.decode(errors="replace"), f"ended with {run.returncode}"
            except subprocess.TimeoutExpired as late:
                output, how = (late.stdout or b"").decode(errors="replace"), f"did not end in {SECONDS} s"
            for line in Path(file.name).read_text().splitlines():
                report = config.hook.pytest_report_from_serializable(config=config, data=json.loads(line))
                if isinstance(report.longrepr, list):  # of a skipped test: a tuple before JSON made a list of it
                    report.longrepr = tuple(report.longrepr)
                done.setdefault(report.nodeid, []).append(report)
        unfinished = [item for item in left if not any(r.when == "teardown" for r in done.get(item.nodeid, []))]
        if not unfinished:
            break
        died = unfinished[0]
        text = f"the child process {how}\n{output[-6000:]}"
        done[died.nodeid] = [pytest.TestReport(died.nodeid, died.location, {}, "failed", text, "call")]
        left = unfinished[1:]
    return done


def pytest_runtest_protocol(item, nextitem):
    if IN_CHILD or HERE not in item.path.parents:
        return None
    if item.path not in _reports:
        same_file = [other for other in item.session.items if other.path == item.path]
        _reports[item.path] = _run_children(same_file)
    item.ihook.pytest_runtest_logstart(nodeid=item.nodeid, location=item.location)
    for report in _reports[item.path][item.nodeid]:
        item.ihook.pytest_runtest_logreport(report=report)
    item.ihook.pytest_runtest_logfinish(nodeid=item.nodeid, location=item.location)
    return True


# ---- In the child ----

if IN_CHILD:

    def pytest_configure(config):
        class Reporter:
            def pytest_runtest_logreport(self, report):
                data = config.hook.pytest_report_to_serializable(config=config, report=report)
                with open(os.environ["TESSOLV_STUB_REPORTS"], "a") as file:
                    file.write(json.dumps(data, default=str) + "\n")

        config.pluginmanager.register(Reporter())


@pytest.fixture
def stub():
    import remote
    import tessolvpy

    gc.collect()  # what earlier tests left behind is freed now, and not in the middle of this test's log
    gc.disable()
    control = remote.Stub()
    control.reset()
    tessolvpy.disposeDefaultEnv()
    control.clear()
    yield control
    control.reset()
    gc.enable()


@pytest.fixture
def env(stub):
    import tessolvpy

    made = tessolvpy.Env()
    stub.clear()
    return made


@pytest.fixture
def model(stub):
    """A model as it comes from a file: 3 variables, 2 rows, one or two of each other kind; nothing logged yet."""
    import tessolvpy

    stub.set(NumVars=3, NumConstrs=2, NumPsdVars=2, NumSOS=1, NumGenConstrs=2)
    made = tessolvpy.read("model.mps")
    stub.clear()
    return made


@pytest.fixture
def built(stub, env):
    """A model and its three variables; nothing logged yet."""
    import tessolvpy

    made = tessolvpy.Model("m", env)
    variables = [made.addVar() for _ in range(3)]
    stub.clear()
    return made, variables


@pytest.fixture
def xyz(stub, built):
    """Three variables, all of which are called v."""
    stub.set(VarName="v")
    return built[1]


@pytest.fixture
def run_script(tmp_path):
    """Runs a script in a process of its own to its exit; gives its output and all calls, the exit's included."""

    def run(code, expect=0):
        log = tmp_path / "calls.jsonl"
        log.unlink(missing_ok=True)
        variables = stub_environment(TESSOLV_STUB_LOG=str(log))
        variables.pop("TESSOLV_STUB_REPORTS", None)
        script = "import sys; sys.path.insert(0, {!r})\nimport remote, tessolvpy as tso\nstub = remote.Stub()\n"
        script = script.format(str(HERE.parent / "stub")) + code
        done = subprocess.run([sys.executable, "-c", script], env=variables, capture_output=True, text=True, timeout=60)
        assert done.returncode == expect, done.stderr
        lines = log.read_text().splitlines() if log.exists() else []
        calls = [(name, *arguments) for name, _, *arguments in map(json.loads, lines)]
        return done.stdout, done.stderr, calls

    return run
