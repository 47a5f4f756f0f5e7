"""Solving again after edits: the answer of a fresh model, from where the last run ended."""

import capi
import numpy as np
import pytest
from answers import BASIC, INF, OPTIMAL, add_quadratic, basis, primal


def knapsack_rows(build, rng, n=80, k=40, types=None):
    matrix = rng.uniform(0, 5, (k, n)) * (rng.random((k, n)) < 0.4)
    return build(
        -rng.uniform(1, 2, n), matrix, np.full(k, -INF), rng.uniform(20, 40, k), ub=np.full(n, 3.0), types=types
    )


def test_few_iterations_after_small_edits(build, run, rng):
    m = knapsack_rows(build, rng)
    assert run(m) == (0, OPTIMAL)
    cold, n = m.count("SPX/NumIters"), m.count("NumVars")
    assert cold > 40

    def warm(most):
        assert run(m) == (0, OPTIMAL)
        assert m.count("SPX/NumIters") <= most

    warm(0)
    inside = next(j for j, code in enumerate(basis(m)[0]) if code == BASIC)
    m.set("UB", [inside], [primal(m)[inside] * 0.9])
    warm(8)
    m.set("Obj", [0], [-2.5])
    warm(8)
    m.addrow([0, 1, 2], [1.0, 1.0, 1.0], upper=4.0)
    warm(8)
    m.addvar(obj=-1.0, ub=1.0, rows=[3, m.count("NumConstrs") - 1], values=[2.0, 1.0])
    warm(8)
    m.delete("constrs", [5])
    warm(cold // 3)
    m.delete("vars", [n - 1, 7])
    warm(cold // 3)
    m.change([2], [2], [4.0])
    warm(8)


def edit(m, rng):
    """One random edit of any kind."""
    n, k = m.count("NumVars"), m.count("NumConstrs")
    j, i = int(rng.integers(n)), int(rng.integers(k))
    cols, rows = rng.choice(n, 4, replace=False), rng.choice(k, 3, replace=False)
    edits = [
        lambda: m.set("UB", [j], [float(rng.integers(1, 5))]), lambda: m.set("LB", [j], [float(rng.integers(-2, 1))]),
        lambda: m.set("Obj", [j], [float(rng.integers(-9, 4))]),
        lambda: m.set("RHS", [i], [float(rng.integers(10, 60))]),
        lambda: m.set("VType", [j], str(rng.choice(list("CIB")))),
        lambda: m.change(rows, cols[:3], rng.integers(0, 6, 3)),
        lambda: m.addrow(cols, rng.integers(1, 6, 4), upper=float(rng.integers(8, 30))),
        lambda: m.addvar(obj=-float(rng.integers(1, 9)), ub=3.0, rows=rows, values=rng.integers(1, 6, 3)),
        lambda: m.delete("vars", cols[: 2 * (n > 8)]), lambda: m.delete("constrs", [i] * (k > 5)),
    ]  # fmt: skip
    edits[rng.integers(len(edits))]()


@pytest.mark.parametrize("types", ["C", "I", "quadratic"])
def test_edited_models_are_solved_as_fresh_ones(build, run, rng, types):
    m = knapsack_rows(build, rng, 14, 9, types="I" * 14 if types == "I" else None)
    if types == "quadratic":
        add_quadratic(m, range(14), range(14), np.full(14, 0.5))
    for round_ in range(26):
        for _ in range(int(rng.integers(1, 16)) * (round_ < 25)):
            edit(m, rng)
        if types == "C" or types == "quadratic" and round_ % 4 != 2:
            m.set("VType", None, "C" * m.count("NumVars"))
        if types == "quadratic" and round_ % 5 == 4:
            add_quadratic(m, [0, 1, 1], [0, 0, 1], [0.25, 0.5, 0.25])
        elif types == "quadratic" and round_ in (18, 21, 25):  # at last nothing else changes
            m.call("TSOdelq")
        fresh = m.copy()
        assert run(fresh) == run(m) == (0, OPTIMAL)
        assert m.number("ObjVal") == pytest.approx(fresh.number("ObjVal"), rel=1e-6, abs=1e-6), round_


def test_incumbent_is_the_next_start(build, run, rng):
    m = knapsack_rows(build, rng, 30, 6, types="I" * 30)
    m.parameter("MIP/GapRel", 0.0)
    assert run(m) == (0, OPTIMAL)
    value = m.number("ObjVal")
    # No search, no heuristics: what is found must have been brought along, and fits a row that was added since.
    m.addrow(range(30), np.ones(30), upper=primal(m).sum() + 1)
    for name, low in (("MIP/MaxNodes", 0), ("MIP/LevelHeurs", 0), ("Presolve", 0)):
        m.parameter(name, low)
    assert run(m)[0] == capi.ABORT_NODE_LIMIT
    assert m.number("ObjVal") == pytest.approx(value)
