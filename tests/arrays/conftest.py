"""Arrays of variables, expressions and constraints, on the real library."""

import sys
from pathlib import Path

import pytest

sys.path[:0] = [str(Path(__file__).resolve().parent)]


@pytest.fixture(scope="session")
def env():
    import tessolvpy

    made = tessolvpy.Env(empty=True)
    made.setParam("OutputFlag", 0)
    return made


@pytest.fixture
def model(env):
    import tessolvpy

    made = tessolvpy.Model("arrays", env)
    yield made
    made.dispose()
