import numpy as np
import pyoptinterface as poi
from pyoptinterface import highs


def sparse_rows(a, b):
    m = highs.Model()
    x = m.add_m_variables(a.shape[1], lb=0.0)
    m.add_m_linear_constraints(a, x, poi.Leq, b)
    return m, x


dense_rows = sparse_rows


def quadratic(q):
    m = highs.Model()
    x = m.add_m_variables(q.shape[0], lb=0.0)
    # x @ q @ x makes a Python object of each cell and takes some ninety times as long.
    columns = np.array([v.index for v in x])
    n = len(columns)
    terms = q.ravel().tolist(), np.repeat(columns, n).tolist(), np.tile(columns, n).tolist()
    m.set_objective(poi.ScalarQuadraticFunction(*terms))
    return m, x


def elementwise(*shape):
    m = highs.Model()
    x, y, z = (m.add_m_variables(shape, lb=0.0) for _ in range(3))
    for row in (2 * x + 3 * y - z).flat:
        m.add_linear_constraint(row, poi.Leq, 1.0)
    return m, x, y, z


def facility(cost):
    n = cost.shape[0]
    m = highs.Model()
    x = m.add_m_variables((n, n), lb=0.0, ub=1.0)
    y = m.add_m_variables((n, 1), domain=poi.VariableDomain.Binary)
    for j in range(n):
        m.add_linear_constraint(poi.quicksum(x[:, j]), poi.Eq, 1.0)
    for row in (x - y).flat:
        m.add_linear_constraint(row, poi.Leq, 0.0)
    m.set_objective(poi.quicksum((cost * x).flat) + 10.0 * poi.quicksum(y.flat))
    return m, x, y


def queens(n):
    m = highs.Model()
    x = m.add_m_variables((n, n), domain=poi.VariableDomain.Binary)
    for i in range(n):
        m.add_linear_constraint(poi.quicksum(x[i]), poi.Eq, 1.0)
        m.add_linear_constraint(poi.quicksum(x[:, i]), poi.Eq, 1.0)
    for board in (x, x[:, ::-1]):
        for k in range(1 - n, n):
            m.add_linear_constraint(poi.quicksum(np.diagonal(board, k)), poi.Leq, 1.0)
    return m, x


def transport(cost):
    n = cost.shape[0]
    m = highs.Model()
    x = m.add_m_variables((n, n), lb=0.0)
    for i in range(n):
        m.add_linear_constraint(poi.quicksum(x[i]), poi.Leq, 10.0)
    for j in range(n):
        m.add_linear_constraint(poi.quicksum(x[:, j]), poi.Geq, 5.0)
    m.set_objective(poi.quicksum((cost * x).flat))
    return m, x
