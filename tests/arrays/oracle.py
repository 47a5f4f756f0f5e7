"""A slow second opinion: arrays of scalar expressions in NumPy arrays of objects, one Python operator per cell."""

import operator
from numbers import Number

import numpy as np
import scipy.sparse as sp
import tessolvpy as tso

ARRAYS = (tso.MVar, tso.MLinExpr, tso.MQuadExpr)
SCALARS = (tso.Var, tso.LinExpr, tso.QuadExpr)
OPERANDS = SCALARS[:1] + ARRAYS[:1] + SCALARS[1:] + ARRAYS[1:]
QUADRATIC = (tso.QuadExpr, tso.MQuadExpr)


def inside(x):
    """The cells, as an object array of its own."""
    cells = np.empty(x.shape, object)
    for place in np.ndindex(x.shape):
        cells[place] = x[place].item()
    return cells


def expression(c):
    """Of one cell: its kind, its terms in their order, its constant."""
    if isinstance(c, tso.Var):
        return "v", c.index
    if isinstance(c, tso.LinExpr):
        return "l", [(c.getCoeff(i), c.getVar(i).index) for i in range(c.size())], c.getConstant()
    if isinstance(c, tso.QuadExpr):
        terms = [(c.getCoeff(i), c.getVar1(i).index, c.getVar2(i).index) for i in range(c.size())]
        return "q", terms, *expression(c.getLinExpr())[1:]
    return type(c).__name__, c


def content(x):
    if isinstance(x, ARRAYS):
        return type(x).__name__, x.shape, [expression(c) for c in inside(x).flat]
    return type(x).__name__, expression(x)


def outcome(act, seen=content):
    try:
        return seen(act())
    except Exception as e:
        return type(e).__name__, str(e)


def value_of(x, values):
    """A number or an array of numbers: what an operand is worth where variable i has the value values[i]."""
    if isinstance(x, ARRAYS):
        return np.array([value_of(c, values) for c in inside(x).flat], float).reshape(x.shape)
    if isinstance(x, tso.Var):
        return values[x.index]
    if isinstance(x, tso.LinExpr):
        return x.getConstant() + sum(x.getCoeff(i) * values[x.getVar(i).index] for i in range(x.size()))
    if isinstance(x, tso.QuadExpr):
        products = (x.getCoeff(i) * values[x.getVar1(i).index] * values[x.getVar2(i).index] for i in range(x.size()))
        return value_of(x.getLinExpr(), values) + sum(products)
    return x.toarray() if sp.issparse(x) else np.asarray(x, float)


def rows_of(model):
    """Of each row its {index: coefficient} and its bounds."""
    a, rows = model.getA(), model.getConstrs()
    entries = (dict(zip(a.indices[i:j].tolist(), a.data[i:j].tolist())) for i, j in zip(a.indptr, a.indptr[1:]))
    return list(zip(entries, model.getAttr("LHS", rows), model.getAttr("RHS", rows)))


# ---- Elementwise ----


def _wrap(quadratic, cells):
    return (tso.MQuadExpr if quadratic else tso.MLinExpr).new(np.array(cells, object))


def _refuse(op, a, b):
    raise TypeError(f"unsupported operand type(s) for {op}: `{type(a).__name__}` and `{type(b).__name__}`")


def _numbers(elements):
    """Truth values count as numbers, which those of NumPy by themselves are not."""
    return np.asarray(elements).astype(object)


def _rank(x):
    return OPERANDS.index(type(x)) + 10 * isinstance(x, ARRAYS)


def _combined(sign, operate, a, b):
    if not isinstance(a, OPERANDS):
        a, b = b, a
    if isinstance(a, SCALARS) and isinstance(b, SCALARS):
        return operate(a, b)  # scalar operators have tests of their own
    quadratic = isinstance(a, QUADRATIC) or isinstance(b, QUADRATIC)
    if sign == "*" and isinstance(b, OPERANDS):
        if quadratic:
            _refuse("*", a, b)
        quadratic = True
    if isinstance(b, ARRAYS) and (not isinstance(a, ARRAYS) or _rank(b) > _rank(a)):
        a, b = b, a
    if isinstance(b, Number):
        return _wrap(quadratic, operate(inside(a), float(b))) if isinstance(a, ARRAYS) else operate(a, b)
    if not isinstance(b, OPERANDS):
        if sp.issparse(b):
            _refuse(sign, a, b)
        if isinstance(a, ARRAYS):
            return _wrap(quadratic, operate(b, inside(a)))
        return _wrap(quadratic, np.vectorize(lambda cell: operate(cell, a))(_numbers(b)))
    if sign == "*" and isinstance(a, tso.MLinExpr) and isinstance(b, tso.MLinExpr):
        b = a
    if isinstance(b, ARRAYS):
        return _wrap(quadratic, operate(inside(a), inside(b)))
    return _wrap(quadratic, np.vectorize(lambda cell: operate(cell, b))(inside(a)))


def add(a, b):
    return _combined("+", operator.add, a, b)


def multiply(a, b):
    return _combined("*", operator.mul, a, b)


def negative(a):
    return _wrap(isinstance(a, QUADRATIC), inside(a) * -1) if isinstance(a, ARRAYS) else -a


def subtract(a, b):
    if not isinstance(a, OPERANDS):
        return add(negative(b), a)
    try:
        return add(a, negative(b))
    except Exception:
        _refuse("-", a, b)


# ---- Products ----


def product(a, b):
    """The content of a product, as NumPy computes that of arrays of objects; variables alone keep terms of zero."""
    arrays = [x for x in (a, b) if isinstance(x, ARRAYS)]
    if len(arrays) == 2 and isinstance(a, tso.MQuadExpr) | isinstance(b, tso.MQuadExpr):
        _refuse("@", a, b)
    left, right = (inside(x) if isinstance(x, ARRAYS) else np.asarray(x) for x in (a, b))
    both = len(arrays) == 2
    if not all(isinstance(x, tso.MVar) for x in arrays):
        quadratic = both or isinstance(arrays[0], tso.MQuadExpr)
        return content((tso.MQuadExpr if quadratic else tso.MLinExpr).new(left @ right))
    if not left.size or not right.size:
        raise ValueError("matmul operand is empty")
    if {left.ndim, right.ndim} - {1, 2} or left.shape[-1] != right.shape[0]:
        raise ValueError(f"matmul: {left.shape} @ {right.shape} operation not support")
    cells = []
    for row in left.reshape(-1, left.shape[-1]):
        for column in right.reshape(right.shape[0], -1).T:
            if both:
                cells.append(("q", [(1, v.index, w.index) for v, w in zip(row, column)], [], 0.0))
            else:
                pairs = zip(column, row) if isinstance(a, tso.MVar) else zip(row, column)
                cells.append(("l", [(float(n), v.index) for n, v in pairs], 0.0))
    return "MQuadExpr" if both else "MLinExpr", left.shape[:-1] + right.shape[1:], cells


def _add_scaled(total, factor, cell):
    """Term by term: an expression added as a whole may share its terms with the sum."""
    if factor == 0:
        return
    if isinstance(cell, tso.QuadExpr):
        for i in range(cell.size()):
            total.addTerms([factor * cell.getCoeff(i)], [cell.getVar1(i)], [cell.getVar2(i)])
        total, cell = total.getLinExpr(), cell.getLinExpr()
    if isinstance(cell, tso.Var):
        total.addTerms(factor, cell)
        return
    for i in range(cell.size()):
        total.addTerms(factor * cell.getCoeff(i), cell.getVar(i))
    total.addConstant(factor * cell.getConstant())


def sparse_product(a, b):
    """One operand sparse: a sum of the stored entries only, in the order in which they lie."""
    by_rows = sp.issparse(a)
    matrix = sp.csr_matrix(a) if by_rows else sp.csc_matrix(b)
    cells = inside(b) if by_rows else inside(a).T
    flat = cells.ndim == 1
    cells = cells.reshape(len(cells), -1)
    kind = tso.QuadExpr if isinstance(b if by_rows else a, QUADRATIC) else tso.LinExpr
    result = np.empty((len(matrix.indptr) - 1, cells.shape[1]), object)
    for i, j in np.ndindex(result.shape):
        result[i, j] = total = kind()
        for p in range(matrix.indptr[i], matrix.indptr[i + 1]):
            cell, factor = cells[matrix.indices[p], j], float(matrix.data[p])
            _add_scaled(total, factor, cell)
    result = result if by_rows else result.T
    return _wrap(kind is tso.QuadExpr, result.reshape(-1) if flat else result)
