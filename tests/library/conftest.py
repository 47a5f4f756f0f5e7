import pytest


@pytest.fixture
def whole(model):
    """A model with an element of every kind."""
    model.addvars(3, vtype="BIC", ub=[1, 1, 9], names=["b", "i", "c"])
    model.addrow([0, 2], [1, 2], 0, 1, "r")
    model.addqconstr([(2, 1.0), (2, 1.0)], [(0, 1, 2.0), (0, 1, 3.0)], "=", 4, "q")
    model.addsos([2, 1], [0, 2], [0, 1, 2], [3, 1, 2])
    model.addindicator(0, 0, [2, 1], [1, 2], "<", 5, "g")
    model.call("TSOaddqpterms", 2, [0, 2], [1, 2], [1, 2])
    model.addpsdvar(3, [(0, 0, 1.0), (0, 2, 2.0), (2, 0, 3.0), (1, 1, 4.0), (1, 1, -4.0)], "P")
    model.addpsdvar(1)
    model.addpsdrow([(0, 1, 0, 2.0), (1, 0, 0, 1.0)], -1, 1, [(1, 2.0), (0, 1.0)], "s")
    return model
