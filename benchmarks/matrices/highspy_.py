"""Raw arrays handed to HiGHS: the mark to come near."""

import highspy
import numpy as np

INF = highspy.kHighsInf
ROWWISE = int(highspy.MatrixFormat.kRowwise)
MINIMIZE = int(highspy.ObjSense.kMinimize)


def model():
    h = highspy.Highs()
    h.silent()
    return h


def pass_rows(num_col, num_row, starts, indices, values, lower, upper, cost=None, col_upper=None, kinds=None):
    h = model()
    status = h.passModel(
        num_col,
        num_row,
        len(values),
        ROWWISE,
        MINIMIZE,
        0.0,
        np.zeros(num_col) if cost is None else cost,
        np.zeros(num_col),
        np.full(num_col, INF) if col_upper is None else col_upper,
        lower,
        upper,
        starts,
        indices,
        values,
        np.zeros(num_col, dtype=np.int32) if kinds is None else kinds,
    )
    assert status == highspy.HighsStatus.kOk
    return h


def sparse_rows(a, b):
    rows, cols = a.shape
    return pass_rows(cols, rows, a.indptr[:-1], a.indices, a.data, np.full(rows, -INF), b)


def dense_rows(a, b):
    rows, cols = a.shape
    starts = np.arange(0, rows * cols, cols, dtype=np.int32)
    indices = np.tile(np.arange(cols, dtype=np.int32), rows)
    return pass_rows(cols, rows, starts, indices, a.ravel(), np.full(rows, -INF), b)


def quadratic(q):
    n = q.shape[0]
    h = model()
    h.addVars(n, np.zeros(n), np.full(n, INF))
    rows, cols = np.triu_indices(n)  # by rows: the lower triangle by columns
    starts = np.concatenate(([0], np.cumsum(np.arange(n, 0, -1))[:-1])).astype(np.int32)
    h.passHessian(
        n,
        len(cols),
        int(highspy.HessianFormat.kTriangular),
        starts,
        cols.astype(np.int32),
        2.0 * q[rows, cols],  # HiGHS halves the matrix
    )
    return h


def elementwise(*shape):
    n = shape[0] * shape[1]
    indices = np.arange(3 * n, dtype=np.int32).reshape(3, n).T.ravel()
    values = np.tile([2.0, 3.0, -1.0], n)
    return pass_rows(3 * n, n, np.arange(0, 3 * n, 3, dtype=np.int32), indices, values, np.full(n, -INF), np.ones(n))


def facility(cost):
    n = cost.shape[0]
    places = np.arange(n * n, dtype=np.int32)
    pairs = np.stack((places, n * n + places // n), axis=1)
    indices = np.concatenate((places.reshape(n, n).T.ravel(), pairs.ravel()))
    values = np.concatenate((np.ones(n * n), np.tile([1.0, -1.0], n * n)))
    starts = np.concatenate((np.arange(0, n * n, n), np.arange(n * n, 3 * n * n, 2))).astype(np.int32)
    kinds = np.repeat(np.array([0, 1], dtype=np.int32), [n * n, n])
    return pass_rows(
        n * n + n,
        n + n * n,
        starts,
        indices,
        values,
        np.concatenate((np.ones(n), np.full(n * n, -INF))),
        np.concatenate((np.ones(n), np.zeros(n * n))),
        np.concatenate((cost.ravel(), np.full(n, 10.0))),
        np.ones(n * n + n),
        kinds,
    )


def queens(n):
    board = np.arange(n * n, dtype=np.int32).reshape(n, n)
    diagonals = [side.diagonal(k) for side in (board, board[:, ::-1]) for k in range(1 - n, n)]
    lengths = np.concatenate((np.full(2 * n, n), [len(d) for d in diagonals]))
    indices = np.concatenate((board.ravel(), board.T.ravel(), *diagonals))
    rows = 2 * n + len(diagonals)
    lower = np.full(rows, -INF)
    lower[: 2 * n] = 1.0
    starts = np.concatenate(([0], np.cumsum(lengths)[:-1])).astype(np.int32)
    ones = np.ones(n * n)
    return pass_rows(
        n * n, rows, starts, indices, np.ones(len(indices)), lower, np.ones(rows), None, ones, ones.astype(np.int32)
    )


def transport(cost):
    n = cost.shape[0]
    places = np.arange(n * n, dtype=np.int32).reshape(n, n)
    starts = np.arange(0, 2 * n * n, n, dtype=np.int32)
    indices = np.concatenate((places.ravel(), places.T.ravel()))
    lower, upper = np.repeat([-INF, 5.0], n), np.repeat([10.0, INF], n)
    return pass_rows(n * n, 2 * n, starts, indices, np.ones(2 * n * n), lower, upper, cost.ravel())
