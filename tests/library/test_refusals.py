"""What each call refuses, with which code, and that nothing has changed then."""

import capi
import pytest

NAN, INF, LONG = float("nan"), float("inf"), "n" * 256
BAD, ROW, COL = capi.INVALID_ARGUMENT, capi.MODEL_INVALID_ROW_IDX, capi.MODEL_INVALID_COL_IDX
SWITCH = capi.MODEL_INVALID_INDICATOR_ROW_IDX
PSD, PSD_ROW = capi.MODEL_INVALID_SYM_MAT_IDX, capi.MODEL_INVALID_SYM_MAT_ROW_IDX
PSD_COL, PSD_NUMBER = capi.MODEL_INVALID_SYM_MAT_COL_IDX, capi.MODEL_INVALID_REAL_ATTR_SYM_MAT
ONE = {"rows": [0], "values": [1]}

REFUSED = [  # a call and, by code, arguments
    ("addvar", BAD, [{"lb": NAN}, {"obj": INF}, {"ub": -INF}, {"lb": INF}, {"vtype": "x"}, {"name": LONG}]),
    ("addvar", BAD, [{"rows": [0, 1], "values": [1, NAN]}]),
    ("addvar", ROW, [{"rows": [0, 3], "values": [1, 1]}]),
    ("addvars", BAD, [{"count": -1}, {"count": 0, **ONE}, {"count": 2, **ONE}, {"count": 2, "lb": [0, NAN]}]),
    ("addvars", BAD, [{"count": 2, "obj": [0, -INF]}, {"count": 2, "vtype": "CX"}, {"count": 2, "names": ["a", LONG]}]),
    ("addvars", BAD, [{"count": 2, "begin": begin, **ONE} for begin in ([1, 0], [0, 2], [-1, 0])]),
    ("addvars", BAD, [{"count": 2, "begin": [0, 1], "rows": [0, 0], "values": [1, INF]}]),
    ("addvars", BAD, [{"count": 2, "begin": [0, 2], "rows": [1, 1], "values": [9e19, 9e19]}]),
    ("addvars", ROW, [{"count": 2, "begin": [0, 1], "rows": [0, 5], "values": [1, 1]}]),
    ("addrow", COL, [([0, 3], [1, 1]), ([-1], [1])]),
    ("addrow", BAD, [{"lower": NAN}, {"lower": INF}, {"upper": -INF}, {"name": LONG}, ([1, 1], [9e19, 9e19])]),
    ("addrows", BAD, [{"count": 2, "lower": [0, NAN]}, {"count": 2, "names": ["a", LONG]}]),
    ("addrows", BAD, [(2, [0, 0], [1, 1], [9e19, 9e19])]),
    ("addrows", COL, [(2, [0, 1], [0, 9], [1, 1])]),
    ("addqconstr", COL, [([(0, 1), (3, 1)], []), ([], [(0, 0, 1), (0, 3, 1)])]),
    ("addqconstr", BAD, [([], [(0, 0, NAN)]), ([], [], "L"), ([], [], "<", INF)]),
    ("addsos", capi.MODEL_INVALID_SOS_TYPE, [([1, 3], [0, 1], [0, 1])]),
    ("addsos", COL, [([1], [0], [0, 3])]),
    ("addsos", BAD, [([1], [0], [0, 1, 0]), ([1], [0], [0, 1], [1, NAN])]),
    ("addindicator", COL, [(3, 1, [], [], "<", 1)]),
    ("addindicator", capi.MODEL_INVALID_INDICATOR_COL_IDX, [(2, 1, [], [], "<", 1)]),
    ("addindicator", BAD, [(0, 2, [], [], "<", 1), (0, 1, [0], [1], "!", 1), (0, 1, [], [], "<", NAN)]),
    ("addpsdvar", BAD, [(0,), (-3,), (2, [(0, 0, NAN)]), (2, (), LONG)]),
    ("addpsdvar", PSD_ROW, [(2, [(2, 0, 1.0)])]),
    ("addpsdvar", PSD_COL, [(2, [(0, 2, 1.0)])]),
    ("addpsdrow", PSD, [([(2, 0, 0, 1.0)],), ([(-1, 0, 0, 1.0)],)]),
    ("addpsdrow", PSD_ROW, [([(0, 3, 0, 1.0)],)]),
    ("addpsdrow", PSD_COL, [([(1, 0, 1, 1.0)],)]),
    ("addpsdrow", BAD, [([(0, 0, 0, NAN)],), ([(0, 0, 0, 9e19)] * 2,), ([], INF), ([], NAN)]),
    ("addpsdrow", COL, [([], 0, 0, [(3, 1.0)])]),
    ("change", ROW, [([0, 3], [0, 0], [1, 1])]),
    ("change", COL, [([0, 0], [0, -1], [1, 1])]),
    ("change", BAD, [([0, 0], [0, 1], [1, NAN])]),
    ("delete", COL, [("vars", [0, 99]), ("vars", [-1])]),
    ("delete", ROW, [("constrs", [0, 99]), ("constrs", [-1])]),
    ("delete", capi.MODEL_INVALID_SOS_IDX, [("sos", [0, 99]), ("sos", [-1])]),
    ("delete", SWITCH, [("genconstrs", [0, 99]), ("genconstrs", [-1])]),
    ("runs", COL, [("TSOgetvars", *span) for span in ((-1, 1), (4, 0), (2, 2))]),
    ("runs", ROW, [("TSOgetconstrs", *span) for span in ((-1, 1), (4, 0), (2, 2))]),
    ("call", COL, [("TSOgetvars", [0], None, None, None, 1, 2**31 - 1)]),
    ("call", BAD, [("TSOgetvars", [0], None, None, None, 0, -1), ("TSOgetattrinfo", None, None, None, None)]),
    ("call", BAD, [("TSOaddpsdvar", 2, 1, None, [0], [1.0], None), ("TSOaddpsdvar", 2, 1, [0], [0], None, None)]),
    ("call", BAD, [("TSOsetintattr", *given) for given in (("ModelSense", 0), ("ModelSense", 2), ("MinSense", -1))]),
    ("call", BAD, [("TSOsetstrattr", "ModelName", LONG)]),
    ("set", BAD, [("LB", [0, 1], [0.0, NAN]), ("LB", [0, 1], [0.0, 1e20]), ("UB", [0, 1], [0.0, -INF])]),
    ("set", BAD, [("Obj", [0, 1], [1.5, INF]), ("Obj", [0, 1], [1.5, -1e20]), ("Start", [0, 1], [1.0, NAN])]),
    ("set", BAD, [("LHS", [0, 1], [1.0, NAN]), ("RHS", [0, 1], [1.0, -1e300]), ("PsdCLHS", [0, 2], [1.0, NAN])]),
    ("set", BAD, [("VType", [0, 1], "IX"), ("VarName", [0, 1], ["n", LONG]), ("ConstrName", [0, 1], ["n", LONG])]),
    ("set", capi.INVALID_BASIS_STATUS, [("ColBasis", [0, 1], [1, 4]), ("RowBasis", [0, 1], [1, -1])]),
    ("set", COL, [("LB", [0, 3], [1.0, 1.0]), ("VType", [0, 3], "II"), ("VarName", None, ["n"] * 4)]),
    ("set", COL, [("ColBasis", [0, 3], [1, 1]), ("Start", None, [1.0] * 4)]),
    ("set", ROW, [("RHS", [0, 3], [1.0, 1.0]), ("ConstrName", None, ["n"] * 4), ("PsdCLHS", [3], [0.0])]),
    ("get", capi.MODEL_INVALID_ATTR_NAME, [(n, [0]) for n in ("", "Y", "LBB", "MIP GapAbs", "X\x01", "ä", "N" * 9999)]),
    ("setmatrices", PSD_ROW, [("PsdObj", [0], [[(3, 0, 1.0)]]), ("PsdObj", [0, 1], [[(0, 0, 7.0)], [(1, 0, 1.0)]])]),
    ("setmatrices", PSD_COL, [("PsdObj", [0], [[(0, -1, 1.0)]])]),
    ("setmatrices", PSD_NUMBER, [("PsdObj", [0], [[(0, 0, NAN)]]), ("PsdObj", [0], [[(0, 0, 1e20)]])]),
]


@pytest.mark.parametrize(("call", "code", "cases"), REFUSED)
def test_what_is_refused_changes_nothing(whole, fails, call, code, cases):
    before = whole.state()
    for given in cases:
        args, named = ((), given) if isinstance(given, dict) else (given, {})
        fails(code, getattr(whole, call), *args, **named)
        assert whole.state() == before, given
    whole.addvars(1, [0], [0], [1])  # and the next ones stand where they should
    whole.addrow([3], [2], name="after")
    assert whole.count("NumVars") == 4 and whole.cols()[3] == [(0, 1), (3, 2)]
    assert whole.texts("VarName", [3]) == ["C3"] and whole.texts("ConstrName", range(4)) == ["r", "q", "s", "after"]
    assert whole.find("TSOgetconstrbyname", "after") == 3
