#include "attr/matrix.h"

#include "module/state.h"
#include "module/text.h"
#include "py/numpy.h"
#include "solver/check.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <new>
#include <string_view>

namespace tsp {
namespace {

bool before(const SymEntry& a, const SymEntry& b) { return a.row != b.row ? a.row < b.row : a.col < b.col; }

[[noreturn]] void no_matrix(Borrowed x) {
    raise(PyExc_TypeError, "Expect a symmetric matrix: a NumPy array, a SciPy sparse matrix or a list of lists, not %s",
          type_name(x));
}

void require_shape(npy_intp rows, npy_intp cols, int dim) {
    if (rows != cols)
        raise(PyExc_ValueError, "Expect a square matrix, not one of shape (%zd, %zd)", rows, cols);
    if (rows != dim)
        raise(PyExc_ValueError, "a matrix of shape (%zd, %zd) does not fit a semi-definite variable of dimension %d",
              rows, cols, dim);
}

[[noreturn]] void not_finite(double value, npy_intp row, npy_intp col) {
    raise(PyExc_ValueError, "the matrix has %s at [%zd, %zd]", std::isnan(value) ? "nan" : "an infinite entry", row,
          col);
}

// An array of real numbers as doubles, in whatever order they lie; objects are asked for their float.
Ref real_numbers(Ref array) {
    PyArrayObject* a = as_array(array.get());
    if (!PyArray_ISBOOL(a) && !PyArray_ISINTEGER(a) && !PyArray_ISFLOAT(a) && !PyArray_ISOBJECT(a))
        raise(PyExc_TypeError, "Expect a matrix of real numbers, not of %S",
              reinterpret_cast<PyObject*>(PyArray_DESCR(a)));
    return Ref::steal(
        PyArray_FROM_OTF(array.get(), NPY_FLOAT64, NPY_ARRAY_ALIGNED | NPY_ARRAY_NOTSWAPPED | NPY_ARRAY_FORCECAST));
}

SymRef read_dense(Borrowed x, int dim) {
    Ref array = Ref::steal(PyArray_FROM_O(x));
    if (PyArray_NDIM(as_array(array.get())) != 2) {
        Ref shape = Ref::steal(PyObject_GetAttrString(array.get(), "shape"));
        raise(PyExc_ValueError, "Expect a square matrix, not one of shape %S", shape.get());
    }
    require_shape(PyArray_DIM(as_array(array.get()), 0), PyArray_DIM(as_array(array.get()), 1), dim);
    array = real_numbers(std::move(array));
    PyArrayObject* a = as_array(array.get());
    const char* data = PyArray_BYTES(a);
    const npy_intp step = PyArray_STRIDE(a, 0), next = PyArray_STRIDE(a, 1);
    auto cell = [&](npy_intp i, npy_intp j) { return *reinterpret_cast<const double*>(data + i * step + j * next); };
    // Counted first: a list that grows would take up to twice the memory of a large matrix.
    std::size_t count = 0;
    for (npy_intp i = 0; i < dim; ++i)
        for (npy_intp j = 0; j < dim; ++j) {
            double value = cell(i, j);
            if (!std::isfinite(value))
                not_finite(value, i, j);
            count += value != 0.0 && j <= i;
        }
    std::vector<SymEntry> entries;
    entries.reserve(count);
    for (int i = 0; i < dim; ++i)
        for (int j = 0; j <= i; ++j) {
            double value = cell(i, j), mirror = cell(j, i);
            if (value != mirror)
                value = 0.5 * value + 0.5 * mirror;
            if (value != 0.0)
                entries.push_back({i, j, value});
        }
    return SymRef(new SymMatrix(dim, true, std::move(entries)));
}

// ---- Sparse ----

Ref indices(Borrowed sparse, const char* name) {
    Ref array = Ref::steal(PyObject_GetAttrString(sparse, name));
    return Ref::steal(PyArray_FROMANY(array.get(), NPY_INT64, 1, 1, NPY_ARRAY_CARRAY_RO | NPY_ARRAY_FORCECAST));
}
const int64_t* data_of(const Ref& indices) {
    return static_cast<const int64_t*>(PyArray_DATA(as_array(indices.get())));
}

[[noreturn]] void no_fit() { raise(PyExc_ValueError, "the indices of the sparse matrix do not fit its shape"); }

// The entries of a sparse matrix, in the lower triangle: half of each that is not on the diagonal, so that those of a
// symmetric matrix find themselves again. Nothing that SciPy tells of its arrays is trusted.
class LowerEntries {
public:
    LowerEntries(Borrowed data, int dim) : dim_(dim) {
        Ref numbers = real_numbers(Ref::steal(PyArray_FROM_O(data)));
        numbers_ = Ref::steal(PyArray_FROMANY(numbers.get(), NPY_FLOAT64, 1, 1, NPY_ARRAY_CARRAY_RO));
        entries.reserve(static_cast<std::size_t>(size()));
    }
    npy_intp size() const { return PyArray_SIZE(as_array(numbers_.get())); }

    // The k-th number, which stands at (i, j) or at (j, i).
    void add(int64_t i, int64_t j, npy_intp k) {
        if (i < 0 || i >= dim_ || j < 0 || j >= dim_)
            no_fit();
        double value = static_cast<const double*>(PyArray_DATA(as_array(numbers_.get())))[k];
        if (!std::isfinite(value))
            not_finite(value, static_cast<npy_intp>(i), static_cast<npy_intp>(j));
        entries.push_back(
            {static_cast<int>(std::max(i, j)), static_cast<int>(std::min(i, j)), i == j ? value : 0.5 * value});
    }
    std::vector<SymEntry> entries;

private:
    Ref numbers_;
    int dim_;
};

// By rows (csr) or by columns (csc), which is the same for the symmetric part.
void read_compressed(Borrowed x, int dim, LowerEntries& to, bool by_rows) {
    Ref starts = indices(x, "indptr"), minors = indices(x, "indices");
    npy_intp count = std::min(PyArray_SIZE(as_array(minors.get())), to.size());
    const int64_t *start = data_of(starts), *minor = data_of(minors);
    if (PyArray_SIZE(as_array(starts.get())) != npy_intp{dim} + 1 || start[0] < 0)
        no_fit();
    for (int i = 0; i < dim; ++i) {
        if (start[i] > start[i + 1] || start[i + 1] > count)
            no_fit();
        for (int64_t k = start[i]; k < start[i + 1]; ++k)
            by_rows ? to.add(i, minor[k], k) : to.add(minor[k], i, k);
    }
}

void read_coordinates(Borrowed x, LowerEntries& to) {
    Ref rows = indices(x, "row"), cols = indices(x, "col");
    npy_intp count = to.size();
    if (PyArray_SIZE(as_array(rows.get())) != count || PyArray_SIZE(as_array(cols.get())) != count)
        no_fit();
    for (npy_intp k = 0; k < count; ++k)
        to.add(data_of(rows)[k], data_of(cols)[k], k);
}

SymRef read_sparse(Borrowed x, int dim) {
    Ref shape = Ref::steal(PyObject_GetAttrString(x, "shape"));
    if (!PyTuple_Check(shape.get()) || PyTuple_GET_SIZE(shape.get()) != 2)
        raise(PyExc_ValueError, "Expect a square matrix, not one of shape %S", shape.get());
    require_shape(PyNumber_AsSsize_t(PyTuple_GET_ITEM(shape.get(), 0), nullptr),
                  PyNumber_AsSsize_t(PyTuple_GET_ITEM(shape.get(), 1), nullptr), dim);
    Ref format = Ref::steal(PyObject_GetAttrString(x, "format")), matrix = Ref::borrow(x);
    auto is = [&](const char* name) {
        return PyUnicode_Check(format.get()) && PyUnicode_CompareWithASCIIString(format.get(), name) == 0;
    };
    bool by_rows = is("csr"), compressed = by_rows || is("csc");
    if (!compressed && !is("coo")) {
        if (checked(PyObject_HasAttrString(x, "check_format"))) // SciPy converts without looking at the indices
            Ref::steal(PyObject_CallMethod(x, "check_format", "O", Py_True));
        matrix = Ref::steal(PyObject_CallMethod(x, "tocoo", "O", Py_False));
    }
    Ref data = Ref::steal(PyObject_GetAttrString(matrix.get(), "data"));
    LowerEntries lower(data.get(), dim);
    if (compressed)
        read_compressed(matrix.get(), dim, lower, by_rows);
    else
        read_coordinates(matrix.get(), lower);
    merge_entries(lower.entries);
    return SymRef(new SymMatrix(dim, false, std::move(lower.entries)));
}

Ref dense_object(const SymMatrix& m, double factor) {
    npy_intp shape[] = {m.dim(), m.dim()};
    Ref array = Ref::steal(PyArray_ZEROS(2, shape, NPY_FLOAT64, 0)); // tells what is too large
    auto* cells = static_cast<double*>(PyArray_DATA(as_array(array.get())));
    for (const SymEntry& e : m.entries())
        cells[static_cast<npy_intp>(e.row) * m.dim() + e.col] = cells[static_cast<npy_intp>(e.col) * m.dim() + e.row] =
            factor * e.value;
    return array;
}

// A dimension beyond any that can be solved: SciPy fills an index of the rows, which would take many gigabytes.
constexpr int kLargestSparse = 100'000'000;

Ref sparse_object(const SymMatrix& m, double factor) {
    if (m.dim() > kLargestSparse)
        raise(PyExc_MemoryError, "no memory for a sparse matrix of dimension %d", m.dim());
    npy_intp count = 0;
    for (const SymEntry& e : m.entries())
        count += e.row == e.col ? 1 : 2;
    Ref row = Ref::steal(PyArray_SimpleNew(1, &count, NPY_INT32)),
        col = Ref::steal(PyArray_SimpleNew(1, &count, NPY_INT32));
    Ref data = Ref::steal(PyArray_SimpleNew(1, &count, NPY_FLOAT64));
    auto* r = static_cast<int32_t*>(PyArray_DATA(as_array(row.get())));
    auto* c = static_cast<int32_t*>(PyArray_DATA(as_array(col.get())));
    auto* v = static_cast<double*>(PyArray_DATA(as_array(data.get())));
    auto put = [&](int i, int j, double value) {
        *r++ = i;
        *c++ = j;
        *v++ = value;
    };
    for (const SymEntry& e : m.entries()) {
        put(e.row, e.col, factor * e.value);
        if (e.row != e.col)
            put(e.col, e.row, factor * e.value);
    }
    Ref sparse = Ref::steal(PyObject_GetAttrString(state().module, "_sp"));
    return Ref::steal(PyObject_CallMethod(sparse.get(), "csr_matrix", "((O(OO))(ii))", data.get(), row.get(), col.get(),
                                          m.dim(), m.dim()));
}

// The attributes that are read as dense arrays. A value is dense as a rule, a coefficient mostly sparse.
bool gives_dense(const char* name) { return std::string_view(name) == "PsdX"; }

} // namespace

void merge_entries(std::vector<SymEntry>& entries) {
    if (!std::is_sorted(entries.begin(), entries.end(), before))
        std::stable_sort(entries.begin(), entries.end(), before);
    std::size_t kept = 0;
    for (std::size_t k = 0; k < entries.size();) {
        SymEntry sum = entries[k];
        for (++k; k < entries.size() && entries[k].row == sum.row && entries[k].col == sum.col; ++k)
            sum.value += entries[k].value;
        if (sum.value != 0.0)
            entries[kept++] = sum;
    }
    entries.resize(kept);
}

bool is_matrix(Borrowed x) { return PyList_Check(x) || PyTuple_Check(x) || PyArray_Check(x) || is_sparse(x); }

SymRef read_matrix(Borrowed x, int dim) {
    if (!is_matrix(x))
        no_matrix(x);
    return is_sparse(x) ? read_sparse(x, dim) : read_dense(x, dim);
}

Ref matrix_object(const SymMatrix& m, double factor, bool dense) {
    return dense ? dense_object(m, factor) : sparse_object(m, factor);
}

double inner_product(const SymMatrix& a, const SymMatrix& b) {
    double sum = 0.0;
    auto y = b.entries().begin(), end = b.entries().end();
    for (const SymEntry& x : a.entries()) {
        y = std::lower_bound(y, end, x, before);
        if (y == end)
            break;
        if (!before(x, *y))
            sum += (x.row == x.col ? 1.0 : 2.0) * x.value * y->value;
    }
    return sum;
}

int psd_dim(TSOmodel model, int index) {
    int dim = 0;
    check(TSOgetintattrlist(model, "Dim", 1, &index, &dim));
    return dim;
}

std::vector<SymRef> read_matrices(TSOmodel model, const char* name, const std::vector<int>& indices) {
    std::size_t n = indices.size();
    auto count = static_cast<int>(n);
    std::vector<int> sizes(n), counts(n), starts(n + 1);
    check(TSOgetmatattrlist(model, name, count, indices.data(), sizes.data(), nullptr, nullptr, nullptr, nullptr,
                            counts.data()));
    std::size_t total = 0;
    for (int one : counts)
        total += static_cast<std::size_t>(one);
    std::vector<int> rows(total), cols(total);
    std::vector<double> values(total);
    if (total > 0)
        check(TSOgetmatattrlist(model, name, count, indices.data(), sizes.data(), starts.data(), rows.data(),
                                cols.data(), values.data(), counts.data()));
    std::vector<SymRef> matrices;
    for (std::size_t i = 0; i < n; ++i) {
        std::vector<SymEntry> entries;
        entries.reserve(static_cast<std::size_t>(counts[i]));
        for (auto k = static_cast<std::size_t>(starts[i]); k < static_cast<std::size_t>(starts[i + 1]); ++k)
            entries.push_back({std::max(rows[k], cols[k]), std::min(rows[k], cols[k]), values[k]});
        merge_entries(entries);
        matrices.emplace_back(new SymMatrix(sizes[i], gives_dense(name), std::move(entries)));
    }
    return matrices;
}

void write_matrices(TSOmodel model, const char* name, const std::vector<int>& indices,
                    const std::vector<const std::vector<SymEntry>*>& matrices) {
    std::vector<int> starts, rows, cols;
    std::vector<double> values;
    std::size_t total = 0;
    for (const auto* entries : matrices)
        total += entries->size();
    if (total > INT_MAX)
        throw std::bad_alloc();
    rows.reserve(total);
    cols.reserve(total);
    values.reserve(total);
    for (const auto* entries : matrices) {
        starts.push_back(static_cast<int>(rows.size()));
        for (const SymEntry& e : *entries) {
            rows.push_back(e.row);
            cols.push_back(e.col);
            values.push_back(e.value);
        }
    }
    check(TSOsetmatattrlist(model, name, static_cast<int>(indices.size()), indices.data(), static_cast<int>(total),
                            starts.data(), rows.data(), cols.data(), values.data()));
}

Ref read_matrix_attribute(const Attribute& a, int index) {
    std::vector<SymRef> one = read_matrices(a.model, a.name, {index});
    return matrix_object(*one[0], 1.0, one[0]->dense());
}

Ref read_matrix_attribute_list(const Attribute& a, const std::vector<int>& indices) {
    std::vector<SymRef> matrices = read_matrices(a.model, a.name, indices);
    Ref list = Ref::steal(PyList_New(static_cast<Py_ssize_t>(matrices.size())));
    for (std::size_t i = 0; i < matrices.size(); ++i)
        PyList_SET_ITEM(list.get(), static_cast<Py_ssize_t>(i),
                        matrix_object(*matrices[i], 1.0, matrices[i]->dense()).release());
    return list;
}

void write_matrix_attribute(const Attribute& a, int index, Borrowed value) {
    SymRef matrix = read_matrix(value, psd_dim(a.model, index));
    write_matrices(a.model, a.name, {index}, {&matrix->entries()});
}

void write_matrix_attribute_list(const Attribute& a, const std::vector<int>& indices, Borrowed values) {
    bool one_for_all = is_sparse(values) || (PyArray_Check(values) && PyArray_NDIM(as_array(values)) == 2);
    Ref each;
    auto count = static_cast<Py_ssize_t>(indices.size());
    if (!one_for_all) {
        if (!is_matrix(values))
            no_matrix(values);
        each = Ref::steal(PySequence_Tuple(values));
        if (PyTuple_GET_SIZE(each.get()) != count)
            raise(PyExc_ValueError, "%zd values given for %zd elements", PyTuple_GET_SIZE(each.get()), count);
    }
    std::vector<SymRef> read;
    std::vector<const std::vector<SymEntry>*> matrices;
    for (Py_ssize_t i = 0; i < count; ++i) {
        int dim = psd_dim(a.model, indices[static_cast<std::size_t>(i)]);
        if (!one_for_all || i == 0)
            read.push_back(read_matrix(one_for_all ? values : PyTuple_GET_ITEM(each.get(), i), dim));
        else
            require_shape(read[0]->dim(), read[0]->dim(), dim);
        matrices.push_back(&read.back()->entries());
    }
    write_matrices(a.model, a.name, indices, matrices);
}

} // namespace tsp
