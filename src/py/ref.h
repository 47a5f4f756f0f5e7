// Ref: one owned reference to a Python object.
#pragma once

#define PY_SSIZE_T_CLEAN
#include <Python.h>

#include <utility>

namespace tsp {

// A reference that somebody else keeps alive. For parameters and locals, never for fields.
using Borrowed = PyObject*;

// Thrown when a Python error is already set.
struct PythonError {};

class Ref {
public:
    Ref() = default;
    Ref(Ref&& other) noexcept : p_(std::exchange(other.p_, nullptr)) {}
    Ref& operator=(Ref&& other) noexcept {
        PyObject* old = std::exchange(p_, std::exchange(other.p_, nullptr));
        Py_XDECREF(old); // last: it may run Python code
        return *this;
    }
    Ref(const Ref&) = delete;
    Ref& operator=(const Ref&) = delete;
    ~Ref() { Py_XDECREF(p_); }

    // Takes over a new reference; null means that a Python error is set.
    static Ref steal(PyObject* p) {
        if (!p)
            throw PythonError();
        return Ref(p);
    }
    // Never shared by many places: there a processor takes writing one count and reading the next for dependent on each
    // other, which doubles the time of tight loops.
    [[gnu::always_inline]] static Ref borrow(PyObject* p) {
        if (!p)
            throw PythonError();
        Py_INCREF(p);
        return Ref(p);
    }
    static Ref none() { return borrow(Py_None); }
    static Ref boolean(bool b) { return borrow(b ? Py_True : Py_False); }

    PyObject* get() const { return p_; }
    PyObject* release() { return std::exchange(p_, nullptr); }
    explicit operator bool() const { return p_ != nullptr; }

private:
    explicit Ref(PyObject* p) : p_(p) {}
    PyObject* p_ = nullptr;
};

// Calls that report failure by -1 with a Python error set.
inline int checked(int result) {
    if (result < 0)
        throw PythonError();
    return result;
}

// Puts a new reference into a field of an object; the old one goes last.
inline void assign(PyObject*& field, Ref value) {
    PyObject* old = std::exchange(field, value.release());
    Py_XDECREF(old);
}

} // namespace tsp
