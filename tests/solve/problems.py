"""Problems as plain data, with a writer that has nothing to do with the library's own."""

from dataclasses import dataclass, field

import numpy as np

INF = float("inf")


@dataclass
class Problem:
    cost: np.ndarray
    matrix: np.ndarray
    low: np.ndarray  # of the rows
    high: np.ndarray
    lb: np.ndarray
    ub: np.ndarray
    integer: np.ndarray = field(default=None)
    maximize: bool = False

    def __post_init__(self):
        if self.integer is None:
            self.integer = np.zeros(len(self.cost), dtype=bool)

    def write_lp(self, path):
        def terms(row):
            return " ".join(f"{v:+.17g} x{j}" for j, v in enumerate(row) if v) or "0 x0"

        out = ["Maximize" if self.maximize else "Minimize", f" obj: {terms(self.cost)}", "Subject To"]
        for i, row in enumerate(self.matrix):
            low, high = self.low[i], self.high[i]
            if low == high:
                out.append(f" r{i}: {terms(row)} = {low:.17g}")
            elif low == -INF:
                out.append(f" r{i}: {terms(row)} <= {high:.17g}")
            elif high == INF:
                out.append(f" r{i}: {terms(row)} >= {low:.17g}")
            else:
                out.append(f" r{i}: {low:.17g} <= {terms(row)} <= {high:.17g}")
        out.append("Bounds")
        for j, (low, high) in enumerate(zip(self.lb, self.ub)):
            left = "-inf" if low == -INF else f"{low:.17g}"
            right = "+inf" if high == INF else f"{high:.17g}"
            out.append(f" {left} <= x{j} <= {right}")
        if self.integer.any():
            out += ["General", " " + " ".join(f"x{j}" for j in np.flatnonzero(self.integer))]
        path.write_text("\n".join([*out, "End", ""]))
        return path


def random_problem(rng, rows, columns, integers=False, maximize=False):
    """Small whole numbers, rows of every sense, bounds of every kind, all of it sparse."""
    matrix = rng.integers(-5, 6, (rows, columns)) * (rng.random((rows, columns)) < 0.5)
    point = rng.integers(0, 4, columns)  # inside the bounds; rows are set around it, most of the time
    activity = matrix @ point + rng.integers(-1, 3, rows) * (rng.random() < 0.3)
    low, high = activity - rng.integers(0, 6, rows), activity + rng.integers(0, 6, rows)
    kind = rng.integers(0, 4, rows)
    low = np.where(kind == 0, -INF, low)
    high = np.where(kind == 1, INF, np.where(kind == 2, low, high))
    lb = np.where(rng.random(columns) < 0.2, -INF if not integers else -3, point - rng.integers(0, 4, columns))
    ub = np.where(rng.random(columns) < 0.3, INF if not integers else 9, point + rng.integers(0, 5, columns))
    integer = (rng.random(columns) < 0.6) if integers else None
    return Problem(
        rng.integers(-9, 10, columns).astype(float), matrix.astype(float), low, high, lb, ub, integer, maximize
    )


def market_split(rows, columns, seed=1):
    """Split every customer group in half: trivial to satisfy with slacks, hopeless to prove."""
    rng = np.random.default_rng(seed)
    weights = rng.integers(0, 100, (rows, columns)).astype(float)
    half = np.floor(weights.sum(axis=1) / 2)
    matrix = np.hstack([weights, np.eye(rows), -np.eye(rows)])
    cost = np.concatenate([np.zeros(columns), np.ones(2 * rows)])
    ub = np.concatenate([np.ones(columns), np.full(2 * rows, INF)])
    integer = np.concatenate([np.ones(columns, dtype=bool), np.zeros(2 * rows, dtype=bool)])
    return Problem(cost, matrix, half, half, np.zeros(len(cost)), ub, integer)
