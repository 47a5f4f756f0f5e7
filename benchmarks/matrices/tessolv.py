from tessolvpy import TSO, Model


def sparse_rows(a, b):
    m = Model()
    x = m.addMVar(a.shape[1])
    m.addConstr(a @ x <= b)
    return m, x


def dense_rows(a, b):
    m = Model()
    x = m.addMVar(a.shape[1])
    m.addConstr(a @ x <= b)
    return m, x


def quadratic(q):
    m = Model()
    x = m.addMVar(q.shape[0])
    m.setObjective((x @ q @ x).item())
    return m, x


def elementwise(*shape):
    m = Model()
    x = m.addMVar(shape)
    y = m.addMVar(shape)
    z = m.addMVar(shape)
    m.addConstr(2 * x + 3 * y - z <= 1)
    return m, x, y, z


def facility(cost):
    n = cost.shape[0]
    m = Model()
    x = m.addMVar((n, n), ub=1.0)
    y = m.addMVar((n, 1), vtype=TSO.BINARY)
    m.addConstr(x.sum(axis=0) == 1)
    m.addConstr(x <= y)
    m.setObjective(((cost * x).sum() + 10.0 * y.sum()).item())
    return m, x, y


def queens(n):
    m = Model()
    x = m.addMVar((n, n), vtype=TSO.BINARY)
    m.addConstr(x.sum(axis=0) == 1)
    m.addConstr(x.sum(axis=1) == 1)
    for board in (x, x[:, ::-1]):
        for k in range(n):
            m.addConstr(board[: n - k, k:].diagonal().sum() <= 1)
            if k:
                m.addConstr(board[k:, : n - k].diagonal().sum() <= 1)
    return m, x


def transport(cost):
    n = cost.shape[0]
    m = Model()
    x = m.addMVar((n, n))
    m.addConstr(x.sum(axis=1) <= 10.0)
    m.addConstr(x.sum(axis=0) >= 5.0)
    m.setObjective((cost * x).sum().item())
    return m, x
