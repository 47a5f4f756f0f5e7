import cvxpy as cp
import numpy as np


def compiled(problem):
    return problem.get_problem_data(cp.HIGHS)


def facility(n):
    x = cp.Variable((n, n), bounds=[0, 1])
    y = cp.Variable(n, boolean=True)
    cost = np.add.outer(np.arange(n), np.arange(n))
    constraints = [cp.sum(x, axis=0) == 1, x <= cp.reshape(y, (n, 1), order="C") @ np.ones((1, n))]
    return compiled(cp.Problem(cp.Minimize(cp.sum(cp.multiply(cost, x)) + 10.0 * cp.sum(y)), constraints))


def transport(n):
    x = cp.Variable((n, n), nonneg=True)
    cost = np.add.outer(np.arange(n), 2.0 * np.arange(n))
    constraints = [cp.sum(x, axis=1) <= 10.0, cp.sum(x, axis=0) >= 5.0]
    return compiled(cp.Problem(cp.Minimize(cp.sum(cp.multiply(cost, x))), constraints))
