"""Stigler's diet: the cheapest food of 1939 that keeps a man in health.

    python examples/diet.py

A linear programme of 77 foods and 9 nutrients. Stigler found a diet of $39.93 a year by trying; Laderman solved the
programme in 1947, nine clerks at desk calculators taking 120 man-days for it, and came to $39.69 (George B. Dantzig,
"The Diet Problem", Interfaces 20 (1990), pp. 43-47). Without their rounding it is $39.66.
"""

import tessolvpy as tso
from tableio import print_table, read_table
from tessolvpy import TSO


def solve(foods, needs):
    """The cost of a day in dollars, and the dollars spent on each food.

    foods: rows with "food" and what a dollar's worth of it holds of each nutrient; needs: nutrient to amount.
    """
    m = tso.Model("diet")
    m.setParam("OutputFlag", 0)

    spend = tso.tupledict({row["food"]: m.addVar(name=row["food"]) for row in foods})
    content = {nutrient: {row["food"]: row[nutrient] for row in foods} for nutrient in needs}
    m.addConstrs((spend.prod(content[n]) >= needs[n] for n in needs), name="need")
    m.setObjective(spend.sum(), TSO.MINIMIZE)

    m.optimize()
    return m.ObjVal, {food: x.X for food, x in spend.items()}


def main():
    needs = {row["nutrient"]: row["need"] for row in read_table("stigler_needs.csv")}
    cost, spend = solve(read_table("stigler_foods.csv"), needs)
    print_table(["food", "$ a year"], [[food, 365 * x] for food, x in spend.items() if x > 1e-9])
    print(f"\nThe diet costs ${365 * cost:.2f} a year.")


if __name__ == "__main__":
    main()
