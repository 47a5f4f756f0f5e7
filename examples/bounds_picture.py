"""The bounds of an integer problem as they close in on the optimum, drawn from what a callback is told.

    pip install matplotlib
    python examples/bounds_picture.py bounds.png

Fifty things are chosen from under fifteen limits on their weights, all drawn by a fixed rule; the best choice is worth
796, which takes some hundred nodes to prove.
"""

import random
import sys
import time

import tessolvpy as tso
from tessolvpy import TSO


def data(count=50, limits=15, seed=1):
    """Values of the things, and for each limit their weights and how much they may weigh together."""
    draw = random.Random(seed)
    values = [draw.randint(10, 60) for _ in range(count)]
    weights = [[draw.randint(5, 60) for _ in range(count)] for _ in range(limits)]
    return values, [(row, sum(row) // 3) for row in weights]


def solve(values, limits):
    """The best value, and (seconds, best value so far or None, upper bound) for each call of the callback."""
    m = tso.Model("bounds")
    m.setParam("MIP/GapRel", 0)
    x = m.addVars(len(values), vtype=TSO.BINARY, name="x")
    for weights, most in limits:
        m.addConstr(tso.quicksum(w * x[j] for j, w in enumerate(weights)) <= most)
    m.setObjective(tso.quicksum(v * x[j] for j, v in enumerate(values)), TSO.MAXIMIZE)
    begin, points = time.perf_counter(), []

    def watch(model, where):
        best, bound = model.cbGet(TSO.Callback.MIP_OBJBST), model.cbGet(TSO.Callback.MIP_OBJBND)
        if abs(bound) < TSO.INFINITY:
            points.append((time.perf_counter() - begin, best if abs(best) < TSO.INFINITY else None, bound))

    m.optimize(watch)
    points.append((time.perf_counter() - begin, m.ObjVal, m.ObjVal))
    return m.ObjVal, points


def draw(points, file):
    import matplotlib

    matplotlib.use("Agg")
    from matplotlib import pyplot

    seconds, best, bound = zip(*points)
    figure, axes = pyplot.subplots(figsize=(8, 4.5))
    axes.step(seconds, bound, where="post", label="upper bound")
    axes.step(seconds, [float("nan") if b is None else b for b in best], where="post", label="best choice so far")
    last = best[-1]
    axes.set(xlabel="seconds", ylabel="value", ylim=(0.97 * last, 1.03 * last), title="The best value lies between")
    axes.legend()
    figure.savefig(file)


def main():
    file = sys.argv[1] if len(sys.argv) > 1 else "bounds.png"
    value, points = solve(*data())
    draw(points, file)
    print(f"\n{len(points)} points drawn into {file}\nThe best choice is worth {value:g}.")


if __name__ == "__main__":
    main()
