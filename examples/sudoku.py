"""A sudoku: one binary variable for each cell and digit, and every digit once in each row, column and box.

    python examples/sudoku.py

The puzzle is Tim Stellmach's of the article "Sudoku" of the English Wikipedia, in the public domain; it has one
solution.
"""

import tessolvpy as tso
from tessolvpy import TSO

PUZZLE = """
53..7....
6..195...
.98....6.
8...6...3
4..8.3..1
7...2...6
.6....28.
...419..5
....8..79
"""


def solve(puzzle):
    """The solved grid as nine strings of nine digits; None if there is no solution.

    puzzle: nine lines of nine characters; digits are given, anything else is open.
    """
    m = tso.Model("sudoku")
    m.setParam("OutputFlag", 0)
    x = m.addMVar((9, 9, 9), vtype=TSO.BINARY, name="x")  # row, column, digit less one
    m.addConstr(x.sum(2) == 1)  # one digit in a cell
    m.addConstr(x.sum(0) == 1)  # once in a column
    m.addConstr(x.sum(1) == 1)  # once in a row
    for i in range(0, 9, 3):
        for j in range(0, 9, 3):
            for digit in range(9):
                m.addConstr(x[i : i + 3, j : j + 3, digit].sum() == 1)
    for i, line in enumerate(puzzle.split()):
        for j, cell in enumerate(line):
            if cell.isdigit():
                m.addConstr(x[i, j, int(cell) - 1] == 1)
    m.optimize()
    if m.Status != TSO.OPTIMAL:
        return None
    return ["".join(str(1 + cell.argmax()) for cell in row) for row in x.X]


def main():
    print(*solve(PUZZLE), sep="\n")


if __name__ == "__main__":
    main()
