"""Facility location: which depots to open, and what to deliver from which of them.

    python examples/facility_location_indicators.py

An open depot costs rent and is worth its rent only above a least amount; a closed one delivers nothing. Indicator
constraints say both without a bound on the amounts. The towns are invented.
"""

import tessolvpy as tso
from tableio import print_table
from tessolvpy import TSO

DEPOTS = {"north": (2, 9), "east": (9, 6), "south": (5, 1), "west": (1, 4), "centre": (5, 5)}
RENT = {"north": 130, "east": 150, "south": 120, "west": 110, "centre": 190}
LEAST = {"north": 25, "east": 25, "south": 25, "west": 25, "centre": 40}
TOWNS = {"Ash": (1, 8), "Birch": (4, 9), "Cedar": (8, 8), "Dale": (9, 4), "Elm": (6, 2), "Fern": (3, 1), "Glen": (2, 5)}
NEEDS = {"Ash": 10, "Birch": 12, "Cedar": 9, "Dale": 14, "Elm": 15, "Fern": 8, "Glen": 11}


def distances(depots, towns):
    return {(d, t): abs(x - u) + abs(y - v) for d, (x, y) in depots.items() for t, (u, v) in towns.items()}


def solve(rent, least, needs, cost):
    """The least cost, the depots to open, and the amount on each road. cost: (depot, town) to the cost of one unit."""
    m = tso.Model("facility location")
    m.setParam("OutputFlag", 0)
    m.setParam("MIP/GapRel", 0)

    is_open = m.addVars([(depot,) for depot in rent], vtype=TSO.BINARY, name="open")
    amount = m.addVars(list(cost), name="amount")
    m.addConstrs((amount.sum("*", town) == needs[town] for town in needs), name="needs")
    m.addConstrs(((is_open[depot] == 0) >> (amount.sum(depot, "*") <= 0) for depot in rent), name="closed")
    m.addConstrs(((is_open[depot] == 1) >> (amount.sum(depot, "*") >= least[depot]) for depot in rent), name="worth")
    m.setObjective(is_open.prod(rent) + amount.prod(cost), TSO.MINIMIZE)

    m.optimize()
    return m.ObjVal, [d for d, x in is_open.items() if x.X > 0.5], {road: x.X for road, x in amount.items()}


def main():
    cost, opened, amount = solve(RENT, LEAST, NEEDS, distances(DEPOTS, TOWNS))
    print_table(["from", "to", "amount"], [[*road, value] for road, value in amount.items() if value > 1e-6])
    print(f"\nOpen {' and '.join(opened)}: rent and roads cost {cost:g}.")


if __name__ == "__main__":
    main()
