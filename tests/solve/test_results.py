"""Results on problems whose answers are known: signs, bases, rays, conflicts, several solutions, limits, edits."""

import math

import pytest
import tessolvpy as tso

TSO = tso.TSO
LOWER, BASIC, UPPER, SUPER = 0, 1, 2, 3


def values(model, name, elements):
    return pytest.approx(model.getAttr(name, elements), abs=1e-9)


def by_name(model):
    return {v.VarName: v for v in model.getVars()}, {c.ConstrName: c for c in model.getConstrs()}


def unavailable(act):
    with pytest.raises(tso.TessolvError) as caught:
        act()
    return caught.value.errno == TSO.DATA_NOT_AVAILABLE


MAX = "Maximize\n obj: 3 x + 2 y + 10\nSubject To\n c1: x + y <= 4\n c2: x + 3 y <= 7\nBounds\n x <= 3\nEnd\n"
MIN = "Minimize\n obj: - 3 x - 2 y\nSubject To\n c1: - x - y >= -4\n c2: x + 3 y <= 7\nBounds\n x <= 3\nEnd\n"


def test_signs_of_a_maximisation(state):
    m = state(MAX)
    m.optimize()
    v, c = by_name(m)
    assert m.ModelSense == TSO.MAXIMIZE
    assert (m.Status, m.HasSolution, m.ObjVal, m.PrimalObjVal) == (TSO.OPTIMAL, 1, 21, 21)
    assert m.DualObjVal == pytest.approx(21)
    assert (v["x"].X, v["y"].X) == pytest.approx((3, 1))
    assert (c["c1"].Activity, c["c2"].Activity) == pytest.approx((4, 6))
    # One more unit of c1 is one more y: the objective grows by 2. One more unit of x takes a y away.
    assert (c["c1"].DualSoln, c["c2"].DualSoln) == pytest.approx((2, 0))
    assert (v["x"].RC, v["y"].ReducedCost) == pytest.approx((1, 0))
    assert (v["x"].ColBasis, v["y"].ColBasis) == (UPPER, BASIC)
    assert (c["c1"].RowBasis, c["c2"].RowBasis) == (UPPER, BASIC)


def test_signs_of_a_minimisation(state):
    m = state(MIN)
    m.optimize()
    v, c = by_name(m)
    assert m.ModelSense == TSO.MINIMIZE
    assert (m.ObjVal, m.DualObjVal) == pytest.approx((-11, -11))
    # Raising the active bound -4 of c1 to -3 takes a y away: the objective grows by 2.
    assert (c["c1"].DualSoln, c["c2"].DualSoln) == pytest.approx((2, 0))
    assert (v["x"].RC, v["y"].RC) == pytest.approx((-1, 0))
    assert (c["c1"].RowBasis, c["c2"].RowBasis) == (LOWER, BASIC)
    assert (c["c1"].LHS, c["c1"].RHS, c["c2"].LHS) == (-4, TSO.INFINITY, -TSO.INFINITY)


def test_duals_tell_what_a_unit_is_worth(state):
    text = "Minimize\n obj: 2 x + 3 y + z\nSubject To\n c1: x + y >= {}\n c2: x - y = {}\n c3: -2 <= z <= 5\n"
    text += "Bounds\n z free\nEnd\n"
    base = state(text.format(4, 1))
    base.optimize()
    assert base.ObjVal == pytest.approx(9.5 - 2)
    v, c = by_name(base)
    assert [c[n].DualSoln for n in ("c1", "c2", "c3")] == pytest.approx([2.5, -0.5, 1])
    for row, changed in [("c1", text.format(5, 1)), ("c2", text.format(4, 2))]:
        moved = state(changed, f"{row}.lp")
        moved.optimize()
        assert moved.ObjVal - base.ObjVal == pytest.approx(c[row].DualSoln)
    assert c["c3"].RowBasis == LOWER
    assert c["c2"].RowBasis in (LOWER, UPPER)


def test_a_free_variable_without_rows(state):
    m = state("Minimize\n obj: x\nSubject To\n c: x >= 1\nBounds\n x free\n f free\nEnd\n")
    m.optimize()
    v, _ = by_name(m)
    assert m.ObjVal == 1
    assert (v["f"].X, v["f"].ColBasis) == (0, SUPER)


def test_nothing_to_read_before_a_run(state):
    m = state(MAX)
    x, c = m.getVars()[0], m.getConstrs()[0]
    assert (m.Status, m.HasSolution, m.SolCount) == (TSO.UNKNOWN, 0, 0)
    for element, name in [
        (x, "X"),
        (x, "RC"),
        (x, "Xn"),
        (c, "DualSoln"),
        (c, "Activity"),
        (m, "ObjVal"),
        (m, "MIP/GapRel"),
    ]:
        assert unavailable(lambda element=element, name=name: element.getAttr(name)), name


def test_a_mip_has_no_duals(state):
    m = state("Maximize\n obj: x + y\nSubject To\n c: 2 x + 2 y <= 5\nGeneral\n x y\nEnd\n")
    m.optimize()
    assert m.ObjVal == pytest.approx(2)
    assert m.DualObjVal == pytest.approx(2)
    assert (m.MIP_GapAbs, m.MIP_GapRel) == pytest.approx((0, 0), abs=1e-4)
    assert unavailable(lambda: m.getConstrs()[0].DualSoln)
    assert unavailable(lambda: m.getVars()[0].RC)
    assert [v.IsInteger for v in m.getVars()] == [1, 1]


# ---- Infeasible and unbounded ----

CONFLICT = """Minimize
 obj: x + y + z
Subject To
 c1: x + y <= 1
 c2: x - z >= 2
 c3: y + z <= 5
 c4: x + y + z <= 100
Bounds
 0 <= z <= 50
End
"""


def test_an_infeasible_problem(state):
    m = state(CONFLICT)
    m.optimize()
    assert (m.Status, m.HasSolution, m.HasDualRay, m.HasPrimalRay) == (TSO.INFEASIBLE, 0, 1, 0)
    assert unavailable(lambda: m.getVars()[0].X)
    m.computeIIS()
    v, c = by_name(m)
    assert {name for name, row in c.items() if row.IISConstr} == {"c1", "c2"}
    assert {name for name, row in c.items() if row.IISRow} == {"c1", "c2"}
    assert {name for name, var in v.items() if var.IISVar} == {"y", "z"}  # both at least 0
    assert m.getAttr("IISCol", m.getVars()) == m.getAttr("IISVar", m.getVars())


def test_a_conflict_is_irreducible(state):
    """Whatever member is taken out of the conflict, the rest of it is feasible."""
    m = state(CONFLICT)
    m.computeIIS()  # without a run before it
    v, c = by_name(m)
    rows = [name for name, row in c.items() if row.IISConstr]
    bounds = [name for name, var in v.items() if var.IISVar]
    lines = dict(line.strip().split(": ", 1) for line in CONFLICT.splitlines() if line.startswith(" c"))

    def feasible(rows, bounds):
        free = [name for name in v if name not in bounds]
        text = "Minimize\n obj: 0 x\nSubject To\n" + "".join(f" {name}: {lines[name]}\n" for name in rows)
        text += " none: x + y + z >= -1e15\nBounds\n" + "".join(f" {name} free\n" for name in free)
        text += " z <= 50\n" if "z" in bounds else ""
        smaller = state(text + "End\n", "smaller.lp")
        smaller.optimize()
        return smaller.Status == TSO.OPTIMAL

    assert not feasible(rows, bounds)
    for one in rows:
        assert feasible([name for name in rows if name != one], bounds)
    for one in bounds:
        assert feasible(rows, [name for name in bounds if name != one])


def test_no_conflict_in_a_feasible_problem(state):
    m = state(MAX)
    with pytest.raises(tso.TessolvError) as caught:
        m.computeIIS()
    assert caught.value.errno == TSO.IIS_FEASIBLE
    assert unavailable(lambda: m.getVars()[0].IISVar) or m.getVars()[0].IISVar == 0


def test_crossed_bounds_are_infeasible(state):
    m = state(MAX)
    x = m.getVars()[0]
    x.LB = 5
    assert (x.LB, x.UB) == (5, 3)
    m.optimize()
    assert m.Status == TSO.INFEASIBLE
    m.computeIIS()
    assert [v.IISVar for v in m.getVars()] == [1, 0]
    assert [c.IISConstr for c in m.getConstrs()] == [0, 0]


def test_an_unbounded_problem(state):
    m = state("Maximize\n obj: x - y\nSubject To\n c: x - 2 y <= 3\nEnd\n")
    m.optimize()
    assert (m.Status, m.HasPrimalRay, m.HasDualRay) == (TSO.UNBOUNDED, 1, 0)


def test_an_unbounded_mip(state):
    m = state("Maximize\n obj: x\nSubject To\n c: x - y <= 3\nGeneral\n x y\nEnd\n")
    m.optimize()
    assert m.Status == TSO.UNBOUNDED


@pytest.mark.parametrize(
    "text",
    ["Minimize\n obj: 7\nSubject To\n c: 0 x >= -1\nEnd\n", "Minimize\n obj: 2 x + 7\nSubject To\nEnd\n"],
    ids=["no cost", "no rows"],
)
def test_trivial_problems(state, text):
    m = state(text)
    m.optimize()
    assert (m.Status, m.ObjVal) == (TSO.OPTIMAL, 7)


def test_an_empty_model(quiet_env):
    m = tso.Model("empty", quiet_env)
    try:
        m.optimize()
    except tso.TessolvError as error:
        assert error.errno == TSO.MODEL_EMPTY
    else:
        assert (m.Status, m.ObjVal) == (TSO.OPTIMAL, 0)
    m.dispose()


# ---- Quadratic objectives ----


def test_a_quadratic_objective(state):
    m = state("Minimize\n obj: - 2 x - 6 y + [ 2 x ^2 + 2 y ^2 ] / 2\nSubject To\n c: x + y <= 2\nEnd\n")
    m.optimize()
    assert (m.Status, m.ObjVal) == (TSO.OPTIMAL, pytest.approx(-8))  # the nearest point to (1, 3) is (0, 2)
    assert m.getAttr("X", m.getVars()) == pytest.approx([0, 2], abs=1e-6)
    assert m.getConstrs()[0].DualSoln == pytest.approx(-2, abs=1e-5)


def test_a_nonconvex_objective_is_refused_or_solved(state):
    """Not to be answered with a point that is merely stationary."""
    m = state("Minimize\n obj: [ - 2 x ^2 ] / 2\nSubject To\n c: x + y <= 10\nBounds\n x <= 3\nEnd\n")
    try:
        m.optimize()
    except tso.TessolvError as error:
        assert error.errno == TSO.ABORT_SOLVER_NOT_AVAILABLE
        assert m.HasSolution == 0
    else:
        assert m.ObjVal == pytest.approx(-9)


# ---- MIPs ----

KNAPSACK = "Maximize\n obj: " + " + ".join(f"{10 + (7 * j) % 13} x{j}" for j in range(12))
KNAPSACK += "\nSubject To\n c: " + " + ".join(f"{5 + (5 * j) % 11} x{j}" for j in range(12)) + " <= 40\nBinary\n "
KNAPSACK += " ".join(f"x{j}" for j in range(12)) + "\nEnd\n"


def best_knapsack():
    cost, weight = [10 + (7 * j) % 13 for j in range(12)], [5 + (5 * j) % 11 for j in range(12)]
    best = 0
    for mask in range(1 << 12):
        chosen = [j for j in range(12) if mask >> j & 1]
        if sum(weight[j] for j in chosen) <= 40:
            best = max(best, sum(cost[j] for j in chosen))
    return best


def test_several_solutions(state, capsys):
    m = state(KNAPSACK)
    m.optimize()
    best = best_knapsack()
    assert m.ObjVal == pytest.approx(best)
    count = m.SolCount
    assert count >= 1
    cost = [v.Obj for v in m.getVars()]
    objectives = []
    for number in range(count):
        m.Params.MIP_SolutionNumber = number
        xn = m.getAttr("Xn", m.getVars())
        objectives.append(sum(c * x for c, x in zip(cost, xn)))
    assert objectives[0] == pytest.approx(best)
    assert objectives == sorted(objectives, reverse=True)  # the best one first
    m.Params.MIP_SolutionNumber = count
    with pytest.raises(tso.TessolvError) as caught:
        _ = m.getVars()[0].Xn
    assert caught.value.errno in (TSO.INVALID_SOL_IDX, TSO.DATA_NOT_AVAILABLE)


def test_a_start_is_taken(hard, capsys):
    """With no nodes to search, the solution can only come from the start or be as good as it."""
    xs = [v for v in hard.getVars() if v.VType in ("I", "B", b"I", b"B")]
    hard.Params.MaxTime = 2
    with pytest.raises(tso.TessolvError):
        hard.optimize()
    found, point = hard.ObjVal, hard.getAttr("X", hard.getVars())
    other = hard
    other.reset(1)
    assert all(v.Start == TSO.UNDEFINED for v in other.getVars())
    other.setAttr("Start", xs, [round(point[v.index]) for v in xs])  # the rest is to be completed
    other.Params.MIP_MaxNodes = 1
    other.Params.MIP_LevelHeurs = 0
    with pytest.raises(tso.TessolvError) as caught:
        other.optimize()
    assert caught.value.errno in (TSO.ABORT_NODE_LIMIT, TSO.ABORT_TIME_LIMIT)
    assert other.ObjVal <= found + 1e-6


def test_limits(hard, capsys):
    for name, value, code in [
        ("MaxTime", 1.0, TSO.ABORT_TIME_LIMIT),
        ("MIP_MaxNodes", 1, TSO.ABORT_NODE_LIMIT),
        ("MIP_MaxSols", 1, TSO.ABORT_SOLUTION_LIMIT),
    ]:
        setattr(hard.Params, name, value)
        if name != "MaxTime":
            hard.Params.MaxTime = 20
        with pytest.raises(tso.TessolvError) as caught:
            hard.optimize()
        assert caught.value.errno == code
        assert (hard.Status, hard.HasSolution) == (TSO.SUB_OPTIMAL, 1)
        assert hard.SolCount >= 1
        assert 0 <= hard.DualObjVal <= hard.ObjVal + 1e-6
        assert hard.MIP_GapAbs == pytest.approx(hard.ObjVal - hard.DualObjVal, abs=1e-6)
        assert len(hard.getAttr("X", hard.getVars())) == hard.NumVars
        setattr(hard.Params, name, "default")
        hard.reset(1)
        assert hard.HasSolution == 0


def test_a_gap_is_optimal(hard, capsys):
    hard.Params.MIP_GapAbs = 1e6  # any solution at all
    hard.Params.MaxTime = 20
    hard.optimize()
    assert hard.Status == TSO.OPTIMAL


# ---- Edits ----


def test_the_solution_stays_readable_while_bounds_are_set(state):
    m = state(MAX)
    m.optimize()
    for v in m.getVars():
        v.LB = v.X
        v.UB = v.X
    assert m.ObjVal == 21
    m.optimize()
    assert m.ObjVal == pytest.approx(21)
    m.reset()
    assert m.HasSolution == 0


def test_edits_are_solved(state):
    m = state(MAX)
    m.optimize()
    v, c = by_name(m)
    v["x"].UB = 2
    m.optimize()
    assert m.ObjVal == pytest.approx(3 * 2 + 2 * 5 / 3 + 10)
    c["c2"].RHS = 4
    m.optimize()
    assert m.ObjVal == pytest.approx(3 * 2 + 2 * 2 / 3 + 10)
    v["y"].Obj = 30
    m.optimize()
    assert m.ObjVal == pytest.approx(30 * 4 / 3 + 10)
    v["y"].VType = "I"
    m.optimize()
    assert m.ObjVal == pytest.approx(30 + 3 + 10)
    m.ModelSense = TSO.MINIMIZE
    m.ObjConst = 0
    m.optimize()
    assert m.ObjVal == pytest.approx(0)
    v["y"].VType = "C"
    v["x"].LB = -1
    m.optimize()
    assert m.ObjVal == pytest.approx(-3)
    m.reset(1)
    m.optimize()
    assert m.ObjVal == pytest.approx(-3)


def test_solving_again_starts_warm(read, tmp_path):
    import numpy as np
    import problems

    m = read(problems.sparse_lp(np.random.default_rng(3), 300, 400).write_lp(tmp_path / "a.lp"))
    m.optimize()
    first = m.getAttr("SPX/NumIters")
    assert first > 50
    x = max(m.getVars(), key=lambda v: v.X)
    x.UB = x.X * 0.99
    m.optimize()
    assert m.getAttr("SPX/NumIters") < first / 5


@pytest.mark.parametrize("name", ["LB", "UB", "Obj"])
def test_values_that_no_number_can_take(state, name):
    m = state(MAX)
    v = m.getVars()
    before = m.getAttr(name, v)
    for bad in (math.nan, *([math.inf] if name in ("LB", "Obj") else [-math.inf])):
        for act in (
            lambda bad=bad: setattr(v[0], name, bad),
            lambda bad=bad: m.setAttr(name, v, [1.0, bad]),
        ):
            with pytest.raises(tso.TessolvError) as caught:
                act()
            assert caught.value.errno == TSO.INVALID_ARGUMENT
            assert m.getAttr(name, v) == before
    v[0].LB, v[0].UB = -math.inf, 1e30
    assert (v[0].LB, v[0].UB) == (-TSO.INFINITY, TSO.INFINITY)


def test_writing_what_can_only_be_read(state):
    m = state(MAX)
    for element, name in [(m, "NumVars"), (m, "Status"), (m.getVars()[0], "X"), (m.getVars()[0], "IsInteger")]:
        with pytest.raises(tso.TessolvError) as caught:
            element.setAttr(name, 1)
        assert caught.value.errno == TSO.INVALID_ARGUMENT


def test_names_and_types(state):
    m = state(MAX)
    x, y = m.getVars()
    c = m.getConstrs()[0]
    x.VarName, c.ConstrName, m.ModelName = "é b", "row 1", "Ω"
    assert (x.VarName, x.ColName, str(x), repr(c), m.ProbName) == ("é b", "é b", "<Var é b>", "<Constr row 1>", "Ω")
    m.setAttr("VarName", [y, x], ["p", "q"])
    assert m.getAttr("VarName", [x, y]) == ["q", "p"]
    with pytest.raises(tso.TessolvError) as caught:
        x.VarName = "n" * 256
    assert caught.value.errno == TSO.INVALID_ARGUMENT
    x.VarName = "n" * 255
    assert x.VarName == "n" * 255
    with pytest.raises(tso.TessolvError) as caught:
        x.VType = "Q"
    assert caught.value.errno == TSO.INVALID_ARGUMENT
    x.VarName = ""
    assert x.VarName
    assert x.VarName != y.VarName


def test_copies_are_apart(state):
    m = state(MAX)
    m.optimize()
    twin = m.copy()
    twin.getVars()[0].UB = 0
    assert m.getVars()[0].UB == 3
    assert twin.ObjVal == 21  # the last solution came with it
    twin.optimize()
    assert (m.ObjVal, twin.ObjVal) == pytest.approx((21, 10 + 14 / 3))
    twin.ctypes().reload()  # so that it frees what it stands for
    twin.dispose()


def test_cleanup_milp(state):
    m = state(KNAPSACK)
    m.optimize()
    assert m.cleanupMilp() >= 0
    assert m.ObjVal == pytest.approx(best_knapsack())
    fresh = state(KNAPSACK, "other.lp")
    fresh.getVars()[0].Start = 1
    fresh.getVars()[0].UB = 0
    assert fresh.cleanupMilp() == 1
    assert fresh.getVars()[0].Start == TSO.UNDEFINED
