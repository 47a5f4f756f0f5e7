// The matrix product, dense and sparse.
#include "arrays/expr_array.h"
#include "arrays/handle_array.h"
#include "arrays/operators.h"
#include "arrays/wrapped.h"
#include "expr/arithmetic.h"
#include "expr/kinds.h"
#include "expr/quadexpr.h"
#include "module/text.h"

#include <algorithm>
#include <climits>
#include <new>

namespace tsp {
namespace {

[[noreturn]] void shapes_differ(Borrowed a, Borrowed b) {
    Ref left = Ref::steal(PyObject_GetAttrString(a, "shape")), right = Ref::steal(PyObject_GetAttrString(b, "shape"));
    raise(PyExc_ValueError, "matmul: %S @ %S operation not support", left.get(), right.get());
}

// A block of cells each of which is a sum: `each(cell, take)` calls take(factor, place) for every cell of x that goes
// into one. Zero factors leave nothing, unless they are kept.
template <class Each> BlockRef combine(Shape shape, const LinBlock& x, bool keep_zeros, Each each) {
    auto r = std::make_shared<LinBlock>();
    r->shape = std::move(shape);
    r->size = size_of(r->shape);
    r->keep = x.keep;
    r->width = -1;
    r->begin = make_shared_array<int64_t>(r->size + 1);
    int64_t terms = 0;
    for (int64_t cell = 0; cell < r->size; ++cell) {
        r->begin[cell] = terms;
        each(cell, [&](double factor, int64_t place) {
            if (factor != 0.0 || keep_zeros)
                terms += x.count(place);
        });
    }
    r->begin[r->size] = terms;
    r->vars = make_shared_array<PyObject*>(terms);
    r->coeffs = make_shared_array<double>(terms);
    if (x.constants)
        r->constants = make_shared_array<double>(r->size);
    PyObject** vars = r->vars.get();
    double* coeffs = r->coeffs.get();
    bool plain = x.width == 1 && !x.coeffs && !x.same_vars; // variables
    for (int64_t cell = 0; cell < r->size; ++cell) {
        double constant = 0.0;
        each(cell, [&](double factor, int64_t place) {
            if (factor == 0.0 && !keep_zeros)
                return;
            if (plain) {
                *vars++ = x.vars[place];
                *coeffs++ = factor;
            } else {
                PyObject* const* from = x.vars_of(place);
                Coeffs c(x, place);
                for (int64_t k = 0, n = x.count(place); k < n; ++k) {
                    *vars++ = from[k];
                    *coeffs++ = factor * c[k];
                }
            }
            if (x.constants)
                constant += factor * x.constants[place];
        });
        if (x.constants)
            r->constants[cell] = constant;
    }
    return r;
}

// ---- Dense ----

// The sizes of a product of arrays with one or two dimensions, seen as matrices.
struct Sizes {
    npy_intp rows, inner, cols;
    Shape shape; // of the result
};
bool product_sizes(const Shape& a, const Shape& b, Sizes& s) {
    if (a.empty() || b.empty() || a.size() > 2 || b.size() > 2 || a.back() != b.front())
        return false;
    s = {a.size() == 2 ? a[0] : 1, b.front(), b.size() == 2 ? b[1] : 1, {}};
    if (a.size() == 2)
        s.shape.push_back(s.rows);
    if (b.size() == 2)
        s.shape.push_back(s.cols);
    return true;
}

// One row of variables under every row of numbers.
BlockRef rows_of_numbers(const Sizes& s, const LinBlock& x, const double* numbers, bool transposed) {
    auto r = std::make_shared<LinBlock>();
    r->shape = s.shape;
    r->size = size_of(s.shape);
    r->keep = x.keep;
    r->width = s.inner;
    r->vars = x.vars;
    r->same_vars = true;
    int64_t terms = r->terms();
    r->coeffs = make_shared_array<double>(terms);
    if (!transposed) {
        std::copy_n(numbers, terms, r->coeffs.get());
        return r;
    }
    constexpr int64_t kTile = 32; // both sides of a tile fit the cache
    for (int64_t i0 = 0; i0 < s.inner; i0 += kTile)
        for (int64_t j0 = 0; j0 < s.cols; j0 += kTile)
            for (int64_t j = j0; j < std::min<int64_t>(j0 + kTile, s.cols); ++j)
                for (int64_t i = i0; i < std::min<int64_t>(i0 + kTile, s.inner); ++i)
                    r->coeffs[j * s.inner + i] = numbers[i * s.cols + j];
    return r;
}

BlockRef dense_product(const Sizes& s, const LinBlock& x, const double* numbers, bool numbers_left, bool keep_zeros) {
    bool variables = x.width == 1 && !x.coeffs && !x.constants && !x.same_vars;
    if (variables && keep_zeros && (numbers_left ? s.cols : s.rows) == 1)
        return rows_of_numbers(s, x, numbers, !numbers_left);
    return combine(s.shape, x, keep_zeros, [&](int64_t cell, auto take) {
        int64_t i = cell / s.cols, j = cell % s.cols;
        if (numbers_left)
            for (int64_t k = 0; k < s.inner; ++k)
                take(numbers[i * s.inner + k], k * s.cols + j);
        else
            for (int64_t k = 0; k < s.inner; ++k)
                take(numbers[k * s.cols + j], i * s.inner + k);
    });
}

// An array of variables with numbers, as numpy.asarray reads them.
Ref vars_with_numbers(const HandleArray& x, Borrowed numbers, bool numbers_left) {
    Ref array = PyArray_Check(numbers) ? Ref::borrow(numbers) : Ref::steal(PyArray_FROM_O(numbers));
    PyObject* vars = array_of(x);
    if (PyArray_SIZE(as_array(array.get())) == 0 || PyArray_SIZE(as_array(vars)) == 0)
        raise(PyExc_ValueError, "matmul operand is empty");
    Ref doubles =
        Ref::steal(PyArray_FROMANY(array.get(), NPY_FLOAT64, 0, 0, NPY_ARRAY_CARRAY_RO | NPY_ARRAY_FORCECAST));
    PyObject *left = numbers_left ? array.get() : vars, *right = numbers_left ? vars : array.get();
    Sizes s;
    if (!product_sizes(shape_of(left), shape_of(right), s))
        shapes_differ(left, right);
    // The order in memory does not matter here: cells are taken by their places.
    Ref ordered = Ref::steal(reinterpret_cast<PyObject*>(PyArray_GETCONTIGUOUS(as_array(vars))));
    BlockRef block = block_of_vars(ordered.get(), x.owned || ordered.get() != vars);
    if (!block)
        raise(PyExc_TypeError, "an array of other things than Var has no product with numbers");
    return new_mlinexpr(dense_product(s, *block, static_cast<const double*>(PyArray_DATA(as_array(doubles.get()))),
                                      numbers_left, true));
}

PyTypeObject* result_type(bool quadratic) { return quadratic ? state().mquadexpr : state().mlinexpr; }

Ref numpy_product(Borrowed a, Borrowed b, bool quadratic) {
    Ref product = Ref::steal(PyNumber_MatrixMultiply(a, b));
    return new_expr_array(result_type(quadratic), as_ndarray(product.get()).get());
}

Ref exprs_with_numbers(ExprArray& x, bool quadratic, Borrowed numbers, bool numbers_left) {
    Numbers n;
    Sizes s;
    if (!quadratic && numbers_of(numbers, n) && size_of(n.shape) > 0) {
        BlockRef block = block_of(x);
        if (block && block->size > 0 &&
            (numbers_left ? product_sizes(n.shape, block->shape, s) : product_sizes(block->shape, n.shape, s)))
            return new_mlinexpr(dense_product(s, *block, n.data(), numbers_left, false));
    }
    Ref array = PyArray_Check(numbers) ? Ref::borrow(numbers) : Ref::steal(PyArray_FROM_O(numbers));
    PyObject* cells = array_of(x);
    return numbers_left ? numpy_product(array.get(), cells, quadratic) : numpy_product(cells, array.get(), quadratic);
}

// ---- Variables with variables ----

bool all_vars(Borrowed array) {
    auto** items = static_cast<PyObject**>(PyArray_DATA(as_array(array)));
    for (npy_intp i = 0; i < PyArray_SIZE(as_array(array)); ++i)
        if (!items[i] || !is_var(items[i]))
            return false;
    return true;
}

Ref vars_with_vars(const HandleArray& x, const HandleArray& y) {
    PyObject *a = array_of(x), *b = array_of(y);
    if (PyArray_SIZE(as_array(a)) == 0 || PyArray_SIZE(as_array(b)) == 0)
        raise(PyExc_ValueError, "matmul operand is empty");
    Sizes s;
    if (!product_sizes(shape_of(a), shape_of(b), s))
        shapes_differ(a, b);
    Ref left = Ref::steal(reinterpret_cast<PyObject*>(PyArray_GETCONTIGUOUS(as_array(a))));
    Ref right = Ref::steal(reinterpret_cast<PyObject*>(PyArray_GETCONTIGUOUS(as_array(b))));
    if (!all_vars(left.get()) || !all_vars(right.get()))
        raise(PyExc_TypeError, "an array of other things than Var has no product with variables");
    auto** v = static_cast<PyObject**>(PyArray_DATA(as_array(left.get())));
    auto** w = static_cast<PyObject**>(PyArray_DATA(as_array(right.get())));
    Ref result = Ref::steal(PyArray_SimpleNew(static_cast<int>(s.shape.size()), s.shape.data(), NPY_OBJECT));
    auto* cell = static_cast<char*>(PyArray_DATA(as_array(result.get())));
    for (npy_intp i = 0; i < s.rows; ++i)
        for (npy_intp j = 0; j < s.cols; ++j, cell += sizeof(PyObject*)) {
            QuadExpr* q = new_quadexpr();
            Ref expr = owned(q);
            if (s.inner > INT_MAX / 4)
                throw std::bad_alloc();
            reserve_terms(*q, static_cast<int>(s.inner));
            for (npy_intp k = 0; k < s.inner; ++k)
                push_term(*q, Coeff::of_int(1), v[i * s.inner + k], w[k * s.cols + j]);
            checked(PyArray_SETITEM(as_array(result.get()), cell, expr.get()));
        }
    return new_expr_array(state().mquadexpr, result.get());
}

// Two lists, expressions and variables: one quadratic expression, the sum of the products in their order.
Ref inner_product(const LinBlock& exprs, const LinBlock& vars) {
    QuadExpr* q = new_quadexpr();
    Ref result = owned(q);
    if (exprs.terms() > INT_MAX / 4)
        throw std::bad_alloc();
    reserve_terms(*q, static_cast<int>(exprs.terms()));
    for (int64_t i = 0; i < exprs.size; ++i) {
        PyObject* v = *vars.vars_of(i);
        PyObject* const* from = exprs.vars_of(i);
        Coeffs c(exprs, i);
        for (int64_t k = 0, n = exprs.count(i); k < n; ++k)
            add_term(*q, c[k], from[k], v);
        add_term(q->linear(), exprs.constant(i), v);
        if (i > 0 && q->size() == 0) // kept: as in every sum that promises a quadratic expression
            raise(PyExc_TypeError, "Cannot convert %.200s to %.200s", state().linexpr->tp_name,
                  state().quadexpr->tp_name);
    }
    return new_expr_array(state().mquadexpr, result.get());
}

Ref exprs_with_operand(Borrowed a, Borrowed b) {
    bool left = is_mlinexpr(a);
    Borrowed other = left ? b : a;
    if (is_mvar(other)) {
        BlockRef exprs = block_of(as_expr_array(left ? a : b)),
                 vars = exprs ? block_of(as_handle_array(other)) : nullptr;
        if (vars && exprs->shape.size() == 1 && exprs->shape == vars->shape && exprs->size > 0)
            return inner_product(*exprs, *vars);
    }
    auto inside = [](Borrowed x) { return is_mvar(x) ? array_of(as_handle_array(x)) : array_of(as_expr_array(x)); };
    return numpy_product(inside(a), inside(b), true);
}

// ---- Sparse ----

struct Sparse {
    npy_intp rows, cols; // of the matrix
    Ref starts, indices, data;
    bool wide; // 64-bit indices
};

Ref plain_array(Borrowed owner, const char* name, int type) {
    Ref array = Ref::steal(PyObject_GetAttrString(owner, name));
    return Ref::steal(PyArray_FROMANY(array.get(), type, 1, 1, NPY_ARRAY_CARRAY_RO | NPY_ARRAY_FORCECAST));
}

template <class Index> bool consistent(const Sparse& m, npy_intp majors, npy_intp minors) {
    if (PyArray_SIZE(as_array(m.starts.get())) != majors + 1 ||
        PyArray_SIZE(as_array(m.indices.get())) > PyArray_SIZE(as_array(m.data.get())))
        return false;
    auto* starts = static_cast<const Index*>(PyArray_DATA(as_array(m.starts.get())));
    auto* indices = static_cast<const Index*>(PyArray_DATA(as_array(m.indices.get())));
    if (starts[0] < 0 || starts[majors] > PyArray_SIZE(as_array(m.indices.get())))
        return false;
    for (npy_intp i = 0; i < majors; ++i)
        if (starts[i] > starts[i + 1])
            return false;
    for (int64_t p = starts[0]; p < starts[majors]; ++p)
        if (indices[p] < 0 || indices[p] >= minors)
            return false;
    return true;
}

// A sparse matrix in rows (csr) or columns (csc), of doubles.
Sparse sparse_of(Borrowed matrix, bool by_rows) {
    Ref sparse = Ref::steal(PyObject_GetAttrString(state().module, "_sp"));
    Ref type = Ref::steal(PyObject_GetAttrString(sparse.get(), by_rows ? "csr_matrix" : "csc_matrix"));
    // SciPy converts between rows and columns without looking at the indices.
    if (!checked(PyObject_IsInstance(matrix, type.get())) && checked(PyObject_HasAttrString(matrix, "check_format")))
        Ref::steal(PyObject_CallMethod(matrix, "check_format", "O", Py_True));
    Ref m = checked(PyObject_IsInstance(matrix, type.get())) ? Ref::borrow(matrix)
                                                             : Ref::steal(PyObject_CallOneArg(type.get(), matrix));
    Ref shape = Ref::steal(PyObject_GetAttrString(m.get(), "shape"));
    Sparse s{};
    if (!PyArg_ParseTuple(shape.get(), "nn", &s.rows, &s.cols))
        throw PythonError();
    Ref indices = Ref::steal(PyObject_GetAttrString(m.get(), "indices"));
    s.wide = !PyArray_Check(indices.get()) || PyArray_ITEMSIZE(as_array(indices.get())) > 4;
    s.starts = plain_array(m.get(), "indptr", s.wide ? NPY_INT64 : NPY_INT32);
    s.indices = plain_array(m.get(), "indices", s.wide ? NPY_INT64 : NPY_INT32);
    s.data = plain_array(m.get(), "data", NPY_FLOAT64);
    npy_intp majors = by_rows ? s.rows : s.cols, minors = by_rows ? s.cols : s.rows;
    if (!(s.wide ? consistent<int64_t>(s, majors, minors) : consistent<int32_t>(s, majors, minors)))
        raise(PyExc_ValueError, "the indices of the sparse matrix do not fit its shape");
    return s;
}

template <class Index>
BlockRef sparse_product(const Sparse& m, const Shape& shape, const LinBlock& x, npy_intp cols, bool sparse_left) {
    auto* starts = static_cast<const Index*>(PyArray_DATA(as_array(m.starts.get())));
    auto* indices = static_cast<const Index*>(PyArray_DATA(as_array(m.indices.get())));
    auto* data = static_cast<const double*>(PyArray_DATA(as_array(m.data.get())));
    npy_intp inner = sparse_left ? cols : m.rows; // the length of a row of x
    return combine(shape, x, false, [=](int64_t cell, auto take) {
        int64_t i = cell / cols, j = cell % cols, major = sparse_left ? i : j;
        for (int64_t p = starts[major]; p < starts[major + 1]; ++p)
            take(data[p], sparse_left ? inner * indices[p] + j : inner * i + indices[p]);
    });
}

// Quadratic cells, which have no block: sums of scaled cells by the scalar operators' own rules.
template <class Index>
Ref sparse_quadratic(const Sparse& m, PyObject* const* cells, npy_intp rows, npy_intp cols, bool sparse_left) {
    auto* starts = static_cast<const Index*>(PyArray_DATA(as_array(m.starts.get())));
    auto* indices = static_cast<const Index*>(PyArray_DATA(as_array(m.indices.get())));
    auto* data = static_cast<const double*>(PyArray_DATA(as_array(m.data.get())));
    npy_intp shape[] = {rows, cols}, inner = sparse_left ? cols : m.rows;
    Ref out = Ref::steal(PyArray_SimpleNew(2, shape, NPY_OBJECT));
    for (npy_intp i = 0; i < rows; ++i)
        for (npy_intp j = 0; j < cols; ++j) {
            QuadExpr* q = new_quadexpr();
            Ref sum = owned(q);
            npy_intp major = sparse_left ? i : j;
            for (int64_t p = starts[major]; p < starts[major + 1]; ++p) {
                PyObject* cell = cells[sparse_left ? inner * indices[p] + j : inner * i + indices[p]];
                if (!cell || !is_quadexpr(cell))
                    raise(PyExc_TypeError, "Cannot convert %.200s to %.200s",
                          cell ? Py_TYPE(cell)->tp_name : "NoneType", state().quadexpr->tp_name);
                Ref scaled = q_mul_n(as_quadexpr(cell), data[p]); // a cell may be in many sums: nothing is shared
                append_terms(*q, as_quadexpr(scaled.get()));
                append_terms(q->linear(), as_quadexpr(scaled.get()).linear(), 1.0);
            }
            checked(PyArray_SETITEM(as_array(out.get()), static_cast<char*>(PyArray_GETPTR2(as_array(out.get()), i, j)),
                                    sum.get()));
        }
    return out;
}

Ref with_sparse(Borrowed operand, Borrowed matrix, bool sparse_left) {
    Ref ndim = Ref::steal(PyObject_GetAttrString(matrix, "ndim"));
    Ref array; // the cells, unless they are a block
    BlockRef block;
    Shape given;
    if (is_mlinexpr(operand)) {
        given = shape_of(as_expr_array(operand));
        block = block_of(as_expr_array(operand));
    }
    if (!block) {
        Borrowed inside = is_mvar(operand) ? array_of(as_handle_array(operand)) : array_of(as_expr_array(operand));
        array = Ref::steal(reinterpret_cast<PyObject*>(PyArray_GETCONTIGUOUS(as_array(inside))));
        given = shape_of(inside);
        bool own = is_mvar(operand) && (as_handle_array(operand).owned || array.get() != inside);
        block = is_mvar(operand)       ? block_of_vars(array.get(), own)
                : is_mlinexpr(operand) ? block_of_exprs(array.get())
                                       : nullptr;
    }
    bool flat = given.size() == 1;
    Shape full = given;
    if (flat)
        full = sparse_left ? Shape{given[0], 1} : Shape{1, given[0]};
    if (to_int32(ndim.get()) != 2) {
        PyObject *a = sparse_left ? matrix : operand, *b = sparse_left ? operand : matrix;
        shapes_differ(a, b);
    }
    Sparse m = sparse_of(matrix, sparse_left);
    if (full.size() != 2 || (sparse_left ? m.cols != full[0] : full[1] != m.rows)) {
        Ref shape = shape_tuple(full);
        Ref other = Ref::steal(Py_BuildValue("(nn)", m.rows, m.cols));
        raise(PyExc_ValueError, "matmul: %S @ %S operation not support", sparse_left ? other.get() : shape.get(),
              sparse_left ? shape.get() : other.get());
    }
    if (size_of(full) == 0)
        raise(PyExc_ValueError, "ndarray is empty");
    npy_intp rows = sparse_left ? m.rows : full[0], cols = sparse_left ? full[1] : m.cols;
    if (flat && rows * cols == 0)
        raise(PyExc_ValueError, "cannot reshape array of size 0 into shape (1,)");
    Shape shape = flat ? Shape{std::max(rows, cols)} : Shape{rows, cols};
    if (block)
        return new_mlinexpr(m.wide ? sparse_product<int64_t>(m, shape, *block, cols, sparse_left)
                                   : sparse_product<int32_t>(m, shape, *block, cols, sparse_left));
    auto** cells = static_cast<PyObject**>(PyArray_DATA(as_array(array.get())));
    if (!cells[0] || !is_quadexpr(cells[0])) {
        PyObject *a = sparse_left ? matrix : operand, *b = sparse_left ? operand : matrix;
        unsupported("@", a, b);
    }
    Ref out = m.wide ? sparse_quadratic<int64_t>(m, cells, rows, cols, sparse_left)
                     : sparse_quadratic<int32_t>(m, cells, rows, cols, sparse_left);
    if (flat) {
        PyArray_Dims d{shape.data(), 1};
        out = Ref::steal(PyArray_Newshape(as_array(out.get()), &d, NPY_CORDER));
    }
    return new_expr_array(state().mquadexpr, out.get());
}

Ref with_array(Borrowed operand, Borrowed x, bool array_left) {
    if (is_sparse(x))
        return with_sparse(operand, x, array_left);
    if (is_mvar(operand))
        return vars_with_numbers(as_handle_array(operand), x, array_left);
    return exprs_with_numbers(as_expr_array(operand), is_mquadexpr(operand), x, array_left);
}

} // namespace

Ref arrays_matmul(Borrowed a, Borrowed b) {
    auto is_array = [](Borrowed x) { return is_mvar(x) || is_mlinexpr(x) || is_mquadexpr(x); };
    if (is_array(a)) {
        if (is_arraylike(b, true))
            return with_array(a, b, false);
        if (is_mquadexpr(a) || is_mquadexpr(b) || !is_array(b))
            unsupported("@", a, b);
        if (is_mvar(a) && is_mvar(b))
            return vars_with_vars(as_handle_array(a), as_handle_array(b));
        return exprs_with_operand(a, b);
    }
    if (is_array(b) && is_arraylike(a, true))
        return with_array(b, a, true);
    unsupported("@", a, b);
}

} // namespace tsp
