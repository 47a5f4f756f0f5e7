"""The shortest tour through some cities, with a constraint for each of their subsets.

    python examples/travelling_salesman.py [file]

Two roads are used at each city, and no set of cities may be a tour of its own (Dantzig, Fulkerson and Johnson,
Operations Research 2 (1954), pp. 393-410). There are too many sets to state them all. A callback adds those that a new
solution violates, as lazy constraints, and those that the relaxation of a node violates, as cuts.

The cities are from Reinelt's TSPLIB: burma14 has a shortest tour of 3323, eil51 of 426, berlin52 of 7542.
"""

import math
import sys

import tessolvpy as tso
from tableio import read_table
from tessolvpy import TSO


def distances(cities):
    """The length of the road between each two cities, by (i, j) with i < j, in the rounding of TSPLIB."""

    def plane(a, b):
        return int(math.hypot(a["x"] - b["x"], a["y"] - b["y"]) + 0.5)

    def radians(degrees_minutes):
        degrees = int(degrees_minutes)
        return 3.141592 * (degrees + 5 * (degrees_minutes - degrees) / 3) / 180

    def globe(a, b):
        (north_a, east_a), (north_b, east_b) = ([radians(c["latitude"]), radians(c["longitude"])] for c in (a, b))
        q1, q2, q3 = math.cos(east_a - east_b), math.cos(north_a - north_b), math.cos(north_a + north_b)
        return int(6378.388 * math.acos(0.5 * ((1 + q1) * q2 - (1 - q1) * q3)) + 1)

    length = globe if "latitude" in cities[0] else plane
    return {(i, j): length(cities[i], cities[j]) for j in range(len(cities)) for i in range(j)}


def components(count, roads):
    """The sets of cities that roads connect."""
    neighbours = [[] for _ in range(count)]
    for i, j in roads:
        neighbours[i].append(j)
        neighbours[j].append(i)
    seen, found = set(), []
    for start in range(count):
        if start not in seen:
            seen.add(start)
            reached = [start]
            for city in reached:  # grows while it is read
                new = set(neighbours[city]) - seen
                seen |= new
                reached += new
            found.append(reached)
    return found


def tour_of(count, roads):
    """The cities in the order in which a closed tour visits them."""
    roads, tour = set(roads), [0]
    while len(tour) < count:
        road = next(r for r in roads if tour[-1] in r)
        roads.remove(road)
        tour.append(sum(road) - tour[-1])
    return tour


def solve(length, node_cuts=True, watch=None):
    """The length of the shortest tour, the tour, and how many constraints were added.

    length: the length of each road, by (i, j) with i < j.
    node_cuts: whether the relaxations of nodes are looked at too, not only solutions.
    watch: called as watch(model, where) at the beginning of each callback.
    """
    count = 1 + max(j for _, j in length)
    m = tso.Model("travelling salesman")
    m.setParam("MIP/EnableLazyConstr", 1)
    m.setParam("MIP/GapRel", 0)
    x = m.addVars(list(length), obj=list(length.values()), vtype=TSO.BINARY, name="x")
    m.addConstrs(x.sum(i, "*") + x.sum("*", i) == 2 for i in range(count))
    m._added = 0

    def forbid_subtours(model, where):
        if watch:
            watch(model, where)
        if where == TSO.Callback.MIPSOL:
            value = model.cbGetSolution(x)
        elif where == TSO.Callback.MIPNODE and node_cuts:
            value = model.cbGetNodeRel(x)
        else:
            return
        parts = components(count, [road for road, v in value.items() if v > 0.01])
        for part in parts if len(parts) > 1 else []:
            inside = [(i, j) for i in part for j in part if i < j]
            model.cbCut(tso.quicksum(x[road] for road in inside) <= len(part) - 1)
            model._added += 1

    m.optimize(forbid_subtours)
    return m.ObjVal, tour_of(count, [road for road in length if x[road].X > 0.5]), m._added


def main():
    name = sys.argv[1] if len(sys.argv) > 1 else "berlin52.csv"
    value, tour, added = solve(distances(read_table(name)))
    print("", " - ".join(map(str, tour)), f"{added} sets of cities had to be forbidden.", sep="\n")
    print(f"The shortest tour has length {value:g}.")


if __name__ == "__main__":
    main()
