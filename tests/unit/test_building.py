"""Variables, rows, objective and removal: the exact calls, keys and names, and the handles afterwards."""

import itertools
import signal

import numpy
import pytest
import tessolvpy as tso
from expressions import check_rows, refusal, state, terms

INF = 1e20


def test_one_variable(stub, built):
    m, (x, y, _) = built
    a, b, c = [m.addConstr(x + y <= i) for i in range(3)]
    stub.clear()
    add, Column = m.addVar, tso.Column
    for act, *expected in [
        (lambda: add(), 0, None, None, 0.0, 0.0, INF, "C", ""),
        (lambda: add(1, 2.5, True, "Integer", "é"), 0, None, None, 1.0, 1.0, 2.5, "I", "é"),
        (lambda: add(-INF, float("inf"), column=Column()), 0, None, None, 0.0, -INF, float("inf"), "C", ""),
        (lambda: add(column=Column(2, b), obj=3), 1, [1], [2.0], 3.0, 0.0, INF, "C", ""),
        (lambda: add(column=Column([1, 2, 4, 0], [c, a, c, b])), 3, [0, 1, 2], [2.0, 0.0, 5.0], 0.0, 0.0, INF, "C", ""),
    ]:
        count, made = len(m.getVars()), act()
        ((name, _, *call),) = stub.calls()
        assert (name, call) == ("TSOaddvar", expected)
        assert type(made) is tso.Var and m.getVars()[-1] is made
        assert made.index == count == len(m.getVars()) - 1


def test_columns(built):
    m, (x, y, _) = built
    a, b, c = [m.addConstr(x + y <= i) for i in range(3)]
    column = tso.Column([1, 2.5], [a, b])
    column.addTerms(3, a)
    column.addTerms(numpy.array([4.0]), (c,))
    copy = column.copy()
    for item in (4, -1, 2**70, a, 0):  # three of them are none
        column.remove(item)
    for one, expected in [(copy, [(1, a), (2.5, b), (3, a), (4.0, c)]), (column, [(4.0, c)])]:
        assert [(one.getCoeff(i), one.getConstr(i)) for i in range(one.size())] == expected
        one.clear()
        assert one.size() == 0


def test_many_variables(stub, built):
    m, _ = built
    null = [None] * 5  # obj, lb, ub, vtype, names
    for indices, keywords, keys, arrays in [
        ((1, 2), {"name": "x"}, [(0, 0), (0, 1)], [*null[:4], ["x[0,0]", "x[0,1]"]]),
        ((["a", "b"],), {"name": "x"}, ["a", "b"], [*null[:4], ["x['a']", "x['b']"]]),
        ((["ab"], [(1, "c d"), ()]), {"name": "é"}, [("a", "b", 1, "c d"), ("a", "b")],
         [*null[:4], ["é['a','b',1,'cd']", "é['a','b']"]]),
        (({"p": 1}, (i for i in (7, 8))), {"name": 5}, [("p", 7), ("p", 8)], [*null[:4], ["5['p',7]", "5['p',8]"]]),
        ((["a'b", "\\", "é", -1.5, None],), {"name": ""}, None, null),
        ((True,), {"name": None, "lb": None, "ub": None, "vtype": None}, [0], null),
        ((0,), {"name": "x"}, [], null),
        ((-5, 2), {}, [], null),
        ((2,), {"lb": 0, "ub": 1e30, "obj": numpy.zeros(2), "vtype": b"c"}, [0, 1], null),
        ((1,), {"ub": 10**400}, [0], null),
        ((2,), {"lb": [0, 0], "ub": [1, INF], "obj": -1, "vtype": "B"}, [0, 1],
         [[-1.0, -1.0], [0.0, 0.0], [1.0, INF], "BB", None]),
        ((1, 2), {"lb": numpy.array([[1], [2]], "int8"), "ub": numpy.float64(3), "obj": [[4, 5]]}, [(0, 0), (0, 1)],
         [[4.0, 5.0], [1.0, 2.0], [3.0, 3.0], None, None]),
        ((2,), {"vtype": ["Int", b"b"], "name": ["p", 7]}, [0, 1], None),
        (([5, 5],), {"vtype": numpy.array(["C", "I"]), "name": ("p", "q")}, [5, 5], [*null[:3], "CI", ["p", "q"]]),
    ]:  # fmt: skip
        before = len(m.getVars())
        made = m.addVars(*indices, **keywords)
        ((name, _, count, entries, *rest),) = stub.calls()
        assert (name, entries, rest[:3]) == ("TSOaddvars", 0, [None] * 3)
        assert count == len(m.getVars()) - before
        assert type(made) is tso.tupledict
        assert keys is None or (count, list(made)) == (len(keys), list(dict.fromkeys(keys)))
        assert arrays is None or rest[3:] == arrays
        assert not made or list(made.values())[-1] is m.getVars()[-1]
        assert [v.index for v in m.getVars()] == list(range(before + count))


def test_indices_that_misbehave(built):
    m, _ = built

    def indices(fail=False):
        yield 1
        m.addVar()
        if fail:
            raise KeyError("halfway")
        yield 2

    assert refusal(m.addVars, indices(fail=True))[0] is KeyError
    assert len(m.getVars()) == 4
    assert [v.index for v in m.addVars(indices()).values()] == [5, 6]
    assert refusal(m.addVars, 10**6, 10**6, 10**6)[0] is MemoryError

    class Clearing:
        def __hash__(self):
            m.getVars().clear()
            return 1

    made = m.addVars([Clearing() for _ in range(100)])
    assert [v.index for v in made.values()] == list(range(100)) and list(made.values()) == m.getVars()


def test_what_takes_long(built):
    """A list of names is read once, not once for each; and endless loops end with the first signal."""
    m, (x, *_) = built
    names = [f"v{i}" for i in range(30_000)]
    assert len(m.addVars(30_000, name=names, vtype=["B"] * 30_000)) == 30_000
    signal.signal(signal.SIGVTALRM, signal.default_int_handler)
    for act, endless in ((m.addVars, 1), (m.remove, x), (tso.quicksum, 1)):
        signal.setitimer(signal.ITIMER_VIRTUAL, 0.02)
        with pytest.raises(KeyboardInterrupt):
            act(itertools.repeat(endless))


def row_call(stub):
    ((name, _, count, indices, values, *rest),) = stub.calls()
    assert (name, count) == ("TSOaddrangeconstr", len(indices or []))
    return [indices or [], values or [], *rest]


def test_rows(stub, built):
    m, (x, y, z) = built
    Range, L, infinity = m.addRange, m.addLConstr, float("inf")
    for add, *expected in [
        (lambda: m.addConstr(x + 1 <= 2, "r"), [0], [1.0], -INF, 1.0, "r"),
        (lambda: m.addConstr(z + 2 * x + y >= 3 + z, name="é"), [0, 1, 2], [2.0, 1.0, 0.0], 3.0, INF, "é"),
        (lambda: m.addConstr(x - x == 0), [0], [0.0], 0.0, 0.0, ""),
        (lambda: m.addConstr(x == [0, 100]), [0], [1.0], 0.0, 100.0, ""),
        (lambda: m.addConstr(x + 3 == (-infinity, 5)), [0], [1.0], -INF, 2.0, ""),
        (lambda: m.addConstr(x + 3 == [1e30, 1e31]), [0], [1.0], INF, INF, ""),
        (lambda: m.addConstr(True), [], [], -INF, 0.0, ""),
        (lambda: m.addConstr(False), [], [], -INF, -1.0, ""),
        (lambda: Range(x + 1, None, 5, None), [0], [1.0], -INF, 4.0, ""),
        (lambda: Range(x + 1, -(10**400), 10**400), [0], [1.0], -INF, INF, ""),
        (lambda: Range(expr=7, lower=1, upper=None, name="n"), [], [], -6.0, INF, "n"),
        (lambda: L(x, "<", y, "l"), [0, 1], [1.0, -1.0], -INF, 0.0, "l"),
        (lambda: L(3, ">", x + y), [0, 1], [-1.0, -1.0], -3.0, INF, ""),
        (lambda: L(y <= 4, name="t"), [1], [1.0], -INF, 4.0, "t"),
    ]:
        rows, made = len(m.getConstrs()), add()
        assert row_call(stub) == expected
        assert type(made) is tso.Constr and m.getConstrs()[-1] is made
        check_rows(m, rows + 1)
    array = tso.MVar.fromlist([x, y])
    assert m.addConstr(array <= 1, name=None).size == 2 and stub.calls()[-1][-1] == ["", ""]
    many = tso.quicksum(3 * v for _ in range(40) for v in (z, y, x))
    m.addConstr(many <= 1)
    assert row_call(stub)[:2] == [[0, 1, 2], [120.0] * 3]


def test_generated_rows(stub, built):
    m, (x, y, z) = built
    xs = [x, y, z]

    def one_by_one():
        for kind in ("a b", (1, "c")):  # noqa: B007
            yield x <= 1

    def nested(xs):
        return (v + w <= 1 for i, v in enumerate(xs) for j, w in enumerate(xs) if i < j)

    for generator, keys, names in [
        ((v <= 1 for v in xs), [0, 1, 2], ["c[<Varn0>]", "c[<Varn1>]", "c[<Varn2>]"]),
        ((xs[i] <= 1 for i in range(2)), [0, 1], ["c[0]", "c[1]"]),
        ((xs[i] + j <= 1 for i in range(2) for j in range(1)), [(0, 0), (1, 0)], ["c[0,0]", "c[1,0]"]),
        (one_by_one(), ["a b", (1, "c")], ["c['ab']", "c[(1,'c')]"]),
        ((v <= 1 for v in ()), [], []),
    ]:  # fmt: skip
        stub.clear()
        made = m.addConstrs(generator, name="c")
        calls = [call for call in stub.calls() if call[0] == "TSOaddrangeconstr"]
        assert type(made) is tso.tupledict
        assert [call[-1] for call in calls] == names
        assert [k.index if isinstance(k, tso.Var) else k for k in made] == keys
        assert list(made.values()) == m.getConstrs()[len(m.getConstrs()) - len(names) :]

    own = type("Own", (tso.Model,), {"addConstr": lambda m, tconstr, name: name})("own")
    assert own.addConstrs((xs[i] <= 1 for i in [0]), "c") == {0: "c[0]"} and own.addLConstr(x, "<", 1, "l") == "l"
    stub.clear()

    def unnamed():
        yield x <= 1
        yield x <= 2

    for names, name in (["", ""], None), (["", ""], ""), (["p[0]", "p[1]"], "p"):
        assert list(m.addConstrs(unnamed(), name)) == [0, 1]
        assert [call[-1] for call in stub.calls()] == names
    assert [len(k) for k in m.addConstrs(nested(xs))] == [4, 4, 4]


def test_generators_that_misbehave(stub, built):
    m, (x, y, z) = built

    def halfway():
        yield x <= 1
        raise KeyError("halfway")

    def unhashable():
        for key in [[]]:  # noqa: B007
            yield x <= 1

    def busy():
        for i in range(3):  # noqa: B007
            m.addConstr(y <= 1)
            m.addVar()
            yield x <= 1

    assert refusal(m.addConstrs, halfway()) == (KeyError, "'halfway'")
    assert refusal(m.addConstrs, unhashable()) == (TypeError, "unhashable type: 'list'")
    rows = len(m.getConstrs())
    made = m.addConstrs(busy(), "b")
    assert [c.index for c in made.values()] == [rows + 1, rows + 3, rows + 5]
    running = []
    running.append(m.addConstrs(running[0]) for _ in range(1))
    assert refusal(m.addConstrs, running[0]) == (ValueError, "generator already executing")
    endless = []
    endless.append(endless)
    assert refusal(m.remove, endless)[0] is RecursionError


def test_objective_calls(stub, built):
    m, (x, y, z) = built

    def obj(index, value):
        return [("TSOgetattrinfo", "Obj"), ("TSOsetdblattrlist", "Obj", 1, [index], [value])]

    def calls():
        return [(name, *(a for a in arguments if a != "out")) for name, _, *arguments in stub.calls()]

    head = [("TSOdelq",), *obj(0, 0.0), *obj(1, 0.0), *obj(2, 0.0), ("TSOgetattrinfo", "NumVars"),
            ("TSOgetintattr", "NumVars"), ("TSOgetattrinfo", "ObjCon")]  # fmt: skip
    sense = ("TSOgetattrinfo", "ModelSense")
    for arguments, before, after in [
        ((1 * z + 2 * x + z + 5,), [], [("TSOsetdblattr", "ObjCon", 5.0), *obj(2, 2.0), *obj(0, 2.0)]),
        ((x - x, 0), [sense, ("TSOsetintattr", "ModelSense", 0)], [("TSOsetdblattr", "ObjCon", 0.0), *obj(0, 0.0)]),
        ((tso.LinExpr(), -1), [sense, ("TSOsetintattr", "ModelSense", -1)], [("TSOsetdblattr", "ObjCon", 0.0)]),
        ((y * x + 3 * x * x + y * x + z, 7), [sense, ("TSOsetintattr", "ModelSense", 7)],
         [("TSOsetdblattr", "ObjCon", 0.0), *obj(2, 1.0), ("TSOaddqpterms", 3, [0, 0, 0], [1, 0, 1], [1.0, 3.0, 1.0])]),
    ]:  # fmt: skip
        m.setObjective(*arguments)
        assert calls() == before + head + after
    stub.fail("TSOdelq", -5)  # told after the linear coefficients are gone
    assert refusal(m.setObjective, x + y)[0] is tso.TessolvError
    assert [c for c in calls() if c[0] != "TSOexplainerror"] == head[:7]
    stub.set(ObjCon=2.5)
    made = m.getObjective()
    assert terms(made) == ([(0.5, 0), (1.5, 1), (2.5, 2)], 2.5)
    read = [c for i in range(3) for c in (("TSOgetattrinfo", "Obj"), ("TSOgetdblattrlist", "Obj", 1, [i]))]
    assert calls() == [
        ("TSOgetattrinfo", "ObjCon"), ("TSOgetdblattr", "ObjCon"), *read, ("TSOgetq", None, None, None)
    ]  # fmt: skip


def test_removal(stub, built):
    m, (x, y, z) = built
    rows = [m.addConstr(x + y <= i) for i in range(5)]
    qrows, old_vars, old_rows = m.getQConstrs(), m.getVars(), m.getConstrs()
    stub.clear()
    for nothing in ([], (), {}, [[], {}], iter(())):
        m.remove(nothing)
    assert stub.calls() == []
    m.remove({"a": rows[3], "b": [[qrows[1]], (v for v in [rows[3], y, y])]})
    assert [(c[0], *c[2:]) for c in stub.calls()] == [("TSOdelvars", 1, [1]), ("TSOdelconstrs", 2, [1, 3])]
    assert [v.index for v in (x, y, z)] == [0, -2, 1]
    assert [c.index for c in rows] == [c.index for c in qrows] == [0, -2, 1, -4, 2]
    assert m.getVars() is not old_vars
    assert (len(old_vars), len(old_rows), len(qrows)) == (3, 5, 5)
    assert [[c.index for c in one] for one in (m.getConstrs(), m.getQConstrs(), m.getPsdConstrs())] == [[0, 1, 2]] * 3
    m.remove([y, rows[1], qrows[3]])  # gone already
    assert stub.calls() == [] and hash(y) == -2
    # Kind by kind: what comes before the failing kind is done, the rest is as it was.
    stub.fail("TSOdelconstrs", -2002)
    before = state(m)
    assert refusal(m.remove, [rows[0], z])[0] is tso.TessolvError
    assert z.index == -2 and [one[1:] for one in state(m)] == [one[1:] for one in before]


def test_handles_that_stand_for_nothing_here(stub, built):
    """Removed ones and those of other models reach the library with an index that it refuses."""
    m, (x, y, _) = built
    other = tso.Model()
    m.remove(y)
    for v in (y, other.addVars(2)[1], tso.Var()):
        stub.clear()
        m.addConstr(x + v <= 1)
        assert min(row_call(stub)[0]) < 0
        m.setObjective(v + x)
        written = [c for c in stub.calls() if c[0] == "TSOsetdblattrlist"]
        assert any(c[4][0] < 0 for c in written)
        m.setObjective(x * v)
        assert min(min(c[3] + c[4]) for c in stub.calls() if c[0] == "TSOaddqpterms") < 0
