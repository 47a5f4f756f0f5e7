// How C++ functions become slots and methods of Python types. Every entry from Python goes through Entry, so that no
// C++ exception leaves the module.
#pragma once

#include "py/error.h"

#include <type_traits>

namespace tsp {

// The arguments of a vectorcall, as METH_FASTCALL | METH_KEYWORDS hands them over.
struct Call {
    PyObject* const* args;
    Py_ssize_t nargs;
    PyObject* kwnames; // tuple or null; the values follow the positional ones in args
};

namespace detail {

// A C++ parameter and what Python passes for it: `Var&` comes as PyObject*, everything else as it is.
template <class A> struct Abi {
    using raw = A;
    static A in(raw a) { return a; }
};
template <class T> struct Abi<T&> {
    using raw = PyObject*;
    static T& in(raw a) { return *reinterpret_cast<T*>(a); }
};

// A C++ result and what Python expects: Ref becomes a new reference, void becomes 0.
inline PyObject* pass(Ref&& r) { return r.release(); }
template <class R> struct Result {
    using raw = R;
    static constexpr raw failure = static_cast<R>(-1);
};
template <> struct Result<Ref> {
    using raw = PyObject*;
    static constexpr raw failure = nullptr;
};
template <> struct Result<void> {
    using raw = int;
    static constexpr raw failure = -1;
};

template <auto F> struct Entry;
template <class R, class... A, R (*F)(A...)> struct Entry<F> {
    using raw = typename Result<R>::raw;
    static raw call(typename Abi<A>::raw... a) noexcept {
        try {
            if constexpr (std::is_void_v<R>) {
                F(Abi<A>::in(a)...);
                return 0;
            } else if constexpr (std::is_same_v<R, Ref>) {
                return pass(F(Abi<A>::in(a)...));
            } else {
                return F(Abi<A>::in(a)...);
            }
        } catch (...) {
            error_from_exception();
            return Result<R>::failure;
        }
    }
};

// Methods: F takes the object and, by kind, nothing, one argument, or a Call.
template <auto F> struct NoArgs;
template <class Self, Ref (*F)(Self)> struct NoArgs<F> {
    static Ref adapt(PyObject* self, PyObject*) { return F(Abi<Self>::in(self)); }
};
template <auto F> struct OneArg;
template <class Self, Ref (*F)(Self, Borrowed)> struct OneArg<F> {
    static Ref adapt(PyObject* self, PyObject* arg) { return F(Abi<Self>::in(self), arg); }
};
template <auto F> struct Keywords;
template <class Self, Ref (*F)(Self, const Call&)> struct Keywords<F> {
    static Ref adapt(PyObject* self, PyObject* const* args, Py_ssize_t nargs, PyObject* kwnames) {
        return F(Abi<Self>::in(self), Call{args, nargs, kwnames});
    }
};

template <auto F> PyCFunction c_function() {
    return reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(&Entry<F>::call));
}

} // namespace detail

// Rows of a method table. `doc` begins with the signature and "\n--\n\n", so that inspect and help show it.
template <auto F> PyMethodDef no_args(const char* name, const char* doc) {
    return {name, detail::c_function<&detail::NoArgs<F>::adapt>(), METH_NOARGS, doc};
}
template <auto F> PyMethodDef one_arg(const char* name, const char* doc) {
    return {name, detail::c_function<&detail::OneArg<F>::adapt>(), METH_O, doc};
}
template <auto F> PyMethodDef keywords(const char* name, const char* doc) {
    return {name, detail::c_function<&detail::Keywords<F>::adapt>(), METH_FASTCALL | METH_KEYWORDS, doc};
}

// A row of a slot table.
template <auto F> PyType_Slot slot(int id) { return {id, reinterpret_cast<void*>(&detail::Entry<F>::call)}; }

// For types without object fields: frees the object, then gives back its reference to its heap type.
inline void plain_dealloc(PyObject* self) {
    PyTypeObject* type = Py_TYPE(self);
    type->tp_free(self);
    Py_DECREF(type);
}

// Makes a heap type; `bases` may be null. The type is not added to any module.
inline PyTypeObject* make_type(PyType_Spec& spec, PyTypeObject* base = nullptr) {
    PyObject* type = base ? PyType_FromSpecWithBases(&spec, reinterpret_cast<PyObject*>(base)) : PyType_FromSpec(&spec);
    return reinterpret_cast<PyTypeObject*>(Ref::steal(type).release());
}

// A fresh object of a type without constructor arguments, zeroed.
template <class T> T* allocate(PyTypeObject* type) {
    return reinterpret_cast<T*>(Ref::steal(type->tp_alloc(type, 0)).release());
}

// Ordinary lookup where the type is known to have no instance dictionary: the attribute bound to the object; null with
// an error set, or without one where the type does not have the name.
inline PyObject* lookup_in_type(PyObject* self, PyObject* name) {
    PyTypeObject* type = Py_TYPE(self);
    PyObject* found = _PyType_Lookup(type, name);
    if (!found)
        return nullptr;
    Ref hold = Ref::borrow(found);
    descrgetfunc get = Py_TYPE(found)->tp_descr_get;
    return get ? get(found, self, reinterpret_cast<PyObject*>(type)) : hold.release();
}

template <class T> PyObject* as_object(T* p) { return reinterpret_cast<PyObject*>(p); }
inline bool is_instance(Borrowed o, PyTypeObject* type) { return PyObject_TypeCheck(o, type); }

} // namespace tsp
