"""What the tests of leaks share: how much a loop leaves behind, and refusals that leave no traceback to pytest."""

import gc
import sys
from array import array

import pytest
import tessolvpy as tso

ERRORS = (
    TypeError, ValueError, IndexError, KeyError, AttributeError, RuntimeError, NotImplementedError, ZeroDivisionError,
    MemoryError, OverflowError,
)  # fmt: skip


def refused(act, errors=ERRORS):
    """The call, which must end in one of the errors."""

    def run(*arguments):
        try:
            act(*arguments)
        except errors:
            return
        raise AssertionError("was not refused")

    return run


def given_to(acts):
    """The texts, numbers and others that functions hold or have been given: what they pass on."""
    return [one for act in acts for one in (*act.__code__.co_consts, *(act.__defaults__ or ())) if one is not None]


def check_growth(act, watched, times=200):
    """No reference to what is watched and no block of memory stays with each call: the least of some rounds counts,
    since what is made once, and types that come and go, leave some noise behind."""
    watched = [*watched, None, tso]

    def loop(times):
        for _ in range(times):
            act()
        gc.collect()
        # One block of counts, or each large one would be a block of its own.
        return array("q", map(sys.getrefcount, watched)), sys.getallocatedblocks()

    loop(20)
    kept_blocks = kept_references = times
    for _ in range(15):
        references, blocks = loop(times // 4)
        references_after, blocks_after = loop(times)
        kept_blocks = min(kept_blocks, blocks_after - blocks)
        kept_references = min(kept_references, max(b - a for a, b in zip(references, references_after)))
        if kept_blocks < times / 2 and kept_references < times * 0.3:
            return
    assert kept_blocks < times / 2, "a block for each call"
    assert kept_references < times * 0.3, "a reference for each call"


def without_memory(act, first, last=0, library=None):
    """The type of the error that the call ends in if the allocations from the first to the last, or all, fail: those of
    Python, or of C++ if the stand-in is given."""
    testcapi = pytest.importorskip("_testcapi")
    end = (lambda: library.stub_fail_allocations(-1, 0)) if library else testcapi.remove_mem_hooks
    (library.stub_fail_allocations if library else testcapi.set_nomemory)(first, last)
    try:
        act()
    except BaseException as error:
        end()
        return type(error)
    end()
    return None
