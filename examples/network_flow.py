"""A flow through a network over several periods: make, ship and store at the least cost.

    python examples/network_flow.py

Two plants, a hub and two markets, joined by arcs of limited capacity. What is made in cheap periods can be stored at
some of the places until it is wanted. The incidence matrix of the network is sparse, and one expression of arrays
states the balance of all places in all periods. The numbers are made for this example.
"""

import numpy as np
import scipy.sparse as sp
import tessolvpy as tso
from tableio import print_table
from tessolvpy import TSO

PLACES = ["north", "south", "hub", "city", "port"]
#        from, to, capacity in a period, cost of a unit
ARCS = [
    ("north", "hub", 40, 2.0),
    ("south", "hub", 30, 1.5),
    ("north", "city", 15, 4.5),
    ("hub", "city", 35, 1.0),
    ("hub", "port", 30, 1.5),
    ("south", "port", 10, 4.0),
    ("city", "port", 10, 0.5),
]
# For each period what each place wants, and what a unit made in it costs: energy is dear in the middle of the day.
DEMAND = np.array(
    [
        [0, 0, 0, 20, 10],
        [0, 0, 0, 25, 15],
        [0, 0, 5, 40, 20],
        [0, 0, 5, 45, 30],
        [0, 0, 0, 30, 35],
        [0, 0, 0, 20, 15],
    ]
)
MAKING_COST = np.array([[5, 6], [5, 6], [9, 8], [11, 10], [8, 7], [5, 6]])
MAKING_LIMIT = {"north": 45, "south": 35}
STORE = {"hub": 30, "port": 12}  # room
STORING_COST = 0.4


def incidence(places, arcs):
    """A row for each place, a column for each arc: -1 where it leaves and 1 where it arrives."""
    leave = [places.index(arc[0]) for arc in arcs]
    arrive = [places.index(arc[1]) for arc in arcs]
    columns = [*range(len(arcs))] * 2
    values = np.repeat([-1.0, 1.0], len(arcs))
    return sp.csr_array((values, (leave + arrive, columns)), shape=(len(places), len(arcs)))


def solve(places, arcs, demand, making_cost, making_limit, store, storing_cost):
    """The least cost, and arrays with a row for each period: what goes along each arc, what is made in each plant, and
    what each place keeps until the next period. The stores are empty at first."""
    periods, n = demand.shape
    m = tso.Model("network_flow")
    m.setParam("OutputFlag", 0)

    capacity = np.array([arc[2] for arc in arcs])
    freight = np.array([arc[3] for arc in arcs])
    limit = np.array(list(making_limit.values()))
    room = np.array([store.get(place, 0) for place in places])
    flow = m.addMVar((periods, len(arcs)), ub=np.tile(capacity, (periods, 1)), name="flow")
    make = m.addMVar((periods, len(limit)), ub=np.tile(limit, (periods, 1)), name="make")
    keep = m.addMVar((periods, n), ub=np.tile(room, (periods, 1)), name="keep")

    # Where the plants are, and what each period finds in the stores: both as matrices, so that the balance is one line.
    plants = sp.eye(n, format="csr")[[places.index(plant) for plant in making_limit]]
    before = sp.eye(periods, k=-1, format="csr")
    arrived = flow @ incidence(places, arcs).T
    m.addConstr(make @ plants + arrived + before @ keep - keep == demand, name="balance")

    cost = (flow * freight).sum() + (make * making_cost).sum() + storing_cost * keep.sum()
    m.setObjective(cost.item(), TSO.MINIMIZE)
    m.optimize()
    return m.ObjVal, flow.X, make.X, keep.X


def main():
    cost, flow, make, keep = solve(PLACES, ARCS, DEMAND, MAKING_COST, MAKING_LIMIT, STORE, STORING_COST)
    stores = [PLACES.index(place) for place in STORE]
    head = ["period", *(f"made {p}" for p in MAKING_LIMIT), *(f"kept {p}" for p in STORE), "shipped"]
    rows = [[str(t + 1), *make[t], *keep[t, stores], flow[t].sum()] for t in range(len(DEMAND))]
    print_table(head, rows)
    print(f"\nThe plan costs {cost:.2f}.")


if __name__ == "__main__":
    main()
