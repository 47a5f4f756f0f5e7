"""What the tests of expressions look at, and how calls are refused."""

import pytest
import tessolvpy as tso


def terms(e):
    """(coefficient, index) of the linear terms, the constant, and (coefficient, index, index) of the others."""
    linear = e.getLinExpr() if isinstance(e, tso.QuadExpr) else e
    found = [(linear.getCoeff(i), linear.getVar(i).index) for i in range(linear.size())], linear.getConstant()
    if linear is e:
        return found
    return *found, [(e.getCoeff(i), e.getVar1(i).index, e.getVar2(i).index) for i in range(e.size())]


def refusal(act, *arguments):
    with pytest.raises(Exception) as caught:
        act(*arguments)
    return type(caught.value), str(caught.value)


def raises(exception, text, act, *arguments):
    with pytest.raises(exception) as caught:
        act(*arguments)
    assert caught.value.args == (text,)
