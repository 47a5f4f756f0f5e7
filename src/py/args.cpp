#include "py/args.h"

namespace tsp {
namespace detail {
namespace {

[[noreturn]] void wrong_count(const Parameters& p, Py_ssize_t given) {
    bool exact = p.required == p.positional;
    bool few = given < p.required;
    int limit = few ? p.required : p.positional;
    raise(PyExc_TypeError, "%.200s() takes %s %d positional argument%s (%zd given)", p.function,
          exact ? "exactly" : (few ? "at least" : "at most"), limit, limit == 1 ? "" : "s", given);
}

int find_name(const Parameters& p, PyObject* key) {
    for (int i = 0; i < p.count; ++i) {
        if (!p.interned[i])
            p.interned[i] = Ref::steal(PyUnicode_InternFromString(p.names[i])).release();
        if (p.interned[i] == key) // keywords in code are interned, so this is the rule
            return i;
    }
    if (!PyUnicode_Check(key))
        raise(PyExc_TypeError, "%.200s() keywords must be strings", p.function);
    for (int i = 0; i < p.count; ++i)
        if (PyUnicode_CompareWithASCIIString(key, p.names[i]) == 0)
            return i;
    return -1;
}

void take_keyword(const Parameters& p, PyObject* key, PyObject* value, PyObject** out) {
    int i = find_name(p, key);
    if (i < 0)
        raise(PyExc_TypeError, "%.200s() got an unexpected keyword argument '%U'", p.function, key);
    if (out[i])
        raise(PyExc_TypeError, "%.200s() got multiple values for keyword argument '%U'", p.function, key);
    out[i] = value;
}

void take_positional(const Parameters& p, PyObject* const* args, Py_ssize_t nargs, PyObject** out) {
    if (nargs > p.positional)
        wrong_count(p, nargs);
    for (Py_ssize_t i = 0; i < nargs; ++i)
        out[i] = args[i];
}

void test_required(const Parameters& p, Py_ssize_t nargs, const PyObject* const* out) {
    for (int i = 0; i < p.required; ++i)
        if (!out[i])
            wrong_count(p, nargs);
}

} // namespace

void match(const Parameters& p, const Call& call, PyObject** out) {
    take_positional(p, call.args, call.nargs, out);
    if (call.kwnames) {
        Py_ssize_t count = PyTuple_GET_SIZE(call.kwnames);
        for (Py_ssize_t k = 0; k < count; ++k)
            take_keyword(p, PyTuple_GET_ITEM(call.kwnames, k), call.args[call.nargs + k], out);
    }
    test_required(p, call.nargs, out);
}

void match(const Parameters& p, PyObject* args, PyObject* kwargs, PyObject** out) {
    Py_ssize_t nargs = PyTuple_GET_SIZE(args);
    take_positional(p, PySequence_Fast_ITEMS(args), nargs, out);
    if (kwargs) {
        PyObject *key, *value;
        Py_ssize_t position = 0;
        while (PyDict_Next(kwargs, &position, &key, &value))
            take_keyword(p, key, value, out);
    }
    test_required(p, nargs, out);
}

} // namespace detail

int32_t to_int32(Borrowed value) {
    Ref number;
    if (!PyLong_Check(value)) {
        PyNumberMethods* methods = Py_TYPE(value)->tp_as_number;
        if (!methods || !(methods->nb_int || methods->nb_index))
            raise(PyExc_TypeError, "an integer is required, not '%.200s'", Py_TYPE(value)->tp_name);
        number = Ref::steal(PyNumber_Long(value));
        value = number.get();
    }
    int overflow = 0;
    long v = PyLong_AsLongAndOverflow(value, &overflow);
    if (v == -1 && !overflow && PyErr_Occurred())
        throw PythonError();
    if (overflow || v < INT32_MIN || v > INT32_MAX)
        raise(PyExc_OverflowError, "value too large to convert to int");
    return static_cast<int32_t>(v);
}

} // namespace tsp
