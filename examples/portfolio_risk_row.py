"""A portfolio: the largest return for a risk that is accepted.

    python examples/portfolio_risk_row.py

The other way round from portfolio.py: here the variance stands in a constraint, a convex quadratic row, and only its
right-hand side changes from run to run.
"""

import numpy as np
import tessolvpy as tso
from tableio import print_table, read_table
from tessolvpy import TSO

STOCKS = ["ATT", "GMC", "USX"]


def solve(mean, covariance, accepted):
    """For each accepted variance the largest mean return, and the shares of the stocks, an array."""
    m = tso.Model("risk row")
    m.setParam("OutputFlag", 0)
    share = m.addMVar(len(mean), name="share")
    m.addConstr(share.sum() == 1, name="all")
    risk = m.addConstr(share @ covariance @ share <= 1, name="risk")
    m.setObjective((mean @ share).item(), TSO.MAXIMIZE)

    results = []
    for variance in accepted:
        risk.QCRHS = variance
        m.optimize()
        results.append((m.ObjVal, share.X))
    return results


def main():
    years = read_table("markowitz_returns.csv")
    returns = np.array([[year[stock] for year in years] for stock in STOCKS])
    accepted = [0.012, 0.015, 0.02, 0.03, 0.05]
    results = solve(returns.mean(axis=1), np.cov(returns), accepted)
    rows = [[v, round(best, 4), *shares.round(3)] for v, (best, shares) in zip(accepted, results)]
    print_table(["variance", "return", *STOCKS], rows)


if __name__ == "__main__":
    main()
