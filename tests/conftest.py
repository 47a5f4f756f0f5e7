"""What the tests of several folders share: their helper modules, a quiet environment, the library by itself."""

import os
import subprocess
import sys
from pathlib import Path

import pytest
from hypothesis import settings

# Every run draws the same examples, so that it fails for a reason of its own change; --hypothesis-profile=default
# draws others.
settings.register_profile("fixed", derandomize=True)
settings.load_profile("fixed")

HERE = Path(__file__).resolve().parent
HELPERS = [str(HERE / folder) for folder in ("library", "engine", "io", "arrays", "solve", "property")]
sys.path[:0] = [*HELPERS, str(HERE / "lint"), str(HERE.parent / "examples")]


@pytest.fixture(scope="session")
def quiet_env():
    """An environment of the module that logs nothing."""
    import tessolvpy

    made = tessolvpy.Env(empty=True)
    made.setParam("OutputFlag", 0)
    return made


def start(code, env=os.environ, **more):
    """A process of its own for code, which is a text or the path of a program, with the helper modules at hand."""
    command = [sys.executable, "-X", "faulthandler", *(["-c", code] if isinstance(code, str) else [code])]
    path = os.pathsep.join([*HELPERS, *filter(None, [env.get("PYTHONPATH")])])
    env = {**env, "PYTHONPATH": path, "PYTHONUNBUFFERED": "1"}
    return subprocess.Popen(command, env=env, text=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE, **more)


@pytest.fixture(scope="session")
def python():
    """python(code): what such a process writes, which must end with the code that is expected."""

    def run(code, returncode=0, timeout=300, **more):
        process = start(code, **more)
        try:
            out, err = process.communicate(timeout=timeout)
        finally:
            process.kill()
        assert process.returncode == returncode, f"{process.returncode}\n{out[-2000:]}\n{err[-5000:]}"
        return out

    run.start = start
    return run


@pytest.fixture(scope="session")
def dll():
    import capi

    library = capi.load()
    if library is None:
        pytest.fail("no libtessolv.so: install the package, or set TESSOLV_LIBRARY")
    return library


@pytest.fixture
def library(dll):
    import capi

    made = capi.Library(dll)
    yield made
    made.close()


@pytest.fixture
def model(library):
    return library.model()


@pytest.fixture
def fails():
    """fails(code, call, *args): the call fails with that code."""
    import capi

    def check(code, call, *args, **keywords):
        with pytest.raises(capi.Failed) as failure:
            call(*args, **keywords)
        assert failure.value.code == code, failure.value

    return check


@pytest.fixture
def files(library, tmp_path):
    import files

    return files.Files(library, tmp_path)
