import pyscipopt as scip


def model():
    m = scip.Model()
    m.hideOutput()
    return m


def facility(n):
    m = model()
    x = {(i, j): m.addVar(ub=1.0) for i in range(n) for j in range(n)}
    y = [m.addVar(vtype="B") for _ in range(n)]
    for j in range(n):
        m.addCons(scip.quicksum(x[i, j] for i in range(n)) == 1)
    for i in range(n):
        for j in range(n):
            m.addCons(x[i, j] <= y[i])
    m.setObjective(
        scip.quicksum((i + j) * x[i, j] for i in range(n) for j in range(n))
        + scip.quicksum(10.0 * y[i] for i in range(n))
    )
    return m


def queens(n):
    m = model()
    x = {(i, j): m.addVar(vtype="B") for i in range(n) for j in range(n)}
    for i in range(n):
        m.addCons(scip.quicksum(x[i, j] for j in range(n)) == 1)
        m.addCons(scip.quicksum(x[j, i] for j in range(n)) == 1)
    for k in range(1 - n, n):
        m.addCons(scip.quicksum(x[i, i - k] for i in range(max(0, k), min(n, n + k))) <= 1)
        m.addCons(scip.quicksum(x[i, n - 1 - i + k] for i in range(max(0, k), min(n, n + k))) <= 1)
    return m


queens_patterns = queens  # without patterns: its loops


def transport(n):
    m = model()
    x = {(i, j): m.addVar() for i in range(n) for j in range(n)}
    for i in range(n):
        m.addCons(scip.quicksum(x[i, j] for j in range(n)) <= 10.0)
    for j in range(n):
        m.addCons(scip.quicksum(x[i, j] for i in range(n)) >= 5.0)
    m.setObjective(scip.quicksum(float(i + 2 * j) * x[i, j] for i in range(n) for j in range(n)))
    return m


def prepare_sum(n):
    m = model()
    return m, [m.addVar() for _ in range(n)]


def long_sum(n, prepared):
    m, x = prepared
    m.addCons(scip.quicksum(2.0 * v for v in x) <= 1.0)
    return m


def variables(n):
    m = model()
    for _ in range(n):
        m.addVar(ub=4.0)
    return m


prepare_rows = prepare_bounds = prepare_sum


def rows(n, prepared):
    m, x = prepared
    for i in range(n - 2):
        m.addCons(x[i] + 2.0 * x[i + 1] + 3.0 * x[i + 2] <= 4.0)
    return m


def prepare_read(n):
    m = model()
    x = [m.addVar(ub=1.0, obj=1.0) for _ in range(n)]
    m.addCons(x[0] >= 0.5)
    m.optimize()
    return m, x


def read(n, prepared):
    m, x = prepared
    return [m.getVal(v) for v in x]


def bounds(n, prepared):
    m, x = prepared
    for v in x:
        m.chgVarUb(v, 5.0)
    return m
