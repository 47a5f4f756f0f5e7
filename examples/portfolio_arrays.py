"""A portfolio with arrays: points of the efficient frontier, with a fee for trading.

    python examples/portfolio_arrays.py

Instead of a wanted return, as in portfolio.py, each run has a price of risk: it maximises the mean return, less the
price times the variance, less a fee on what is bought and sold to get away from the portfolio at hand. All data are
NumPy arrays, and the variance is `x @ Q @ x`.
"""

import numpy as np
import tessolvpy as tso
from tableio import print_table, read_table
from tessolvpy import TSO

STOCKS = ["ATT", "GMC", "USX"]
PRICES = [0.5, 1.0, 2.0, 4.0, 8.0, 100.0]
FEE = 0.01


def solve(mean, covariance, at_hand, prices, fee):
    """For each price of risk the best value, and the shares of the stocks, as an array."""
    n = len(mean)
    m = tso.Model("portfolio_arrays")
    m.setParam("OutputFlag", 0)

    share = m.addMVar(n, name="share")
    buy = m.addMVar(n, name="buy")
    sell = m.addMVar(n, name="sell")
    m.addConstr(share.sum() == 1, name="all")
    m.addConstr(share == at_hand + buy - sell, name="trade")
    value = mean @ share - fee * (buy + sell).sum()
    variance = share @ covariance @ share

    results = []
    for price in prices:
        m.setObjective((value - price * variance).item(), TSO.MAXIMIZE)
        m.optimize()
        results.append((m.ObjVal, share.X))
    return results


def main():
    years = read_table("markowitz_returns.csv")
    returns = np.array([[year[stock] for year in years] for stock in STOCKS])
    mean, covariance = returns.mean(axis=1), np.cov(returns)
    results = solve(mean, covariance, np.full(3, 1 / 3), PRICES, FEE)
    rows = [[price, mean @ x, x @ covariance @ x, *np.round(x, 6)] for price, (_, x) in zip(PRICES, results)]
    print_table(["price of risk", "return", "variance", *STOCKS], rows)


if __name__ == "__main__":
    main()
