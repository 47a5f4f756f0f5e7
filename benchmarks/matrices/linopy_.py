import linopy
import numpy as np
import pandas as pd
import xarray as xr

linopy.options["semantics"] = "v1"


def index(n, name):
    return pd.RangeIndex(n, name=name)


def handed_over(m):
    return m.to_highspy(set_names=False)


def sparse_rows(a, b):
    # The number of entries is the same in all rows, so the rows are a table of variables and one of coefficients.
    rows, cols = a.shape
    m = linopy.Model()
    x = m.add_variables(lower=0, coords=[index(cols, "j")], name="x")
    places = xr.DataArray(a.indices.reshape(rows, -1), dims=("i", "k"))
    values = xr.DataArray(a.data.reshape(rows, -1), dims=("i", "k"))
    m.add_constraints((x.isel(j=places) * values).sum("k") <= xr.DataArray(b, dims="i"))
    m.add_objective(0 * x.isel(j=0))
    return handed_over(m)


def dense_rows(a, b):
    i, j = (index(n, name) for n, name in zip(a.shape, "ij", strict=True))
    m = linopy.Model()
    x = m.add_variables(lower=0, coords=[j], name="x")
    m.add_constraints((x * xr.DataArray(a, coords=[i, j])).sum("j") <= xr.DataArray(b, coords=[i]))
    m.add_objective(0 * x.isel(j=0))
    return handed_over(m)


def quadratic(q):
    i, j = (index(n, name) for n, name in zip(q.shape, "ij", strict=True))
    m = linopy.Model()
    x = m.add_variables(lower=0, coords=[i], name="x")
    m.add_objective(((x * xr.DataArray(q, coords=[i, j])).sum("i") * x.rename(i="j")).sum())
    return handed_over(m)


def elementwise(*shape):
    m = linopy.Model()
    coords = [index(n, name) for n, name in zip(shape, "ij", strict=True)]
    x, y, z = (m.add_variables(lower=0, coords=coords, name=name) for name in "xyz")
    m.add_constraints(2 * x + 3 * y - z <= 1)
    m.add_objective(0 * x.isel(i=0, j=0))
    return handed_over(m)


def facility(cost):
    n = cost.shape[0]
    m = linopy.Model()
    i, j = index(n, "i"), index(n, "j")
    x = m.add_variables(lower=0, upper=1, coords=[i, j], name="x")
    y = m.add_variables(coords=[i], binary=True, name="y")
    m.add_constraints(x.sum("i") == 1)
    m.add_constraints(x - y <= 0)
    m.add_objective((x * xr.DataArray(cost, coords=[i, j])).sum() + (10.0 * y).sum())
    return handed_over(m)


def queens(n):
    m = linopy.Model(sparse=True)  # sums over groups of different lengths
    i, j = index(n, "i"), index(n, "j")
    x = m.add_variables(coords=[i, j], binary=True, name="x")
    m.add_constraints(x.sum("i") == 1)
    m.add_constraints(x.sum("j") == 1)
    row, column = xr.DataArray(np.arange(n), coords=[i]), xr.DataArray(np.arange(n), coords=[j])
    m.add_constraints(x.groupby((row - column).rename("falling")).sum() <= 1)
    m.add_constraints(x.groupby((row + column).rename("rising")).sum() <= 1)
    m.add_objective(0 * x.isel(i=0, j=0))
    return handed_over(m)


def transport(cost):
    n = cost.shape[0]
    i, j = index(n, "i"), index(n, "j")
    m = linopy.Model()
    x = m.add_variables(lower=0, coords=[i, j], name="x")
    m.add_constraints(x.sum("j") <= 10.0)
    m.add_constraints(x.sum("i") >= 5.0)
    m.add_objective((x * xr.DataArray(cost, coords=[i, j])).sum())
    return handed_over(m)
