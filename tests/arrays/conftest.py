"""Arrays of variables, expressions and constraints, on the real library."""

import pytest
import tessolvpy


@pytest.fixture
def model(quiet_env):
    made = tessolvpy.Model("arrays", quiet_env)
    yield made
    made.dispose()
