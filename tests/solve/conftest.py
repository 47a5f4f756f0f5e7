"""End to end on the real library."""

import numpy as np
import pytest
import tessolvpy


@pytest.fixture
def keep():
    """Disposes of what it was given after the test."""
    made = []
    yield lambda model: made.append(model) or model
    for model in made:
        model.dispose()


@pytest.fixture
def read(quiet_env, keep):
    """Opens model files without a log."""
    return lambda path: keep(tessolvpy.read(str(path), quiet_env))


@pytest.fixture
def new(quiet_env, keep):
    """New models without a log and without a gap."""

    def model(name=""):
        m = keep(tessolvpy.Model(name, quiet_env))
        m.setParam("MIP/GapRel", 0)
        return m

    return model


@pytest.fixture
def state(read, tmp_path):
    """A model from the text of an .lp file."""

    def from_text(text, name="model.lp"):
        path = tmp_path / name
        path.write_text(text)
        return read(path)

    return from_text


@pytest.fixture
def hard(new):
    """A MIP with a feasible solution at hand that is not solved in any time that a test could wait: six groups of
    customers are to be split in half."""
    m, weights = new("hard"), np.random.default_rng(1).integers(0, 100, (6, 60)).astype(float)
    split, more, less = m.addMVar(60, vtype="B"), m.addMVar(6, obj=1.0), m.addMVar(6, obj=1.0)
    m.addConstr(weights @ split + more - less == weights.sum(axis=1) // 2)
    return m
