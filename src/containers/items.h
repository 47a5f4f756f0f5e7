// Items of dicts: iteration that notices changes, and lookup that spares hashing where two dicts share their keys.
#pragma once

#include "containers/base.h"
#include "module/state.h"

namespace tsp {

// Whether get() and items() of a dict are the built-in ones.
inline bool has_plain_lookup(Borrowed dict) { return PyDict_CheckExact(dict) || Py_TYPE(dict) == state().tupledict; }

// Whether dict[key] is the built-in one.
inline bool has_plain_subscript(Borrowed dict) {
    return Py_TYPE(dict)->tp_as_mapping->mp_subscript == PyDict_Type.tp_as_mapping->mp_subscript;
}

// Calls use(position, key, value) for each item, in order. RuntimeError if the dict changes its size meanwhile. A
// class of the user's own is asked for its items(); then position is -1.
template <class Use> void each_item(Borrowed dict, Use use) {
    if (has_plain_lookup(dict)) {
        PyObject *key, *value;
        Py_ssize_t next = 0, size = PyDict_Size(dict);
        while (true) {
            if (PyDict_Size(dict) != size)
                raise(PyExc_RuntimeError, "dictionary changed size during iteration");
            if (!PyDict_Next(dict, &next, &key, &value))
                return;
            Ref hold_key = Ref::borrow(key), hold_value = Ref::borrow(value);
            use(next - 1, key, value);
        }
    }
    Ref items = Ref::steal(PyObject_CallMethod(dict, "items", nullptr));
    Ref iterator = Ref::steal(PyObject_GetIter(items.get()));
    while (PyObject* next = PyIter_Next(iterator.get())) {
        Ref item = Ref::steal(next);
        Ref pair = Ref::steal(PySequence_Tuple(item.get()));
        if (PyTuple_GET_SIZE(pair.get()) != 2)
            raise(PyExc_ValueError, "items() must give pairs");
        use(Py_ssize_t{-1}, PyTuple_GET_ITEM(pair.get(), 0), PyTuple_GET_ITEM(pair.get(), 1));
    }
    if (PyErr_Occurred())
        throw PythonError();
}

// The value of a key, null if it is missing. Where the entry of the dict at `position` has this very key, it is the
// answer, whatever happened to the dict; that is the rule for dicts that were filled in the same order, and spares
// hashing a tuple and finding its place.
inline Ref find_value(Borrowed dict, Py_ssize_t position, Borrowed key) {
    PyObject *found, *value;
    if (position >= 0 && PyDict_Next(dict, &position, &found, &value) && found == key)
        return Ref::borrow(value);
    value = PyDict_GetItemWithError(dict, key);
    if (!value && PyErr_Occurred())
        throw PythonError();
    return value ? Ref::borrow(value) : Ref();
}

// dict.get(key), which a class of the user's own may have instead; null for None.
inline Ref get_value_of(Borrowed dict, Borrowed key) {
    Ref value = Ref::steal(PyObject_CallMethod(dict, "get", "(O)", key));
    return value.get() == Py_None ? Ref() : std::move(value);
}

// dict[key], in the same way where the class has it from dict.
inline Ref value_at(Borrowed dict, Py_ssize_t position, Borrowed key) {
    PyObject *found, *value;
    if (position >= 0 && has_plain_subscript(dict) && PyDict_Next(dict, &position, &found, &value) && found == key)
        return Ref::borrow(value);
    return Ref::steal(Py_TYPE(dict)->tp_as_mapping->mp_subscript(dict, key));
}

} // namespace tsp
