"""Tables in and out, for the other examples."""

import csv
from pathlib import Path


def read_table(name):
    """The rows of data/<name> as dicts; numbers are floats, lines that begin with # are remarks."""
    with open(Path(__file__).parent / "data" / name, encoding="utf-8") as file:
        rows = csv.DictReader(line for line in file if not line.startswith("#"))
        return [{head: number_or_text(cell) for head, cell in row.items()} for row in rows]


def number_or_text(cell):
    try:
        return float(cell)
    except ValueError:
        return cell


def print_table(head, rows):
    """Prints rows under their heads, texts to the left and numbers to the right."""
    texts = [[cell if isinstance(cell, str) else f"{cell + 0.0:.6g}" for cell in row] for row in rows]
    widths = [max(map(len, column)) for column in zip(head, *texts)]
    left = [isinstance(cell, str) for cell in rows[0]]
    for row in [head, ["-" * width for width in widths], *texts]:
        cells = zip(row, widths, left)
        print("  ".join(cell.ljust(width) if is_text else cell.rjust(width) for cell, width, is_text in cells).rstrip())
