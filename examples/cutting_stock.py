"""Cutting stock by column generation, after Gilmore and Gomory (Operations Research 9 (1961), pp. 849-859).

    python examples/cutting_stock.py

Rolls of one length are cut into pieces that were ordered. A pattern says how many pieces of each width come out of one
roll. There are too many patterns to write them all down, so the master model begins with a few; the prices that it
gives to the pieces are handed to a knapsack model, which finds the pattern that is worth most. A pattern that is worth
more than a roll joins the master as a new column; if there is none, the master has all that it needs.

The order is from Vasek Chvatal, "Linear Programming", Freeman 1983, chapter 13: 452.25 rolls when fractions are
allowed, so 453 at least, and 453 do.
"""

import tessolvpy as tso
from tableio import print_table
from tessolvpy import TSO

ROLL = 100
ORDER = {45: 97, 36: 610, 31: 395, 14: 211}


def quiet_model(name):
    m = tso.Model(name)
    m.setParam("OutputFlag", 0)
    m.setParam("MIP/GapRel", 0)
    return m


def solve(roll, order):
    """The least number of rolls when fractions are allowed, that in whole rolls of the patterns found, and the latter's
    cuts as a list: how many rolls, and the pieces of one of them by width.

    order: how many pieces of each width.
    """
    master = quiet_model("master")
    filled = master.addConstrs((tso.LinExpr() >= order[width] for width in order), name="order")
    patterns = []

    def add_pattern(pattern):
        column = tso.Column(list(pattern.values()), [filled[width] for width in pattern])
        master.addVar(obj=1, name=f"cut{len(patterns)}", column=column)
        patterns.append(pattern)

    pricing = quiet_model("pricing")
    pieces = tso.tupledict({w: pricing.addVar(vtype=TSO.INTEGER, name=f"pieces{w}") for w in order})
    pricing.addConstr(pieces.prod({w: w for w in order}) <= roll, name="length")

    for width in order:
        add_pattern({width: roll // width})
    while True:
        master.optimize()
        price = {width: row.DualSoln for width, row in filled.items()}
        pricing.setObjective(pieces.prod(price), TSO.MAXIMIZE)
        pricing.optimize()
        if pricing.ObjVal < 1 + 1e-7:
            break
        add_pattern({width: round(x.X) for width, x in pieces.items() if x.X > 0.5})
    fractional = master.ObjVal

    cuts = master.getVars()
    master.setAttr("VType", cuts, [TSO.INTEGER] * len(cuts))
    master.optimize()
    times = [round(x) for x in master.getAttr("X", cuts)]
    return fractional, round(master.ObjVal), [(n, patterns[j]) for j, n in enumerate(times) if n > 0]


def main():
    fractional, whole, cuts = solve(ROLL, ORDER)
    print_table(["rolls", *map(str, ORDER)], [[n, *(pattern.get(w, 0) for w in ORDER)] for n, pattern in cuts])
    print(f"\n{whole} rolls; no way of cutting needs less than {fractional:.2f}.")


if __name__ == "__main__":
    main()
