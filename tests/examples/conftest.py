"""The examples are imported as they lie, beside the table functions that they share."""

import re
import sys
from pathlib import Path

import pytest
import tessolvpy

sys.path[:0] = [str(Path(__file__).resolve().parents[2] / "examples")]


@pytest.fixture(autouse=True)
def needs_csdp(request):
    """The library may have been built without the program that solves semi-definite problems."""
    program = Path(tessolvpy.__file__).parent / "tessolvpy.libs" / "tessolv-csdp"
    if re.search("psd|semidefinite|max_cut", request.node.name, re.I) and not program.exists():
        pytest.skip("built without CSDP")
