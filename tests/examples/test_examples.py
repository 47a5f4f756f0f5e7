"""The example programs reach their published optima; what is not published is computed without the library."""

from pathlib import Path

import cutting_stock
import numpy as np
import piecewise_sos2
import pytest

EXAMPLES = Path(__file__).resolve().parents[2] / "examples"


def near(value, digits=1e-7):
    return pytest.approx(value, rel=digits, abs=digits)


def test_piecewise():
    suppliers, best = piecewise_sos2.SUPPLIERS, [0.0] + [np.inf] * 900
    for points in suppliers.values():  # whole units are enough: all orders but one stand at one of the points
        price = [np.interp(n, *zip(*points)) for n in range(points[-1][0] + 1)]
        best = [min(best[n - k] + price[k] for k in range(min(n, len(price) - 1) + 1)) for n in range(901)]
    for wanted in (0, 120, 449, piecewise_sos2.WANTED, 900):
        total, orders = piecewise_sos2.solve(suppliers, wanted)
        assert total == near(best[wanted], 1e-6)
        assert sum(amount for amount, _ in orders.values()) == near(wanted, 1e-6)
        for supplier, (amount, cost) in orders.items():
            assert cost == near(np.interp(amount, *zip(*suppliers[supplier])), 1e-5)


def test_cutting_stock():
    order = cutting_stock.ORDER
    fractional, whole, cuts = cutting_stock.solve(cutting_stock.ROLL, order)
    # The patterns of the fractional optimum need not be enough for the best one in whole rolls.
    assert 452 < fractional <= 453 <= whole <= 454
    assert sum(n for n, _ in cuts) == whole
    for width in order:
        assert sum(n * pattern.get(width, 0) for n, pattern in cuts) >= order[width]
    assert all(sum(width * n for width, n in pattern.items()) <= cutting_stock.ROLL for _, pattern in cuts)


@pytest.mark.parametrize(
    ("script", "last"),
    [
        ("diet", "The diet costs $39.66 a year."),
        ("knapsack", "The load is worth 1458 and weighs 749 of 750."),
        ("transport", "The freight is 153.675 thousand dollars."),
        ("production", "carpentry is bought in              760     0        0      0     20"),
        ("portfolio", "  1.22  0.0604251         0   0.697211   0.302789"),
        ("portfolio_arrays", "          100  1.08908  0.0108075         1         0         0"),
        ("facility_location_indicators", "Open north and south: rent and roads cost 545."),
        ("piecewise_sos2", "700 units cost 2740."),
        ("portfolio_risk_row", "    0.05   1.205  0.107  0.669  0.224"),
        ("regression", "The sum of the absolute deviations is 42.0812."),
        ("network_flow", "The plan costs 3195.40."),
        ("max_cut_bound", "The cut has 12 of 15 edges; none has more than 12.5000."),
        ("cutting_stock", "453 rolls; no way of cutting needs less than 452.25."),
        ("sudoku", "345286179"),
        ("pooling", "The profit is 400.00."),
        ("travelling_salesman", "The shortest tour has length 7542."),
        ("bounds_picture", "The best choice is worth 796."),
    ],
)
def test_scripts_run_from_anywhere(python, script, last, tmp_path):
    assert python(EXAMPLES / f"{script}.py", cwd=tmp_path).splitlines()[-1] == last
