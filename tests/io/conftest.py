"""Files of models, solutions, bases and parameters, through the C interface of the library."""

import sys
from pathlib import Path

import pytest

sys.path[:0] = [str(Path(__file__).resolve().parent), str(Path(__file__).resolve().parents[1] / "library")]

import capi  # noqa: E402
from files import Files  # noqa: E402


@pytest.fixture(scope="session")
def dll():
    library = capi.load()
    if library is None:
        pytest.fail("no libtessolv.so: install the package, or set TESSOLV_LIBRARY")
    return library


@pytest.fixture
def library(dll):
    made = capi.Library(dll)
    yield made
    made.close()


@pytest.fixture
def files(library, tmp_path):
    return Files(library, tmp_path)
