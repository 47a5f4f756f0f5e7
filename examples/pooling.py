"""Blending through a pool, a problem that is not convex, after Haverly (ACM SIGMAP Bulletin 25 (1978), pp. 19-28).

    python examples/pooling.py

Two crude oils must share one pool, a third one is piped by itself. Two products are blended from the pool and the third
oil, each with a limit on its sulphur. How much sulphur the pool has depends on what flows into it, so products of two
variables come up: quality times flow. The best profit is 400; a local search may stop at 100 or at nothing.
"""

import tessolvpy as tso
from tessolvpy import TSO


def solve():
    """The profit, and the flows and the sulphur of the pool by name."""
    m = tso.Model("pooling")
    m.setParam("OutputFlag", 0)
    flow = {
        name: m.addVar(ub=300, name=name) for name in ("A in", "B in", "pool to X", "pool to Y", "C to X", "C to Y")
    }
    sulphur = m.addVar(lb=1, ub=3, name="sulphur")  # per cent
    a, b, pool_x, pool_y, c_x, c_y = flow.values()

    m.addConstr(a + b == pool_x + pool_y, name="nothing stays")
    m.addConstr(sulphur * pool_x + sulphur * pool_y - 3 * a - b == 0, name="sulphur of the pool")
    m.addConstr(sulphur * pool_x + 2 * c_x - 2.5 * (pool_x + c_x) <= 0, name="sulphur of X")
    m.addConstr(sulphur * pool_y + 2 * c_y - 1.5 * (pool_y + c_y) <= 0, name="sulphur of Y")
    m.addConstr(pool_x + c_x <= 100, name="demand of X")
    m.addConstr(pool_y + c_y <= 200, name="demand of Y")

    income = 9 * (pool_x + c_x) + 15 * (pool_y + c_y)
    m.setObjective(income - 6 * a - 16 * b - 10 * (c_x + c_y), TSO.MAXIMIZE)
    m.optimize()
    return m.ObjVal, {v.VarName: v.X for v in m.getVars()}


def main():
    profit, values = solve()
    for name, value in values.items():
        print(f"{name:10} {value:8.3f}")
    print(f"The profit is {profit:.2f}.")


if __name__ == "__main__":
    main()
