"""Quadratic rows, sets and indicators: the exact calls, and that what fails leaves no trace."""

import numpy as np
import tessolvpy as tso
from expressions import check_rows, refusal, state

INF = 1e20  # the library's; the stand-in says of the second of three variables that it is binary


def calls(stub, function):
    found = [call for call in stub.calls() if call[0] == function]
    stub.clear()
    return [tuple(a or [] if a is None else a for a in call[2:]) for call in found]


def test_quadratic_rows(stub, built):
    m, (x, y, z) = built
    infinity, Q = float("inf"), tso.QuadExpr
    backwards, nothing = Q(), Q(x + 1)
    backwards.addTerms([1, 2.5], [z, x], [y, x])  # as they stand
    for add, linear, quadratic, sense, rhs, *more in [
        (lambda: m.addConstr(x * y <= 2, "r"), [], [(0, 1, 1.0)], "<", 2.0),
        (lambda: m.addConstr(x * y + 3 * z * x + y * x + 1 >= z + z),
         [(2, -2.0)], [(0, 1, 2.0), (0, 2, 3.0)], ">", -1.0),
        (lambda: m.addConstr(z * z + x * x == y, "é"), [(1, -1.0)], [(0, 0, 1.0), (2, 2, 1.0)], "=", 0.0),
        (lambda: m.addConstr(backwards <= 1), [], [(0, 0, 2.5), (1, 2, 1.0)], "<", 1.0),
        (lambda: m.addConstr(nothing == [-infinity, 3]), [(0, 1.0)], [], "<", 2.0),
        (lambda: m.addConstr(x * x == [-infinity, 3]), [], [(0, 0, 1.0)], "<", 3.0),
        (lambda: m.addConstr(x * x == (2, 1e30)), [], [(0, 0, 1.0)], ">", 2.0),
        (lambda: m.addConstr(x * x + 1 == [2, 5]), [], [(0, 0, 1.0)], "<", 4.0, ("QCLHS", 1.0)),
        (lambda: m.addConstr(x * x <= infinity), [], [(0, 0, 1.0)], "<", 0.0, ("QCRHS", INF)),
        (lambda: m.addQConstr(x * x, ">", y * z + 1), [], [(0, 0, 1.0), (1, 2, -1.0)], ">", 1.0),
        (lambda: m.addQConstr(lhs=1, sense=tso.TSO.LESS_EQUAL, rhs=x * y + z), [(2, -1.0)], [(0, 1, -1.0)], "<", -1.0),
        (lambda: m.addQConstr(x * y <= 4, name="r"), [], [(0, 1, 1.0)], "<", 4.0),
        (lambda: m.addQConstr(x == [1, 2]), [(0, 1.0)], [], "<", 2.0, ("QCLHS", 1.0)),
    ]:  # fmt: skip
        rows = len(m.getConstrs())
        made = add()
        calls_of = stub.calls()
        (call,) = [c for c in calls_of if c[0] == "TSOaddqconstr"]
        sides = [(c[2], c[5][0]) for c in calls_of if c[0] == "TSOsetdblattrlist" and c[3:5] == (1, [rows])]
        _, _, n, lind, lval, k, qrow, qcol, qval, *rest = call
        assert list(zip(lind or [], lval or [])) == linear
        assert list(zip(qrow or [], qcol or [], qval or [])) == quadratic
        assert (n, k, rest[:2], sides) == (len(linear), len(quadratic), [sense, rhs], more)
        assert type(made) is tso.QConstr and m.getQConstrs()[-1] is made
        check_rows(m, rows + 1)
        stub.clear()
    many = tso.quicksum(3 * v * w for _ in range(9) for v in (z, y, x) for w in (x, z))
    m.addConstr(many <= 1)
    assert calls(stub, "TSOaddqconstr")[0][4:7] == ([0, 0, 0, 1, 2], [0, 1, 2, 2, 2], [27.0, 27.0, 54.0, 27.0, 27.0])


def test_quadratic_rows_of_arrays(stub, built):
    m, (x, y, z) = built
    a = tso.MVar.fromlist([[x, y], [y, z]])
    made = m.addConstr(a * a + a <= np.array([[1, 2], [3, 4]]), "q")
    assert [c.index for c in made.tolist()[0]] == [0, 1] and m.getQConstrs()[3] is made.tolist()[1][1]
    rows = calls(stub, "TSOaddqconstr")
    assert [(r[1], r[4], r[5], *r[7:]) for r in rows] == [
        ([i], [i], [i], "<", float(k + 1), f"q[{k // 2},{k % 2}]") for k, i in enumerate([0, 1, 1, 2])
    ]
    m.addConstr(tso.TempConstr.new(tso.MQuadExpr.new([x * y + 1, 2 * z + 1, y, 5]), 0, 7))
    counts = [(r[0], r[3], r[8]) for r in calls(stub, "TSOaddqconstr")]
    assert counts == [(0, 1, 6.0), (1, 0, 6.0), (1, 0, 7.0), (0, 0, 2.0)]
    assert m.addConstr(tso.MQuadExpr.zeros((0, 2)) <= 1).shape == (0, 2)
    before = state(m)
    stub.clear()
    stub.fail("TSOaddqconstr", -3, 3)
    assert refusal(m.addConstr, a * x <= 1)[0] is tso.TessolvError
    assert [c[3] for c in stub.calls() if c[0] == "TSOdelconstrs"] == [[8, 9]]
    stub.fail("TSOsetdblattrlist", -3, 2)
    assert refusal(m.addConstr, tso.TempConstr.new(a * x, 1, 2))[0] is tso.TessolvError
    assert state(m) == before


def test_sets(stub, built):
    m, (x, y, z) = built

    def gone():
        v = m.addVar()
        yield v
        m.remove(v)

    a = tso.MVar.fromlist([[x, z], [y, m.addVar()]])
    keyed = tso.tupledict({"a": z, "b": x})
    for arguments, kind, members, weights in [
        ((1, [z, x]), 1, [2, 0], None),
        ((tso.TSO.SOS_TYPE2, (v for v in (x, y, z)), None), 2, [0, 1, 2], None),
        ((1, a, np.array([[-1, 0], [1, 2]])), 1, [0, 2, 1, 3], [-1.0, 0.0, 1.0, 2.0]),
        ((1, [a[0, 1], x, a[1]], range(4)), 1, [2, 0, 1, 3], [0.0, 1.0, 2.0, 3.0]),
        ((1, keyed.values()), 1, [2, 0], None),
        ((1, keyed, {"b": 7, "a": 3, "c": 1}), 1, [2, 0], [3.0, 7.0]),
        ((1, np.array([y, x])), 1, [1, 0], None),
        ((1, gone()), 1, [-5], None),  # the library says no to what is no longer in the model
    ]:  # fmt: skip
        stub.clear()
        made = m.addSOS(*arguments)
        assert calls(stub, "TSOaddsos") == [(1, len(members), [kind], [0], members, weights or [])]
        assert type(made) is tso.SOS and m.getSOSs()[-1] is made
    sets = m.getSOSs()[:]
    assert [s.index for s in sets] == list(range(8))
    m.remove([sets[1], [sets[5]]])
    assert [s.index for s in sets] == [0, -2, 1, 2, 3, -6, 4, 5] and len(m.getSOSs()) == 6


def test_indicators(stub, built):
    m, (x, y, z) = built
    G, a = m.addGenConstrIndicator, tso.MVar.fromlist([x, y, z])
    for add, value, row, sense, rhs, *name in [
        (lambda: G(y, 1, x + z, "<", 3), 1, [(0, 1.0), (2, 1.0)], "<", 3.0),
        (lambda: G(y, False, z + x + 1 + z, tso.TSO.EQUAL, x), 0, [(0, 0.0), (2, 2.0)], "=", -1.0),
        (lambda: G(y, 1.0, x, ">", 2, "g"), 1, [(0, 1.0)], ">", 2.0, "g"),
        (lambda: G(y, np.bool_(True), 5, "<", 2 * x), 1, [(0, -2.0)], "<", -5.0),
        (lambda: G(y, 1, x + 1 <= z), 1, [(0, 1.0), (2, -1.0)], "<", -1.0),
        (lambda: G(y, 1, x == 3), 1, [(0, 1.0)], "=", 3.0),
        (lambda: G(y, 1, x == [-INF, 3]), 1, [(0, 1.0)], "<", 3.0),
        (lambda: G(a[1], 1, a[0] + a[2] <= 3), 1, [(0, 1.0), (2, 1.0)], "<", 3.0),
        (lambda: m.addConstr((y == 1) >> (x + z + 1 <= 3)), 1, [(0, 1.0), (2, 1.0)], "<", 2.0),
        (lambda: m.addConstr((y == 0) >> (x >= z), "p"), 0, [(0, 1.0), (2, -1.0)], ">", 0.0, "p"),
        (lambda: m.addConstr((a[1] == 1) >> (a[0] + 1 <= 3)), 1, [(0, 1.0)], "<", 2.0),
    ]:  # fmt: skip
        stub.clear()
        made = add()
        indices, values = zip(*row)
        (call,) = calls(stub, "TSOaddgenconstrIndicator")
        assert call == (*(name or [""]), 1, value, len(row), list(indices), list(values), sense, rhs)
        assert type(made) is tso.GenConstr and m.getGenConstrs()[-1] is made
    rows = m.addConstrs(((y == k) >> (x <= k) for k in range(2)), "i")
    assert [call[0] for call in calls(stub, "TSOaddgenconstrIndicator")] == ["i[0]", "i[1]"]
    assert [g.index for g in m.getGenConstrs()] == list(range(13)) and rows[1] is m.getGenConstrs()[12]
    m.remove([rows[0]])
    assert (rows[0].index, rows[1].index, len(m.getConstrs())) == (-12, 11, 0)
