"""A production plan, solved again and again while the works change.

    python examples/production.py

The first plan is the Dakota furniture company of Wayne L. Winston, "Operations Research: Applications and Algorithms"
(profit 280). The changes that follow are made for this example: one model is edited, extended and cut down, and solved
after each step.
"""

import tessolvpy as tso
from tableio import print_table
from tessolvpy import TSO

STOCK = {"lumber": 48, "finishing": 20, "carpentry": 8}
PRODUCTS, PRICE, NEEDS = tso.multidict(
    {
        "desk": [60, {"lumber": 8, "finishing": 4, "carpentry": 2}],
        "table": [30, {"lumber": 6, "finishing": 2, "carpentry": 1.5}],
        "chair": [20, {"lumber": 1, "finishing": 1.5, "carpentry": 0.5}],
    }
)


def solve():
    """The steps as a list: what changed, the profit, and how much of each product is made."""
    m = tso.Model("production")
    m.setParam("OutputFlag", 0)
    steps = []

    def step(what):
        m.optimize()
        steps.append((what, m.ObjVal, {product: x.X for product, x in make.items()}))

    make = tso.tupledict({p: m.addVar(name=p) for p in PRODUCTS})
    use = m.addConstrs((make.prod({p: NEEDS[p][r] for p in PRODUCTS}) <= STOCK[r] for r in STOCK), name="use")
    few_tables = m.addConstr(make["table"] <= 5, name="few_tables")
    m.setObjective(make.prod(PRICE), TSO.MAXIMIZE)
    step("as in the book")

    make["chair"].UB = 4
    step("at most 4 chairs can be sold")

    use["carpentry"].RHS = 10
    step("2 more hours of carpentry")

    m.remove(make.pop("desk"))
    step("no more desks")

    make["table"].Obj = 55
    step("tables sell for 55")

    m.remove(few_tables)
    step("more than 5 tables can be sold")

    column = tso.Column([1, 1, 1], [use["lumber"], use["finishing"], use["carpentry"]])
    make["stool"] = m.addVar(obj=38, name="stool", column=column)
    step("stools, which sell for 38")

    m.remove(use.pop("carpentry"))
    step("carpentry is bought in")
    return steps


def main():
    steps = solve()
    products = [*PRODUCTS, "stool"]
    print_table(
        ["change", "profit", *products],
        [[what, profit, *(made.get(product, 0.0) for product in products)] for what, profit, made in steps],
    )


if __name__ == "__main__":
    main()
