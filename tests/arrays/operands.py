"""Operands of every kind in every shape; the same seed gives the same operand again."""

import numpy as np
import tessolvpy as tso

SHAPES = [(), (3,), (1,), (2, 3), (2, 1), (1, 3), (2, 2, 3), (0,), (0, 3)]
PAIRS = [(p, q) for p in SHAPES for q in SHAPES if len(p) < 3 or len(q) < 3 or p == q] + [
    ((2,), (3,)),
    ((3, 2), (2, 3)),
]


def numbers(rng, shape, dtype=float):
    """Quarters, so that no sum depends on rounding; every fourth or so is zero."""
    return np.asarray(rng.integers(-6, 7, shape) * (rng.random(shape) > 0.25) / 4 * 4 ** (dtype is not float), dtype)


def read_only(a):
    a.flags.writeable = False
    return a


def strided(a):
    """The same numbers with gaps between them."""
    wide = np.zeros((*a.shape[:-1], 2 * a.shape[-1]) if a.ndim else (2,), a.dtype)
    wide[..., ::2] = a if a.ndim else a[None]
    return wide[..., ::2] if a.ndim else wide[::2].reshape(())


def variables(model, rng, shape):
    """Some of them more than once."""
    everything = model.getVars()
    cells = np.empty(shape, object)
    for place in np.ndindex(shape):
        cells[place] = everything[rng.integers(len(everything))]
    return tso.MVar.new(cells)


def fresh(model, rng, shape):
    """Linear expressions that nobody has looked at: of none, one or two terms, with and without a constant."""
    x, y = variables(model, rng, shape), variables(model, rng, shape)
    return np.array(numbers(rng, shape)) * x + (np.array(numbers(rng, shape)) * y + np.array(numbers(rng, shape)))


def looked(model, rng, shape):
    made = fresh(model, rng, shape)
    str(made)
    return made


def quadratic(model, rng, shape):
    return variables(model, rng, shape) * variables(model, rng, shape) + fresh(model, rng, shape)


ARRAY_KINDS = {
    "MVar": variables,
    "MVar in Fortran order": lambda m, rng, s: variables(m, rng, s[::-1]).T,
    "fresh MLinExpr": fresh,
    "MLinExpr with cells": looked,
    "MLinExpr of a view": lambda m, rng, s: looked(m, rng, (*s, 2))[..., 0],
    "MQuadExpr": quadratic,
}
SCALAR_KINDS = {
    "Var": lambda m, rng, s: m.getVars()[1],
    "LinExpr": lambda m, rng, s: 2 * m.getVars()[0] - m.getVars()[2] + 0.5,
    "QuadExpr": lambda m, rng, s: m.getVars()[0] * m.getVars()[2] - m.getVars()[1] + 1.5,
}
NUMBER_KINDS = {
    "int": lambda m, rng, s: 3, "zero": lambda m, rng, s: 0, "one": lambda m, rng, s: 1.0,
    "float": lambda m, rng, s: -0.75, "bool": lambda m, rng, s: True, "float32": lambda m, rng, s: np.float32(1.5),
    "int64": lambda m, rng, s: np.int64(-2),
}  # fmt: skip
NUMPY_KINDS = {
    "float array": lambda m, rng, s: numbers(rng, s), "int array": lambda m, rng, s: numbers(rng, s, np.int64),
    "small int array": lambda m, rng, s: numbers(rng, s, np.int8),
    "bool array": lambda m, rng, s: numbers(rng, s) > 0,
    "float32 array": lambda m, rng, s: numbers(rng, s).astype(np.float32),
    "big-endian array": lambda m, rng, s: numbers(rng, s).astype(">f8"),
    "read-only array": lambda m, rng, s: read_only(numbers(rng, s)),
    "array in Fortran order": lambda m, rng, s: np.asfortranarray(numbers(rng, s)),
    "array with gaps": lambda m, rng, s: strided(numbers(rng, s)),
    "reversed array": lambda m, rng, s: numbers(rng, s)[::-1] if s else numbers(rng, s),
    "list": lambda m, rng, s: numbers(rng, s).tolist(),
    "array of objects": lambda m, rng, s: numbers(rng, s).astype(object),
}  # fmt: skip
KINDS = {**SCALAR_KINDS, **ARRAY_KINDS, **NUMBER_KINDS, **NUMPY_KINDS}
EXPRESSIONS = {**SCALAR_KINDS, **ARRAY_KINDS}


def pair(model, kind_a, kind_b, shape_a, shape_b):
    rng = np.random.default_rng(len(kind_a) + 7 * len(kind_b))
    return KINDS[kind_a](model, rng, shape_a), KINDS[kind_b](model, rng, shape_b)
