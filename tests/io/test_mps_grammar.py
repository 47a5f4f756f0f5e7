"""What MPS files may look like, and what each of their parts means."""

import capi
import pytest
from files import assert_same

INF = capi.INFINITY
PLAIN = """NAME          plain
ROWS
 N  COST
 L  LIM1
 G  LIM2
 E  EQN
COLUMNS
    X1        COST                 1   LIM1                 1
    X1        LIM2                 1
    X2        COST                 4   EQN                 -1
    X2        LIM1              -2.5
RHS
    RHS       COST                -3   LIM1                 4
    RHS       EQN                  7
RANGES
    RNG       LIM1                 2
BOUNDS
 UP BND       X1                   4
 LO BND       X2                  -1
ENDATA
"""


def test_the_plain_model(files):
    model = files.text(PLAIN, ".mps")
    assert model.texts("VarName", [0, 1]) == ["X1", "X2"]
    assert model.texts("ConstrName", [0, 1, 2]) == ["LIM1", "LIM2", "EQN"]
    assert model.rows() == [[(0, 1), (1, -2.5)], [(0, 1)], [(1, -1)]]
    assert model.get("LHS", length=3) == [2, 0, 7] and model.get("RHS", length=3) == [4, INF, 7]
    assert model.get("Obj", length=2) == [1, 4] and model.number("ObjConst") == 3
    assert model.get("LB", length=2) == [0, -1] and model.get("UB", length=2) == [4, INF]


@pytest.mark.parametrize(
    "change",
    [
        lambda t: t.replace("\n", "\r\n"),
        lambda t: t.rstrip(),
        lambda t: t + "what follows does not matter\n",
        lambda t: "* a comment\n\n" + t.replace("COLUMNS\n", "COLUMNS\n* another\n   \n"),
        lambda t: t.replace("    RHS  ", "    ").replace("    RNG  ", "    ").replace(" BND ", " "),
        lambda t: "\n".join(" ".join(line.split()) if line[0] != " " else "\t" + "\t".join(line.split())
                            for line in t.splitlines()),
        lambda t: "\n".join(" ".join(line.split()) for line in t.splitlines()),
        lambda t: t.replace("-2.5", "-.25D+1").replace(" 7", " +7.0e0").replace(" 4", " 4."),
        lambda t: t.replace("ROWS", "OBJSENSE MIN\nrows").replace("COLUMNS", "Columns"),
        lambda t: t.replace("ROWS", "OBJSENSE\n    MINIMIZE\nROWS"),
        lambda t: t.replace("plain", "plain FREE"),
        lambda t: t.replace(" N  COST\n", "").replace("COLUMNS", " N  COST\nCOLUMNS"),
        lambda t: t.replace("ENDATA", " UP OTHER     X1                   9\nENDATA"),
        lambda t: t.replace("    X1        LIM2                 1\n",
                            "    X1        LIM2              0.25\n    X1        LIM2              0.75\n"),
    ],
    ids=range(14),
)  # fmt: skip
def test_the_same_model(files, change):
    assert_same(files.text(PLAIN, ".mps"), files.text(change(PLAIN), ".mps"))


def test_sense_objective_by_name_and_further_free_rows(files):
    text = PLAIN.replace("ROWS", "OBJSENSE\n    MAX\nOBJNAME\n    SECOND\nROWS").replace(
        " L  LIM1", " N  SECOND\n L  LIM1"
    )
    model = files.text(text.replace("RHS\n", "    X2        SECOND               5\nRHS\n", 1), ".mps")
    assert model.count("ModelSense") == -1 and model.get("Obj", length=2) == [0, 5]
    assert model.texts("ConstrName", range(4)) == ["COST", "LIM1", "LIM2", "EQN"]
    assert model.get("LHS", [0]) == [-INF] and model.get("RHS", [0]) == [INF]


@pytest.mark.parametrize(
    ("kind", "rhs", "span", "expected"),
    [
        ("E", 5, 2, (5, 7)),
        ("E", 5, -2, (3, 5)),
        ("E", 5, 0, (5, 5)),
        ("L", 5, 2, (3, 5)),
        ("L", 5, -2, (3, 5)),
        ("G", 5, 2, (5, 7)),
        ("G", 5, -2, (5, 7)),
        ("L", 5, "1e30", (-INF, 5)),
        ("L", "1e30", 2, (-INF, INF)),
        ("G", "-1e30", 2, (-INF, INF)),
        ("N", 5, 2, (-INF, INF)),
        ("G", "1e-20", 1, (1e-20, 1.0)),
    ],
)
def test_ranges(files, kind, rhs, span, expected):
    model = files.text(
        f"ROWS\n N obj\n {kind} r\nCOLUMNS\n x obj 1\nRHS\n RHS r {rhs}\nRANGES\n RNG r {span}\nENDATA\n", ".mps"
    )
    assert (*model.get("LHS", [0]), *model.get("RHS", [0])) == expected


def with_bounds(files, column, lines):
    bounds = "".join(f" {line}\n" for line in lines)
    model = files.text(f"ROWS\n N obj\nCOLUMNS\n{column}BOUNDS\n{bounds}ENDATA\n", ".mps")
    return model.get("VType", [0], "char"), model.get("LB", [0])[0], model.get("UB", [0])[0]


PLAIN_X = " x obj 1\n"
INTEGER_X = f" M 'MARKER' 'INTORG'\n{PLAIN_X} N 'MARKER' 'INTEND'\n"


@pytest.mark.parametrize(
    ("column", "each_lines", "expected"),
    [
        (PLAIN_X, [[], ["UP B x 4", "PL B x"], ["up B x 1e30"], ["UP B x Inf"]], ("C", 0, INF)),
        (PLAIN_X, [["UP B x 4"], ["UP x 4"]], ("C", 0, 4)),
        (PLAIN_X, [["LO B x -4"]], ("C", -4, INF)),
        (PLAIN_X, [["FX B x 4"]], ("C", 4, 4)),
        (PLAIN_X, [["FR B x"], ["FR x"], ["FR B x 0"], ["MI B x"], ["LO B x -1e31"]], ("C", -INF, INF)),
        (PLAIN_X, [["MI B x", "UP B x -2"]], ("C", -INF, -2)),
        (PLAIN_X, [["LO B x 0", "UP B x -2"]], ("C", 0, -2)),
        (PLAIN_X, [["UP B x 0"]], ("C", 0, 0)),
        (PLAIN_X, [["BV B x"]], ("B", 0, 1)),
        (PLAIN_X, [["BV B x", "FX B x 1"]], ("B", 1, 1)),
        (PLAIN_X, [["LI B x 2"]], ("I", 2, INF)),
        (PLAIN_X, [["UI B x 2"]], ("I", 0, 2)),
        (PLAIN_X, [["SC B x 5"]], ("S", 0, 5)),
        (PLAIN_X, [["LO B x 2", "SC B x 5"]], ("S", 2, 5)),
        (PLAIN_X, [["SC B x 0"], ["SC B x"]], ("S", 0, INF)),
        (PLAIN_X, [["SI B x 5", "LO B x 2"]], ("N", 2, 5)),
        (INTEGER_X, [[]], ("I", 0, 1)),
        (INTEGER_X, [["PL B x"]], ("I", 0, INF)),
        (INTEGER_X, [["LO B x 2"]], ("I", 2, INF)),
        (INTEGER_X, [["UP B x 7"]], ("I", 0, 7)),
        (INTEGER_X, [["FR B x"]], ("I", -INF, INF)),
        (INTEGER_X, [["SC B x 7"]], ("N", 0, 7)),
        (INTEGER_X, [["BV B x"]], ("B", 0, 1)),
    ],
)  # fmt: skip
def test_bounds(files, column, each_lines, expected):
    for lines in each_lines:
        assert with_bounds(files, column, lines) == expected, lines
    assert "Warning" not in files.log()


def test_a_negative_upper_bound_alone_means_no_lower_one(files):
    assert with_bounds(files, PLAIN_X, ["UP B x -2"]) == ("C", -INF, -2)
    assert "text.mps:6: the upper bound -2 of 'x' is negative" in files.log()


def test_blanks_in_names_mean_the_fixed_form(files):
    text = (
        "NAME          a model with blanks\nROWS\n N  COST\n L  A 1\n G  A 1  B\nCOLUMNS\n"
        "    X 1       COST                 1   A 1                  2\n    X 1       A 1  B               3\n"
        "    X   2     A 1                  5\nRHS\n    R 1       A 1                  7   A 1  B               8\n"
        "              COST                 2\nRANGES\n    R 2       A 1                  1\n"
        "BOUNDS\n UP B 1       X 1                  9\n FR B 1       X   2\n"
        "QUADOBJ\n    X 1       X   2                3\nENDATA\n"
    )
    model = files.text(text, ".mps")
    assert model.texts("VarName", [0, 1]) == ["X 1", "X   2"] and model.texts("ConstrName", [0, 1]) == ["A 1", "A 1  B"]
    assert model.rows() == [[(0, 2), (1, 5)], [(0, 3)]]
    assert model.get("LHS", length=2) == [6, 8] and model.get("UB", length=2) == [9, INF]
    assert model.quadratic() == [(0, 1, 3)] and model.number("ObjConst") == -2


QUADRATIC = "ROWS\n N obj\n L q\nCOLUMNS\n x obj 1 q 1\n y obj 1\nRHS\n RHS q 4\n{}\nENDATA\n"


@pytest.mark.parametrize(
    ("section", "objective", "row"),
    [
        ("QUADOBJ\n x x 2\n y x 3\n y y -4", [(0, 0, 1), (1, 0, 3), (1, 1, -2)], []),
        ("QSECTION\n x x 2\n x y 3", [(0, 0, 1), (0, 1, 3)], []),
        ("QSECTION obj\n x x 2", [(0, 0, 1)], []),
        ("QMATRIX\n x x 2\n x y 3\n y x 3", [(0, 0, 1), (0, 1, 3)], []),
        ("QSECTION q\n x x 2\n x y 3", [], [(0, 0, 1), (0, 1, 3)]),
        ("QCMATRIX q\n x x 2\n x y 3\n y x 3", [], [(0, 0, 2), (0, 1, 6)]),
        ("QUADOBJ\n x x 2\nQCMATRIX   q\n y y 1", [(0, 0, 1)], [(1, 1, 1)]),
    ],
)
def test_quadratic_sections(files, section, objective, row):
    model = files.text(QUADRATIC.format(section), ".mps")
    assert model.quadratic() == objective and model.quadratic(0) == ([(0, 1)], row)


@pytest.mark.parametrize(
    "section",
    [
        "SOS\n S1 one\n    x 1\n    y 2.5\n S2 two\n    y -1\n    x 2",
        "SOS\n S1 SOS one 5\n    SOS x 1\n    SOS y 2.5\n S2 SOS two 6\n    SOS y -1\n    SOS x 2",
        "SOS1\n S1 SOS one 5\n S1 SOS x 1\n S1 SOS y 2.5\nSOS2\n S2 SOS two 5\n S2 SOS y -1\n S2 SOS x 2",
    ],
)
def test_sets(files, section):
    model = files.text(QUADRATIC.format(section), ".mps")
    assert [model.sos(0), model.sos(1)] == [(1, [0, 1], [1, 2.5]), (2, [1, 0], [-1, 2])]


def test_indicators(files):
    text = (
        "ROWS\n N obj\n G on\n L kept\n E off\nCOLUMNS\n x obj 1 on 2\n x kept 3\n y off 4 on 5\n z obj 1\nRHS\n"
        " RHS on 6 off -7\nBOUNDS\n BV B z\nINDICATORS\n IF off z 0\n IF on z 1\nENDATA\n"
    )
    model = files.text(text, ".mps")
    assert model.texts("ConstrName", range(model.count("NumConstrs"))) == ["kept"]
    assert model.indicator(0) == (2, 0, [(1, 4)], "=", -7)
    assert model.indicator(1) == (2, 1, [(0, 2), (1, 5)], ">", 6)
