import re

import capi
import pytest


@pytest.fixture(autouse=True)
def needs_csdp(request):
    """The library may have been built without the program that solves semi-definite problems."""
    if re.search("psd|semidefinite|max_cut", request.node.name, re.I) and not capi.has_csdp():
        pytest.skip("built without CSDP")
