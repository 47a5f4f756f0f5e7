"""A regression by linear programming: the plane with the least sum of absolute deviations.

    python examples/regression.py

Absolute deviations give an outlier less weight than squares do. Each observation has a deviation upwards and one
downwards, at least 0, and a row says that the plane and the two meet what was observed; at the optimum one of the two
is 0. The design matrix goes into the model as it is, as an array.
"""

import numpy as np
import tessolvpy as tso
from tableio import print_table
from tessolvpy import TSO

# Loss of ammonia in a plant that makes nitric acid, on 21 days: flow of air, temperature of the cooling water, and
# concentration of the acid (per 1000, minus 500), against the loss through the stack (per 1000 of the ammonia, times
# 10).
# K. A. Brownlee, "Statistical Theory and Methodology in Science and Engineering", 2nd edition, Wiley 1965, p. 454.
STACK_LOSS = np.array(
    [
        [80, 27, 89, 42],
        [80, 27, 88, 37],
        [75, 25, 90, 37],
        [62, 24, 87, 28],
        [62, 22, 87, 18],
        [62, 23, 87, 18],
        [62, 24, 93, 19],
        [62, 24, 93, 20],
        [58, 23, 87, 15],
        [58, 18, 80, 14],
        [58, 18, 89, 14],
        [58, 17, 88, 13],
        [58, 18, 82, 11],
        [58, 19, 93, 12],
        [50, 18, 89, 8],
        [50, 18, 86, 7],
        [50, 19, 72, 8],
        [50, 19, 79, 8],
        [50, 20, 80, 9],
        [56, 20, 82, 15],
        [70, 20, 91, 15],
    ]
)


def solve(features, observed):
    """The least sum of absolute deviations, the constant and the coefficients, and each deviation."""
    count, width = features.shape
    m = tso.Model("regression")
    m.setParam("OutputFlag", 0)

    plane = m.addMVar(width + 1, lb=-TSO.INFINITY, name="plane")
    above = m.addMVar(count, name="above")
    below = m.addMVar(count, name="below")
    design = np.column_stack([np.ones(count), features])
    m.addConstr(design @ plane + above - below == observed, name="meet")
    m.setObjective((above.sum() + below.sum()).item(), TSO.MINIMIZE)

    m.optimize()
    return m.ObjVal, plane.X, above.X - below.X


def main():
    total, plane, deviations = solve(STACK_LOSS[:, :3], STACK_LOSS[:, 3])
    print_table(["term", "coefficient"], [*zip(["constant", "air", "water", "acid"], plane)])
    print()
    worst = np.argsort(-abs(deviations))[:4]
    print_table(["far from the plane", "deviation"], [[f"day {i + 1}", deviations[i]] for i in worst])
    print(f"\nThe sum of the absolute deviations is {total:.4f}.")


if __name__ == "__main__":
    main()
