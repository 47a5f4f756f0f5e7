import highspy
import numpy as np


def model():
    h = highspy.Highs()
    h.silent()
    return h


def facility(n):
    h = model()
    x = h.addVariables(n, n, ub=1.0)
    y = h.addBinaries(n)
    for j in range(n):
        h.addConstr(h.qsum(x[i, j] for i in range(n)) == 1)
    for i in range(n):
        for j in range(n):
            h.addConstr(x[i, j] <= y[i])
    h.setObjective(
        h.qsum((i + j) * x[i, j] for i in range(n) for j in range(n)) + h.qsum(10.0 * y[i] for i in range(n))
    )
    return h


def queens(n):
    h = model()
    x = h.addBinaries(n, n)
    for i in range(n):
        h.addConstr(h.qsum(x[i, j] for j in range(n)) == 1)
        h.addConstr(h.qsum(x[j, i] for j in range(n)) == 1)
    for k in range(1 - n, n):
        h.addConstr(h.qsum(x[i, i - k] for i in range(max(0, k), min(n, n + k))) <= 1)
        h.addConstr(h.qsum(x[i, n - 1 - i + k] for i in range(max(0, k), min(n, n + k))) <= 1)
    return h


queens_patterns = queens  # without patterns: its loops


def transport(n):
    h = model()
    x = h.addVariables(n, n)
    for i in range(n):
        h.addConstr(h.qsum(x[i, j] for j in range(n)) <= 10.0)
    for j in range(n):
        h.addConstr(h.qsum(x[i, j] for i in range(n)) >= 5.0)
    h.setObjective(h.qsum(float(i + 2 * j) * x[i, j] for i in range(n) for j in range(n)))
    return h


def prepare_sum(n):
    h = model()
    return h, [h.addVariable() for _ in range(n)]


def long_sum(n, prepared):
    h, x = prepared
    h.addConstr(h.qsum(2.0 * v for v in x) <= 1.0)
    return h


def variables(n):
    h = model()
    for _ in range(n):
        h.addVariable(ub=4.0)
    return h


prepare_rows = prepare_bounds = prepare_sum


def rows(n, prepared):
    h, x = prepared
    for i in range(n - 2):
        h.addConstr(x[i] + 2.0 * x[i + 1] + 3.0 * x[i + 2] <= 4.0)
    return h


def bounds(n, prepared):
    h, x = prepared
    for v in x:
        h.changeColBounds(v.index, 0.0, 5.0)
    return h


def prepare_read(n):
    h = model()
    x = [h.addVariable(ub=1.0, obj=1.0) for _ in range(n)]
    h.addConstr(x[0] >= 0.5)
    h.run()
    return h, x


prepare_read_bulk = prepare_read


def read(n, prepared):
    h, x = prepared
    values = h.getSolution().col_value
    return [values[v.index] for v in x]


def read_bulk(n, prepared):
    h, x = prepared
    return h.vals(x)


def prepare_removal(n):
    prepared = prepare_sum(n)
    rows(min(n, 20000), prepared)
    return prepared


def removal(n, prepared):
    h, x = prepared
    h.deleteCols(n // 2, np.arange(0, n, 2, dtype=np.int32))
    return h
