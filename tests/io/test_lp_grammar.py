"""What LP files may look like: each text is the same model as a plain one."""

import capi
import pytest
from files import assert_same, everything

INF = capi.INFINITY
ROWS = "min\n obj: x + y\nst\n {}\nend\n"


def row(files, text):
    model = files.text(ROWS.format(text))
    (entries,) = model.rows()
    return dict(entries), model.get("LHS", length=1)[0], model.get("RHS", length=1)[0]


@pytest.mark.parametrize(
    ("texts", "expected"),
    [
        (["c: x + y <= 4", "x + y < 4", "x+y=<4", "c: x <= 4 - y"], ({0: 1, 1: 1}, -INF, 4)),
        (["c: x + y => 4"], ({0: 1, 1: 1}, 4, INF)),
        (["c: x + y > -4"], ({0: 1, 1: 1}, -4, INF)),
        (["c: x + y == 4"], ({0: 1, 1: 1}, 4, 4)),
        (["c: -5 <= x + y <= 5", "c: 5 >= x + y >= -5", "c: -5 <= x\n + y\n <= 5"], ({0: 1, 1: 1}, -5, 5)),
        (["c: 5 <= x + y <= 3"], ({0: 1, 1: 1}, 5, 3)),
        (["c: 5 >= x + y"], ({0: 1, 1: 1}, -INF, 5)),
        (["c: 5 = x"], ({0: 1}, 5, 5)),
        (["c: x >= -inf", "c: x <= 1e30", "c: -infinity <= x <= +Inf", "c: x >= -1e999"], ({0: 1}, -INF, INF)),
        (["c: x + y + x <= 4"], ({0: 2, 1: 1}, -INF, 4)),
        (["c: x + y - x <= 4"], ({1: 1}, -INF, 4)),
        (["c: 3 + x + 2 <= 4 + 1"], ({0: 1}, -INF, 0)),
        (["c: x + 2 y >= 3 x + 1"], ({0: -2, 1: 2}, 1, INF)),
        (["c: + - 3 x - - y <= 4"], ({0: -3, 1: 1}, -INF, 4)),
        (["c: 2x+3y<=4", "c: 2 * x + y * 3 <= 4"], ({0: 2, 1: 3}, -INF, 4)),
        (["c: 1.5e1x + .5 y <= 4."], ({0: 15, 1: 0.5}, -INF, 4)),
        (["c: 3\n x\n +\n y\n <=\n 4"], ({0: 3, 1: 1}, -INF, 4)),
        (["c: x \\ <= 3\n <= 4 \\ end", "st: x <= 4", "end: x <= 4", "c: x + 1e-400 y <= 4"], ({0: 1}, -INF, 4)),
        (["c: 0 <= 4", "c: <= 4"], ({}, -INF, 4)),
    ],
)  # fmt: skip
def test_rows(files, texts, expected):
    for text in texts:
        assert row(files, text) == expected, text


@pytest.mark.parametrize(
    ("texts", "expected"),
    [
        (["x <= 4", "4 >= x"], (0, 4)),
        (["x >= -4", "- 4 <= x"], (-4, INF)),
        (["-4 <= x <= 4", "4 >= x >= -4"], (-4, 4)),
        (["x = 4"], (4, 4)),
        (["x free", "x Free", "-inf <= x", "x >= -1e30"], (-INF, INF)),
        (["-INFINITY <= x <= 4"], (-INF, 4)),
        (["x <= inf"], (0, INF)),
        (["x <= 4 x >= 2"], (2, 4)),
        (["4 <= x <= 2"], (4, 2)),
        (["x <= -4"], (0, -4)),
        (["x <= 4\n x <= 5"], (0, 5)),
    ],
)  # fmt: skip
def test_bounds(files, texts, expected):
    for text in texts:
        model = files.text(f"min\n x\nst\nbounds\n {text}\nend")
        assert (model.get("LB", length=1)[0], model.get("UB", length=1)[0]) == expected, text
    assert ("stays 0" in files.log()) == (expected == (0, -4))


@pytest.mark.parametrize(
    ("texts", "expected"),
    [
        (["general\n x", "GENERALS x", "integers\n x"], ("I", 0, INF)),
        (["binary\n x", "bin\n x", "bounds\n x <= 7\nbinary\n x"], ("B", 0, 1)),
        (["bounds\n x = 1\nbinaries\n x"], ("B", 1, 1)),
        (["binaries\n x\nbounds\n x = 0"], ("B", 0, 0)),
        (["bounds\n 2 <= x <= 7\nsemi-continuous\n x"], ("S", 2, 7)),
        (["bounds\n 2 <= x <= 7\nSemis\n x\ngen\n x", "bounds\n 2 <= x <= 7\nSEMI-Integer\n x"], ("N", 2, 7)),
        (["sec\n x"], ("S", 0, INF)),
    ],
)  # fmt: skip
def test_types(files, texts, expected):
    for text in texts:
        model = files.text(f"min\n x\nst\n c: x >= 0\n{text}\nend")
        read = model.get("VType", kind="char", length=1), *model.get("LB", [0]), *model.get("UB", [0])
        assert read == expected, text


SAME = "minimize\n obj: x + 2 y + 3\nsubject to\n c1: x + y >= 1\nbounds\n y <= 3\nend\n"


@pytest.mark.parametrize(
    "text",
    [
        SAME.upper().replace("X", "x").replace("Y", "y").replace("C1", "c1"),
        SAME.replace("\n", "\r\n"),
        SAME.rstrip(),
        "\ufeff" + SAME,
        SAME.replace("subject to", "such that"),
        SAME.replace("subject to", "s.t."),
        SAME.replace("subject to", "Subject\n   To:"),
        SAME.replace("obj:", ""),
        SAME.replace("obj:", "end:"),
        SAME.replace("x + 2 y + 3", "3 + x + y + y"),
        SAME.replace("x + 2 y + 3", "\n x\n\n + 2 \\ comment\n y\n + 3"),
        SAME.replace("x + 2 y + 3", "1 + x + 2 + 2 y"),
        SAME.replace("\n", " "),
        SAME.replace(" ", "\t \t"),
        SAME + "anything at all: ] ^ 1.2.3 \\",
        "\\ comment\n\n" + SAME.replace("\n", " \\ more\n"),
    ],
    ids=range(16),
)
def test_the_same_model(files, text):
    assert_same(files.text(SAME), files.text(text))


def test_names_that_look_like_something_else(files):
    names = "infx e5 E freedom ends inf1 nan x[1,2] x(1,2) a.b x#1 s1 größe binx".split()
    model = files.text("max\n obj: " + " + ".join(f"2 {n}" for n in names) + "\nst\n c: infx <= 3\nend")
    assert model.texts("VarName", range(len(names))) == names


def test_words_of_sections_as_names(files):
    model = files.text(
        "min\n obj: 2 bounds + 3 st\n + free\nst\n end: bin + free <= 2\nbounds\n end <= 3\n free free\nend"
    )
    assert model.texts("VarName", range(5)) == ["bounds", "st", "free", "bin", "end"]
    assert model.get("LB", [2]) == [-INF] and model.get("UB", [4]) == [3]


def test_rows_without_names_end_with_their_line(files):
    model = files.text("min\n x\nst\n x + y <= 2\n - x + y <= 3\n y >= 1\n 2 <= x\n + y <= 7\nend")
    assert model.rows() == [[(0, 1), (1, 1)], [(0, -1), (1, 1)], [(1, 1)], [(0, 1), (1, 1)]]
    assert model.get("RHS", length=4) == [2, 3, INF, 7]


@pytest.mark.parametrize(
    ("texts", "terms"),
    [
        (["[ x ^ 2 ] / 2", "[\n x\n ^\n 2\n ]\n /\n 2"], [(0, 0, 0.5)]),
        (["[x^2+2x*y-4y^2]/2"], [(0, 0, 0.5), (0, 1, 1), (1, 1, -2)]),
        (["[ x^2 + 2 x * y ]"], [(0, 0, 1), (0, 1, 2)]),
        (["- [ x^2 ] / 2"], [(0, 0, -0.5)]),
        (["2 [ x^2 ] + [ y^2 ]"], [(0, 0, 2), (1, 1, 1)]),
        (["[ + - 2 * x * y ] / 2"], [(0, 1, -1)]),
    ],
)  # fmt: skip
def test_quadratic_terms(files, texts, terms):
    for text in texts:
        model = files.text(f"min\n obj: 0 x + 0 y + {text}\nst\n q: {text} + x <= 3\nend")
        assert model.quadratic() == terms, text
        assert model.quadratic(0) == ([(0, 1)], terms), text


def test_sets(files):
    text = "max\n a + b + c\nst\n r: a <= 1\n{}\nend"
    expected = [(1, [0, 1, 2], [1, 2.5, -3]), (2, [2, 0], [1, 2])]
    for sections in (
        "SOS\n s1: S1:: a:1 b:2.5 c:-3\n s2: S2:: c:1 a:2",
        "sos\n S1:: a : 1 b : 2.5\n c : - 3\n other:s2::c:1 a:2",
        "SOS1\n one: a:1 b:2.5 c:-3\nSOS2\n two: c:1 a:2",
    ):
        model = files.text(text.format(sections))
        assert [model.sos(k) for k in range(model.count("NumSOS"))] == expected


def test_indicators(files):
    model = files.text(
        "max\n x\nst\n i1: b = 1 -> x + y <= 3\n b = 0 -> x - 1 = 2\n i3: b=1->x>=-1\n c: x <= 9\nbinary\n b\nend"
    )
    assert [model.indicator(k) for k in range(3)] == [
        (1, 1, [(0, 1), (2, 1)], "<", 3),
        (1, 0, [(0, 1)], "=", 3),
        (1, 1, [(0, 1)], ">", -1),
    ]
    assert model.count("NumConstrs") == 1 and everything(model)["GenConstrName"][0] == "i1"


def test_long_lines_and_long_files(files):
    """Longer than any block that is read at once, in one line and in many."""
    count = 60000
    terms = " + ".join(f"{j}.25 name_of_column_{j}" for j in range(count))
    text = f"min\n obj: {terms}\nst\n c: {terms} <= 1\nend"
    model = files.text(text)
    assert model.get("Obj", length=count) == [j + 0.25 for j in range(count)]
    assert_same(model, files.text(text.replace(" + ", "\n+\t\t")))
    assert_same(model, files.text("\\" + "-" * 3_000_000 + "\n" + text + " " * 3_000_000))
