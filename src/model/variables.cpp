// Model: variables, one at a time and in bulk.
#include "arrays/handle_array.h"
#include "containers/base.h"
#include "expr/column.h"
#include "expr/kinds.h"
#include "model/model.h"
#include "model/rows.h"
#include "module/text.h"
#include "py/args.h"
#include "py/numpy.h"
#include "py/signals.h"
#include "solver/check.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <functional>
#include <numeric>

namespace tsp {
namespace {

// The entries of a column as the solver takes them.
RowArrays column_arrays(const Model& self, const Column& column) {
    RowArrays arrays;
    Ref coeffs = Ref::borrow(column.coeffs_), constrs = Ref::borrow(column.constrs_);
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(constrs.get()) && i < PyList_GET_SIZE(coeffs.get()); ++i) {
        Ref coeff = Ref::borrow(PyList_GET_ITEM(coeffs.get(), i));
        arrays.index.push_back(index_in(self, PyList_GET_ITEM(constrs.get(), i)));
        arrays.value.push_back(to_double(coeff.get()));
    }
    arrays.finish_row(0);
    return arrays;
}

double number_or(Borrowed arg, double fallback) { return arg ? to_double(arg) : fallback; }

} // namespace

Ref model_addVar(Model& self, const Call& call) {
    static const Signature<6> signature{"addVar", {"lb", "ub", "obj", "vtype", "name", "column"}, 0};
    auto [lb, ub, obj, vtype, name, column] = parse(signature, call);
    double lower = number_or(lb, 0.0), upper = number_or(ub, TSO_INFINITY), cost = number_or(obj, 0.0);
    if (vtype)
        require_str_or_none(vtype, "vtype");
    if (name)
        require_str_or_none(name, "name");
    const Column* given = column ? require_or_none<Column>(column, state().column, "column") : nullptr;
    char type = TSO_CONTINUOUS;
    Chars hold_type, hold_name;
    if (vtype) {
        hold_type = str2chars(vtype);
        type = hold_type.get()[0];
    }
    const char* text = "";
    if (name) {
        hold_name = str2chars(name);
        text = hold_name;
    }
    if (given) {
        RowArrays entries = column_arrays(self, *given);
        check(TSOaddvar(self.mdl_, static_cast<int>(entries.index.size()), entries.index.data(), entries.value.data(),
                        cost, lower, upper, type, text));
    } else {
        check(TSOaddvar(self.mdl_, 0, nullptr, nullptr, cost, lower, upper, type, text));
    }
    return append_handle(mirror(self.vars_), state().var, self, &TSOdelvars);
}

// ---- Many variables ----

namespace {

// What a variable takes at least, with its handle, and what it takes with a key in a dict.
constexpr std::size_t kVarBytes = 64, kKeyedVarBytes = 150;

// What cannot fit into the memory is refused before any of it is there.
void require_room(std::size_t variables, std::size_t bytes_each = kKeyedVarBytes) {
    if (variables > INT_MAX)
        raise(PyExc_MemoryError, "too many variables");
    require_memory(static_cast<Py_ssize_t>(variables), bytes_each);
}

Ref numpy_call(const char* function, Borrowed arg) {
    return Ref::steal(PyObject_CallMethod(state().np, function, "(O)", arg));
}
Py_ssize_t numpy_number(const char* function, Borrowed arg) {
    Ref n = numpy_call(function, arg);
    Py_ssize_t v = PyNumber_AsSsize_t(n.get(), PyExc_OverflowError);
    if (v == -1 && PyErr_Occurred())
        throw PythonError();
    return v;
}
bool is_exact_number(Borrowed x) { return PyFloat_CheckExact(x) || PyLong_CheckExact(x); }

bool all_zero(Borrowed value) {
    if (is_exact_number(value))
        return to_double(value) == 0.0;
    if (PyList_CheckExact(value) || PyTuple_CheckExact(value))
        return false; // a list equals no number
    Ref zero = Ref::steal(PyFloat_FromDouble(0.0));
    Ref equal = Ref::steal(PyObject_RichCompare(value, zero.get(), Py_EQ));
    Ref all = numpy_call("all", equal.get());
    return checked(PyObject_IsTrue(all.get()));
}

// One number for all, or one for each of the `count` variables; null for what is the solver's default.
class Numbers {
public:
    Numbers(Borrowed value, bool zero_is_default, Py_ssize_t count, const char* name) {
        if (value == Py_None || (zero_is_default && all_zero(value)))
            return;
        given_ = true;
        if (is_exact_number(value) || numpy_number("ndim", value) == 0) {
            Ref number = Ref::steal(PyNumber_Float(value));
            values_.assign(static_cast<std::size_t>(count), PyFloat_AS_DOUBLE(number.get()));
            return;
        }
        Ref array = Ref::steal(PyArray_FROMANY(value, NPY_FLOAT64, 0, 0, NPY_ARRAY_CARRAY_RO | NPY_ARRAY_FORCECAST));
        if (PyArray_SIZE(as_array(array.get())) != count)
            raise(PyExc_ValueError, "%s doesn't have enough elements", name);
        auto* data = static_cast<const double*>(PyArray_DATA(as_array(array.get())));
        values_.assign(data, data + count);
    }
    const double* get() const { return given_ ? values_.data() : nullptr; }

private:
    bool given_ = false;
    std::vector<double> values_;
};

// numpy.take(values, i) for one i after another. What has no take() of its own becomes an array, but once.
class Elements {
public:
    explicit Elements(Borrowed values) : values_(Ref::borrow(values)) {
        if (PyArray_CheckExact(values) || !PyObject_HasAttrString(values, "take")) {
            Ref array = Ref::steal(PyArray_FROM_O(values));
            values_ = Ref::steal(PyArray_Ravel(as_array(array.get()), NPY_CORDER));
            flat_ = true;
        }
    }
    Ref take(Py_ssize_t i) const {
        if (!flat_)
            return Ref::steal(PyObject_CallMethod(state().np, "take", "On", values_.get(), i));
        PyArrayObject* a = as_array(values_.get());
        if (i >= PyArray_SIZE(a))
            raise(PyExc_IndexError, "list index out of range");
        return Ref::steal(PyArray_ToScalar(PyArray_GETPTR1(a, i), a));
    }

private:
    Ref values_;
    bool flat_ = false;
};

// The first byte of a type given as str or bytes; false for anything else.
bool type_byte(Borrowed value, char& type) {
    if (PyBytes_Check(value))
        type = PyBytes_AS_STRING(value)[0];
    else if (PyUnicode_Check(value))
        type = str2chars(value).get()[0];
    else
        return false;
    return true;
}

class Types {
public:
    Types(Borrowed value, Py_ssize_t count) {
        char type = 0;
        if (value == Py_None)
            return;
        bool single = type_byte(value, type);
        if (single && (type == 'c' || type == 'C') && text_size(value) == 1)
            return;
        if (!single && numpy_number("ndim", value) == 0)
            raise(PyExc_TypeError, "vtype should be str or byte");
        given_ = true;
        if (single) {
            values_.assign(static_cast<std::size_t>(count), type);
            return;
        }
        if (numpy_number("size", value) != count)
            raise(PyExc_ValueError, "vtype doesn't have enough elements");
        values_.assign(static_cast<std::size_t>(count), TSO_CONTINUOUS);
        Elements elements(value);
        for (Py_ssize_t i = 0; i < count; ++i) {
            Ref item = elements.take(i);
            if (!type_byte(item.get(), values_[static_cast<std::size_t>(i)]))
                raise(PyExc_TypeError, "vtype contains bad type %s at %zd", type_name(item.get()), i);
        }
    }
    const char* get() const { return given_ ? values_.data() : nullptr; }

private:
    static Py_ssize_t text_size(Borrowed value) {
        return PyBytes_Check(value) ? PyBytes_GET_SIZE(value) : PyUnicode_GET_LENGTH(value);
    }
    bool given_ = false;
    std::vector<char> values_;
};

// Writes the subscript of a variable, by its number, behind a text.
using Subscripts = std::function<void(std::string&, std::size_t)>;

// Names, one behind the other in one buffer; from a prefix and subscripts, or one by one.
class VarNames {
public:
    VarNames(Borrowed name, std::size_t count, const Subscripts& append) {
        if (name == Py_None || (PyUnicode_Check(name) && PyUnicode_GET_LENGTH(name) == 0))
            return;
        std::vector<std::size_t> begin(count);
        if (PyUnicode_Check(name) || numpy_number("ndim", name) == 0) {
            Ref text = Ref::steal(PyObject_Str(name));
            std::string prefix = str2chars(text.get()).get();
            Interruptible loop;
            for (std::size_t i = 0; i < count; ++i, loop.step()) {
                begin[i] = text_.size();
                text_ += prefix;
                append(text_, i);
                text_ += '\0';
            }
        } else {
            if (numpy_number("size", name) != static_cast<Py_ssize_t>(count))
                raise(PyExc_ValueError, "names doesn't have enough elements");
            Elements elements(name);
            for (std::size_t i = 0; i < count; ++i) {
                begin[i] = text_.size();
                Ref item = elements.take(static_cast<Py_ssize_t>(i));
                Ref text = Ref::steal(PyObject_Str(item.get()));
                text_ += str2chars(text.get()).get();
                text_ += '\0';
            }
        }
        pointers_.reserve(count);
        for (std::size_t b : begin)
            pointers_.push_back(text_.data() + b);
        given_ = true;
    }
    const char** get() { return given_ ? pointers_.data() : nullptr; }

private:
    bool given_ = false;
    std::string text_;
    std::vector<const char*> pointers_;
};

struct VarArguments {
    Borrowed lb, ub, obj, vtype, name; // None where the default is meant
};

// Adds variables with a single solver call. The handles are the last entries of vars_ then: those that are ready, or
// new ones.
void add_vars(Model& self, std::size_t number, const Subscripts& subscripts, const VarArguments& a,
              const std::vector<Ref>& ready = {}) {
    require_room(number, kVarBytes);
    auto count = static_cast<Py_ssize_t>(number);
    Numbers lower(a.lb, true, count, "lb");
    bool infinite = a.ub != Py_None && is_number(a.ub) && bound_of(a.ub) >= TSO_INFINITY;
    Numbers upper(infinite ? Py_None : a.ub, false, count, "ub");
    Numbers cost(a.obj, true, count, "obj");
    Types types(a.vtype, count);
    VarNames names(a.name, number, subscripts);
    check(TSOaddvars(self.mdl_, static_cast<int>(count), 0, nullptr, nullptr, nullptr, cost.get(), lower.get(),
                     upper.get(), types.get(), names.get()));
    TakeBack added(self, &Model::vars_);
    added.added(static_cast<int>(count));
    if (ready.empty())
        for (Py_ssize_t i = 0; i < count; ++i)
            append_handle(self.vars_, state().var, self);
    for (const Ref& var : ready) {
        reinterpret_cast<Handle*>(var.get())->index_ = static_cast<int>(PyList_GET_SIZE(self.vars_));
        checked(PyList_Append(self.vars_, var.get()));
    }
    added.keep();
}

Borrowed none_if_missing(Borrowed arg) { return arg ? arg : Py_None; }

bool has_iter(Borrowed e) {
    if (PyLong_CheckExact(e) || PyFloat_CheckExact(e))
        return false;
    if (PyUnicode_CheckExact(e) || PyTuple_CheckExact(e) || PyList_CheckExact(e))
        return true;
    PyObject* method = PyObject_GetAttrString(e, "__iter__");
    if (method) {
        Py_DECREF(method);
        return true;
    }
    if (!PyErr_ExceptionMatches(PyExc_AttributeError))
        throw PythonError();
    PyErr_Clear();
    return false;
}

// One index set: for each element what it contributes to a subscript, itself or its items.
struct IndexSet {
    std::vector<Ref> items;
    std::vector<std::size_t> begin; // where each element begins, and the end; empty while each is one item

    std::size_t size() const { return begin.empty() ? items.size() : begin.size() - 1; }
    std::size_t first(std::size_t element) const { return begin.empty() ? element : begin[element]; }
    std::size_t width(std::size_t element) const { return first(element + 1) - first(element); }

    // After the items of one element have come behind `before` others.
    void end_element(std::size_t before) {
        if (begin.empty() && items.size() != before + 1) {
            begin.resize(before + 1);
            std::iota(begin.begin(), begin.end(), std::size_t{0});
        }
        if (!begin.empty())
            begin.push_back(items.size());
    }
};

// tuple(iterable), which ends where no memory could hold a variable for each item.
Ref tuple_of(Borrowed iterable) {
    if (PyTuple_CheckExact(iterable) || PyList_CheckExact(iterable) || PyUnicode_CheckExact(iterable))
        return Ref::steal(PySequence_Tuple(iterable));
    Ref iterator = Ref::steal(PyObject_GetIter(iterable));
    Py_ssize_t hint = PyObject_LengthHint(iterable, 0);
    if (hint < 0)
        throw PythonError();
    require_room(static_cast<std::size_t>(hint));
    Ref items = Ref::steal(PyList_New(0));
    Interruptible loop;
    for (; PyObject* next = PyIter_Next(iterator.get()); loop.step()) {
        Ref item = Ref::steal(next);
        checked(PyList_Append(items.get(), next));
        if ((PyList_GET_SIZE(items.get()) & 0xffff) == 0)
            require_room(static_cast<std::size_t>(PyList_GET_SIZE(items.get())));
    }
    if (PyErr_Occurred())
        throw PythonError();
    return Ref::steal(PyList_AsTuple(items.get()));
}

IndexSet index_set(Borrowed arg) {
    IndexSet set;
    if (PyLong_Check(arg)) {
        Py_ssize_t n = PyLong_AsSsize_t(arg);
        if (n == -1 && PyErr_Occurred())
            throw PythonError();
        require_room(static_cast<std::size_t>(std::max(n, Py_ssize_t{0})));
        Interruptible loop;
        for (Py_ssize_t i = 0; i < n; ++i, loop.step())
            set.items.push_back(Ref::steal(PyLong_FromSsize_t(i)));
        return set;
    }
    Ref elements = tuple_of(arg);
    for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(elements.get()); ++i) {
        PyObject* e = PyTuple_GET_ITEM(elements.get(), i);
        std::size_t before = set.items.size();
        if (!has_iter(e)) {
            set.items.push_back(Ref::borrow(e));
        } else {
            Ref items = tuple_of(e);
            for (Py_ssize_t k = 0; k < PyTuple_GET_SIZE(items.get()); ++k)
                set.items.push_back(Ref::borrow(PyTuple_GET_ITEM(items.get(), k)));
        }
        set.end_element(before);
    }
    return set;
}

// The keys of the variables, in order: the items themselves where all have one, else tuples. A million of them
// are most of what addVars needs, so the sets are gone when they are there.
struct Keys {
    std::vector<Ref> list;
    bool plain; // no tuples around them

    PyObject* key(std::size_t i) const {
        PyObject* subscript = list[i].get();
        return plain || PyTuple_GET_SIZE(subscript) != 1 ? subscript : PyTuple_GET_ITEM(subscript, 0);
    }
    void append_to(std::string& text, std::size_t i) const {
        PyObject* subscript = list[i].get();
        if (plain)
            append_subscript(text, &subscript, 1);
        else
            append_subscript(text, PySequence_Fast_ITEMS(subscript), PyTuple_GET_SIZE(subscript));
    }
};

// The cartesian product of the sets, flat, the last set running fastest.
Keys product(std::vector<IndexSet> sets) {
    if (sets.size() == 1 && sets[0].begin.empty())
        return {std::move(sets[0].items), true};
    std::size_t total = 1;
    for (auto& set : sets)
        if (__builtin_mul_overflow(total, set.size(), &total))
            total = SIZE_MAX;
    require_room(total);
    std::vector<Ref> tuples;
    tuples.reserve(total);
    std::vector<std::size_t> at(sets.size(), 0);
    Interruptible loop;
    for (std::size_t n = 0; n < total; ++n, loop.step()) {
        std::size_t width = 0;
        for (std::size_t s = 0; s < sets.size(); ++s)
            width += sets[s].width(at[s]);
        Ref tuple = Ref::steal(PyTuple_New(static_cast<Py_ssize_t>(width)));
        Py_ssize_t k = 0;
        for (std::size_t s = 0; s < sets.size(); ++s) {
            const Ref* item = sets[s].items.data() + sets[s].first(at[s]);
            for (std::size_t left = sets[s].width(at[s]); left > 0; --left, ++item)
                PyTuple_SET_ITEM(tuple.get(), k++, Ref::borrow(item->get()).release());
        }
        tuples.push_back(std::move(tuple));
        for (std::size_t s = sets.size(); s-- > 0;) {
            if (++at[s] < sets[s].size())
                break;
            at[s] = 0;
        }
    }
    return {std::move(tuples), false};
}

// A list of tuples is the list of keys as it stands. False for anything else, of which nothing is consumed then.
bool take_tuples(Borrowed elements, Keys& keys) {
    if (!PyTuple_CheckExact(elements) && !PyList_CheckExact(elements))
        return false;
    Py_ssize_t count = PySequence_Fast_GET_SIZE(elements);
    PyObject** items = PySequence_Fast_ITEMS(elements);
    for (Py_ssize_t i = 0; i < count; ++i)
        if (!PyTuple_CheckExact(items[i]))
            return false;
    keys.plain = false;
    keys.list.reserve(static_cast<std::size_t>(count));
    for (Py_ssize_t i = 0; i < count; ++i)
        keys.list.push_back(Ref::borrow(items[i]));
    return true;
}

Keys keys_of(const Call& call) {
    Keys keys{};
    if (call.nargs == 1 && take_tuples(call.args[0], keys))
        return keys;
    std::vector<IndexSet> sets;
    for (Py_ssize_t i = 0; i < call.nargs; ++i)
        sets.push_back(index_set(call.args[i]));
    return product(std::move(sets));
}

} // namespace

Ref model_addVars(Model& self, const Call& call) {
    static const Signature<5> signature{"addVars", {"lb", "ub", "obj", "vtype", "name"}, 0, 0};
    Call keywords_only{call.args + call.nargs, 0, call.kwnames};
    auto [lb, ub, obj, vtype, name] = parse(signature, keywords_only);
    Ref result = Ref::steal(PyObject_CallNoArgs(as_object(state().tupledict)));
    if (call.nargs == 0)
        raise(PyExc_ValueError, "empty indices");
    const Keys keys = keys_of(call);
    std::vector<Ref> ready; // what cannot be a key says so before anything is added, and so the dict is filled by then
    ready.reserve(keys.list.size());
    for (std::size_t i = 0; i < keys.list.size(); ++i) {
        ready.push_back(new_handle(state().var, self.mdl_, -1));
        checked(PyDict_SetItem(result.get(), keys.key(i), ready.back().get()));
    }
    auto subscript = [&keys](std::string& text, std::size_t i) { keys.append_to(text, i); };
    add_vars(
        self, keys.list.size(), subscript,
        {none_if_missing(lb), none_if_missing(ub), none_if_missing(obj), none_if_missing(vtype), none_if_missing(name)},
        ready);
    return result;
}

Ref model_addMVar(Model& self, const Call& call) {
    static const Signature<6> signature{"addMVar", {"shape", "lb", "ub", "obj", "vtype", "name"}, 1};
    auto [shape, lb, ub, obj, vtype, name] = parse(signature, call);
    Ref array = Ref::steal(PyObject_CallMethod(state().np, "empty", "(OO)", shape, as_object(state().var)));
    PyArrayObject* a = as_array(array.get());
    if (PyArray_NDIM(a) == 0)
        raise(PyExc_ValueError, "empty shape");
    auto subscript = [a](std::string& text, std::size_t i) {
        append_subscript(text, static_cast<npy_intp>(i), PyArray_NDIM(a), PyArray_DIMS(a));
    };
    auto size = static_cast<std::size_t>(PyArray_SIZE(a));
    add_vars(self, size, subscript,
             {none_if_missing(lb), none_if_missing(ub), none_if_missing(obj), none_if_missing(vtype),
              none_if_missing(name)});
    PyObject* vars = mirror(self.vars_);
    auto first = static_cast<std::size_t>(PyList_GET_SIZE(vars)) - size;
    auto** cells = static_cast<PyObject**>(PyArray_DATA(a));
    for (std::size_t i = 0; i < size; ++i) {
        PyObject* var = PyList_GET_ITEM(vars, static_cast<Py_ssize_t>(first + i));
        Py_INCREF(var);
        PyObject* old = std::exchange(cells[i], var);
        Py_XDECREF(old);
    }
    return new_handle_array(state().mvar, array.get(), true);
}

} // namespace tsp
