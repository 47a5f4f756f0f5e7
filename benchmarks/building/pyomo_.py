import pyomo.environ as pyo


def facility(n):
    m = pyo.ConcreteModel()
    m.I = pyo.RangeSet(0, n - 1)
    m.x = pyo.Var(m.I, m.I, bounds=(0, 1))
    m.y = pyo.Var(m.I, domain=pyo.Binary)
    m.served = pyo.Constraint(m.I, rule=lambda m, j: pyo.quicksum(m.x[i, j] for i in m.I) == 1)
    m.open = pyo.Constraint(m.I, m.I, rule=lambda m, i, j: m.x[i, j] <= m.y[i])
    m.cost = pyo.Objective(
        expr=pyo.quicksum((i + j) * m.x[i, j] for i in m.I for j in m.I) + pyo.quicksum(10.0 * m.y[i] for i in m.I)
    )
    return m


def queens(n):
    m = pyo.ConcreteModel()
    m.I = pyo.RangeSet(0, n - 1)
    m.x = pyo.Var(m.I, m.I, domain=pyo.Binary)
    m.rows = pyo.Constraint(m.I, rule=lambda m, i: pyo.quicksum(m.x[i, j] for j in m.I) == 1)
    m.cols = pyo.Constraint(m.I, rule=lambda m, i: pyo.quicksum(m.x[j, i] for j in m.I) == 1)
    m.K = pyo.RangeSet(1 - n, n - 1)
    m.down = pyo.Constraint(
        m.K, rule=lambda m, k: pyo.quicksum(m.x[i, i - k] for i in range(max(0, k), min(n, n + k))) <= 1
    )
    m.up = pyo.Constraint(
        m.K, rule=lambda m, k: pyo.quicksum(m.x[i, n - 1 - i + k] for i in range(max(0, k), min(n, n + k))) <= 1
    )
    return m


def transport(n):
    m = pyo.ConcreteModel()
    m.I = pyo.RangeSet(0, n - 1)
    m.x = pyo.Var(m.I, m.I, domain=pyo.NonNegativeReals)
    m.supply = pyo.Constraint(m.I, rule=lambda m, i: pyo.quicksum(m.x[i, j] for j in m.I) <= 10.0)
    m.demand = pyo.Constraint(m.I, rule=lambda m, j: pyo.quicksum(m.x[i, j] for i in m.I) >= 5.0)
    m.cost = pyo.Objective(expr=pyo.quicksum(float(i + 2 * j) * m.x[i, j] for i in m.I for j in m.I))
    return m
