"""Handles: every function tells a bad one from a good one without touching what it points to."""

import ctypes
import random

import capi
import pytest
from header import HANDLES, NAMES, PROTOTYPES

# Parameters can be set on the null environment, for the next one that is made.
NULL_ENV_ALLOWED = {name for name in NAMES if name.endswith(("param", "paraminfo"))} | {"TSOresetparams"}
KINDS = {name: [kind for kind, _ in PROTOTYPES[name][1]] for name in NAMES}
WITH_HANDLE = [name for name in NAMES if KINDS[name][0] in HANDLES]


@pytest.fixture(scope="module")
def handles():
    """Living and freed handles of each kind, and others that were never made."""
    library = capi.Library(capi.load())
    freed, freed_env, model = library.model(), library.env(), library.model()
    private_env = library.dll.TSOgetenv(freed.handle)
    library.dll.TSOfreemodel(freed.handle)
    library.dll.TSOfreeenv(freed_env)
    rng = random.Random(5)
    memory = ctypes.create_string_buffer(64)
    yield {
        "TSOmodel": model.handle,
        "TSOenv": library.env(),
        "private": library.dll.TSOgetenv(model.handle),
        "bad": [freed.handle, freed_env, private_env]
        + [3, 1, 2**64 - 1, 2**63, ctypes.addressof(memory), model.handle + 1, model.handle ^ (1 << 33)]
        + [rng.getrandbits(64) for _ in range(50)]
        # with the upper bits of a good one, so that more than the tag is looked at
        + [(model.handle >> 52 << 52) | rng.getrandbits(52) for _ in range(50)],
    }
    library.close()


@pytest.mark.parametrize("name", WITH_HANDLE)
def test_bad_handles_are_refused(dll, handles, name):
    kind, *others = KINDS[name]
    bad = handles["bad"] + [None] * (name not in NULL_ENV_ALLOWED)
    bad += [handles[h] for h in ("TSOmodel", "TSOenv", "private") if h != kind and (h, kind) != ("private", "TSOenv")]
    memory = ctypes.create_string_buffer(4096)
    for handle in bad:
        for pointer in (ctypes.addressof(memory), None):
            values = {"int": 1, "double": 1.0, "char": b"C"}
            arguments = [capi.CALLBACK() if "(*" in k else values.get(k, pointer) for k in others]
            answer = getattr(dll, name)(handle, *arguments)
            assert answer == (capi.INVALID_ARGUMENT if PROTOTYPES[name][0] == "int" else None), handle
    assert bytes(memory) == bytes(4096), "a call that failed has written something"


def test_handles_are_not_used_again_soon(library):
    env, seen = library.env(), set()
    for _ in range(3000):
        m = library.model(env)
        assert m.handle not in seen
        seen.add(m.handle)
        m.call("TSOfreemodel")
    for handle in list(seen)[:100]:
        assert library.dll.TSOfreemodel(handle) == capi.INVALID_ARGUMENT


def test_private_environment_lives_and_dies_with_its_model(library):
    env = library.env()
    m = library.model(env)
    private = library.dll.TSOgetenv(m.handle)
    library.call("TSOfreeenv", private)  # does nothing
    library.call("TSOfreeenv", env)  # the model has its own copy
    library.call("TSOsetdblparam", private, "MaxTime", 7.5)
    value = ctypes.c_double()
    library.call("TSOgetdblparam", library.dll.TSOgetenv(m.handle), "MaxTime", ctypes.byref(value))
    assert value.value == 7.5
    m.call("TSOfreemodel")
    assert library.dll.TSOsetdblparam(private, b"MaxTime", 7.5) == capi.INVALID_ARGUMENT


# Files and runs have tests of their own; freeing ends the game.
OTHERS = "freemodel copymodel getenv optimize computeIIS read write".split()
CALLABLE = [name for name in WITH_HANDLE if KINDS[name][0] == "TSOmodel" and name[3:] not in OTHERS]
ATTRIBUTES = ["LB", "UB", "Obj", "Start", "VType", "X", "RHS", "VarName", "ConstrName", "RowBasis", "PsdObj", "?"]
SPECIAL = [float("nan"), float("inf"), -float("inf"), 1e20, -1e20, 1e300, 0.0, -2.5, 1.0]


def any_value(rng, kind):
    """Something for an argument of that type, a buffer long enough for whatever is read or written, or null."""
    if "(*" in kind:
        return capi.CALLBACK()
    if "*" not in kind:
        values = {"int": [-1, 0, 0, 1, 2, 3], "double": SPECIAL, "char": [b"C", b"B", b"<", b"=", b"x"]}
        return rng.choice(values[kind])
    if kind == "const char*":
        value = rng.choice([*ATTRIBUTES, "", "x" * 300, None])
        return value and ctypes.create_string_buffer(value.encode())
    if "char**" in kind:
        value = (ctypes.c_char_p * 8)(*[rng.choice([None, b"", b"a", b"y" * 260]) for _ in range(8)])
    elif "char" in kind:
        value = ctypes.create_string_buffer(b"CBISN" * 9)
    elif "double" in kind:
        pool = SPECIAL if rng.random() < 0.2 else [0.0, 1.0, 2.0]
        value = (ctypes.c_double * 600)(*[rng.choice(pool) for _ in range(64)])
    else:
        value = (ctypes.c_int * 600)(*[rng.randrange(-1, 4) for _ in range(64)])
    return rng.choice([None, value, value])


@pytest.mark.parametrize("seed", range(6))
def test_any_arguments_are_survived(library, model, seed):
    """Random calls with null pointers, bad indices, counts, values and names; the model stays whole."""
    rng = random.Random(seed)
    for _ in range(4):
        model.addvar(vtype="B")
        model.addrow([0], [1.0], 0, 1)
    accepted = 0
    for _ in range(4000):
        name = rng.choice(CALLABLE)
        accepted += getattr(library.dll, name)(model.handle, *[any_value(rng, kind) for kind in KINDS[name][1:]]) == 0
        if max(map(model.count, ("NumVars", "NumConstrs", "NumPsdVars"))) > 12:
            for kind, count in (("vars", "NumVars"), ("constrs", "NumConstrs"), ("sos", "NumSOS")):
                model.delete(kind, range(model.count(count)))
            model = library.model(library.envs[0])
            model.addvar()
    state = model.state()
    assert accepted > 200
    for row in state["rows"]:
        assert [j for j, _ in row] == sorted({j for j, _ in row})
        assert all(0 <= j < len(state["LB"]) for j, _ in row)
