#include "model/rows.h"

#include "arrays/block.h"
#include "expr/kinds.h"
#include "expr/quadexpr.h"
#include "module/state.h"
#include "module/text.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <memory>
#include <new>
#include <numeric>

namespace tsp {

std::size_t merge_row(int* ind, double* val, std::size_t count) {
    std::size_t rising = 1;
    while (rising < count && ind[rising - 1] < ind[rising])
        ++rising;
    if (rising >= count)
        return count;
    constexpr std::size_t kSmall = 32;
    if (count <= kSmall) {
        for (std::size_t i = rising; i < count; ++i) {
            int k = ind[i];
            double v = val[i];
            std::size_t j = i;
            for (; j > 0 && ind[j - 1] > k; --j) {
                ind[j] = ind[j - 1];
                val[j] = val[j - 1];
            }
            ind[j] = k;
            val[j] = v;
        }
    } else {
        std::vector<std::size_t> order(count);
        std::iota(order.begin(), order.end(), std::size_t{0});
        std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return ind[a] < ind[b]; });
        std::vector<int> sorted_ind(count);
        std::vector<double> sorted_val(count);
        for (std::size_t i = 0; i < count; ++i) {
            sorted_ind[i] = ind[order[i]];
            sorted_val[i] = val[order[i]];
        }
        std::copy(sorted_ind.begin(), sorted_ind.end(), ind);
        std::copy(sorted_val.begin(), sorted_val.end(), val);
    }
    std::size_t last = 0;
    for (std::size_t i = 1; i < count; ++i) {
        if (ind[i] == ind[last]) {
            val[last] += val[i];
        } else {
            ++last;
            ind[last] = ind[i];
            val[last] = val[i];
        }
    }
    return last + 1;
}

void RowArrays::finish_row(std::size_t from) {
    std::size_t count = merge_row(index.data() + from, value.data() + from, index.size() - from);
    index.resize(from + count);
    value.resize(from + count);
}

void QuadArrays::finish_row(std::size_t from) {
    struct Term {
        int64_t place; // both indices, the first one above
        double value;
    };
    std::size_t count = row.size() - from;
    auto place = [this](std::size_t k) { return (int64_t{row[k]} << 32) + col[k]; };
    bool rising = true;
    for (std::size_t k = from; k < row.size(); ++k) {
        if (row[k] > col[k])
            std::swap(row[k], col[k]);
        rising = rising && (k == from || place(k - 1) < place(k));
    }
    if (rising)
        return;
    constexpr std::size_t kSmall = 32;
    Term few[kSmall];
    std::vector<Term> many(count > kSmall ? count : 0);
    Term* terms = count > kSmall ? many.data() : few;
    for (std::size_t k = 0; k < count; ++k)
        terms[k] = {place(from + k), value[from + k]};
    if (count > kSmall) {
        std::stable_sort(terms, terms + count, [](const Term& a, const Term& b) { return a.place < b.place; });
    } else {
        for (std::size_t i = 1; i < count; ++i) {
            Term t = terms[i];
            std::size_t j = i;
            for (; j > 0 && terms[j - 1].place > t.place; --j)
                terms[j] = terms[j - 1];
            terms[j] = t;
        }
    }
    std::size_t last = 0;
    for (std::size_t i = 1; i < count; ++i) {
        if (terms[i].place == terms[last].place)
            terms[last].value += terms[i].value;
        else
            terms[++last] = terms[i];
    }
    for (std::size_t k = 0; k <= last; ++k) {
        col[from + k] = static_cast<int>(terms[k].place); // the lower half
        row[from + k] = static_cast<int>((terms[k].place - col[from + k]) >> 32);
        value[from + k] = terms[k].value;
    }
    for (auto* indices : {&row, &col})
        indices->resize(from + last + 1);
    value.resize(from + last + 1);
}

namespace {

bool is_var(Coeff item) { return item.is_object() && tsp::is_var(item.pointer()); }

// The index of what stands in a list of variables.
int index_of(const Model& self, Borrowed var) {
    if (tsp::is_var(var))
        return index_in(self, var);
    Ref index = Ref::steal(PyObject_GetAttr(var, state().s_index));
    return to_int32(index.get());
}

} // namespace

void append_terms(QuadArrays& terms, const Model& self, const QuadExpr& q) {
    int n = q.size();
    std::size_t from = terms.row.size();
    for (auto* indices : {&terms.row, &terms.col})
        indices->resize(from + static_cast<std::size_t>(n));
    terms.value.resize(from + static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
        std::size_t at = from + static_cast<std::size_t>(i);
        Coeff var1 = coeff_at(q.vars1, i), var2 = coeff_at(q.vars2, i), coeff = coeff_at(q.coeffs, i);
        if (is_var(var1) && is_var(var2) && coeff.to_number(terms.value[at])) {
            terms.row[at] = index_in(self, var1.pointer());
            terms.col[at] = index_in(self, var2.pointer());
            continue;
        }
        Ref one = var1.object(), other = var2.object(), factor = coeff.object(); // these may run Python code
        terms.row[at] = index_of(self, one.get());
        terms.col[at] = index_of(self, other.get());
        terms.value[at] = to_double(factor.get());
        if (q.size() < n)
            raise(PyExc_RuntimeError, "the expression changed while it was read");
    }
}

std::size_t fill_row(int* index, double* value, const Model& self, const LinExpr& expr) {
    auto n = static_cast<std::size_t>(expr.size());
    PyObject* const* vars = expr.vars.data();
    bool rising = true;
    for (std::size_t i = 0; i < n; ++i) {
        index[i] = index_in(self, vars[i]);
        rising &= i == 0 || index[i - 1] < index[i];
    }
    std::copy_n(expr.coeffs.data(), n, value);
    return rising ? n : merge_row(index, value, n);
}

void append_row(RowArrays& rows, const Model& self, const LinExpr& expr) {
    std::size_t from = rows.index.size(), room = from + static_cast<std::size_t>(expr.size());
    rows.index.resize(room);
    rows.value.resize(room);
    std::size_t count = fill_row(rows.index.data() + from, rows.value.data() + from, self, expr);
    rows.index.resize(from + count);
    rows.value.resize(from + count);
}

void append_rows(RowArrays& rows, const Model& self, const LinBlock& block) {
    int64_t terms = block.terms();
    if (terms > INT_MAX)
        throw std::bad_alloc();
    rows.begin.reserve(static_cast<std::size_t>(block.size));
    rows.index.resize(static_cast<std::size_t>(terms));
    rows.value.resize(static_cast<std::size_t>(terms));
    std::size_t at = 0;
    std::vector<int> common; // the indices of a row of variables that all cells share
    if (block.same_vars && block.size > 0)
        for (int64_t k = 0; k < block.width; ++k)
            common.push_back(index_in(self, block.vars[k]));
    for (int64_t i = 0; i < block.size; ++i) {
        rows.begin.push_back(static_cast<int>(at));
        auto n = static_cast<std::size_t>(block.count(i));
        int* index = rows.index.data() + at;
        double* value = rows.value.data() + at;
        if (block.same_vars) {
            std::copy_n(common.data(), n, index);
        } else {
            PyObject* const* vars = block.vars_of(i);
            for (std::size_t k = 0; k < n; ++k)
                index[k] = index_in(self, vars[k]);
        }
        Coeffs coeffs(block, i);
        if (coeffs.p)
            std::copy_n(coeffs.p, n, value);
        else
            std::fill_n(value, n, 1.0);
        at += merge_row(index, value, n);
    }
    rows.index.resize(at);
    rows.value.resize(at);
}

namespace {

// An int, or a plain text whose repr is itself in quotes; false for what needs Python's own repr.
bool append_plain(std::string& text, PyObject* item) {
    if (PyLong_CheckExact(item)) {
        int overflow = 0;
        long long v = PyLong_AsLongLongAndOverflow(item, &overflow);
        if (overflow)
            return false;
        char digits[24];
        auto end = std::to_chars(digits, digits + sizeof digits, v).ptr;
        text.append(digits, end);
        return true;
    }
    if (!PyUnicode_CheckExact(item) || !PyUnicode_IS_COMPACT_ASCII(item))
        return false;
    auto* s = reinterpret_cast<const char*>(PyUnicode_1BYTE_DATA(item));
    Py_ssize_t size = PyUnicode_GET_LENGTH(item);
    for (Py_ssize_t i = 0; i < size; ++i)
        if (s[i] <= ' ' || s[i] == '\'' || s[i] == '\\' || s[i] == 127)
            return false;
    text += '\'';
    text.append(s, static_cast<std::size_t>(size));
    text += '\'';
    return true;
}

void append_repr(std::string& text, PyObject* item) {
    Ref repr = Ref::steal(PyObject_Repr(item));
    Chars chars(repr.get());
    for (const char* p = chars.get(); *p; ++p)
        if (*p != ' ')
            text += *p;
}

} // namespace

void append_subscript(std::string& text, PyObject* const* items, Py_ssize_t count) {
    text += '[';
    for (Py_ssize_t i = 0; i < count; ++i) {
        if (i > 0)
            text += ',';
        if (!append_plain(text, items[i]))
            append_repr(text, items[i]);
    }
    text += ']';
}

void append_subscript(std::string& text, Py_ssize_t cell, int ndim, const Py_ssize_t* shape) {
    Py_ssize_t step = 1;
    for (int d = 1; d < ndim; ++d)
        step *= shape[d];
    text += '[';
    for (int d = 0; d < ndim; ++d) {
        char digits[24];
        auto end = std::to_chars(digits, digits + sizeof digits, cell / step).ptr;
        if (d > 0)
            text += ',';
        text.append(digits, end);
        cell %= step;
        if (d + 1 < ndim)
            step /= shape[d + 1];
    }
    text += ']';
}

CellNames::CellNames(const char* name, const std::vector<Py_ssize_t>& shape, std::size_t count) : names_(count, "") {
    if (!*name)
        return;
    std::vector<std::size_t> starts;
    starts.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        starts.push_back(text_.size());
        text_ += name;
        append_subscript(text_, static_cast<Py_ssize_t>(i), static_cast<int>(shape.size()), shape.data());
        text_ += '\0';
    }
    for (std::size_t i = 0; i < count; ++i)
        names_[i] = text_.data() + starts[i];
}

double bound_of(Borrowed number) {
    double b;
    if (!PyLong_Check(number) || small_int(number, b))
        return to_double(number);
    int sign = 0;
    PyLong_AsLongAndOverflow(number, &sign);
    b = PyLong_AsDouble(number);
    if (b != -1.0 || !PyErr_Occurred())
        return b;
    PyErr_Clear(); // and the sign is known then
    return sign * TSO_INFINITY;
}

namespace {

double side(Borrowed bound, double constant) {
    double b = bound_of(bound);
    if (std::fabs(b) >= TSO_INFINITY)
        return b >= 0 ? TSO_INFINITY : -TSO_INFINITY;
    return b - constant;
}

} // namespace

Sides sides_of(Borrowed lower, Borrowed upper, double constant) {
    if (lower == Py_None && upper == Py_None)
        raise(PyExc_TypeError, "must be real number, not NoneType");
    return {lower == Py_None ? -TSO_INFINITY : side(lower, constant),
            upper == Py_None ? TSO_INFINITY : side(upper, constant)};
}

char row_sense(Borrowed sense) {
    for (char code : {TSO_GREATER_EQUAL, TSO_EQUAL, TSO_LESS_EQUAL}) {
        Ref text = chars2str(&code, 1);
        if (checked(PyObject_RichCompareBool(sense, text.get(), Py_EQ)))
            return code;
    }
    return 0;
}

const char* name_or_empty(Borrowed name, Chars& holder) {
    if (!name)
        return "";
    if (name == Py_None)
        raise(PyExc_TypeError, "expected bytes, NoneType found");
    holder = str2chars(name);
    return holder;
}

PyObject* mirror(PyObject* list) {
    if (!list || !PyList_Check(list))
        raise(PyExc_TypeError, "object of type 'NoneType' has no len()");
    return list;
}

Ref append_handle(PyObject* list, PyTypeObject* type, const Model& self, Removal take_back) {
    struct Undo {
        TSOmodel model;
        int index;
        Removal remove;
        ~Undo() {
            if (remove)
                remove(model, 1, &index);
        }
    } undo{self.mdl_, static_cast<int>(PyList_GET_SIZE(list)), take_back};
    Ref handle = new_handle(type, self.mdl_, undo.index);
    checked(PyList_Append(list, handle.get()));
    undo.remove = nullptr;
    return handle;
}

void shorten(PyObject* list, Py_ssize_t size) {
    for (Py_ssize_t n = list ? PyList_GET_SIZE(list) : 0; n > size; --n) {
        Ref last = Ref::steal(PyList_GET_ITEM(list, n - 1));
        Py_SET_SIZE(reinterpret_cast<PyVarObject*>(list), n - 1);
    }
}

void TakeBack::undo() {
    SavedError saved;
    const bool rows = list_ == &Model::constrs_;
    for (auto list : {list_, rows ? &Model::qconstrs_ : list_, rows ? &Model::psdconstrs_ : list_})
        shorten(self_.*list, first_);
    auto remove = rows ? &TSOdelconstrs : &TSOdelvars;
    std::unique_ptr<int[]> all(new (std::nothrow) int[static_cast<std::size_t>(count_)]);
    if (all) {
        std::iota(all.get(), all.get() + count_, first_);
        remove(self_.mdl_, count_, all.get());
    } else {
        for (int last = first_ + count_ - 1; last >= first_; --last)
            remove(self_.mdl_, 1, &last);
    }
}

Ref add_constr_object(Model& self) {
    State& s = state();
    Ref constr = append_handle(mirror(self.constrs_), s.constr, self);
    if (self.qconstrs_)
        append_handle(mirror(self.qconstrs_), s.qconstr, self);
    if (self.psdconstrs_)
        append_handle(mirror(self.psdconstrs_), s.psdconstr, self);
    return constr;
}

} // namespace tsp
