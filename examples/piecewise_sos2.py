"""Piecewise-linear costs: an amount is bought where a larger order is cheaper by the unit.

    python examples/piecewise_sos2.py

The cost of an order runs straight between given points. Order and cost are weighted means of these, of which only two
neighbours may count: their weights are a special ordered set of type 2. Without it the straight line from the first
to the last point would be taken, which is too cheap. The prices are invented.
"""

import tessolvpy as tso
from tableio import print_table
from tessolvpy import TSO

# (amount, cost of the whole order) of each supplier
SUPPLIERS = {
    "Abel": [(0, 0), (100, 500), (250, 1100), (400, 1550)],
    "Baker": [(0, 0), (150, 660), (350, 1500), (500, 1950)],
    "Clark": [(0, 0), (50, 300), (200, 900), (600, 2300)],
}
WANTED = 700


def solve(suppliers, wanted):
    """The least cost of the wanted amount, and supplier to (amount, cost)."""
    m = tso.Model("piecewise")
    m.setParam("OutputFlag", 0)
    m.setParam("MIP/GapRel", 0)

    orders = {}
    for supplier, points in suppliers.items():
        weight = m.addVars(len(points), ub=1, name=f"weight_{supplier}")
        m.addConstr(weight.sum() == 1)
        amounts, costs = zip(*points)
        m.addSOS(TSO.SOS_TYPE2, weight, amounts)
        orders[supplier] = [weight.prod(dict(enumerate(values))) for values in (amounts, costs)]
    m.addConstr(tso.quicksum(amount for amount, _ in orders.values()) == wanted, name="wanted")
    m.setObjective(tso.quicksum(cost for _, cost in orders.values()), TSO.MINIMIZE)

    m.optimize()
    return m.ObjVal, {s: (amount.getValue(), cost.getValue()) for s, (amount, cost) in orders.items()}


def main():
    total, orders = solve(SUPPLIERS, WANTED)
    print_table(["supplier", "amount", "cost"], [[supplier, *order] for supplier, order in orders.items()])
    print(f"\n{WANTED} units cost {total:g}.")


if __name__ == "__main__":
    main()
