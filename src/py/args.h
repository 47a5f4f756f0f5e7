// Arguments: positional and keyword arguments matched to names, and the conversions that are the same everywhere.
#pragma once

#include "py/type.h"

#if PY_VERSION_HEX < 0x030B0000
#include <longintrepr.h>
#endif

#include <array>
#include <cstdint>

namespace tsp {

// The parameters of one function. `required` counts the leading ones that must be given, `positional` those that may be
// given by position.
template <std::size_t N> struct Signature {
    const char* function;
    std::array<const char*, N> names;
    int required = 0;
    int positional = static_cast<int>(N);
    mutable std::array<PyObject*, N> interned{}; // made at the first call with keywords, kept for ever
};

namespace detail {
struct Parameters {
    const char* function;
    const char* const* names;
    PyObject** interned;
    int count, required, positional;
};
void match(const Parameters& p, const Call& call, PyObject** out);
void match(const Parameters& p, PyObject* args, PyObject* kwargs, PyObject** out);
} // namespace detail

// Borrowed arguments in the order of the names; null where one was not given.
template <std::size_t N> std::array<PyObject*, N> parse(const Signature<N>& s, const Call& call) {
    std::array<PyObject*, N> out{};
    detail::match({s.function, s.names.data(), s.interned.data(), static_cast<int>(N), s.required, s.positional}, call,
                  out.data());
    return out;
}
template <std::size_t N> std::array<PyObject*, N> parse(const Signature<N>& s, PyObject* args, PyObject* kwargs) {
    std::array<PyObject*, N> out{};
    detail::match({s.function, s.names.data(), s.interned.data(), static_cast<int>(N), s.required, s.positional}, args,
                  kwargs, out.data());
    return out;
}

// The argument must be a str or None.
inline void require_str_or_none(Borrowed arg, const char* name) {
    if (arg != Py_None && !PyUnicode_Check(arg))
        raise_argument_type(name, "str", arg);
}
inline void require_str(Borrowed arg, const char* name) {
    if (!PyUnicode_Check(arg))
        raise_argument_type(name, "str", arg);
}
// The argument must be of a type (or a subclass) or None; null for None.
template <class T> T* require_or_none(Borrowed arg, PyTypeObject* type, const char* name) {
    if (arg == Py_None)
        return nullptr;
    if (!is_instance(arg, type))
        raise_argument_type(name, type->tp_name, arg);
    return reinterpret_cast<T*>(arg);
}

// Whatever has an integer conversion of its own (text has none), as a 32-bit integer: TypeError, OverflowError.
int32_t to_int32(Borrowed value);
// The value of a small int, without a call; false for what is none.
inline bool small_int(Borrowed value, double& number) {
    if (!PyLong_CheckExact(value))
        return false;
    auto* v = reinterpret_cast<PyLongObject*>(value);
#if PY_VERSION_HEX >= 0x030C0000
    if (!PyUnstable_Long_IsCompact(v))
        return false;
    number = static_cast<double>(PyUnstable_Long_CompactValue(v));
#else
    Py_ssize_t size = Py_SIZE(value);
    if (size < -1 || size > 1)
        return false;
    number = size == 0 ? 0.0 : static_cast<double>(size) * static_cast<double>(v->ob_digit[0]);
#endif
    return true;
}

// The same for a float, too.
inline bool plain_number(Borrowed value, double& number) {
    if (!PyFloat_CheckExact(value))
        return small_int(value, number);
    number = PyFloat_AS_DOUBLE(value);
    return true;
}

// As float(value) for numbers; TypeError for text.
inline double to_double(Borrowed value) {
    if (double number; plain_number(value, number))
        return number;
    double d = PyFloat_AsDouble(value);
    if (d == -1.0 && PyErr_Occurred())
        throw PythonError();
    return d;
}

} // namespace tsp
