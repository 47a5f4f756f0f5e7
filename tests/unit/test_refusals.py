"""What is refused, by which error and in which words; it leaves everything as it was and the library unasked.

The tables are lists of (call, error, text), the text left out where it is Python's or NumPy's own. The tests of leaks
go through them once more.
"""

from types import SimpleNamespace

import numpy as np
import pytest
import scipy.sparse
import tessolvpy as tso
from expressions import refusal, state, terms

INF, NAN = float("inf"), float("nan")
READING = {"TSOexplainerror", "TSOgetattrinfo", "TSOgetcharattrlist", "TSOgetintattrlist", "TSOgetenv"}
OUTSIDE = "list index out of range"
NO_NAME = "expected bytes, NoneType found"


def incorrect(argument, expected, got):
    return f"Argument '{argument}' has incorrect type (expected {expected}, got {got})"


def expressions(b):
    x, y, e, q, c = b.x, b.y, b.e, b.q, b.m.getConstrs()[0]
    expect, expects, column = "Expect a var", "Expect a list of var", tso.Column([1, 2], [c, c])
    pairs, item = "Each element should be a tuple or list with length 2", "Argument `item` should be an integer or "
    unsupported, plus = "unsupported operand type(s) for {}: `{}` and `{}`", "unsupport operation +=: `{}` and `{}`"
    return [
        (lambda: q * x, TypeError, unsupported.format("*", "QuadExpr", "Var")),
        (lambda: x - 1j, TypeError, unsupported.format("-", "Var", "complex")),
        (lambda: x + 1j, TypeError, "must be real number, not complex"),
        (lambda: x * 10**400, OverflowError, "int too large to convert to float"),
        (lambda: x + scipy.sparse.eye(3), TypeError, unsupported.format("+", "Var", "dia_matrix")),
        (lambda: x / 0, ZeroDivisionError, "float division"),
        (lambda: x / y, TypeError, "must be real number, not tessolvpy.Var"),
        (lambda: x**3, tso.TessolvError, "`Var` can only be raised to a power of two"),
        (lambda: -tso.Operand(), TypeError, "bad operand type for unary -: `Operand`"),
        (lambda: tso.Operand() + 1, TypeError, unsupported.format("+", "Operand", "int")),
        (lambda: tso.Operand.__add__(2, tso.Operand()), TypeError, unsupported.format("+", "float", "Operand")),
        (lambda: tso.Operand.__mul__("a", x), TypeError, unsupported.format("*", "str", "Var")),
        (lambda: tso.QuadExpr(x) == y, TypeError, unsupported.format("-", "QuadExpr", "ndarray")),
        (lambda: b.a == tso.MVar.fromlist([x, y, x]), TypeError, unsupported.format("-", "MVar", "ndarray")),
        (lambda: x + type("a.b", (), {})(), TypeError, unsupported.format("+", "Var", "a.b")),
        (lambda: q.__imul__(1j), TypeError, "must be real number, not complex"),
        (lambda: 1 @ x, TypeError, unsupported.format("@", "int", "Var")),
        (lambda: hash(x + y), TypeError, "unsupported operand type(s) for hash(): `LinExpr`"),
        (lambda: x == [1, 2, 3], ValueError, "`=` expect an array with 2 elements: [ LHS, RHS ]"),
        (lambda: x == ["a", 1], TypeError, "range constraint requires numeric values"),
        (lambda: (x == 1) >> 3, TypeError, "range constraint requires numeric values"),
        (lambda: tso.LinExpr([(1, x)]), tso.TessolvError, pairs),
        (lambda: tso.LinExpr(0, "a"), tso.TessolvError, expect),
        (lambda: tso.LinExpr([1], ["a"]), tso.TessolvError, expects),
        (lambda: tso.LinExpr([1, 2], [x]), IndexError, OUTSIDE),
        (lambda: tso.LinExpr("a"), ValueError, "could not convert string to float: 'a'"),
        *[(lambda w=w: tso.LinExpr(w), TypeError) for w in (None, x * y, object(), tso.Column(), x <= 1)],
        (lambda: tso.List((1,)), TypeError, "Expect a list"),
        (lambda: tso.List() + 5, TypeError, plus.format("List", "int")),
        (lambda: e.remove(1.0), TypeError, item + "Var"),
        (lambda: q.remove("a"), TypeError, item + "Var"),
        (lambda: e.add(x), TypeError, incorrect("expr", "tessolvpy.LinExpr", "tessolvpy.Var")),
        (lambda: q.add(3), TypeError, "Argument `expr` cannot be <class 'int'> type"),
        (lambda: e.add(e, "2"), TypeError, "must be real number, not str"),
        (lambda: e.addTerms(1, None), tso.TessolvError, expect),
        (lambda: e.addTerms([1], [2]), tso.TessolvError, expects),
        (lambda: q.addTerms(0, 5, x), tso.TessolvError, expect),
        (lambda: q.addTerms((1,), (x,), (y,)), TypeError, plus.format("List", "tuple")),
        *[(get, IndexError, OUTSIDE) for get in (
            lambda: e.getVar(-1), lambda: e.getCoeff(2), lambda: q.getVar1(3), lambda: q.getVar2(-1),
            lambda: q.getCoeff(3), lambda: column.getCoeff(2), lambda: column.getConstr(-1))],
        (lambda: tso.Column(None, c), tso.TessolvError, "Argument `coeffs` cannot be None"),
        (lambda: tso.Column(1), tso.TessolvError, "Argument `constrs` cannot be None"),
        (lambda: column.addTerms([1], [x]), tso.TessolvError, "Expect a list of constr"),
        (lambda: column.addTerms(1, "a"), tso.TessolvError, "Expect a constr"),
        (lambda: column.addTerms([1], []), IndexError, OUTSIDE),
        (lambda: column.remove("a"), TypeError, item + "Constr"),
        *[(act, TypeError) for act in (lambda: column + 1, lambda: 2 * column, lambda: x + column)],
        (lambda: tso.quicksum([x * y, x, "a"]), TypeError, "bad type for quicksum: str"),
        (lambda: tso.MVar.fromlist([x, y]) + [1, 2, 3], ValueError),
        (lambda: np.eye(2) @ tso.MVar.fromlist([x, y, x]), ValueError),
    ]  # fmt: skip


class Unhashable:
    __hash__ = None


class Unequal:
    def __hash__(self):
        return 1

    def __eq__(self, other):
        raise KeyError


def variables(b):
    m, x, c = b.m, b.x, b.m.getConstrs()
    few = "{} doesn't have enough elements".format
    return [
        (lambda: m.addVars(lb=1), ValueError, "empty indices"),
        *[(lambda n=n, v=v: m.addVars(2, **{n: v}), ValueError, few(n))
          for n in ("lb", "ub", "obj", "vtype") for v in (["1"], [1, 2, 3], [])],
        (lambda: m.addVars(2, name=["a"]), ValueError, few("names")),
        (lambda: m.addVars(2, vtype=[1, 2]), TypeError, "vtype contains bad type int64 at 0"),
        (lambda: m.addVars(2, vtype=np.array(["B", 5.5], object)), TypeError, "vtype contains bad type float at 1"),
        (lambda: m.addVars(2, vtype=1), TypeError, "vtype should be str or byte"),
        (lambda: m.addVars(2, lb="a"), ValueError, "could not convert string to float: 'a'"),
        *[(lambda w=w: m.addVars(2, **w), error) for error, w in (
            (TypeError, {"ub": x}), (ValueError, {"lb": [1, "a"]}), (UnicodeEncodeError, {"name": "\ud800"}))],
        (lambda: m.addVars(1.5), TypeError),
        (lambda: m.addVars([Unhashable()]), TypeError, "unhashable type: 'Unhashable'"),
        (lambda: m.addVars([[[1]]]), TypeError, "unhashable type: 'list'"),
        (lambda: m.addVars([Unequal(), Unequal()]), KeyError, ""),
        *[(lambda n=n: m.addVars(*n), MemoryError, "too many variables") for n in ((10**12,), (10**5, 10**5))],
        (lambda: m.addVars(2, ub=1j), TypeError),
        (lambda: m.addVar(lb="a"), TypeError, "must be real number, not str"),
        (lambda: m.addVar(vtype=5), TypeError, incorrect("vtype", "str", "int")),
        (lambda: m.addVar(name=b"x"), TypeError, incorrect("name", "str", "bytes")),
        (lambda: m.addVar(column=c), TypeError, incorrect("column", "tessolvpy.Column", "list")),
        (lambda: m.addVar(column=tso.Column(["a"], c)), TypeError, "must be real number, not str"),
        (lambda: m.addVar(0, 1, 2, "C", "x", None, 7), TypeError),
    ]  # fmt: skip


def rows(b):
    m, x, y, Q = b.m, b.x, b.y, b.m.addQConstr
    odd, short = tso.QuadExpr(x + 1), tso.QuadExpr(x + 1)
    odd.addTerms([1], [x], ["y"])
    short.addTerms([1, 2], [x], [y])
    given, linear, quadratic = "sense and rhs {} be None if lhs is {} TempConstr", "constant, Var, LinExpr", "QuadExpr"
    kinds, objective = "expr should be one of [Var, LinExpr, PsdExpr] type", "[LinExpr, QuadExpr, PsdExpr] type"
    only = "only accept generator which generates TempConstr value"
    return [
        *[(lambda w=w: m.addConstr(w), TypeError) for w in (x, 1, None, tso.TempConstr())],
        (lambda: m.addConstr(x <= 1, name=None), TypeError, NO_NAME),
        (lambda: m.addConstr(5, name=None), TypeError, incorrect("tconstr", "tessolvpy.TempConstr", "int")),
        (lambda: m.addConstr(x == [1, 2j]), TypeError, "must be real number, not complex"),
        *[(lambda w=w: m.addRange(w, 0, 1, 5), TypeError, kinds) for w in ("a", x * y)],
        (lambda: m.addRange(x, None, None), TypeError, "must be real number, not NoneType"),
        (lambda: m.addRange(x, 0, y), TypeError),
        (lambda: m.addLConstr(x, "<"), ValueError, given.format("can not", "not a")),
        (lambda: m.addLConstr(x <= 1, rhs=1), ValueError, given.format("should", "s")),
        (lambda: m.addLConstr(x * y <= 1), TypeError,
         f"expression in TempConstr shoud be one of [{linear}] type"),
        (lambda: m.addLConstr(x * y, "<", 1), TypeError, f"lhs shoud be one of [{linear}, TempConstr] type"),
        (lambda: m.addLConstr(x, "<", "1"), TypeError, f"rhs shoud be one of [{linear}, TempConstr] type"),
        *[(lambda s=s: m.addLConstr(x, s, 1), tso.TessolvError, "Invalid sense ``") for s in ("!", "<=", 5, "")],
        (lambda: m.addConstr(odd == [0, 1]), TypeError),
        (lambda: m.addConstr(short == [0, 1]), IndexError, OUTSIDE),
        (lambda: m.addConstr(x * x <= 1, None), TypeError, NO_NAME),
        (lambda: m.addConstr(x * x == [1, 2j]), TypeError, "must be real number, not complex"),
        (lambda: m.addConstr(tso.TempConstr.new(tso.MQuadExpr.new([x * x, "a"]), 0, 1)), TypeError,
         "Expect a QuadExpr"),
        (lambda: Q(x * x), ValueError, given.format("can not", "not a")),
        (lambda: Q(x * x <= 1, "<"), ValueError, given.format("should", "a")),
        (lambda: Q("x", "<", 1), TypeError, f"lhs should be one of [{linear}, {quadratic}, TempConstr] type"),
        (lambda: Q(x, "<", b.a), TypeError, f"rhs should be one of [{linear}, {quadratic}] type"),
        (lambda: Q((y == 1) >> (x <= 1)), TypeError,
         f"expression in TempConstr should be one of [{linear}, {quadratic}] type"),
        (lambda: Q(x * y, "<=", 1), tso.TessolvError, "Invalid sense `<=`"),
        (lambda: m.addConstrs(i for i in range(2)), TypeError, only),
        (lambda: m.addConstrs(iter([x <= 1])), AttributeError, "'list_iterator' object has no attribute 'gi_frame'"),
        (lambda: m.addConstrs([x <= 1]), TypeError, "list object is not an iterator"),
        (lambda: m.addConstrs(None), TypeError, "NoneType object is not an iterator"),
        *[(lambda w=w: m.setObjective(w), TypeError, f"expr should be one of {objective}") for w in (x, 5)],
        (lambda: m.setObjective(x + y, "max"), TypeError),
        (lambda: m.setObjective(x + y, 2**40), OverflowError),
        (lambda: m.remove(1), TypeError, "unsupported type: `int`"),
        (lambda: m.remove([x, "y"]), TypeError, "unsupported type: `str`"),
        (lambda: m.remove([x, None]), TypeError, "'NoneType' object is not iterable"),
        *[(lambda w=w, kind=kind: m.remove([x, w]), TypeError, f"remove psd {kind} temporary not support")
          for w, kind in ((tso.PsdVar(), "variable"), (tso.PsdConstr(), "constraint"))],
        (lambda: m.remove(x + y), TypeError, "'tessolvpy.LinExpr' object is not iterable"),
        (lambda: m.remove(v / 0 for v in [x]), ZeroDivisionError, "float division"),
    ]  # fmt: skip


def sets_and_indicators(b):
    m, x, y, z, a, S, G = b.m, b.x, b.y, b.z, b.a, b.m.addSOS, b.m.addGenConstrIndicator
    binary = "indicator constraints can only be triggered by a single binary variable at a given binary value"
    linear, weights = "indicator constraints can only be in linear form", "weights should "
    given = "sense and rhs {} be None if lhs is {} TempConstr"
    return [
        (lambda: S(1.0, [x]), TypeError),
        (lambda: S(2**40, [x]), OverflowError),
        (lambda: S(1, x), TypeError, "vars should be an iterable, not `Var`"),
        (lambda: S(1, "xy"), TypeError, "vars should be an iterable, not `str`"),
        (lambda: S(1, []), ValueError, "a special ordered set needs at least one variable"),
        (lambda: S(1, [x, 2 * y]), TypeError, "vars should contain Var only, not `LinExpr`"),
        (lambda: S(1, [x, y, x]), ValueError, "the variable of index 0 is in the set twice"),
        (lambda: S(1, [x, y], [1]), ValueError, "1 weights for 2 variables"),
        (lambda: S(1, [x, y], iter([1, 2, 3])), ValueError, "3 weights for 2 variables"),
        (lambda: S(1, [x, y], [1, 1.0]), ValueError, weights + "rise from each variable to the next"),
        *[(lambda w=w: S(1, [x, y], [1, w]), ValueError, weights + "be finite numbers") for w in (NAN, INF)],
        (lambda: S(1, [x, y], [1, "2"]), TypeError, weights + "contain numbers only, not `str`"),
        (lambda: S(1, [x, y], "12"), TypeError, "weights should be an iterable, not `str`"),
        (lambda: S(1, [x, y], {0: 1, 1: 2}), TypeError, "weights can be a dict only if vars is one"),
        (lambda: S(1, {0: x, 1: y}, {0: 1}), KeyError, "1"),
        (lambda: G(2 * y, 1, x <= 1), TypeError),
        *[(lambda v=v: G(y, v, x <= 1), ValueError, "indicator value can be only one of [0, 1]")
          for v in (2, -1, 0.5, NAN, "1", None, x, [1])],
        *[(lambda w=w: G(y, 1, *w), TypeError, linear)
          for w in ((x * z, "<", 1), (x * z <= 1,), (x, "<", x * z), (a <= 1,), ((y == 1) >> (x <= 1),),
                    ("x", "<", 1))],
        (lambda: G(y, 1, x + z == [0, 1]), ValueError,
         "an indicator constraint has one side; state a range as two of them"),
        (lambda: G(y, 1, x), ValueError, given.format("can not", "not a")),
        (lambda: G(y, 1, x <= 1, rhs=1), ValueError, given.format("should", "a")),
        (lambda: G(y, 1, x, "!", 1), tso.TessolvError, "Invalid sense `!`"),
        *[(lambda t=t: m.addConstr(t >> (x + z <= 1)), ValueError, binary)
          for t in (y <= 1, 2 * y == 2, y == 2, x == 1, y + z == 1, y == [1, 1], y == [0, 1], y * y == 1, a == 1,
                    (y == 1) >> (x <= 1))],
        *[(lambda t=t: m.addConstr((y == 1) >> t), TypeError, linear)
          for t in (x * x <= 1, a <= 1, x == [0, 1], (y == 1) >> (x <= 1))],
        *[(lambda t=t: m.addConstr((y == 1) >> t), ValueError, "indicator value can only be one of [0, 1]")
          for t in (x + z == 1, x + z == [0, 1])],
    ]  # fmt: skip


def attributes(b):
    m, x, c, xs = b.m, b.x, b.m.getConstrs()[0], b.m.getVars()
    missing, kind = "Attribute `{}` does not exist".format, "type {} temporary not support".format
    return [
        *[(lambda n=n, act=act: act(n), AttributeError, missing(n))
          for n in ("nosuch", "", "MIP*", "é", "X ") for act in (
            m.getAttr, lambda n: m.setAttr(n, 1), lambda n: m.getAttr(n, [x]), lambda n: m.setAttr(n, [x], [1]),
            x.getAttr, lambda n: x.setAttr(n, 1))],
        *[(act, AttributeError, missing(n)) for act, n in (
            (lambda: x.RHS, "RHS"), (lambda: c.X, "X"), (lambda: m.X, "X"), (lambda: m.getAttr("ObjVal", xs), "ObjVal"),
            (lambda: setattr(x, "RHS", 1), "RHS"), (lambda: setattr(m, "uB", 1), "uB"), (lambda: m.VType, "VType"),
            (lambda: m.setAttr("QCRHS", [c], [1]), "QCRHS"), (lambda: m.getAttr("X", [c, x]), "X"),
            (lambda: setattr(x, "index", 1), "index"), (lambda: setattr(x, "mdl_", 1), "mdl_"),
            (lambda: setattr(m, "optimize", 1), "optimize"), (lambda: setattr(m, "Params", 1), "Params"))],
        *[(lambda v=v: x.setAttr(*v), error) for error, *values in (
            (TypeError, ("UB", object()), ("VarName", 5)), (ValueError, ("UB", "abc"), ("ColBasis", "abc")),
            (OverflowError, ("ColBasis", 2**40)), (UnicodeEncodeError, ("VarName", "\ud800"))) for v in values],
        *[(lambda w=w: m.setAttr(*w), error) for error, *w in (
            (OverflowError, "ModelSense", 2**40), (TypeError, "ModelName", 5), (ValueError, "LB", xs, ["a", "b", "c"]),
            (TypeError, "VarName", xs, [1, 2, 3]), (UnicodeEncodeError, "VarName", xs, ["a", "b", "\ud800"]))],
        *[(lambda w=w: m.getAttr("X", w), TypeError, kind(type(w).__name__)) for w in (5, 1.5, "x", True)],
        *[(lambda w=w: m.getAttr("X", w), TypeError) for w in ([5], ["x"], [None], [m], "xy")],
        (lambda: m.getAttr("X", [x, 5]), AttributeError),
        (lambda: m.setAttr("LB", None, 1.0), ValueError, "objs is None"),
        *[(lambda w=w: m.setAttr("LB", *w), ValueError, "invalid newvalues")
          for w in ((xs, 1.0), (xs, "abc"), (5, [1.0]), (x, [4]))],
        (lambda: m.setAttr("LB", 5, 1.0), TypeError, kind("int")),
        # Too few: they would be read past their end.
        *[(lambda w=w: m.setAttr(*w), ValueError) for w in (
            ("LB", xs, [1.0, 2.0]), ("LB", xs, []), ("VarName", xs, ["a"]), ("VType", xs, ["I"]),
            ("ColBasis", xs, [1]))],
        (lambda: x.getAttr(5), TypeError, incorrect("attrname", "str", "int")),
        (lambda: x.setAttr("X"), TypeError),
        (lambda: x.sameAs(5), TypeError, incorrect("var", "tessolvpy.Var", "int")),
        (lambda: x.sameAs(c), TypeError, incorrect("var", "tessolvpy.Var", "tessolvpy.Constr")),
        (lambda: c.sameAs(m), TypeError, incorrect("constr", "tessolvpy.Constr", "tessolvpy.Model")),
        *[(lambda n=n: delattr(x, n), AttributeError) for n in ("ub", "nosuch", "sameAs")],
        *[(lambda n=n: setattr(m, n, 1), AttributeError) for n in ("__x", "__x__", "__dict__")],
        (lambda: m._nosuch, KeyError, "'_nosuch'"),
    ]  # fmt: skip


def models_and_environments(b):
    m, env = b.m, b.env
    return [
        (lambda: tso.Model(5), TypeError, incorrect("name", "str", "int")),
        (lambda: tso.Model("a", 5), TypeError, incorrect("env", "tessolvpy.Env", "int")),
        (lambda: tso.Model("a", m), TypeError, incorrect("env", "tessolvpy.Env", "tessolvpy.Model")),
        (lambda: tso.Model("\ud800", env), UnicodeEncodeError),
        (lambda: tso.Env(params=[1]), TypeError, incorrect("params", "dict", "list")),
        (lambda: tso.Env(logfilename=3), TypeError, incorrect("logfilename", "str", "int")),
        *[(lambda w=w: tso.Env(**w), TypeError) for w in ({"empty": "x"}, {"empty": None}, {"nosuch": 1})],
        (lambda: tso.Env(empty=2**40), OverflowError),
        (lambda: tso.Env(logfilename="\ud800"), UnicodeEncodeError),
        (lambda: tso.read("a.lp", 5), TypeError, "Cannot convert int to tessolvpy.Env"),
        (lambda: tso.read(None, env), TypeError),
        (lambda: tso.read("\ud800.lp", env), UnicodeEncodeError),
        *[(lambda w=w: env.setParam(*w), TypeError) for w in (
            ("Method", None), ("MaxTime", None), ("MaxTime", 1j), ("LogFile", 5), (b"Method", 1), ("Method", "abc"))],
        *[(lambda w=w: env.setParam(*w), OverflowError) for w in (("Method", 2**40), ("MaxTime", 10**400))],
        (lambda: m.Params.nosuch, AttributeError, "Param `nosuch` does not exist"),
        (lambda: getattr(m.Params, "MIP*"), AttributeError, "Param `MIP*` does not exist"),
        (lambda: env.writeParams(None), TypeError),
        *[(lambda act=act, w=w: act(w), e) for act in (m.read, m.write) for e, w in (
            (TypeError, None), (TypeError, b"a.lp"), (TypeError, ["a.lp"]), (UnicodeEncodeError, "\ud800.lp"))],
        *[(lambda w=w: m.reset(w), e) for e, w in ((TypeError, "x"), (TypeError, None), (OverflowError, 2**40))],
        (lambda: m.message(None), TypeError, NO_NAME),
        (lambda: m.message(5), TypeError, incorrect("message", "str", "int")),
        (lambda: m.message("\ud800"), UnicodeEncodeError),
        (lambda: m.optimize(None, None), TypeError),
        (lambda: m.terminate(), RuntimeError, "method can only be called in callback function"),
        *[(lambda a=a: tso.TessolvError(*a), TypeError) for a in ((), (1, 2, 3), (None,), ([],), (5, 7))],
        (lambda: tso.TessolvError(2**40), OverflowError),
        (lambda: tso.TessolvError(b"\xff"), UnicodeDecodeError),
        *[(lambda n=n: setattr(b.error, n, 1), TypeError, "Value is readonly") for n in ("errno", "message")],
        *[(lambda n=n: setattr(b.view, n, None), TypeError, "Value is readonly") for n in ("env", "data", "datap")],
    ]  # fmt: skip


def semidefinite(b):
    m, x, X, A = b.m, b.x, b.X, np.array([[1.0, 2.0], [4.0, 3.0]])
    e, mx, P = b.p, b.a, m.addPsdConstr
    no, inplace = "unsupported operand type(s) for {}: `{}` and `{}`".format, "unsupport operation +=: `PsdExpr` and "
    given, kinds = (
        "sense and rhs {} be None if lhs is {} TempConstr",
        "should be one of [constant, Var, LinExpr, PsdExpr",
    )
    return [
        *[(act, TypeError, no(*words)) for act, *words in (
            (lambda: e * e, "*", "PsdExpr", "PsdExpr"), (lambda: x * e, "*", "Var", "PsdExpr"),
            (lambda: x * X, "*", "Var", "PsdVar"), (lambda: x * x + e, "+", "QuadExpr", "PsdExpr"),
            (lambda: e - x * x, "-", "PsdExpr", "QuadExpr"), (lambda: mx - e, "-", "MVar", "PsdExpr"),
            (lambda: A + e, "+", "ndarray", "PsdExpr"), (lambda: A * e, "*", "ndarray", "PsdExpr"),
            (lambda: e / x, "/", "PsdExpr", "Var"), (lambda: tso.quicksum([x * x, e]), "+", "QuadExpr", "PsdExpr"))],
        (lambda: hash(e), TypeError, "unsupported operand type(s) for hash(): `PsdExpr`"),
        (lambda: e / 0, ZeroDivisionError, "float division"),
        *[(act, TypeError) for act in (
            lambda: x + X, lambda: X + 1, lambda: X <= 1, lambda: x <= X, lambda: x == X, lambda: X >= mx,
            lambda: e <= x * x, lambda: e**2, lambda: e < 1, lambda: 1 / e, lambda: tso.PsdExpr(X))],
        (lambda: e.__iadd__(x * x), TypeError, inplace + "`QuadExpr`"),
        (lambda: e.__imul__(x), TypeError, inplace + "`Var`"),
        (lambda: e == [1, 2, 3], ValueError, "`=` expect an array with 2 elements: [ LHS, RHS ]"),
        (lambda: e == ["a", 1], TypeError, "range constraint requires numeric values"),
        (lambda: e.add(x), TypeError, "Argument `expr` cannot be <class 'tessolvpy.Var'> type"),
        *[(act, tso.TessolvError, "Expect a PsdVar") for act in (
            lambda: e.addTerm(A, x), lambda: e.addTerms([A, A], [X, x]), lambda: tso.PsdExpr(A, x))],
        (lambda: e.addTerms([A], [X, X]), ValueError, "1 matrices given for 2 variables"),
        (lambda: e.remove("x"), TypeError, "Argument `item` should be an integer, PsdVar or Var"),
        (lambda: e.getCoeff(-1), IndexError, OUTSIDE),
        (lambda: e.getPsdVar(1), IndexError, OUTSIDE),
        (lambda: m.addConstr(e <= 1, name=None), TypeError, NO_NAME),
        (lambda: m.addConstr(e == [0, 1j]), TypeError, "must be real number, not complex"),
        (lambda: m.addRange(e, None, None), TypeError, "must be real number, not NoneType"),
        (lambda: P(e), ValueError, given.format("can not", "not a")),
        (lambda: P(e <= 1, "<"), ValueError, given.format("should", "a")),
        (lambda: P(e, "<=", 1), tso.TessolvError, "Invalid sense `<=`"),
        (lambda: P(e, "<", x * x), TypeError, f"rhs {kinds}] type"),
        (lambda: P("e", "<", 1), TypeError, f"lhs {kinds}, TempConstr] type"),
        (lambda: P(x * x <= 1), TypeError, f"expression in TempConstr {kinds}] type"),
        (lambda: m.remove(m.getPsdConstrs()), TypeError, "remove psd constraint temporary not support"),
        (lambda: [[1, NAN]] * 2 * X, ValueError, "the matrix has nan at [0, 1]"),
    ]  # fmt: skip


TABLES = [expressions, variables, rows, sets_and_indicators, attributes, models_and_environments, semidefinite]


@pytest.fixture
def b(stub, env, model):
    x, y, z = model.getVars()
    made = SimpleNamespace(m=model, env=env, x=x, y=y, z=z, a=tso.MVar.fromlist([x, y]))
    made.e, made.q = 2 * x + y, tso.quicksum([2 * x * y, z * z, y * z, x + 1])
    made.X = model.getPsdVars()[0]
    made.p = [[1, 2], [4, 3]] * made.X + x
    made.error, made.view = tso.TessolvError(5, "x"), model.ctypes()
    model.getQConstrs(), model.getPsdConstrs()
    stub.clear()
    return made


@pytest.mark.parametrize("table", TABLES, ids=lambda table: table.__name__)
def test_refusals(stub, b, table):
    def look():
        return state(b.m), terms(b.e), terms(b.q), b.p.size(), terms(b.p.getLinExpr()), b.error.errno, b.error.message

    before, wrong = look(), []
    for number, (act, error, *text) in enumerate(table(b)):
        stub.clear()
        found, words = refusal(act)
        if (found, [words]) != (error, text or [words]) or set(stub.names()) - READING or look() != before:
            wrong.append((number, found, words, text, stub.names()))
    assert not wrong, "\n".join(map(str, wrong))
