from tessolvpy import TSO, LinExpr, Model, quicksum


def model():
    m = Model()
    return m


def facility(n):
    m = model()
    x = m.addVars(n, n, ub=1.0)
    y = m.addVars(n, vtype=TSO.BINARY)
    for j in range(n):
        m.addConstr(quicksum(x[i, j] for i in range(n)) == 1)
    for i in range(n):
        for j in range(n):
            m.addConstr(x[i, j] <= y[i])
    m.setObjective(
        quicksum((i + j) * x[i, j] for i in range(n) for j in range(n)) + quicksum(10.0 * y[i] for i in range(n))
    )
    return m


def queens(n):
    m = model()
    x = m.addVars(n, n, vtype=TSO.BINARY)
    for i in range(n):
        m.addConstr(quicksum(x[i, j] for j in range(n)) == 1)
        m.addConstr(quicksum(x[j, i] for j in range(n)) == 1)
    for k in range(1 - n, n):
        m.addConstr(quicksum(x[i, i - k] for i in range(max(0, k), min(n, n + k))) <= 1)
        m.addConstr(quicksum(x[i, n - 1 - i + k] for i in range(max(0, k), min(n, n + k))) <= 1)
    return m


def queens_patterns(n):
    m = model()
    cells = [(i, j, i - j, i + j) for i in range(n) for j in range(n)]  # row, column and the two diagonals
    x = m.addVars(cells, vtype=TSO.BINARY)
    m.addConstrs(x.sum(i, "*", "*", "*") == 1 for i in range(n))
    m.addConstrs(x.sum("*", j, "*", "*") == 1 for j in range(n))
    m.addConstrs(x.sum("*", "*", k, "*") <= 1 for k in range(1 - n, n))
    m.addConstrs(x.sum("*", "*", "*", k) <= 1 for k in range(2 * n - 1))
    return m


def transport(n):
    m = model()
    x = m.addVars(n, n)
    m.addConstrs(x.sum(i, "*") <= 10.0 for i in range(n))
    m.addConstrs(x.sum("*", j) >= 5.0 for j in range(n))
    m.setObjective(x.prod({(i, j): float(i + 2 * j) for i in range(n) for j in range(n)}))
    return m


def prepare_sum(n):
    m = model()
    return m, [m.addVar() for _ in range(n)]


def long_sum(n, prepared):
    m, x = prepared
    m.addConstr(quicksum(2.0 * v for v in x) <= 1.0)
    return m


def variables(n):
    m = model()
    for _ in range(n):
        m.addVar(ub=4.0)
    return m


prepare_rows = prepare_sum


def rows(n, prepared):
    m, x = prepared
    for i in range(n - 2):
        m.addConstr(x[i] + 2.0 * x[i + 1] + 3.0 * x[i + 2] <= 4.0)
    return m


prepare_bounds = prepare_sum


def bounds(n, prepared):
    m, x = prepared
    for v in x:
        v.UB = 5.0
    return m


def prepare_solved(n):
    m = model()
    m.setParam("OutputFlag", 0)
    x = [m.addVar(ub=1.0, obj=1.0) for _ in range(n)]
    m.addConstr(LinExpr(1.0, x[0]) >= 0.5)
    m.optimize()
    return m, x


prepare_read = prepare_solved
prepare_read_bulk = prepare_solved


def read(n, prepared):
    return [v.X for v in prepared[1]]


def read_bulk(n, prepared):
    m, x = prepared
    return m.getAttr("X", x)


def prepare_removal(n):
    m, x = prepare_sum(n)
    rows(min(n, 20000), (m, x))
    return m, x


def removal(n, prepared):
    m, x = prepared
    m.remove(x[::2])
    return m
