"""End to end on the real library."""

import pytest


@pytest.fixture
def read(quiet_env):
    """Opens model files without a log; disposes of the models after the test."""
    import tessolvpy

    made = []

    def open_model(path):
        made.append(tessolvpy.read(str(path), quiet_env))
        return made[-1]

    yield open_model
    for model in made:
        model.dispose()


@pytest.fixture
def state(read, tmp_path):
    """A model from the text of an .lp file."""

    def from_text(text, name="model.lp"):
        path = tmp_path / name
        path.write_text(text)
        return read(path)

    return from_text


@pytest.fixture
def hard(read, tmp_path):
    """A MIP with a feasible solution at hand that is not solved in any time that a test could wait."""
    import problems

    return read(problems.market_split(rows=6, columns=60).write_lp(tmp_path / "hard.lp"))
