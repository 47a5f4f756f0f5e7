"""Handles: every function tells a bad one from a good one without touching what it points to."""

import ctypes
import random

import capi
import pytest

# Parameters can be set on the null environment, for the next one that is made.
NULL_ENV_ALLOWED = {name for name in capi.NAMES if name.endswith(("param", "paraminfo"))} | {"TSOresetparams"}
WITH_HANDLE = [n for n in capi.NAMES if capi.DECLARATIONS[n][1] and capi.DECLARATIONS[n][1][0] in capi.HANDLES]
VALUES = {"int": 1, "double": 1.0, "char": b"C", "callback": capi.CALLBACK()}


def test_the_declarations_are_the_list():
    assert len(capi.NAMES) == 82 and sorted(capi.DECLARATIONS) == sorted(capi.NAMES)
    assert set(capi.NAMES) - set(WITH_HANDLE) == {"TSOemptyenv", "TSOloadenv", "TSOversion", "TSOexplainerror"}
    assert len(NULL_ENV_ALLOWED) == 10


def call_with(dll, name, handle, pointer):
    arguments = [VALUES.get(t, pointer) for t in capi.DECLARATIONS[name][1][1:]]
    return getattr(dll, name)(handle, *arguments)


@pytest.fixture(scope="module")
def handles():
    """Living and freed handles of each kind, and others that were never made."""
    library = capi.Library(capi.load())
    freed = library.model()
    freed_env = library.env()
    private_env = library.dll.TSOgetenv(freed.handle)
    library.dll.TSOfreemodel(freed.handle)
    library.dll.TSOfreeenv(freed_env)
    model = library.model()
    rng = random.Random(5)
    memory = ctypes.create_string_buffer(64)
    found = {
        "TSOmodel": model.handle,
        "TSOenv": library.env(),
        "private": library.dll.TSOgetenv(model.handle),
        "freed": [freed.handle, freed_env, private_env],
        "stray": [3, 1, 2**64 - 1, 2**63, ctypes.addressof(memory), model.handle + 1, model.handle ^ (1 << 33)]
        + [rng.getrandbits(64) for _ in range(50)]
        # with the upper bits of a good one, so that more than the tag is looked at
        + [(model.handle >> 52 << 52) | rng.getrandbits(52) for _ in range(50)],
    }
    yield found
    library.close()


@pytest.mark.parametrize("name", WITH_HANDLE)
def test_bad_handles_are_refused(dll, handles, name):
    kind = capi.DECLARATIONS[name][1][0]
    result = capi.DECLARATIONS[name][0]
    bad = handles["freed"] + handles["stray"]
    if name not in NULL_ENV_ALLOWED:
        bad = [None, *bad]
    for other in ("TSOmodel", "TSOenv", "private"):
        if other != kind and not (other == "private" and kind == "TSOenv"):
            bad.append(handles[other])
    memory = ctypes.create_string_buffer(4096)
    for handle in bad:
        for pointer in (ctypes.addressof(memory), None):
            answer = call_with(dll, name, handle, pointer)
            if result == "int":
                assert answer == capi.INVALID_ARGUMENT, (handle, answer)
            else:
                assert answer is None
    assert bytes(memory) == bytes(4096), "a call that failed has written something"


def test_handles_are_not_used_again_soon(library):
    seen = set()
    for _ in range(3000):
        m = library.model(library.envs[0] if library.envs else None)
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
    value = ctypes.c_double()
    library.call("TSOsetdblparam", private, capi.text("MaxTime"), 7.5)
    library.call("TSOgetdblparam", library.dll.TSOgetenv(m.handle), capi.text("MaxTime"), ctypes.byref(value))
    assert value.value == 7.5
    m.addvar()
    m.call("TSOfreemodel")
    code = library.dll.TSOsetdblparam(private, capi.text("MaxTime"), 7.5)
    assert code == capi.INVALID_ARGUMENT


# Files and runs have tests of their own; freeing ends the game.
CALLABLE = [
    name
    for name in WITH_HANDLE
    if capi.DECLARATIONS[name][1][0] == "TSOmodel"
    and name not in ("TSOfreemodel", "TSOcopymodel", "TSOgetenv", "TSOoptimize", "TSOcomputeIIS", "TSOread", "TSOwrite")
]


@pytest.mark.parametrize("seed", range(6))
def test_any_arguments_are_survived(library, model, seed):
    """Random calls with null pointers, bad indices, counts, values and names; the model stays whole."""
    rng = random.Random(seed)
    attributes = ["LB", "UB", "Obj", "Start", "VType", "X", "RHS", "VarName", "ConstrName", "RowBasis", "PsdObj", "?"]
    special = [float("nan"), float("inf"), -float("inf"), 1e20, -1e20, 1e300, 0.0, -2.5, 1.0]
    for _ in range(4):
        model.addvar(vtype="B")
        model.addrow([0], [1.0], 0, 1)
    accepted = 0
    for _ in range(4000):
        name = rng.choice(CALLABLE)
        arguments, kept = [], []
        for written in capi.DECLARATIONS[name][1][1:]:
            if written == "const char*":
                value = rng.choice([*attributes, "", "x" * 300, None])
                value = value and ctypes.create_string_buffer(value.encode())
            elif "char" in written and "*" in written:
                strings = [rng.choice([None, b"", b"a", b"y" * 260]) for _ in range(8)]
                value = (
                    (ctypes.c_char_p * 8)(*strings) if "**" in written else ctypes.create_string_buffer(b"CBISN" * 9)
                )
                value = rng.choice([None, value, value])
            elif "double*" in written:
                pool = special if rng.random() < 0.2 else [0.0, 1.0, 2.0]
                value = rng.choice([None, (ctypes.c_double * 600)(*[rng.choice(pool) for _ in range(64)])])
            elif "*" in written:
                value = rng.choice([None, (ctypes.c_int * 600)(*[rng.randrange(-1, 4) for _ in range(64)])])
            elif written == "callback":
                value = capi.CALLBACK()
            else:
                value = {
                    "int": rng.choice([-1, 0, 0, 1, 2, 3]),
                    "double": rng.choice(special),
                    "char": rng.choice([b"C", b"B", b"<", b"=", b"x"]),
                }[written]
            kept.append(value)
            arguments.append(ctypes.addressof(value) if isinstance(value, ctypes.Array) else value)
        accepted += getattr(library.dll, name)(model.handle, *arguments) == 0
        if model.count("NumVars") > 12 or model.count("NumConstrs") > 12 or model.count("NumPsdVars") > 12:
            model.delete("vars", range(model.count("NumVars")))
            model.delete("constrs", range(model.count("NumConstrs")))
            model.delete("sos", range(model.count("NumSOS")))
            model = library.model(library.envs[0])
            model.addvar()
    state = model.state()
    assert accepted > 200
    for row in state["rows"]:
        assert [j for j, _ in row] == sorted({j for j, _ in row})
        assert all(0 <= j < len(state["LB"]) for j, _ in row)
