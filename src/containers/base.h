// What the containers share: rows and their fields, and the methods of the built-in types below them.
#pragma once

#include "py/type.h"

#include <initializer_list>

namespace tsp {

inline bool is_tuple_like(Borrowed row) { return PyTuple_Check(row) || PyList_Check(row); }

// Whether length and items of a tuple-like row are those in its memory: no class of the user's own answers for them.
inline bool has_plain_fields(Borrowed row) {
    PyTypeObject* type = Py_TYPE(row);
    if (type == &PyTuple_Type || type == &PyList_Type)
        return true;
    const PyTypeObject& base = PyTuple_Check(row) ? PyTuple_Type : PyList_Type;
    return type->tp_as_sequence->sq_length == base.tp_as_sequence->sq_length &&
           type->tp_as_mapping->mp_subscript == base.tp_as_mapping->mp_subscript;
}

// len(object)
inline Py_ssize_t size_of(Borrowed object) {
    Py_ssize_t size = PyObject_Size(object);
    if (size < 0)
        throw PythonError();
    return size;
}

// len(row) of a tuple-like row.
inline Py_ssize_t field_count(Borrowed row) {
    if (has_plain_fields(row))
        return Py_SIZE(row);
    return size_of(row);
}

// object[i] with a position that is not negative.
inline Ref subscript(Borrowed object, Py_ssize_t i) {
    if (is_tuple_like(object) && has_plain_fields(object))
        return Ref::steal(PySequence_GetItem(object, i));
    Ref position = Ref::steal(PyLong_FromSsize_t(i));
    return Ref::steal(PyObject_GetItem(object, position.get()));
}

inline bool is_true(const Ref& answer) { return checked(PyObject_IsTrue(answer.get())); }

// A method of a built-in type, called on an object of ours past all overrides. For statics: the method is looked up
// once and kept for ever.
class BaseMethod {
public:
    BaseMethod(PyTypeObject* type, const char* name)
        : found_(Ref::steal(PyObject_GetAttrString(as_object(type), name)).release()) {}

    // Arguments as in a call, the object first.
    Ref operator()(std::initializer_list<PyObject*> arguments) const {
        return Ref::steal(PyObject_Vectorcall(found_, arguments.begin(), arguments.size(), nullptr));
    }
    PyObject* get() const { return found_; }

private:
    PyObject* found_;
};

// Throws bad_alloc for what cannot fit into the memory of this machine. Systems hand out more than they have and end
// the process when it is used, so that asking for too much must fail here.
void require_memory(Py_ssize_t count, std::size_t bytes_each);

} // namespace tsp
