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


class LinExpr:
    def __init__(self, start=0, var=None):
        self.coeffs, self.vars, self.constant = View(), View(), 0.0
        if var is not None:
            self.add_terms(start, var)
        elif isinstance(start, Var):
            self.add_term(1.0, start)
        elif isinstance(start, LinExpr):
            self.coeffs, self.vars = start.coeffs.copy(), start.vars.copy()
            self.constant += start.constant
        else:
            self.constant = float(start)

    def add_term(self, coeff, var):
        if coeff != 0.0:
            self.coeffs.add(float(coeff))
            self.vars.add(var)

    def add_terms(self, coeffs, vars):
        for c, v in zip(coeffs, vars) if isinstance(coeffs, list) else [(coeffs, vars)]:
            self.add_term(float(c), v)

    def add_expr(self, mult, other):
        mult = float(mult)
        if mult == 0.0:
            return
        c, v, k = other.coeffs.copy(), other.vars.copy(), other.constant
        if mult != 1.0:
            c.map(lambda item: mult * item)
            k *= mult
        self.coeffs, self.vars = self.coeffs.plus(c), self.vars.plus(v)
        self.constant += k

    def remove(self, item):
        found = [i for i, v in enumerate(self.vars) if v == item] if isinstance(item, Var) else [item]
        if found:
            self.coeffs.remove(found)
            self.vars.remove(found)

    def clear(self):
        self.coeffs.clear()
        self.vars.clear()
        self.constant = 0.0

    def iadd(self, other):
        if isinstance(other, Number):
            self.constant += float(other)
        elif isinstance(other, Var):
            self.add_term(1.0, other)
        elif isinstance(other, LinExpr):
            self.add_expr(1.0, other)
        else:
            raise TypeError(f"unsupport operation +=: `LinExpr` and `{type(other).__name__}`")

    def imul(self, other):
        if not isinstance(other, Number):
            raise TypeError(f"unsupport operation +=: `LinExpr` and `{type(other).__name__}`")
        factor = float(other)
        self.coeffs.map(lambda item: factor * item)
        self.constant = float(self.constant * other)


class QuadExpr:
    def __init__(self, start=None):
        self.coeffs, self.vars1, self.vars2, self.linear = View(), View(), View(), LinExpr(0)
        if isinstance(start, QuadExpr):
            self.coeffs, self.vars1, self.vars2 = start.coeffs.copy(), start.vars1.copy(), start.vars2.copy()
            self.linear = LinExpr(start.linear)
        elif start is not None:
            self.linear = LinExpr(start)

    def push(self, coeff, one, other):
        self.coeffs.add(coeff)
        self.vars1.add(one)
        self.vars2.add(other)

    def add_term(self, coeff, one, other):
        if coeff != 0.0:
            self.push(float(coeff), *((one, other) if one.index < other.index else (other, one)))

    def add_expr(self, mult, other):
        mult = float(mult)
        if mult == 0.0:
            return
        c = other.coeffs.copy()
        self.linear.add_expr(mult, other.linear)
        if mult != 1.0:
            c.map(lambda item: mult * item)
        self.coeffs = self.coeffs.plus(c)
        self.vars1 = self.vars1.plus(other.vars1)
        self.vars2 = self.vars2.plus(other.vars2)

    def add(self, other, mult):
        if isinstance(other, LinExpr):
            self.linear.add_expr(mult, other)
        else:
            self.add_expr(mult, other)

    def add_arrays(self, coeffs, one, other):
        self.coeffs = self.coeffs.plus(coeffs)
        self.vars1 = self.vars1.plus(one)
        self.vars2 = self.vars2.plus(other)

    def remove(self, item):
        found = [item]
        if isinstance(item, Var):
            found = [i for i, pair in enumerate(zip(self.vars1, self.vars2)) if item in pair]
        if found:
            for view in (self.coeffs, self.vars1, self.vars2):
                view.remove(found)
        if isinstance(item, Var):
            self.linear.remove(item)

    def clear(self):
        self.linear.clear()
        for view in (self.coeffs, self.vars1, self.vars2):
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
            raise TypeError(f"unsupport operation +=: `QuadExpr` and `{type(other).__name__}`")
        self.coeffs.map(lambda item: item * other)
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
            for term in list(zip(item.coeffs, item.vars1, item.vars2)):
                r.push(*term)
            item = item.linear
        if isinstance(item, LinExpr):
            for c, v in list(zip(item.coeffs, item.vars)):
                r.linear.coeffs.add(c)
                r.linear.vars.add(v)
            r.linear.constant += item.constant
        elif isinstance(item, Var):
            r.linear.add_term(1.0, item)
        else:
            r.linear.constant += float(item)
    return r if r.coeffs.size else r.linear


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
    elif factor != 0.0 and isinstance(a, LinExpr):
        r.coeffs, r.vars = View([factor * c for c in a.coeffs]), View(list(a.vars))
        r.constant += factor * a.constant
    elif factor != 0.0:
        r.coeffs = View([c if factor == 1.0 else factor * c for c in a.coeffs])
        r.vars1, r.vars2, r.linear = View(list(a.vars1)), View(list(a.vars2)), scaled(a.linear, factor)
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
        for c, v in zip(a.coeffs, a.vars):
            r.add_term(c, v, b)
        r.linear.add_term(a.constant, b)
    else:
        r.linear.constant += b.constant * a.constant
        for bare, terms in ((a.constant, b), (b.constant, a)):  # the bare constant: no factor of the term it meets
            for v in terms.vars:
                r.linear.add_term(bare, v)
        for c, v in zip(a.coeffs, a.vars):
            for d, w in zip(b.coeffs, b.vars):
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
