"""The model builder takes one sparse matrix for all rows; it has no quadratic objectives."""

import numpy as np
import scipy.sparse
from ortools.linear_solver.python import model_builder

INF = np.inf


def filled(a, lower, upper, costs=None, columns_upper=INF):
    m = model_builder.Model()
    n = a.shape[1]
    costs = np.zeros(n) if costs is None else costs
    m.helper.fill_model_from_sparse_data(np.zeros(n), np.full(n, columns_upper), costs, lower, upper, a)
    return m


def sparse_rows(a, b):
    return filled(scipy.sparse.csr_matrix(a), np.full(len(b), -INF), b)


dense_rows = sparse_rows


def elementwise(*shape):
    n = shape[0] * shape[1]
    one = scipy.sparse.eye_array(n, format="csr")
    rows = scipy.sparse.csr_matrix(scipy.sparse.hstack((2 * one, 3 * one, -one), format="csr"))
    return filled(rows, np.full(n, -INF), np.ones(n))


def facility(cost):
    n = cost.shape[0]
    one, ones = scipy.sparse.eye_array(n), np.ones((1, n))
    rows = scipy.sparse.block_array(
        [[scipy.sparse.kron(ones, one), None], [scipy.sparse.eye_array(n * n), -scipy.sparse.kron(one, ones.T)]]
    )
    lower = np.concatenate((np.ones(n), np.full(n * n, -INF)))
    upper = np.concatenate((np.ones(n), np.zeros(n * n)))
    m = filled(scipy.sparse.csr_matrix(rows), lower, upper, np.concatenate((cost.ravel(), np.full(n, 10.0))), 1.0)
    for j in range(n * n, n * n + n):
        m.helper.set_var_integrality(j, True)
    return m


def transport(cost):
    n = cost.shape[0]
    one, ones = scipy.sparse.eye_array(n), np.ones((1, n))
    rows = scipy.sparse.vstack((scipy.sparse.kron(one, ones), scipy.sparse.kron(ones, one)))
    bounds = np.repeat([-INF, 5.0], n), np.repeat([10.0, INF], n)
    return filled(scipy.sparse.csr_matrix(rows), *bounds, cost.ravel())
