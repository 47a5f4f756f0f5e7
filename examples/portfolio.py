"""A portfolio: the least risk for a wanted return, after Markowitz.

    python examples/portfolio.py

The risk is the variance of the return, a convex quadratic objective. One model serves all wanted returns: only the
bound of one row changes from run to run.
"""

import numpy as np
import tessolvpy as tso
from tableio import print_table, read_table
from tessolvpy import TSO


def solve(returns, wanted):
    """For each wanted return the least variance, and the share of each stock.

    returns: stock to its yearly returns; wanted: list of mean returns.
    """
    stocks = list(returns)
    covariance = np.cov([returns[stock] for stock in stocks]).tolist()

    m = tso.Model("portfolio")
    m.setParam("OutputFlag", 0)
    share = [m.addVar(name=stock) for stock in stocks]
    m.addConstr(tso.quicksum(share) == 1, name="all")
    goal = m.addConstr(tso.quicksum(np.mean(returns[s]) * x for s, x in zip(stocks, share)) >= 0, name="goal")
    n = range(len(stocks))
    m.setObjective(tso.quicksum(covariance[i][j] * share[i] * share[j] for i in n for j in n), TSO.MINIMIZE)

    results = []
    for value in wanted:
        goal.LHS = value
        m.optimize()
        results.append((m.ObjVal, dict(zip(stocks, m.getAttr("X", share)))))
    return results


def main():
    years = read_table("markowitz_returns.csv")
    stocks = [head for head in years[0] if head != "year"]
    wanted = [1.10, 1.12, 1.15, 1.18, 1.20, 1.22]
    results = solve({stock: [year[stock] for year in years] for stock in stocks}, wanted)
    rows = [[value, risk, *shares.values()] for value, (risk, shares) in zip(wanted, results)]
    print_table(["return", "variance", *stocks], rows)


if __name__ == "__main__":
    main()
