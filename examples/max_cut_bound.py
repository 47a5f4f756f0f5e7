"""The largest cut of a graph: a bound by semi-definite optimisation, and a cut close to it.

    python examples/max_cut_bound.py

The nodes are to be put on two sides so that as many edges as can be lead from one side to the other. With a number of 1
or -1 for each node, the matrix of their products is semi-definite and has ones on its diagonal. Any such matrix instead
gives a bound (Delorme and Poljak 1993), and random planes through the vectors of which it holds the products give cuts
of 0.878 times the bound at least, on average (Goemans and Williamson 1995).
"""

import numpy as np
import scipy.sparse as sp
import tessolvpy as tso
from tessolvpy import TSO

# The graph of Petersen: a pentagon, a pentagram inside, and the edges between them. Its largest cut has 12 edges.
PETERSEN = [(i, (i + 1) % 5) for i in range(5)]
PETERSEN += [(5 + i, 5 + (i + 2) % 5) for i in range(5)]
PETERSEN += [(i, 5 + i) for i in range(5)]


def solve(edges, planes=100):
    """The bound, the edges of the best cut that so many random planes give, and the nodes on one side of it.

    edges: list of pairs of nodes, which are numbered from 0.
    """
    n = 1 + max(node for edge in edges for node in edge)
    first, second = np.transpose(edges)
    adjacent = sp.coo_matrix((np.ones(len(edges)), (first, second)), (n, n))  # each edge once: its product counts once

    m = tso.Model("max-cut")
    m.setParam("OutputFlag", 0)
    X = m.addPsdVar(n, name="X")
    for i in range(n):
        m.addConstr(sp.coo_matrix(([1.0], ([i], [i])), (n, n)) * X == 1)
    m.setObjective(len(edges) / 2 - 0.5 * (adjacent * X), TSO.MAXIMIZE)
    m.optimize()

    values, axes = np.linalg.eigh(X.PsdX)
    vectors = axes * np.sqrt(values.clip(0))  # row by row, with the products that X has
    sides = np.sign(vectors @ np.random.default_rng(1).normal(size=(n, planes)))
    cuts = (sides[first] != sides[second]).sum(axis=0)
    best = cuts.argmax()
    return m.ObjVal, int(cuts[best]), np.flatnonzero(sides[:, best] > 0).tolist()


def main():
    bound, cut, side = solve(PETERSEN)
    print("On one side:", *side)
    print(f"The cut has {cut} of {len(PETERSEN)} edges; none has more than {bound:.4f}.")


if __name__ == "__main__":
    main()
