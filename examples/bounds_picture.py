"""The bounds of a travelling salesman problem as they close in on the optimum, drawn from what a callback is told.

pip install matplotlib
python examples/bounds_picture.py bounds.png
"""

import sys
import time

from tableio import read_table
from tessolvpy import TSO
from travelling_salesman import distances, solve


def record(length):
    """Length of the shortest tour, and (seconds, best tour so far, lower bound) at each node; None for no tour yet."""
    begin, points = time.perf_counter(), []

    def watch(model, where):
        if where == TSO.Callback.MIPNODE:
            best = model.cbGet(TSO.Callback.MIP_OBJBST)
            points.append(
                (
                    time.perf_counter() - begin,
                    best if abs(best) < TSO.INFINITY else None,
                    model.cbGet(TSO.Callback.MIP_OBJBND),
                )
            )

    return solve(length, watch=watch)[0], points


def draw(points, file):
    import matplotlib

    matplotlib.use("Agg")
    from matplotlib import pyplot

    seconds, best, bound = zip(*points)
    figure, axes = pyplot.subplots(figsize=(8, 4.5))
    axes.step(seconds, [float("nan") if b is None else b for b in best], where="post", label="best tour")
    axes.step(seconds, bound, where="post", label="lower bound")
    axes.set(xlabel="seconds", ylabel="length", title="The shortest tour lies between")
    axes.legend()
    figure.savefig(file)


def main():
    file = sys.argv[1] if len(sys.argv) > 1 else "bounds.png"
    value, points = record(distances(read_table("eil51.csv")))
    draw(points, file)
    print(f"\nShortest tour: {value:g}; {len(points)} nodes drawn into {file}")


if __name__ == "__main__":
    main()
