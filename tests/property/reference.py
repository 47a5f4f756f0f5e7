"""Expressions a second time, in plain Python, after the rules alone.

Nothing here is fast or clever. A `View` is a prefix of a `Vector`, which counts its users. Views of one vector share
what is appended to it, and a view that has to separate takes all of the vector along, also what lies behind its end.
Results of operators share nothing with their operands.
"""

from dataclasses import dataclass
from numbers import Number


class Vector:
    def __init__(self, items=()):
        self.items, self.users = list(items), 1


class View:
    def __init__(self, data=()):
        self.vector, self.size = Vector(data), len(data)

    def __del__(self):
        self.vector.users -= 1

    def __iter__(self):
        return iter(self.vector.items[: self.size])

    def copy(self):
        view = View()
        view.vector, view.size = self.vector, self.size
        view.vector.users += 1
        return view

    def separate(self):
        self.vector.users -= 1
        self.vector = Vector(self.vector.items)

    def make_append_safe(self):
        if self.vector.users != 1 and self.size != len(self.vector.items):
            self.separate()

    def make_update_safe(self):
        if self.vector.users != 1:
            self.separate()

    def add(self, item):
        self.make_append_safe()
        self.vector.items.append(item)
        self.size += 1

    def map(self, function):
        self.make_update_safe()
        for i in range(self.size):
            self.vector.items[i] = function(self.vector.items[i])

    def remove(self, positions):
        kept = [item for i, item in enumerate(self) if i not in positions]
        self.vector, self.size = Vector(kept), len(kept)  # the users of the old one are not told

    def clear(self):
        if self.vector.users == 1:
            self.vector.items.clear()
        else:
            self.vector = Vector()
        self.size = 0

    def plus(self, other):
        """What `self += other` leaves in self's place."""
        if isinstance(other, list):
            if self.size == 0:
                return View(other)
            for item in other:
                self.add(item)
        elif isinstance(other, View):
            if self.size == 0:
                return other.copy()
            for i in range(other.size):
                self.add(other.vector.items[i])
        else:
            raise TypeError(f"unsupport operation +=: `List` and `{type(other).__name__}`")
        return self

    def concat(self, other):
        return self.copy().plus(other)


@dataclass(frozen=True)
class Var:
    model: int
    index: int


class Terms:
    """What both kinds of expression share: views side by side, one for each part of a term."""

    def push(self, *term):
        for view, part in zip(self.views, term):
            view.add(part)

    def terms(self):
        return list(zip(*self.views))

    def take(self, mult, views):
        """Appends the terms of others, whose coefficients are copied for the factor."""
        coeffs = views[0].copy()
        if mult != 1.0:
            coeffs.map(lambda item: mult * item)
        self.views = [view.plus(other) for view, other in zip(self.views, [coeffs, *views[1:]])]

    def remove_terms(self, item):
        found = [i for i, term in enumerate(self.terms()) if item in term[1:]] if isinstance(item, Var) else [item]
        if found:
            for view in self.views:
                view.remove(found)

    def refuse(self, other):
        raise TypeError(f"unsupport operation +=: `{type(self).__name__}` and `{type(other).__name__}`")


class LinExpr(Terms):
    def __init__(self, start=0, var=None):
        self.views, self.constant = [View(), View()], 0.0
        if var is not None:
            self.add_terms(start, var)
        elif isinstance(start, Var):
            self.add_term(1.0, start)
        elif isinstance(start, LinExpr):
            self.views = [view.copy() for view in start.views]
            self.constant += start.constant
        else:
            self.constant = float(start)

    def add_term(self, coeff, var):
        if coeff != 0.0:
            self.push(float(coeff), var)

    def add_terms(self, coeffs, vars):
        for c, v in zip(coeffs, vars) if isinstance(coeffs, list) else [(coeffs, vars)]:
            self.add_term(float(c), v)

    def add(self, other, mult):
        mult = float(mult)
        if mult != 0.0:
            constant = other.constant if mult == 1.0 else mult * other.constant
            self.take(mult, [other.views[0], other.views[1].copy()])
            self.constant += constant

    def remove(self, item):
        self.remove_terms(item)

    def clear(self):
        for view in self.views:
            view.clear()
        self.constant = 0.0

    def iadd(self, other):
        if isinstance(other, Number):
            self.constant += float(other)
        elif isinstance(other, Var):
            self.add_term(1.0, other)
        elif isinstance(other, LinExpr):
            self.add(other, 1.0)
        else:
            self.refuse(other)

    def imul(self, other):
        if not isinstance(other, Number):
            self.refuse(other)
        factor = float(other)
        self.views[0].map(lambda item: factor * item)
        self.constant = float(self.constant * other)


class QuadExpr(Terms):
    def __init__(self, start=None):
        self.views, self.linear = [View(), View(), View()], LinExpr(0)
        if isinstance(start, QuadExpr):
            self.views, self.linear = [view.copy() for view in start.views], LinExpr(start.linear)
        elif start is not None:
            self.linear = LinExpr(start)

    def add_term(self, coeff, one, other):
        if coeff != 0.0:
            self.push(float(coeff), *((one, other) if one.index < other.index else (other, one)))

    def add(self, other, mult):
        mult = float(mult)
        if isinstance(other, LinExpr):
            self.linear.add(other, mult)
        elif mult != 0.0:
            self.linear.add(other.linear, mult)
            self.take(mult, other.views)

    def add_arrays(self, *arrays):
        self.views = [view.plus(array) for view, array in zip(self.views, arrays)]

    def remove(self, item):
        self.remove_terms(item)
        if isinstance(item, Var):
            self.linear.remove(item)

    def clear(self):
        self.linear.clear()
        for view in self.views:
            view.clear()

    def iadd(self, other):
        if isinstance(other, Number):
            self.linear.constant = float(self.linear.constant + other)
        elif isinstance(other, Var):
            self.linear.add_term(1, other)
        else:
            self.add(other, 1.0)

    def imul(self, other):
        if not isinstance(other, Number):
            self.refuse(other)
        self.views[0].map(lambda item: item * other)
        self.linear.imul(other)


RANK = {Var: 1, LinExpr: 2, QuadExpr: 3}


def rank(x):
    return RANK.get(type(x), 0)


def refused(op, a, b):
    raise TypeError(f"unsupported operand type(s) for {op}: `{type(a).__name__}` and `{type(b).__name__}`")


def quicksum(items):
    r = QuadExpr()
    for item in items:
        if isinstance(item, QuadExpr):
            for term in item.terms():
                r.push(*term)
            item = item.linear
        if isinstance(item, LinExpr):
            for term in item.terms():
                r.linear.push(*term)
            r.linear.constant += item.constant
        elif isinstance(item, Var):
            r.linear.add_term(1.0, item)
        else:
            r.linear.constant += float(item)
    return r if r.views[0].size else r.linear


def add(a, b):
    a, b = (b, a) if rank(b) > rank(a) else (a, b)
    result = quicksum([a, b])
    if isinstance(a, QuadExpr) and not isinstance(result, QuadExpr):
        raise TypeError("Cannot convert tessolvpy.LinExpr to tessolvpy.QuadExpr")
    return result


def scaled(a, factor):
    """A fresh expression of a's terms times a float; empty for zero."""
    r = LinExpr() if rank(a) < 3 else QuadExpr()
    if isinstance(a, Var):
        r.add_term(factor, a)
    elif factor != 0.0:
        kept = isinstance(a, QuadExpr) and factor == 1.0
        r.views = [View([c if kept else factor * c for c in a.views[0]]), *(View(list(v)) for v in a.views[1:])]
        if isinstance(a, LinExpr):
            r.constant += factor * a.constant
        else:
            r.linear = scaled(a.linear, factor)
    return r


def mul(a, b):
    if rank(a) == 0:
        return mul(b, a)
    if rank(b) == 0:
        return scaled(a, float(b))
    if 3 in (rank(a), rank(b)):
        refused("*", a, b)
    a, b = (b, a) if rank(b) > rank(a) else (a, b)
    r = QuadExpr()
    if isinstance(a, Var):
        r.add_term(1.0, a, b)
    elif isinstance(b, Var):
        for c, v in a.terms():
            r.add_term(c, v, b)
        r.linear.add_term(a.constant, b)
    else:
        r.linear.constant += b.constant * a.constant
        for bare, terms in ((a.constant, b), (b.constant, a)):  # the bare constant: no factor of the term it meets
            for _, v in terms.terms():
                r.linear.add_term(bare, v)
        for c, v in a.terms():
            for d, w in b.terms():
                r.add_term(c * d, v, w)
    return r


def neg(a):
    return -a if rank(a) == 0 else mul(a, -1)


def sub(a, b):
    if rank(a) == 0:
        return add(neg(b), a)
    try:
        return add(a, neg(b))
    except Exception:
        refused("-", a, b)


def div(a, b):
    divisor = float(b)
    if divisor == 0.0:
        raise ZeroDivisionError("float division")
    return mul(a, 1.0 / divisor)


def square(a):
    if isinstance(a, QuadExpr):
        raise TypeError("unsupported operand type(s) for ** or pow(): `QuadExpr` and 'int'")
    return mul(a, a)
