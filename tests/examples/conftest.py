"""The examples are imported as they lie, beside the table functions that they share."""

import re
import sys
from pathlib import Path

import capi
import pytest

sys.path[:0] = [str(Path(__file__).resolve().parents[2] / "examples")]


@pytest.fixture(autouse=True)
def needs_csdp(request):
    """The library may have been built without the program that solves semi-definite problems."""
    if re.search("psd|semidefinite|max_cut", request.node.name, re.I) and not capi.has_csdp():
        pytest.skip("built without CSDP")
