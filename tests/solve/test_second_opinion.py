"""Random problems, solved here and by SciPy, through both file formats."""

import numpy as np
import problems
import pytest
import scipy.optimize
import tessolvpy as tso

TSO = tso.TSO


def opinion(p):
    """SciPy's status and objective."""
    sign = -1 if p.maximize else 1
    constraints = scipy.optimize.LinearConstraint(p.matrix, p.low, p.high)
    bounds = scipy.optimize.Bounds(p.lb, p.ub)
    result = scipy.optimize.milp(
        sign * p.cost, integrality=p.integer.astype(int), constraints=constraints, bounds=bounds
    )
    return result.status, sign * result.fun if result.fun is not None else None


def agree(model, opinion):
    status, objective = opinion
    model.optimize()
    if status == 0:
        assert model.Status == TSO.OPTIMAL
        assert model.ObjVal == pytest.approx(objective, abs=1e-6, rel=1e-6)
    elif status == 2:
        assert model.Status == TSO.INFEASIBLE
    elif status == 3:
        assert model.Status == TSO.UNBOUNDED
    else:
        assert model.Status in (TSO.INFEASIBLE, TSO.UNBOUNDED)


@pytest.mark.parametrize("integers", [False, True], ids=["lp", "mip"])
@pytest.mark.parametrize("seed", range(60))
def test_random_problems(read, tmp_path, integers, seed):
    rng = np.random.default_rng([seed, integers])
    p = problems.random_problem(rng, *rng.integers(1, 12, 2), integers=integers, maximize=bool(seed % 2))
    expected = opinion(p)
    for model in (read(p.write_lp(tmp_path / "a.lp")), read(p.write_mps(tmp_path / "a.mps"))):
        agree(model, expected)
        if model.Status == TSO.OPTIMAL and not integers:
            proof(p, model)
        elif model.Status == TSO.OPTIMAL:
            for value, kind in zip(*(model.getAttr(name, model.getVars()) for name in ("X", "IsInteger"))):
                assert not kind or abs(value - round(value)) < 1e-5


def proof(p, model):
    """Duals and reduced costs prove the optimum: no second solver is needed to believe it."""
    rows, columns = model.getConstrs(), model.getVars()
    order = np.argsort([int(name[1:]) for name in model.getAttr("VarName", columns)])
    x, rc = (np.array(model.getAttr(name, columns))[order] for name in ("X", "RC"))
    order = np.argsort([int(name[1:]) for name in model.getAttr("ConstrName", rows)])
    y, activity = (np.array(model.getAttr(name, rows))[order] for name in ("DualSoln", "Activity"))
    assert activity == pytest.approx(p.matrix @ x, abs=1e-6)
    assert rc == pytest.approx(p.cost - p.matrix.T @ y, abs=1e-6)
    sign = -1 if p.maximize else 1
    dual_value = 0.0
    for multiplier, value, low, high in [*zip(y, activity, p.low, p.high), *zip(rc, x, p.lb, p.ub)]:
        # A positive price (for a minimisation) holds the value down at its lower bound, a negative one at its upper.
        if sign * multiplier > 1e-7:
            assert value == pytest.approx(low, abs=1e-6)
        elif sign * multiplier < -1e-7:
            assert value == pytest.approx(high, abs=1e-6)
        else:
            continue
        dual_value += multiplier * value
    assert model.ObjVal == pytest.approx(dual_value, abs=1e-5)
    assert model.DualObjVal == pytest.approx(dual_value, abs=1e-5)
    basic = sum(v == 1 for v in model.getAttr("ColBasis", columns) + model.getAttr("RowBasis", rows))
    assert basic == len(rows)
