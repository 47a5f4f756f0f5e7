"""Names: given and generated ones, found and renamed, whatever others are called."""

import ctypes
import time

import capi
import pytest


@pytest.mark.parametrize(
    ("attribute", "letter", "add", "find", "missing"),
    [
        ("VarName", "C", capi.Model.addvars, "TSOgetvarbyname", capi.MODEL_INVALID_COL_NAME),
        ("ConstrName", "R", capi.Model.addrows, "TSOgetconstrbyname", capi.MODEL_INVALID_ROW_NAME),
    ],
)
def test_unnamed_elements_have_names_that_nobody_else_has(model, fails, attribute, letter, add, find, missing):
    given = [None, f"{letter}0", f"{letter}5", "", f"{letter}4", f"{letter}4_", f"{letter}7", None, "x", "x"]
    add(model, len(given), names=given)
    read = model.texts(attribute, range(len(given)))
    expected = [g or f"{letter}{i}" + "_" * (i in (0, 7)) for i, g in enumerate(given)]  # of these two there are others
    assert read == expected
    for i, name in enumerate(read):
        assert model.find(find, name) == (8 if name == "x" else i)
    for name in ("", "y", f"{letter}10", f"{letter}03", f"{letter}3_", f"{letter}-3", letter, f"{letter}99999999999"):
        fails(missing, model.find, find, name)


def test_renaming_frees_and_takes_names(model, fails):
    model.addvars(4, names=["a", "b", "a", None])
    for indices, names, expected in (
        ([0, 3], ["c", "a"], ["c", "b", "a", "a"]),
        ([1, 2], ["C2", ""], ["c", "C2", "C2_", "a"]),
        ([1], [None], ["c", "C1", "C2", "a"]),
    ):
        model.set("VarName", indices, names)
        assert model.texts("VarName", range(4)) == expected
        assert [model.find("TSOgetvarbyname", n) for n in expected] == [expected.index(n) for n in expected]
        fails(capi.MODEL_INVALID_COL_NAME, model.find, "TSOgetvarbyname", "C3")
    model.delete("vars", [0])
    assert model.texts("VarName", range(3)) == ["C0", "C1", "a"] and model.find("TSOgetvarbyname", "C1") == 1
    model.addvar(name="c")
    assert model.find("TSOgetvarbyname", "c") == 3


def test_length_and_bytes(model):
    longest = "ä" * 127 + "z"  # 255 bytes
    for k, name in enumerate((longest, " two words\n[1,2]")):
        model.addvar(name=name)
        assert model.texts("VarName", [k]) == [name] and model.find("TSOgetvarbyname", name) == k
    for value in ("p", "", longest):
        model.call("TSOsetstrattr", "ModelName", value)
        pointer = ctypes.c_char_p()
        model.call("TSOgetstrattr", "ProbName", ctypes.byref(pointer))
        assert pointer.value.decode() == value


def test_text_holds_until_the_next_text(model):
    model.addvars(3, names=["one", "two", "three"])
    values = (ctypes.c_char_p * 3)()
    model.call("TSOgetstrattrlist", "VarName", 3, None, values)
    model.set("VarName", None, ["x" * 200] * 3)
    model.addvars(10000, names=[f"filler {k}" for k in range(10000)])
    model.delete("vars", [0, 1, 2])
    assert list(values) == [b"one", b"two", b"three"]


def test_quadratic_rows_by_name(model, fails):
    model.addvar()
    model.addrow(name="n")
    for name in ("n", None, "m"):
        model.addqconstr([], [(0, 0, 1.0)], name=name)
    found = [model.find("TSOgetqconstrbyname", n) for n in ("n", "R2", "m")]
    assert found == [1, 2, 3] and model.find("TSOgetconstrbyname", "n") == 0
    model.addrow()
    for name in ("R4", "R0", ""):
        fails(capi.MODEL_INVALID_ROW_NAME, model.find, "TSOgetqconstrbyname", name)


def test_many_names_stay_quick(model):
    """They are found, renamed and removed without going through all of them each time."""
    n, begin = 200_000, time.process_time()
    model.addvars(n, names=[f"x[{k}]" for k in range(n)])
    for k in range(0, n, 7):
        assert model.find("TSOgetvarbyname", f"x[{k}]") == k
    for k in range(2000):  # naming what has no name, in turn with looking up
        model.addvar()
        model.set("VarName", [n + k], [f"y{k}"])
        assert model.find("TSOgetvarbyname", f"y{k}") == n + k
    model.delete("vars", range(0, n, 2))
    assert model.find("TSOgetvarbyname", "x[1]") == 0 and model.find("TSOgetvarbyname", "y0") == n // 2
    assert time.process_time() - begin < 10  # less than one
