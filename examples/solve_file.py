"""Reads a model file, solves it and prints its solution as a table.

    python examples/solve_file.py examples/p0033.mps [seconds]

The file may be .lp, .mps or .qps, each also with .gz or .bz2.
"""

import sys

import tessolvpy as tso
from tessolvpy import TSO

STATUS = {getattr(TSO.Status, name): name for name in dir(TSO.Status) if name.isupper()}


def print_table(head, rows):
    """Prints rows of text under their heads, the first column to the left and the others to the right."""
    widths = [max(map(len, column)) for column in zip(head, *rows)]
    for row in [head, ["-" * width for width in widths], *rows]:
        cells = [cell.ljust(w) if k == 0 else cell.rjust(w) for k, (cell, w) in enumerate(zip(row, widths))]
        print("  ".join(cells))


def number(value):
    """A value as text; the solver's infinity as such."""
    return "inf" if value >= TSO.INFINITY else "-inf" if value <= -TSO.INFINITY else f"{value:.10g}"


def main(path, seconds=None):
    m = tso.read(path)
    if seconds is not None:
        m.setParam("MaxTime", float(seconds))
    try:
        m.optimize()
    except tso.TessolvError as error:
        # A limit or Ctrl-C ended the run. What was found until then is kept.
        print(error)
    print(f"\n{path}: {m.NumConstrs} rows, {m.NumVars} columns, status {STATUS[m.Status]}")
    if not m.HasSolution:
        return 1
    print(f"Objective: {m.ObjVal:.10g}\n")

    columns = m.getVars()
    names = ("VarName", "VType", "LB", "UB", "Obj", "X")
    name, kind, lower, upper, cost, value = (m.getAttr(attribute, columns) for attribute in names)
    print_table(
        ["variable", "type", "lower", "upper", "cost", "value"],
        [
            [name[j], kind[j].decode(), number(lower[j]), number(upper[j]), number(cost[j]), number(value[j])]
            for j in range(m.NumVars)
        ],
    )
    return 0


if __name__ == "__main__":
    if not 2 <= len(sys.argv) <= 3:
        sys.exit(__doc__)
    try:
        sys.exit(main(*sys.argv[1:]))
    except tso.TessolvError as error:
        sys.exit(f"{sys.argv[1]}: {error}")
