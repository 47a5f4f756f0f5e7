import pulp


def model():
    return pulp.LpProblem("p", pulp.LpMinimize)


def facility(n):
    m = model()
    x = pulp.LpVariable.dicts("x", (range(n), range(n)), 0, 1)
    y = pulp.LpVariable.dicts("y", range(n), cat="Binary")
    m += pulp.lpSum((i + j) * x[i][j] for i in range(n) for j in range(n)) + pulp.lpSum(10.0 * y[i] for i in range(n))
    for j in range(n):
        m += pulp.lpSum(x[i][j] for i in range(n)) == 1
    for i in range(n):
        for j in range(n):
            m += x[i][j] <= y[i]
    return m


def queens(n):
    m = model()
    x = pulp.LpVariable.dicts("x", (range(n), range(n)), cat="Binary")
    for i in range(n):
        m += pulp.lpSum(x[i][j] for j in range(n)) == 1
        m += pulp.lpSum(x[j][i] for j in range(n)) == 1
    for k in range(1 - n, n):
        m += pulp.lpSum(x[i][i - k] for i in range(max(0, k), min(n, n + k))) <= 1
        m += pulp.lpSum(x[i][n - 1 - i + k] for i in range(max(0, k), min(n, n + k))) <= 1
    return m


queens_patterns = queens  # without patterns: its loops


def transport(n):
    m = model()
    x = pulp.LpVariable.dicts("x", (range(n), range(n)), 0)
    m += pulp.lpSum(float(i + 2 * j) * x[i][j] for i in range(n) for j in range(n))
    for i in range(n):
        m += pulp.lpSum(x[i][j] for j in range(n)) <= 10.0
    for j in range(n):
        m += pulp.lpSum(x[i][j] for i in range(n)) >= 5.0
    return m


def prepare_sum(n):
    return model(), [pulp.LpVariable(f"x{i}", 0) for i in range(n)]


def long_sum(n, prepared):
    m, x = prepared
    m += pulp.lpSum(2.0 * v for v in x) <= 1.0
    return m


def variables(n):
    return [pulp.LpVariable(f"x{i}", 0, 4) for i in range(n)]


prepare_rows = prepare_bounds = prepare_sum


def rows(n, prepared):
    m, x = prepared
    for i in range(n - 2):
        m += x[i] + 2.0 * x[i + 1] + 3.0 * x[i + 2] <= 4.0
    return m


def bounds(n, prepared):
    for v in prepared[1]:
        v.upBound = 5.0
    return prepared


def prepare_read(n):
    m, x = model(), [pulp.LpVariable(f"x{i}", 0, 1) for i in range(n)]
    m += pulp.lpSum(x)
    m += x[0] >= 0.5
    m.solve(pulp.HiGHS(msg=False))
    return m, x


def read(n, prepared):  # the solver's values became attributes when it was done
    return [v.varValue for v in prepared[1]]
