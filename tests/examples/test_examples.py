"""The example programs reach their published optima, which are computed once more without the library."""

import subprocess
import sys
from itertools import combinations
from pathlib import Path

import cutting_stock
import diet
import knapsack
import network_flow
import numpy as np
import portfolio
import portfolio_arrays
import production
import pytest
import regression
import transport
from scipy.optimize import LinearConstraint, linprog, milp
from tableio import read_table

EXAMPLES = Path(__file__).resolve().parents[2] / "examples"


def near(value, digits=1e-7):
    return pytest.approx(value, rel=digits, abs=digits)


def test_diet():
    foods = read_table("stigler_foods.csv")
    needs = {row["nutrient"]: row["need"] for row in read_table("stigler_needs.csv")}
    assert (len(foods), len(needs)) == (77, 9)
    cost, spend = diet.solve(foods, needs)
    content = np.array([[food[nutrient] for food in foods] for nutrient in needs])
    assert cost == near(linprog(np.ones(77), -content, [-need for need in needs.values()]).fun)
    yearly = {food: round(365 * x, 3) for food, x in spend.items() if x > 1e-9}
    assert yearly == {
        "Wheat flour (enriched)": 10.774,
        "Liver (beef)": 0.691,
        "Cabbage": 4.093,
        "Spinach": 1.828,
        "Navy beans (dried)": 22.275,
    }


def best_load(weight, profit, capacity):
    best = [0] * (capacity + 1)
    for w, p in zip(weight, profit):
        for room in range(capacity, w - 1, -1):
            best[room] = max(best[room], best[room - w] + p)
    return best[capacity]


def test_knapsack():
    things = [(int(row["weight"]), int(row["profit"])) for row in read_table("knapsack_15.csv")]
    weight, profit = map(list, zip(*things))
    assert best_load(weight, profit, knapsack.CAPACITY) == 1458
    # Loads of all sizes, from none to everything.
    for capacity in (60, 333, 499, knapsack.CAPACITY, 2000):
        value, load = knapsack.solve(weight, profit, capacity)
        assert value == near(best_load(weight, profit, capacity))
        assert sum(profit[i] for i in load) == near(value)
        assert sum(weight[i] for i in load) <= capacity


def test_transport():
    cost = {route: transport.FREIGHT * miles for route, miles in transport.DISTANCE.items()}
    value, ship, price = transport.solve(transport.SUPPLY, transport.DEMAND, cost)
    leaving = [[route[0] == cannery for route in cost] for cannery in transport.SUPPLY]
    arriving = [[-(route[1] == market) for route in cost] for market in transport.DEMAND]
    bounds = [*transport.SUPPLY.values(), *(-amount for amount in transport.DEMAND.values())]
    matrix = np.array([*leaving, *arriving], dtype=float)
    second = linprog(list(cost.values()), matrix, bounds)
    assert value == near(153.675) == near(second.fun)
    assert price == near(dict(zip(transport.DEMAND, -second.ineqlin.marginals[2:])))
    assert sum(cost[route] * amount for route, amount in ship.items()) == near(value)
    assert (matrix @ list(ship.values()) <= np.array(bounds) + 1e-6).all()


# The steps of the production plan, each as a problem of its own: products, prices, what one of each product needs, what
# there is of each resource, and the most that can be sold.
DESK, TABLE, CHAIR, STOOL = (8, 4, 2), (6, 2, 1.5), (1, 1.5, 0.5), (1, 1, 1)
PLANS = [
    ("desk table chair", (60, 30, 20), (DESK, TABLE, CHAIR), (48, 20, 8), (None, 5, None)),
    ("desk table chair", (60, 30, 20), (DESK, TABLE, CHAIR), (48, 20, 8), (None, 5, 4)),
    ("desk table chair", (60, 30, 20), (DESK, TABLE, CHAIR), (48, 20, 10), (None, 5, 4)),
    ("table chair", (30, 20), (TABLE, CHAIR), (48, 20, 10), (5, 4)),
    ("table chair", (55, 20), (TABLE, CHAIR), (48, 20, 10), (5, 4)),
    ("table chair", (55, 20), (TABLE, CHAIR), (48, 20, 10), (None, 4)),
    ("table chair stool", (55, 20, 38), (TABLE, CHAIR, STOOL), (48, 20, 10), (None, 4, None)),
    ("table chair stool", (55, 20, 38), (TABLE[:2], CHAIR[:2], STOOL[:2]), (48, 20), (None, 4, None)),
]


def test_production():
    steps = production.solve()
    assert steps[0][1] == near(280)
    assert len(steps) == len(PLANS)
    for (what, profit, made), (products, price, needs, stock, most) in zip(steps, PLANS):
        second = linprog([-p for p in price], np.transpose(needs), stock, bounds=[(0, limit) for limit in most])
        assert profit == near(-second.fun), what
        assert list(made) == products.split(), what
        amounts = np.array(list(made.values()))
        assert price @ amounts == near(profit), what
        assert (np.transpose(needs) @ amounts <= np.array(stock) + 1e-6).all(), what


def least_variance(covariance, mean, wanted):
    """By the conditions of optimality, for each choice of the stocks that are held and with the return met exactly or
    exceeded: the least of those that are feasible."""
    best, n = np.inf, len(mean)
    for size in range(1, n + 1):
        for held in map(list, combinations(range(n), size)):
            for rows in ([np.ones(size)], [np.ones(size), mean[held]]):
                k = len(rows)
                rows = np.array(rows)
                system = np.block([[2 * covariance[np.ix_(held, held)], rows.T], [rows, np.zeros((k, k))]])
                right = np.array([0.0] * size + [1.0, wanted][:k])
                if abs(np.linalg.det(system)) < 1e-14:
                    continue
                share = np.linalg.solve(system, right)[:size]
                if (share >= -1e-12).all() and mean[held] @ share >= wanted - 1e-12:
                    best = min(best, share @ covariance[np.ix_(held, held)] @ share)
    return best


def test_portfolio():
    years = read_table("markowitz_returns.csv")
    returns = {stock: [year[stock] for year in years] for stock in ("ATT", "GMC", "USX")}
    mean = np.array([np.mean(values) for values in returns.values()])
    covariance = np.cov(list(returns.values()))
    # From the whole frontier, and down again: each run begins with what the one before it left.
    wanted = [0.0, 1.10, 1.15, 1.20, 1.22, 1.23, 1.15]
    results = portfolio.solve(returns, wanted)
    for value, (variance, shares) in zip(wanted, results):
        held = np.array(list(shares.values()))
        assert variance == near(least_variance(covariance, mean, value), 1e-6)
        assert held @ covariance @ held == near(variance, 1e-6)
        assert held.sum() == near(1) and held @ mean >= value - 1e-7
    assert results[2][0] == pytest.approx(0.0224, abs=5e-5)
    assert list(results[2][1].values()) == pytest.approx([0.530, 0.356, 0.113], abs=1e-3)


def test_portfolio_arrays():
    years = read_table("markowitz_returns.csv")
    returns = np.array([[year[stock] for year in years] for stock in portfolio_arrays.STOCKS])
    mean, covariance = returns.mean(axis=1), np.cov(returns)
    for at_hand, fee in [(np.full(3, 1 / 3), 0.01), (np.array([0.2, 0.0, 0.8]), 0.05), (np.array([1.0, 0, 0]), 0.0)]:
        prices = [100.0, 0.5, 2.0, 8.0]
        for price, (value, x) in zip(prices, portfolio_arrays.solve(mean, covariance, at_hand, prices, fee)):
            assert x.sum() == near(1) and (x >= -1e-7).all()
            assert value == near(mean @ x - price * x @ covariance @ x - fee * abs(x - at_hand).sum(), 1e-6)
            # At the optimum another bit is worth the same for all stocks that are held, and no more for the others.
            # Where nothing is traded its worth is a range, from that of buying to that of selling.
            worth = mean - 2 * price * covariance @ x
            moved = np.where(abs(x - at_hand) > 1e-5, np.sign(x - at_hand), 0)
            least = worth - np.where(moved, moved, 1) * fee
            most = np.where(x > 1e-5, worth - np.where(moved, moved, -1) * fee, np.inf)
            assert least.max() <= most.min() + 1e-4


def test_regression():
    features, observed = regression.STACK_LOSS[:, :3], regression.STACK_LOSS[:, 3]
    rng = np.random.default_rng(7)
    for x, y in [(features, observed), (rng.normal(size=(40, 2)), rng.standard_cauchy(40))]:
        total, plane, deviations = regression.solve(x, y)
        count, design = len(y), np.column_stack([np.ones(len(y)), x])
        # By the dual program: weights in [-1, 1] that no column of the design sees.
        dual = linprog(-y, A_eq=design.T, b_eq=np.zeros(design.shape[1]), bounds=[(-1, 1)] * count)
        assert total == near(-dual.fun)
        assert total == near(abs(y - design @ plane).sum())
        assert deviations == near(y - design @ plane)
    # The coefficients that are known of these data.
    total, plane, _ = regression.solve(features, observed)
    assert total == pytest.approx(42.08116, abs=1e-5)
    assert plane == pytest.approx([-39.68986, 0.83188, 0.57391, -0.06087], abs=1e-5)


def test_network_flow():
    nf = network_flow
    data = (nf.PLACES, nf.ARCS, nf.DEMAND, nf.MAKING_COST, nf.MAKING_LIMIT, nf.STORE, nf.STORING_COST)
    for demand in (nf.DEMAND, nf.DEMAND // 2, nf.DEMAND[::-1]):
        value, flow, make, keep = nf.solve(*data[:2], demand, *data[3:])
        # The same network stretched over time, arc by arc: (from, to, most, cost), with one source for all.
        arcs = []
        for t in range(len(demand)):
            arcs += [((a, t), (b, t), most, cost) for a, b, most, cost in nf.ARCS]
            making = zip(nf.MAKING_LIMIT.items(), nf.MAKING_COST[t])
            arcs += [("source", (plant, t), most, cost) for (plant, most), cost in making]
            arcs += [((place, t), (place, t + 1), most, nf.STORING_COST) for place, most in nf.STORE.items()]
        rows = [(place, t) for t in range(len(demand)) for place in nf.PLACES]
        matrix = np.array([[(end == row) - (start == row) for start, end, _, _ in arcs] for row in rows], dtype=float)
        costs, bounds = [arc[3] for arc in arcs], [(0, arc[2]) for arc in arcs]
        assert value == near(linprog(costs, A_eq=matrix, b_eq=demand.ravel(), bounds=bounds).fun)
        for t, wanted in enumerate(demand):
            for i, place in enumerate(nf.PLACES):
                arrives = sum(flow[t, k] * ((b == place) - (a == place)) for k, (a, b, _, _) in enumerate(nf.ARCS))
                made = dict(zip(nf.MAKING_LIMIT, make[t])).get(place, 0)
                assert arrives + made + (keep[t - 1, i] if t else 0) - keep[t, i] == near(wanted[i])


# The second order, of thirteen widths, is that of the article "Cutting stock problem" in the English Wikipedia.
ORDERS = [
    (cutting_stock.ROLL, cutting_stock.ORDER, 453),
    (
        5600,
        {1380: 22, 1520: 25, 1560: 12, 1710: 14, 1820: 18, 1880: 18, 1930: 20}
        | {2000: 10, 2050: 12, 2100: 14, 2140: 16, 2150: 18, 2200: 20},
        73,
    ),
]


def all_patterns(roll, widths):
    """Every way of cutting a roll into which no further piece would fit, as numbers of pieces."""
    if not widths:
        return [()]
    patterns = [
        (n, *rest) for n in range(roll // widths[0] + 1) for rest in all_patterns(roll - n * widths[0], widths[1:])
    ]
    return [pattern for pattern in patterns if roll - np.dot(pattern, widths) < min(widths)]


@pytest.mark.parametrize(("roll", "order", "published"), ORDERS, ids=["Chvatal", "thirteen widths"])
def test_cutting_stock(roll, order, published):
    fractional, whole, cuts = cutting_stock.solve(roll, order)
    patterns = np.array(all_patterns(roll, list(order))).T
    needed = list(order.values())
    cost = np.ones(patterns.shape[1])
    assert fractional == near(linprog(cost, -patterns, [-n for n in needed]).fun)
    best = milp(cost, constraints=LinearConstraint(patterns, needed, np.inf), integrality=cost)
    assert round(best.fun) == published
    # The patterns of the fractional optimum need not be enough for the best one in whole rolls.
    assert published <= whole <= published + 1
    assert sum(n for n, _ in cuts) == whole
    for width in order:
        assert sum(n * pattern.get(width, 0) for n, pattern in cuts) >= order[width]
    assert all(sum(width * n for width, n in pattern.items()) <= roll for _, pattern in cuts)


@pytest.mark.parametrize(
    ("script", "last"),
    [
        ("diet", "The diet costs $39.66 a year."),
        ("knapsack", "The load is worth 1458 and weighs 749 of 750."),
        ("transport", "The freight is 153.675 thousand dollars."),
        ("production", "carpentry is bought in              760     0        0      0     20"),
        ("portfolio", "  1.22  0.0604251         0   0.697211   0.302789"),
        ("portfolio_arrays", "          100  1.08908  0.0108075         1         0         0"),
        ("regression", "The sum of the absolute deviations is 42.0812."),
        ("network_flow", "The plan costs 3195.40."),
        ("cutting_stock", "453 rolls; no way of cutting needs less than 452.25."),
    ],
)
def test_scripts_run_from_anywhere(script, last, tmp_path):
    run = subprocess.run(
        [sys.executable, EXAMPLES / f"{script}.py"], cwd=tmp_path, capture_output=True, text=True, timeout=300
    )
    assert run.returncode == 0, run.stderr
    assert run.stdout.splitlines()[-1] == last
