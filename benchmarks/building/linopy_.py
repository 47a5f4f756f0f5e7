import linopy
import numpy as np
import pandas as pd


def facility(n):
    m = linopy.Model()
    i, j = pd.RangeIndex(n, name="i"), pd.RangeIndex(n, name="j")
    x = m.add_variables(lower=0, upper=1, coords=[i, j], name="x")
    y = m.add_variables(coords=[i], binary=True, name="y")
    m.add_constraints(x.sum("i") == 1)
    m.add_constraints(x - y <= 0)
    cost = np.add.outer(np.arange(n), np.arange(n))
    m.add_objective((x * cost).sum() + (10.0 * y).sum())
    return m


def transport(n):
    m = linopy.Model()
    i, j = pd.RangeIndex(n, name="i"), pd.RangeIndex(n, name="j")
    x = m.add_variables(lower=0, coords=[i, j], name="x")
    m.add_constraints(x.sum("j") <= 10.0)
    m.add_constraints(x.sum("i") >= 5.0)
    m.add_objective((x * np.add.outer(np.arange(n), 2.0 * np.arange(n))).sum())
    return m
