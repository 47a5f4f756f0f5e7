import linopy
import numpy as np
import pandas as pd
import xarray as xr


def handed_over(m):
    return m.to_highspy(set_names=False)


def sparse_rows(a, b):
    # The number of entries is the same in all rows, so the rows are a table of variables and one of coefficients.
    rows, cols = a.shape
    m = linopy.Model()
    x = m.add_variables(lower=0, coords=[pd.RangeIndex(cols, name="j")], name="x")
    places = xr.DataArray(a.indices.reshape(rows, -1), dims=("i", "k"))
    values = xr.DataArray(a.data.reshape(rows, -1), dims=("i", "k"))
    m.add_constraints((x.isel(j=places) * values).sum("k") <= b)
    m.add_objective(0 * x.isel(j=0))
    return handed_over(m)
