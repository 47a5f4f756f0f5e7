"""Models of every kind of element through files: the same elements again, and the same optimum for HiGHS and SCIP,
which run in processes of their own."""

import itertools
import json

import pytest
import tessolvpy as tso

TSO = tso.TSO


def whole(m, x, y, z, b):
    y.VType = z.VType = TSO.INTEGER
    z.LB, z.UB = -3, TSO.INFINITY


def semi(m, x, y, z, b):
    s, t = m.addVar(1.5, 5, vtype=TSO.SEMICONT, name="s"), m.addVar(2, 3, vtype=TSO.SEMIINT, name="t t")
    m.addConstr(s + t + x == [1, 6.25], name="semis")
    s.Obj, t.Obj = -0.5, -1.25


def indicators(m, x, y, z, b):
    for k, (sense, side) in enumerate(itertools.product("<>=", (0, 1))):
        c = m.addVar(vtype=TSO.BINARY, name=f"c[{k}]")
        m.addGenConstrIndicator(c, side, x + 0.5 * y, sense, k / 2, name=f"i {k}")
        c.Obj = 2.0 - 4 * side + k / 8
    m.addGenConstrIndicator(b, 1, 0 * x, "<", 2)


PARTS = {
    "integers": whole,
    "semi-continuous": semi,
    "squares": lambda m, x, y, z, b: m.setObjective(m.getObjective() - x * x - 0.5 * y * y + x * y - z * z),
    "products": lambda m, x, y, z, b: m.setObjective(m.getObjective() + x * z - 2 * y * z),
    "disc": lambda m, x, y, z, b: m.addConstr(x * x + y * y + z <= 9, name="disc"),
    "ring": lambda m, x, y, z, b: m.addConstr(x * y + z * z - y == [-2, 5], name="a ring"),
    "SOS1": lambda m, x, y, z, b: m.addSOS(TSO.SOS_TYPE1, [x, z]),
    "SOS2": lambda m, x, y, z, b: m.addSOS(TSO.SOS_TYPE2, [z, y, x], [1.5, 2, 1e3]),
    "indicators": indicators,
}
CHOICES = [(), *((p,) for p in PARTS), *list(itertools.combinations(PARTS, len(PARTS) - 1))[::4], tuple(PARTS)]
FOR_HIGHS = [(), ("integers",), ("semi-continuous",), ("squares",)]


def state(env, parts):
    m = tso.Model("a model", env)
    x, y, z = (m.addVar(ub=4, name=n) for n in ("x", "total cost", "make['z', 1]"))
    b = m.addVar(ub=1, vtype=TSO.CONTINUOUS if parts in FOR_HIGHS else TSO.BINARY, name="free")
    m.addConstr(x + y + z == [1, 7], name="range")
    m.addConstr(x - z - b <= 3, name="1st")
    m.addConstr(0 * x <= 1, name="nothing")
    m.addRange(y + b, -TSO.INFINITY, TSO.INFINITY, name="open")
    m.setObjective(x + 2 * y + 1.5 * z - 0.5 * b + 8.25, TSO.MAXIMIZE)
    for part in sorted(parts, key=lambda p: p in ("squares", "products"), reverse=True):
        PARTS[part](m, x, y, z, b)
    return m


def elements(m):
    """All that the queries tell; elements by their names."""
    quadratic = {q.index: q for q in m.getQConstrs()}
    return (
        m.ModelName, m.ModelSense, str(m.getObjective()),
        [(v.VarName, v.VType, v.LB, v.UB) for v in m.getVars()],
        [(c.ConstrName, c.LHS, c.RHS, str(m.getQCRow(quadratic[c.index]) if c.index in quadratic else m.getRow(c)))
         for c in m.getConstrs()],
        [(kind, [v.VarName for v in members], weights) for kind, members, weights in map(m.getSOS, m.getSOSs())],
        [(g.GenConstrName, *map(str, m.getGenConstrIndicator(g))) for g in m.getGenConstrs()],
    )  # fmt: skip


@pytest.fixture(scope="module")
def written(quiet_env, tmp_path_factory):
    """(parts, path, optimum) of a file of each suffix for each choice of parts."""
    folder, out = tmp_path_factory.mktemp("written"), []
    for k, parts in enumerate(CHOICES):
        m = state(quiet_env, parts)
        m.setParam("MIP/GapRel", 0)
        m.optimize()
        assert m.Status == TSO.OPTIMAL, parts
        for suffix in ("lp", "mps"):
            path = str(folder / f"{k}.{suffix}")
            m.write(path)
            back = tso.read(path, quiet_env)
            assert elements(back) == elements(m), path
            out.append((parts, path, m.ObjVal))
            back.dispose()
        m.dispose()
    return out


@pytest.mark.parametrize("peer", ["highspy", "pyscipopt"])
def test_others_read_what_is_written(python, written, peer):
    asked = [w for w in written if peer == "pyscipopt" or w[0] in FOR_HIGHS]
    paths = [path for _, path, _ in asked]
    told = python(f"import peers\nvalues = list(map(peers.{peer}, {paths}))\nprint()\nprint(values)")
    for (parts, path, optimum), value in zip(asked, json.loads(told.splitlines()[-1]), strict=True):
        assert value == pytest.approx(optimum, rel=1e-4, abs=1e-4), (parts, path)
