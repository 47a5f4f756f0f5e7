"""What a model holds, asked element by element, is what was stated; and it follows every edit."""

import random

import numpy as np
import pytest
import scipy.sparse as sp
import tessolvpy as tso

KINDS = """
minimize
 x + y + z
subject to
 mix: x + 2 y - z <= 4
 risk: 2 x - y + [ x ^ 2 + 3 x * z + 2 y ^ 2 ] <= 9
 on: b = 1 -> x + 3 z >= 2
 off: b = 0 -> y = 1
 last: y + z <= 8
bounds
 y free
binary
 b
sos
 s: S2:: z:1 x:2.5 y:4
 t: S1:: x:1 b:2
end
"""


def linear(e):
    return {e.getVar(i).VarName: e.getCoeff(i) for i in range(e.size())}


def quadratic(q):
    terms = {(q.getVar1(i).VarName, q.getVar2(i).VarName): q.getCoeff(i) for i in range(q.size())}
    return terms, linear(q.getLinExpr())


def column(c):
    return {c.getConstr(i).ConstrName: c.getCoeff(i) for i in range(c.size())}


def indicator(m, g):
    b, value, e, sense, rhs = m.getGenConstrIndicator(g)
    return b.VarName, value, linear(e), sense, rhs


def sos(m, s):
    kind, members, weights = m.getSOS(s)
    return kind, [x.VarName for x in members], weights


def assert_matches(m, rows, objects):
    """Every query against `rows`: {row: {column: coefficient}} by handles."""
    cs, xs = m.getConstrs(), m.getVars()
    dense = np.zeros((len(cs), len(xs)))
    for c, terms in rows.items():
        for x, v in terms.items():
            dense[c.index, x.index] = v
    a = m.getA()
    assert (type(a), a.dtype, a.shape, a.nnz) == (sp.csr_matrix, np.float64, dense.shape, np.count_nonzero(dense))
    assert (a.toarray() == dense).all()
    a.check_format(full_check=True)
    for c in cs:
        e = m.getRow(c)
        assert e.getConstant() == 0
        got = [(e.getVar(i).index, e.getCoeff(i)) for i in range(e.size())]
        assert got == [(j, dense[c.index, j]) for j in np.flatnonzero(dense[c.index])]
        assert all(e.getVar(i) is xs[e.getVar(i).index] for i in range(e.size()))
        e.clear()  # a result is the caller's own: this does not show the next time
    for x in xs:
        col = m.getCol(x)
        got = [(col.getConstr(i).index, col.getCoeff(i)) for i in range(col.size())]
        assert got == [(i, dense[i, x.index]) for i in np.flatnonzero(dense[:, x.index])]
        assert all(col.getConstr(i) is cs[col.getConstr(i).index] for i in range(col.size()))
    if cs and xs:
        for c, x in objects.sample([(c, x) for c in cs for x in xs], 3):
            value = m.getCoeff(c, x)
            assert type(value) is float and value == dense[c.index, x.index]


def test_linear_queries_follow_every_edit(new):
    draw = random.Random(7)
    m, rows = new(), {}
    assert_matches(m, rows, draw)
    for step in range(60):
        xs, cs = m.getVars(), m.getConstrs()
        what = draw.choice(["var", "var", "row", "row", "rows", "column", "coeff", "coeffs", "remove"])
        some = draw.sample(xs, min(len(xs), draw.randint(0, 5)))
        if what == "var":
            m.addVars(draw.randint(1, 3))
        elif what == "row":
            terms = {x: draw.randint(1, 9) for x in some}
            twice = sum(some[:1])  # repeated terms are one entry of the row
            row = m.addConstr(tso.quicksum(v * x for x, v in terms.items()) + twice <= 3)
            rows[row] = {x: v + (x is some[0]) for x, v in terms.items()}
        elif what == "rows" and some:
            a = np.array([[draw.choice([0, 1, -2.5]) for _ in some] for _ in range(3)])
            for c, values in zip(m.addConstr(a @ tso.MVar.fromlist(some) <= 1).tolist(), a):
                rows[c] = {x: v for x, v in zip(some, values) if v}
        elif what == "column" and cs:
            chosen = draw.sample(cs, min(len(cs), 3))
            x = m.addVar(column=tso.Column([2.0] * len(chosen), chosen))
            for c in chosen:
                rows[c][x] = 2.0
        elif what == "coeff" and xs and cs:
            c, x, v = draw.choice(cs), draw.choice(xs), draw.choice([0, 0.0, 7, -1.5])
            assert m.chgCoeff(c, x, v) is None
            rows[c][x] = v
        elif what == "coeffs" and some and cs:
            chosen = [draw.choice(cs) for _ in some]
            values = [draw.choice([0, 4, -0.5]) for _ in some]
            given = draw.choice([list, tuple, np.array])(values)
            m.chgCoeff(iter(chosen), tso.MVar.fromlist(some), given)
            for c, x, v in zip(chosen, some, values):
                rows[c][x] = v
        elif what == "remove" and step % 3 == 0:
            gone = some[:1] + draw.sample(cs, min(len(cs), 1))
            m.remove(gone)
            rows = {c: {x: v for x, v in r.items() if x.index >= 0} for c, r in rows.items() if c.index >= 0}
        assert_matches(m, rows, draw)
    assert m.NumNZs > 20  # there was something to compare


def test_rows_and_columns_go_back_into_a_model(new):
    m = new()
    x, y = m.addVar(ub=4, name="x"), m.addVar(ub=5, name="y")
    c = m.addConstr(2 * x + 3 * y + 1 == [2, 7], "c")
    d = m.addConstr(m.getRow(c) * 2 >= c.LHS, "d")
    z = m.addVar(name="z", column=m.getCol(y))
    assert (linear(m.getRow(d)), column(m.getCol(z))) == ({"x": 4, "y": 6, "z": 6}, {"c": 3, "d": 6})
    m.setObjective(x + y, tso.TSO.MAXIMIZE)
    m.optimize()
    assert m.ObjVal == pytest.approx(3)
    m.chgCoeff([c, c], [x, y], [4, 0])  # and the next run solves the new row
    m.optimize()
    assert m.ObjVal == pytest.approx(1.5 + 5)


def test_other_kinds(state):
    m = state(KINDS)
    assert [c.ConstrName for c in m.getConstrs()] == ["mix", "risk", "last"]
    q = m.getQConstrByName("risk")
    assert q is m.getQConstrs()[1]
    products = {("x", "x"): 1, ("x", "z"): 3, ("y", "y"): 2}
    assert quadratic(m.getQCRow(q)) == (products, {"x": 2, "y": -1})
    assert quadratic(m.getQCRow(m.getQConstrs()[0])) == ({}, {"x": 1, "y": 2, "z": -1})
    assert {tuple(sos(m, s)[1]): sos(m, s)[::2] for s in m.getSOSs()} == {
        ("z", "x", "y"): (tso.TSO.SOS_TYPE2, [1, 2.5, 4]),
        ("x", "b"): (tso.TSO.SOS_TYPE1, [1, 2]),
    }
    on, off = m.getGenConstrs()
    assert indicator(m, on) == ("b", 1, {"x": 1, "z": 3}, ">", 2)
    assert indicator(m, off) == ("b", 0, {"y": 1}, "=", 1)
    assert m.getA().toarray()[1].tolist() == [{"x": 2, "y": -1}.get(x.VarName, 0) for x in m.getVars()]
    y, z, b = (m.getVarByName(name) for name in "yzb")
    m.chgCoeff(m.getConstrs()[1], z, 6)
    m.remove(y)
    assert quadratic(m.getQCRow(q)) == ({("x", "x"): 1, ("x", "z"): 3}, {"x": 2, "z": 6})
    assert (["z", "x"], [1, 2.5]) in [sos(m, s)[1:] for s in m.getSOSs()]
    assert indicator(m, off) == ("b", 0, {}, "=", 1)
    m.remove([m.getConstrs()[0], off, m.getSOSs()[0]])
    assert [indicator(m, g)[1] for g in m.getGenConstrs()] == [1]
    assert (q.index, on.index, off.index, len(m.getSOSs())) == (0, 0, -2, 1)


def test_an_indicator_goes_with_its_binary(state):
    text = "min x\nst\n c: x >= 1\n" + "".join(f" g{i}: b{i % 3} = 1 -> x >= {i}\n" for i in range(7))
    m = state(text + "binary\n b0 b1 b2\nend\n")
    g = list(m.getGenConstrs())
    m.remove([m.getVarByName("b1"), g[0], g[4], g[6]])
    assert m.getGenConstrs() == [g[2], g[3], g[5]]
    assert [h.index for h in g] == [-1, -2, 0, 1, -5, 2, -5]
    assert [indicator(m, h)[4] for h in m.getGenConstrs()] == [2, 3, 5]
    assert m.NumGenConstrs == 3


def test_names(state):
    m = state(KINDS)
    kinds = (m.getVarByName, m.getVars(), "VarName"), (m.getConstrByName, m.getConstrs(), "ConstrName")
    for find, handles, name in kinds:
        assert all(find(getattr(h, name)) is h for h in handles)
        first, last, old = handles[0], handles[-1], getattr(handles[0], name)
        for unknown in ("", "nosuch", "X", "C999", "R999", old + "\0", "é"):
            assert find(unknown) is None
        setattr(first, name, "ö 1")
        assert (find("ö 1"), find(old)) == (first, None)
        setattr(last, name, "ö 1")  # the first of two
        assert find("ö 1") is first
        m.remove(first)
        assert find("ö 1") is last
    risk = m.getQConstrByName("risk")
    assert risk is m.getQConstrs()[risk.index] and m.getConstrByName("risk") is m.getConstrs()[risk.index]
    assert m.getQConstrByName("last") is None  # a linear row
    unnamed = m.addVar()
    assert m.getVarByName(unnamed.VarName) is unnamed  # by its generated name
    for find in (m.getVarByName, m.getConstrByName, m.getQConstrByName):
        for wrong in (None, b"x", 3):
            text = f"Argument 'name' has incorrect type (expected str, got {type(wrong).__name__}"
            assert refused(TypeError, find, wrong).startswith(text)
        refused(UnicodeEncodeError, find, "\ud800")


def refused(error, act, *arguments):
    """The text of the error that a call ends in."""
    with pytest.raises(error) as caught:
        act(*arguments)
    if error is not tso.TessolvError:
        return str(caught.value)
    if caught.value.message.startswith("Argument"):
        assert caught.value.errno < -2000
    return caught.value.message


def test_what_is_refused(state):
    m, other = state(KINDS), state(KINDS, "other.lp")
    x, c, q, s, g = (h[0] for h in (m.getVars(), m.getConstrs(), m.getQConstrs(), m.getSOSs(), m.getGenConstrs()))
    lists = other.getVars(), other.getConstrs(), other.getQConstrs(), other.getSOSs(), other.getGenConstrs()
    foreign = {type(h[0]): h[0] for h in lists}
    before = m.getA()
    gone = m.addVar(), m.getConstrs()[2], m.getQConstrs()[2], *m.getSOSs()[1:], *m.getGenConstrs()[1:]
    removed = {type(h): h for h in gone}
    m.remove(list(gone))
    for query, name, cls in [
        (m.getRow, "constr", tso.Constr), (m.getCol, "var", tso.Var), (m.getQCRow, "qconstr", tso.QConstr),
        (m.getSOS, "sos", tso.SOS), (m.getGenConstrIndicator, "genconstr", tso.GenConstr),
        (lambda h: m.getCoeff(h, x), "constr", tso.Constr), (lambda h: m.getCoeff(c, h), "var", tso.Var),
        (lambda h: m.chgCoeff(h, x, 1), "constr", tso.Constr), (lambda h: m.chgCoeff(c, h, 1), "var", tso.Var),
    ]:  # fmt: skip
        what = f"Argument '{name}' is a {cls.__name__} "
        assert refused(tso.TessolvError, query, foreign[cls]) == what + "of another model"
        assert refused(tso.TessolvError, query, removed[cls]) == what + "that was removed from the model"
        text = f"Argument '{name}' has incorrect type (expected tessolvpy.{cls.__name__}, got "
        for wrong in (None, "x", 0, [], *(h for h in (x, c, q, s, g) if type(h) is not cls)):
            assert refused(TypeError, query, wrong).startswith(text) or isinstance(wrong, list)
    assert "'constr' is a quadratic row" in refused(tso.TessolvError, m.getRow, m.getConstrs()[1])
    cs, xs = m.getConstrs()[:2], m.getVars()[:2]
    kinds = "Argument 'constr[1]' has incorrect type (expected tessolvpy.Constr, got tessolvpy.QConstr)"
    for arguments, error, *text in [
        ((cs, xs[:1], 1), ValueError, "2 constraints and 1 variables given"), ((cs, xs, [1, 2, 3]), ValueError),
        ((cs, xs, "ab"), ValueError), ((cs, xs, [1, float("nan")]), tso.TessolvError),
        ((cs, [xs[0], foreign[tso.Var]], 1), tso.TessolvError, "Argument 'var[1]' is a Var of another model"),
        (([cs[0], q], xs, 1), TypeError, kinds), ((c, x, float("inf")), tso.TessolvError), ((c, x, None), TypeError),
        ((c, x, [1]), TypeError), ((3, 4, 5), TypeError),
    ]:  # fmt: skip
        found = refused(error, m.chgCoeff, *arguments)
        assert [found] == (text or [found])
    assert (m.getA() != before[:2, :4]).nnz == 0
    m.chgCoeff([], [], [])
    shell = tso.Model(empty=True)
    for query in (shell.getA, lambda: shell.getRow(c), lambda: shell.getVarByName("x")):
        refused(tso.TessolvError, query)
    m.getVars().clear()  # a program that breaks the list gets errors, and matrices that fit
    assert m.getA().shape[1] == 4
    for query, argument in [(m.getRow, c), (m.getSOS, s), (m.getVarByName, "x"), (m.getGenConstrIndicator, g)]:
        refused(IndexError, query, argument)
