import cvxpy as cp
import numpy as np


def handed_over(problem):
    return problem.get_problem_data(cp.HIGHS)[0]


def sparse_rows(a, b):
    x = cp.Variable(a.shape[1], nonneg=True)
    return handed_over(cp.Problem(cp.Minimize(0), [a @ x <= b]))


dense_rows = sparse_rows


def quadratic(q):
    x = cp.Variable(q.shape[0], nonneg=True)
    return handed_over(cp.Problem(cp.Minimize(cp.quad_form(x, q, assume_PSD=True))))


def elementwise(*shape):
    x, y, z = (cp.Variable(shape, nonneg=True) for _ in range(3))
    return handed_over(cp.Problem(cp.Minimize(0), [2 * x + 3 * y - z <= 1]))


def facility(cost):
    n = cost.shape[0]
    x = cp.Variable((n, n), bounds=[0, 1])
    y = cp.Variable((n, 1), boolean=True)
    objective = cp.Minimize(cp.sum(cp.multiply(cost, x)) + 10.0 * cp.sum(y))
    return handed_over(cp.Problem(objective, [cp.sum(x, axis=0) == 1, x <= y @ np.ones((1, n))]))


def transport(cost):
    x = cp.Variable(cost.shape, nonneg=True)
    constraints = [cp.sum(x, axis=1) <= 10.0, cp.sum(x, axis=0) >= 5.0]
    return handed_over(cp.Problem(cp.Minimize(cp.sum(cp.multiply(cost, x))), constraints))
