from ortools.math_opt.python import mathopt


def model():
    return mathopt.Model()


def facility(n):
    m = model()
    x = {(i, j): m.add_variable(lb=0.0, ub=1.0) for i in range(n) for j in range(n)}
    y = [m.add_binary_variable() for _ in range(n)]
    for j in range(n):
        m.add_linear_constraint(mathopt.fast_sum(x[i, j] for i in range(n)) == 1)
    for i in range(n):
        for j in range(n):
            m.add_linear_constraint(x[i, j] <= y[i])
    m.minimize(
        mathopt.fast_sum((i + j) * x[i, j] for i in range(n) for j in range(n)) + mathopt.fast_sum(10.0 * v for v in y)
    )
    return m


def queens(n):
    m = model()
    x = {(i, j): m.add_binary_variable() for i in range(n) for j in range(n)}
    for i in range(n):
        m.add_linear_constraint(mathopt.fast_sum(x[i, j] for j in range(n)) == 1)
        m.add_linear_constraint(mathopt.fast_sum(x[j, i] for j in range(n)) == 1)
    for k in range(1 - n, n):
        m.add_linear_constraint(mathopt.fast_sum(x[i, i - k] for i in range(max(0, k), min(n, n + k))) <= 1)
        m.add_linear_constraint(mathopt.fast_sum(x[i, n - 1 - i + k] for i in range(max(0, k), min(n, n + k))) <= 1)
    return m


def transport(n):
    m = model()
    x = {(i, j): m.add_variable(lb=0.0) for i in range(n) for j in range(n)}
    for i in range(n):
        m.add_linear_constraint(mathopt.fast_sum(x[i, j] for j in range(n)) <= 10.0)
    for j in range(n):
        m.add_linear_constraint(mathopt.fast_sum(x[i, j] for i in range(n)) >= 5.0)
    m.minimize(mathopt.fast_sum(float(i + 2 * j) * x[i, j] for i in range(n) for j in range(n)))
    return m


def prepare_sum(n):
    m = model()
    return m, [m.add_variable(lb=0.0) for _ in range(n)]


def long_sum(n, prepared):
    m, x = prepared
    m.add_linear_constraint(mathopt.fast_sum(2.0 * v for v in x) <= 1.0)
    return m


def variables(n):
    m = model()
    for _ in range(n):
        m.add_variable(lb=0.0, ub=4.0)
    return m


prepare_rows = prepare_bounds = prepare_sum


def rows(n, prepared):
    m, x = prepared
    for i in range(n - 2):
        m.add_linear_constraint(x[i] + 2.0 * x[i + 1] + 3.0 * x[i + 2] <= 4.0)
    return m


def bounds(n, prepared):
    for v in prepared[1]:
        v.upper_bound = 5.0
    return prepared


def prepare_removal(n):
    prepared = prepare_sum(n)
    rows(min(n, 20000), prepared)
    return prepared


def removal(n, prepared):
    m, x = prepared
    for v in x[::2]:
        m.delete_variable(v)
    return m
