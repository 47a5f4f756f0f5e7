#include "arrays/block.h"

#include "expr/kinds.h"

#include <algorithm>
#include <limits>
#include <new>

namespace tsp {
namespace {

std::shared_ptr<LinBlock> fresh(const Shape& shape) {
    auto b = std::make_shared<LinBlock>();
    b->shape = shape;
    b->size = size_of(shape);
    return b;
}

// Whether the cells lie in memory in the order of their places, or may as well.
bool in_order(Borrowed array) { return PyArray_NDIM(as_array(array)) <= 1 || PyArray_IS_C_CONTIGUOUS(as_array(array)); }

void join_keepers(LinBlock& to, const LinBlock& a, const LinBlock& b) {
    to.keep = a.keep;
    for (const auto& k : b.keep)
        if (std::find(to.keep.begin(), to.keep.end(), k) == to.keep.end())
            to.keep.push_back(k);
}

int64_t at(const std::vector<int64_t>& places, int64_t i) {
    return places.empty() ? i : places[static_cast<std::size_t>(i)];
}

// The same cells in another shape, repeated as broadcasting tells.
BlockRef spread(const BlockRef& a, const Shape& shape, const std::vector<int64_t>& from) {
    auto r = fresh(shape);
    r->keep = a->keep;
    r->width = a->width;
    if (a->width < 0) {
        r->begin = make_shared_array<int64_t>(r->size + 1);
        r->begin[0] = 0;
        for (int64_t i = 0; i < r->size; ++i)
            r->begin[i + 1] = r->begin[i] + a->count(at(from, i));
    }
    r->vars = make_shared_array<PyObject*>(r->terms());
    if (a->coeffs)
        r->coeffs = make_shared_array<double>(r->terms());
    for (int64_t i = 0; i < r->size; ++i) {
        int64_t cell = at(from, i), n = a->count(cell), to = r->first(i);
        std::copy_n(a->vars_of(cell), n, r->vars.get() + to);
        if (a->coeffs)
            std::copy_n(Coeffs(*a, cell).p, n, r->coeffs.get() + to);
    }
    if (a->constants) {
        r->constants = make_shared_array<double>(r->size);
        for (int64_t i = 0; i < r->size; ++i)
            r->constants[i] = a->constants[at(from, i)];
    }
    return r;
}

// `a` in a broadcast shape.
BlockRef in_shape(const BlockRef& a, const Shape& shape) {
    if (a->shape == shape)
        return a;
    return spread(a, shape, places(a->shape, shape));
}

} // namespace

Shape shape_of(Borrowed array) {
    PyArrayObject* a = as_array(array);
    return Shape(PyArray_DIMS(a), PyArray_DIMS(a) + PyArray_NDIM(a));
}

int64_t size_of(const Shape& shape) {
    int64_t size = 1;
    for (npy_intp n : shape)
        if (n < 0 || __builtin_mul_overflow(size, static_cast<int64_t>(n), &size))
            throw std::bad_alloc();
    return size;
}

std::shared_ptr<PyObject> keeper(Borrowed object) {
    Py_INCREF(object);
    return std::shared_ptr<PyObject>(object, [](PyObject* p) { Py_DECREF(p); });
}

BlockRef block_of_vars(Borrowed array, bool owned) {
    if (!array || PyArray_TYPE(as_array(array)) != NPY_OBJECT || !in_order(array))
        return nullptr;
    PyArrayObject* a = as_array(array);
    bool as_it_is = owned && PyArray_IS_C_CONTIGUOUS(a);
    Ref held = as_it_is ? Ref::borrow(array) : Ref::steal(PyArray_NewCopy(a, NPY_CORDER));
    auto** items = static_cast<PyObject**>(PyArray_DATA(as_array(held.get())));
    auto r = fresh(shape_of(array));
    PyTypeObject* var = state().var;
    for (int64_t i = 0; i < r->size; ++i)
        if (!items[i] || Py_TYPE(items[i]) != var)
            return nullptr;
    r->width = 1;
    r->keep.push_back(keeper(held.get()));
    r->vars = Shared<PyObject*>(r->keep[0], items);
    return r;
}

BlockRef block_of_exprs(Borrowed array) {
    if (!array || PyArray_TYPE(as_array(array)) != NPY_OBJECT || !in_order(array))
        return nullptr;
    Ref held = Ref::steal(reinterpret_cast<PyObject*>(PyArray_GETCONTIGUOUS(as_array(array))));
    auto** items = static_cast<PyObject**>(PyArray_DATA(as_array(held.get())));
    auto r = fresh(shape_of(array));
    PyTypeObject* linexpr = state().linexpr;
    r->width = -1;
    r->begin = make_shared_array<int64_t>(r->size + 1);
    r->begin[0] = 0;
    bool constants = false;
    for (int64_t i = 0; i < r->size; ++i) {
        if (!items[i] || Py_TYPE(items[i]) != linexpr)
            return nullptr;
        r->begin[i + 1] = r->begin[i] + as_linexpr(items[i]).size();
        constants |= as_linexpr(items[i]).constant != 0.0;
    }
    // The cells may change later, so the block has variables of its own.
    npy_intp terms = r->terms();
    Ref vars = Ref::steal(PyArray_SimpleNew(1, &terms, NPY_OBJECT));
    auto** to = static_cast<PyObject**>(PyArray_DATA(as_array(vars.get())));
    r->coeffs = make_shared_array<double>(terms);
    if (constants)
        r->constants = make_shared_array<double>(r->size);
    for (int64_t i = 0; i < r->size; ++i) {
        const LinExpr& e = as_linexpr(items[i]);
        int64_t k = r->begin[i];
        for (int j = 0; j < e.size(); ++j, ++k) {
            PyObject* old = to[k]; // null or None, as NumPy fills it
            Py_INCREF(e.vars.data()[j]);
            to[k] = e.vars.data()[j];
            Py_XDECREF(old);
            r->coeffs[k] = e.coeffs.data()[j];
        }
        if (constants)
            r->constants[i] = e.constant;
    }
    r->keep.push_back(keeper(vars.get()));
    r->vars = Shared<PyObject*>(r->keep[0], to);
    return r;
}

BlockRef block_of_scalar(Borrowed operand) {
    Ref array = Ref::steal(PyArray_SimpleNew(0, nullptr, NPY_OBJECT));
    checked(PyArray_SETITEM(as_array(array.get()), static_cast<char*>(PyArray_DATA(as_array(array.get()))), operand));
    return Py_TYPE(operand) == state().var ? block_of_vars(array.get(), true) : block_of_exprs(array.get());
}

Ref cells(const LinBlock& block) {
    Shape shape = block.shape;
    Ref array = Ref::steal(PyArray_SimpleNew(static_cast<int>(shape.size()), shape.data(), NPY_OBJECT));
    auto** out = static_cast<PyObject**>(PyArray_DATA(as_array(array.get())));
    for (int64_t i = 0; i < block.size; ++i) {
        LinExpr* e = new_linexpr();
        Ref cell = owned(e);
        int64_t n = block.count(i);
        if (n > std::numeric_limits<int>::max() / 4)
            throw std::bad_alloc();
        auto count = static_cast<int>(n);
        if (count > 0) {
            PyObject* const* vars = block.vars_of(i);
            Coeffs coeffs(block, i);
            double* c = e->coeffs.grow(count);
            for (int k = 0; k < count; ++k)
                c[k] = coeffs[k];
            e->coeffs.set_vector_size(count);
            e->coeffs.set_size(count);
            PyObject** v = e->vars.grow(count);
            for (int k = 0; k < count; ++k) {
                Py_INCREF(vars[k]);
                v[k] = vars[k];
            }
            e->vars.set_vector_size(count);
            e->vars.set_size(count);
        }
        e->constant = block.constant(i);
        PyObject* old = out[i];
        out[i] = cell.release();
        Py_XDECREF(old);
    }
    return array;
}

bool numbers_of(Borrowed x, Numbers& out) {
    if (!PyArray_CheckExact(x))
        return false;
    int type = PyArray_TYPE(as_array(x));
    if (!PyTypeNum_ISNUMBER(type) && type != NPY_BOOL)
        return false;
    if (PyTypeNum_ISCOMPLEX(type) || type == NPY_LONGDOUBLE)
        return false;
    out.shape = shape_of(x);
    out.array = Ref::steal(PyArray_FROMANY(x, NPY_FLOAT64, 0, 0, NPY_ARRAY_CARRAY_RO | NPY_ARRAY_FORCECAST));
    return true;
}

bool broadcast(const Shape& a, const Shape& b, Shape& out) {
    out.assign(std::max(a.size(), b.size()), 1);
    for (std::size_t i = 0; i < out.size(); ++i) {
        npy_intp m = i < a.size() ? a[a.size() - 1 - i] : 1, n = i < b.size() ? b[b.size() - 1 - i] : 1;
        if (m != n && m != 1 && n != 1)
            return false;
        out[out.size() - 1 - i] = m == 1 ? n : m;
    }
    return true;
}

std::vector<int64_t> places(const Shape& from, const Shape& to) {
    if (from == to)
        return {};
    int64_t size = size_of(to);
    std::vector<int64_t> result(static_cast<std::size_t>(size));
    std::size_t n = to.size();
    std::vector<int64_t> stride(n, 0), index(n, 0);
    int64_t step = 1;
    for (std::size_t i = 0; i < from.size(); ++i) {
        npy_intp length = from[from.size() - 1 - i];
        stride[n - 1 - i] = length == 1 ? 0 : step;
        step *= length;
    }
    int64_t place = 0;
    for (int64_t i = 0; i < size; ++i) {
        result[static_cast<std::size_t>(i)] = place;
        for (std::size_t d = n; d-- > 0;) {
            place += stride[d];
            if (++index[d] < to[d])
                break;
            place -= stride[d] * index[d];
            index[d] = 0;
        }
    }
    return result;
}

BlockRef add(const BlockRef& given_a, const BlockRef& given_b) {
    Shape shape;
    if (!broadcast(given_a->shape, given_b->shape, shape))
        return nullptr;
    auto r = fresh(shape);
    std::vector<int64_t> from_a = places(given_a->shape, shape), from_b = places(given_b->shape, shape);
    const LinBlock &a = *given_a, &b = *given_b;
    join_keepers(*r, a, b);
    if (a.width >= 0 && b.width >= 0) {
        r->width = a.width + b.width;
    } else {
        r->width = -1;
        r->begin = make_shared_array<int64_t>(r->size + 1);
        r->begin[0] = 0;
        for (int64_t i = 0; i < r->size; ++i)
            r->begin[i + 1] = r->begin[i] + a.count(at(from_a, i)) + b.count(at(from_b, i));
    }
    r->vars = make_shared_array<PyObject*>(r->terms());
    if (a.coeffs || b.coeffs)
        r->coeffs = make_shared_array<double>(r->terms());
    bool constants = a.constants || b.constants;
    if (constants)
        r->constants = make_shared_array<double>(r->size);
    int64_t to = 0;
    for (int64_t i = 0; i < r->size; ++i) {
        int64_t ca = at(from_a, i), cb = at(from_b, i), na = a.count(ca), nb = b.count(cb);
        PyObject* const* va = a.vars_of(ca);
        PyObject* const* vb = b.vars_of(cb);
        PyObject** v = r->vars.get() + to;
        for (int64_t k = 0; k < na; ++k)
            v[k] = va[k];
        for (int64_t k = 0; k < nb; ++k)
            v[na + k] = vb[k];
        if (r->coeffs) {
            double* c = r->coeffs.get() + to;
            Coeffs fa(a, ca), fb(b, cb);
            for (int64_t k = 0; k < na; ++k)
                c[k] = fa[k];
            for (int64_t k = 0; k < nb; ++k)
                c[na + k] = fb[k];
        }
        if (constants)
            r->constants[i] = 0.0 + a.constant(ca) + b.constant(cb);
        to += na + nb;
    }
    return r;
}

BlockRef add(const BlockRef& a, double number) {
    auto r = std::make_shared<LinBlock>(*a);
    r->constants = make_shared_array<double>(r->size);
    for (int64_t i = 0; i < r->size; ++i)
        r->constants[i] = 0.0 + a->constant(i) + number;
    return r;
}

namespace {
// A block and numbers in one shape: the block in it, and the place of each cell's number. False if they do not fit.
bool fit(const BlockRef& given, const Numbers& n, BlockRef& a, std::vector<int64_t>& from) {
    Shape shape;
    if (!broadcast(given->shape, n.shape, shape))
        return false;
    a = in_shape(given, shape);
    from = places(n.shape, shape);
    return true;
}
} // namespace

BlockRef add(const BlockRef& given, const Numbers& n) {
    BlockRef a;
    std::vector<int64_t> from;
    if (!fit(given, n, a, from))
        return nullptr;
    auto r = std::make_shared<LinBlock>(*a);
    r->constants = make_shared_array<double>(r->size);
    const double* data = n.data();
    for (int64_t i = 0; i < r->size; ++i)
        r->constants[i] = 0.0 + a->constant(i) + data[at(from, i)];
    return r;
}

BlockRef scale(const BlockRef& a, double factor) {
    if (factor == 0.0)
        return fresh(a->shape); // width 0
    if (factor == 1.0)
        return a;
    auto r = std::make_shared<LinBlock>(*a);
    bool one_row = (!a->coeffs || a->same_coeffs) && a->width >= 0;
    int64_t n = one_row ? a->width : a->terms();
    r->coeffs = make_shared_array<double>(n);
    r->same_coeffs = one_row;
    for (int64_t k = 0; k < n; ++k)
        r->coeffs[k] = a->coeffs ? factor * a->coeffs[k] : factor;
    if (a->constants) {
        r->constants = make_shared_array<double>(r->size);
        for (int64_t i = 0; i < r->size; ++i)
            r->constants[i] = 0.0 + factor * a->constants[i];
    }
    return r;
}

BlockRef scale(const BlockRef& given, const Numbers& n) {
    BlockRef a;
    std::vector<int64_t> from;
    if (!fit(given, n, a, from))
        return nullptr;
    const double* factor = n.data();
    bool zeros = std::find(factor, factor + size_of(n.shape), 0.0) != factor + size_of(n.shape);
    auto r = std::make_shared<LinBlock>(*a);
    r->same_coeffs = false;
    if (!zeros) { // the same terms
        r->coeffs = make_shared_array<double>(r->terms());
        for (int64_t i = 0; i < r->size; ++i) {
            Coeffs c(*a, i);
            double f = factor[at(from, i)];
            double* to = r->coeffs.get() + r->first(i);
            for (int64_t k = 0, m = r->count(i); k < m; ++k)
                to[k] = c.p ? f * c.p[k] : f;
        }
    } else { // cells that are multiplied by zero lose theirs
        r->width = -1;
        r->same_vars = false;
        r->begin = make_shared_array<int64_t>(r->size + 1);
        r->begin[0] = 0;
        for (int64_t i = 0; i < r->size; ++i)
            r->begin[i + 1] = r->begin[i] + (factor[at(from, i)] != 0.0 ? a->count(i) : 0);
        r->vars = make_shared_array<PyObject*>(r->terms());
        r->coeffs = make_shared_array<double>(r->terms());
        for (int64_t i = 0; i < r->size; ++i) {
            double f = factor[at(from, i)];
            if (f == 0.0)
                continue;
            Coeffs c(*a, i);
            int64_t to = r->begin[i], m = a->count(i);
            std::copy_n(a->vars_of(i), m, r->vars.get() + to);
            for (int64_t k = 0; k < m; ++k)
                r->coeffs[to + k] = f * c[k];
        }
    }
    if (a->constants) {
        r->constants = make_shared_array<double>(r->size);
        for (int64_t i = 0; i < r->size; ++i) {
            double f = factor[at(from, i)];
            r->constants[i] = f == 0.0 ? 0.0 : 0.0 + f * a->constants[i];
        }
    }
    return r;
}

BlockRef sum(const BlockRef& a, int axis) {
    // A cell of the sum takes `length` cells, `step` apart.
    int64_t length = a->size, step = 1;
    Shape shape;
    if (axis >= 0) {
        shape = a->shape;
        length = shape[static_cast<std::size_t>(axis)];
        shape.erase(shape.begin() + axis);
        for (std::size_t d = static_cast<std::size_t>(axis) + 1; d < a->shape.size(); ++d)
            step *= a->shape[d];
    }
    auto r = fresh(shape);
    r->keep = a->keep;
    auto first = [&](int64_t i) { return i / step * step * length + i % step; };
    if (a->width >= 0) {
        r->width = a->width * length;
    } else {
        r->width = -1;
        r->begin = make_shared_array<int64_t>(r->size + 1);
        r->begin[0] = 0;
        for (int64_t i = 0; i < r->size; ++i) {
            int64_t n = 0;
            for (int64_t k = 0; k < length; ++k)
                n += a->count(first(i) + k * step);
            r->begin[i + 1] = r->begin[i] + n;
        }
    }
    r->vars = make_shared_array<PyObject*>(r->terms());
    if (a->coeffs)
        r->coeffs = make_shared_array<double>(r->terms());
    if (a->constants)
        r->constants = make_shared_array<double>(r->size);
    int64_t to = 0;
    for (int64_t i = 0; i < r->size; ++i) {
        double constant = 0.0;
        for (int64_t k = 0; k < length; ++k) {
            int64_t cell = first(i) + k * step, n = a->count(cell);
            PyObject* const* v = a->vars_of(cell);
            for (int64_t j = 0; j < n; ++j)
                r->vars[to + j] = v[j];
            if (a->coeffs) {
                Coeffs c(*a, cell);
                for (int64_t j = 0; j < n; ++j)
                    r->coeffs[to + j] = c.p[j];
            }
            constant += a->constant(cell);
            to += n;
        }
        if (a->constants)
            r->constants[i] = constant;
    }
    return r;
}

} // namespace tsp
