"""What the tests of expressions and models look at, and how calls are refused."""

import tessolvpy as tso

ROWS = ["getConstrs", "getQConstrs", "getPsdConstrs"]  # of whatever kind, each row has a handle in all of them
LISTS = ["getVars", *ROWS, "getSOSs", "getGenConstrs", "getPsdVars"]


def terms(e):
    """(coefficient, index) of the linear terms, the constant, and (coefficient, index, index) of the others."""
    linear = e.getLinExpr() if isinstance(e, tso.QuadExpr) else e
    found = [(linear.getCoeff(i), linear.getVar(i).index) for i in range(linear.size())], linear.getConstant()
    if linear is e:
        return found
    return *found, [(e.getCoeff(i), e.getVar1(i).index, e.getVar2(i).index) for i in range(e.size())]


def refusal(act, *arguments):
    """Type and text of the error that the call ends in."""
    try:
        act(*arguments)
    except Exception as error:
        return type(error), str(error)
    return None, "was not refused"


def state(m):
    """The model's lists and elements, by identity and index."""
    lists = [getattr(m, name)() for name in LISTS]
    return [id(one) for one in lists], [[(id(e), e.index) for e in one] for one in lists]


def check_rows(m, count):
    for name in ROWS:
        assert [row.index for row in getattr(m, name)()] == list(range(count))
