"""The library by itself, through its C interface."""

import sys
from pathlib import Path

import pytest

sys.path[:0] = [str(Path(__file__).resolve().parent)]

import capi  # noqa: E402


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
def model(library):
    return library.model()


@pytest.fixture
def fails():
    """fails(code, call, *args): the call fails with that code."""

    def check(code, call, *args, **keywords):
        with pytest.raises(capi.Failed) as failure:
            call(*args, **keywords)
        assert failure.value.code == code, failure.value

    return check
