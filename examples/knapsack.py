"""A knapsack: the most valuable load that is not too heavy.

    python examples/knapsack.py

Each thing is taken or left, so the variables are binary.
"""

import tessolvpy as tso
from tableio import print_table, read_table
from tessolvpy import TSO

CAPACITY = 750


def solve(weight, profit, capacity):
    """The profit of the best load, and the places of the things in it. weight and profit are lists."""
    m = tso.Model("knapsack")
    m.setParam("OutputFlag", 0)
    m.setParam("MIP/GapRel", 0)

    take = m.addVars(len(weight), vtype=TSO.BINARY, name="take")
    m.addConstr(take.prod(dict(enumerate(weight))) <= capacity, name="capacity")
    m.setObjective(take.prod(dict(enumerate(profit))), TSO.MAXIMIZE)

    m.optimize()
    return m.ObjVal, [i for i, x in take.items() if x.X > 0.5]


def main():
    things = read_table("knapsack_15.csv")
    weight, profit = ([row[head] for row in things] for head in ("weight", "profit"))
    value, load = solve(weight, profit, CAPACITY)
    print_table(["thing", "weight", "profit"], [[i, weight[i], profit[i]] for i in load])
    print(f"\nThe load is worth {value:g} and weighs {sum(weight[i] for i in load):g} of {CAPACITY}.")


if __name__ == "__main__":
    main()
