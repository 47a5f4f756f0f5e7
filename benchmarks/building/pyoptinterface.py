import pyoptinterface as poi
from pyoptinterface import highs


def model():
    return highs.Model()


def facility(n):
    m = model()
    x = m.add_m_variables((n, n), lb=0.0, ub=1.0)
    y = m.add_m_variables(n, domain=poi.VariableDomain.Binary)
    for j in range(n):
        m.add_linear_constraint(poi.quicksum(x[i, j] for i in range(n)), poi.Eq, 1.0)
    for i in range(n):
        for j in range(n):
            m.add_linear_constraint(x[i, j] - y[i], poi.Leq, 0.0)
    e = poi.ExprBuilder()
    for i in range(n):
        for j in range(n):
            e.add_affine_term(x[i, j], float(i + j))
        e.add_affine_term(y[i], 10.0)
    m.set_objective(e)
    return m


def queens(n):
    m = model()
    x = m.add_m_variables((n, n), domain=poi.VariableDomain.Binary)
    for i in range(n):
        m.add_linear_constraint(poi.quicksum(x[i, j] for j in range(n)), poi.Eq, 1.0)
        m.add_linear_constraint(poi.quicksum(x[j, i] for j in range(n)), poi.Eq, 1.0)
    for k in range(1 - n, n):
        m.add_linear_constraint(poi.quicksum(x[i, i - k] for i in range(max(0, k), min(n, n + k))), poi.Leq, 1.0)
        m.add_linear_constraint(
            poi.quicksum(x[i, n - 1 - i + k] for i in range(max(0, k), min(n, n + k))), poi.Leq, 1.0
        )
    return m


queens_patterns = queens


def transport(n):
    m = model()
    x = poi.make_tupledict(range(n), range(n), rule=lambda i, j: m.add_variable(lb=0.0))
    for i in range(n):
        m.add_linear_constraint(poi.quicksum(x.select(i, "*")), poi.Leq, 10.0)
    for j in range(n):
        m.add_linear_constraint(poi.quicksum(x.select("*", j)), poi.Geq, 5.0)
    e = poi.ExprBuilder()
    for (i, j), v in x.items():
        e.add_affine_term(v, float(i + 2 * j))
    m.set_objective(e)
    return m


def prepare_sum(n):
    m = model()
    return m, [m.add_variable(lb=0.0) for _ in range(n)]


def long_sum(n, prepared):
    m, x = prepared
    m.add_linear_constraint(poi.quicksum(2.0 * v for v in x), poi.Leq, 1.0)
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
        m.add_linear_constraint(x[i] + 2.0 * x[i + 1] + 3.0 * x[i + 2], poi.Leq, 4.0)
    return m


def bounds(n, prepared):
    m, x = prepared
    for v in x:
        m.set_variable_attribute(v, poi.VariableAttribute.UpperBound, 5.0)
    return m


def prepare_read(n):
    m = model()
    m.set_model_attribute(poi.ModelAttribute.Silent, True)
    x = [m.add_variable(lb=0.0, ub=1.0) for _ in range(n)]
    m.add_linear_constraint(1.0 * x[0], poi.Geq, 0.5)
    m.set_objective(poi.quicksum(x))
    m.optimize()
    return m, x


def read(n, prepared):
    m, x = prepared
    return [m.get_value(v) for v in x]


def prepare_removal(n):
    prepared = prepare_sum(n)
    rows(min(n, 20000), prepared)
    return prepared


def removal(n, prepared):
    m, x = prepared
    m.delete_variables(x[::2])
    return m
