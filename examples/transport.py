"""Transport: cans from two canneries to three markets, with the least freight.

    python examples/transport.py

The numbers are those of the canning company in George B. Dantzig, "Linear Programming and Extensions", Princeton
University Press 1963, chapter 3-3, in the form in which they are mostly quoted today: cases, distances in 1000 miles,
and a freight of $90 for a case and 1000 miles. The least freight is 153.675 thousand dollars.
"""

import tessolvpy as tso
from tableio import print_table
from tessolvpy import TSO

SUPPLY = {"Seattle": 350, "San Diego": 600}
DEMAND = {"New York": 325, "Chicago": 300, "Topeka": 275}
DISTANCE = {
    ("Seattle", "New York"): 2.5,
    ("Seattle", "Chicago"): 1.7,
    ("Seattle", "Topeka"): 1.8,
    ("San Diego", "New York"): 2.5,
    ("San Diego", "Chicago"): 1.8,
    ("San Diego", "Topeka"): 1.4,
}
FREIGHT = 0.09  # thousand dollars for a case and 1000 miles


def solve(supply, demand, cost):
    """The least cost, what goes along each route, and what another unit in each market would cost."""
    m = tso.Model("transport")
    m.setParam("OutputFlag", 0)

    ship = m.addVars(list(cost), name="ship")
    m.addConstrs((ship.sum(cannery, "*") <= supply[cannery] for cannery in supply), name="supply")
    sold = m.addConstrs((ship.sum("*", market) >= demand[market] for market in demand), name="demand")
    m.setObjective(ship.prod(cost), TSO.MINIMIZE)

    m.optimize()
    return m.ObjVal, {route: x.X for route, x in ship.items()}, {market: c.DualSoln for market, c in sold.items()}


def main():
    cost, ship, price = solve(SUPPLY, DEMAND, {route: FREIGHT * miles for route, miles in DISTANCE.items()})
    print_table(["from", "to", "cases"], [[*route, amount] for route, amount in ship.items() if amount > 0])
    print()
    print_table(["market", "price of one more"], [[market, dual] for market, dual in price.items()])
    print(f"\nThe freight is {cost:.3f} thousand dollars.")


if __name__ == "__main__":
    main()
