"""Raw arrays handed to HiGHS in its own form: the mark to come near."""

import highspy
import numpy as np

INF = highspy.kHighsInf


def check(*statuses):
    assert all(status == highspy.HighsStatus.kOk for status in statuses)


def model(columns, upper=INF):
    h = highspy.Highs()
    h.silent()
    check(h.addVars(columns, np.zeros(columns), np.full(columns, upper)))
    return h


def add_rows(h, starts, indices, values, lower, upper):
    check(h.addRows(len(starts), lower, upper, len(values), starts, indices, values))


def set_costs(h, costs):
    check(h.changeColsCost(len(costs), np.arange(len(costs), dtype=np.int32), costs))


def set_integer(h, first, last):
    columns = np.arange(first, last, dtype=np.int32)
    check(h.changeColsIntegrality(len(columns), columns, np.ones(len(columns), dtype=np.uint8)))


def sparse_rows(a, b):
    h = model(a.shape[1])
    add_rows(h, a.indptr[:-1], a.indices, a.data, np.full(len(b), -INF), b)
    return h


def dense_rows(a, b):
    rows, cols = a.shape
    h = model(cols)
    starts = np.arange(0, rows * cols, cols, dtype=np.int32)
    add_rows(h, starts, np.tile(np.arange(cols, dtype=np.int32), rows), a.ravel(), np.full(rows, -INF), b)
    return h


def quadratic(q):
    n = q.shape[0]
    h = model(n)
    rows, cols = np.triu_indices(n)  # by rows: as the lower triangle by columns
    starts = np.concatenate(([0], np.cumsum(np.arange(n, 1, -1)))).astype(np.int32)
    form = int(highspy.HessianFormat.kTriangular)
    check(h.passHessian(n, len(cols), form, starts, cols.astype(np.int32), 2.0 * q[rows, cols]))  # HiGHS halves it
    return h


def elementwise(*shape):
    n = shape[0] * shape[1]
    h = model(3 * n)
    indices = np.arange(3 * n, dtype=np.int32).reshape(3, n).T.ravel()
    starts = np.arange(0, 3 * n, 3, dtype=np.int32)
    add_rows(h, starts, indices, np.tile([2.0, 3.0, -1.0], n), np.full(n, -INF), np.ones(n))
    return h


def facility(cost):
    n = cost.shape[0]
    h = model(n * n + n, 1.0)
    set_integer(h, n * n, n * n + n)
    places = np.arange(n * n, dtype=np.int32)
    starts = np.arange(0, n * n, n, dtype=np.int32)
    add_rows(h, starts, places.reshape(n, n).T.ravel(), np.ones(n * n), np.ones(n), np.ones(n))
    pairs = np.stack((places, n * n + places // n), axis=1)
    starts = np.arange(0, 2 * n * n, 2, dtype=np.int32)
    add_rows(h, starts, pairs.ravel(), np.tile([1.0, -1.0], n * n), np.full(n * n, -INF), np.zeros(n * n))
    set_costs(h, np.concatenate((cost.ravel(), np.full(n, 10.0))))
    return h


def queens(n):
    h = model(n * n, 1.0)
    set_integer(h, 0, n * n)
    board = np.arange(n * n, dtype=np.int32).reshape(n, n)
    starts = np.arange(0, 2 * n * n, n, dtype=np.int32)
    lines = np.concatenate((board.ravel(), board.T.ravel()))
    add_rows(h, starts, lines, np.ones(2 * n * n), np.ones(2 * n), np.ones(2 * n))
    diagonals = [side.diagonal(k) for side in (board, board[:, ::-1]) for k in range(1 - n, n)]
    starts = np.concatenate(([0], np.cumsum([len(d) for d in diagonals[:-1]]))).astype(np.int32)
    rows = len(diagonals)
    add_rows(h, starts, np.concatenate(diagonals), np.ones(2 * n * n), np.full(rows, -INF), np.ones(rows))
    return h


def transport(cost):
    n = cost.shape[0]
    h = model(n * n)
    places = np.arange(n * n, dtype=np.int32).reshape(n, n)
    starts = np.arange(0, n * n, n, dtype=np.int32)
    add_rows(h, starts, places.ravel(), np.ones(n * n), np.full(n, -INF), np.full(n, 10.0))
    add_rows(h, starts, places.T.ravel(), np.ones(n * n), np.full(n, 5.0), np.full(n, INF))
    set_costs(h, cost.ravel())
    return h
