#include "attr/access.h"

#include "attr/matrix.h"
#include "attr/values.h"
#include "module/state.h"
#include "module/text.h"
#include "py/numpy.h"
#include "solver/check.h"

namespace tsp {

const AttrRow* find_attr(Borrowed name) {
    Ref folded;
    if (!PyUnicode_Check(name) || !PyUnicode_IS_ASCII(name)) {
        // Letters outside ASCII may fold into it, and other objects may bring text methods of their own: ask them.
        folded = Ref::steal(PyObject_CallMethod(name, "replace", "ss", "/", "_"));
        folded = Ref::steal(PyObject_CallMethod(folded.get(), "lower", nullptr));
        name = folded.get();
        if (!PyUnicode_Check(name) || !PyUnicode_IS_ASCII(name))
            return nullptr;
    }
    auto* text = reinterpret_cast<const char*>(PyUnicode_1BYTE_DATA(name));
    return kAttrIndex.find(kAttrs, {text, static_cast<std::size_t>(PyUnicode_GET_LENGTH(name))});
}

namespace {

// Names that stand in code are interned, and so the same object at every run of the code: what was found for one is
// kept beside it, by its address. Each place holds its name, so that no other object can come to have that address.
struct KnownName {
    PyObject* name;
    const AttrRow* row;
};
constexpr std::size_t kKnownNames = 64;
KnownName g_known[kKnownNames];

const AttrRow* find_known(Borrowed name) {
    KnownName& known = g_known[(reinterpret_cast<std::uintptr_t>(name) >> 4) % kKnownNames];
    if (known.name == name) [[likely]]
        return known.row;
    const AttrRow* row = find_attr(name);
    if (row && PyUnicode_CheckExact(name) && PyUnicode_CHECK_INTERNED(name)) {
        known.row = row;
        assign(known.name, Ref::borrow(name));
    }
    return row;
}

} // namespace

Ref no_attribute(Borrowed name) {
    PyErr_Format(PyExc_AttributeError, "Attribute `%S` does not exist", name);
    return {};
}
void raise_no_attribute(Borrowed name) {
    no_attribute(name);
    throw PythonError();
}

Attribute resolve_attribute(TSOmodel model, Borrowed name, Kind kind) {
    const AttrRow* row = find_known(name);
    if (!row)
        raise_no_attribute(name);
    int type = 0, owner = 0, flag = 0;
    check(TSOgetattrinfo(model, row->name.data(), &type, &owner, &flag));
    if (type < TSO_ATTR_CHAR || type > TSO_ATTR_MATRIX || owner < TSO_OWNER_MODEL || owner > TSO_OWNER_PSDCONSTR)
        raise(PyExc_IndexError, "list index out of range"); // a library that knows more types or kinds than this module
    if (owner != static_cast<int>(kind))
        raise_no_attribute(name);
    return {model, name, row->name.data(), type};
}

namespace {

int count_of(const std::vector<int>& indices) { return static_cast<int>(indices.size()); }

Ref text_value(const char* text) { return chars2str(text ? text : ""); }

// A list made from an array, item by item.
template <class Make> Ref make_list(std::size_t count, Make make) {
    Ref list = Ref::steal(PyList_New(static_cast<Py_ssize_t>(count)));
    for (std::size_t i = 0; i < count; ++i)
        PyList_SET_ITEM(list.get(), static_cast<Py_ssize_t>(i), make(i).release());
    return list;
}

} // namespace

Ref read_model_attribute(const Attribute& a) {
    switch (a.type) {
    case TSO_ATTR_INT: {
        int v = 0;
        check(TSOgetintattr(a.model, a.name, &v));
        return int32_scalar(v);
    }
    case TSO_ATTR_DOUBLE: {
        double v = 0;
        check(TSOgetdblattr(a.model, a.name, &v));
        return float64_scalar(v);
    }
    case TSO_ATTR_STRING: {
        const char* v = nullptr;
        check(TSOgetstrattr(a.model, a.name, &v));
        return text_value(v);
    }
    default: // text of one character and matrices exist for elements only
        raise_no_attribute(a.asked);
    }
}

Ref read_attribute(const Attribute& a, int index) {
    switch (a.type) {
    case TSO_ATTR_DOUBLE: {
        double v = 0;
        check(TSOgetdblattrlist(a.model, a.name, 1, &index, &v));
        return float64_scalar(v);
    }
    case TSO_ATTR_INT: {
        int v = 0;
        check(TSOgetintattrlist(a.model, a.name, 1, &index, &v));
        return int32_scalar(v);
    }
    case TSO_ATTR_CHAR: {
        char v = 0;
        check(TSOgetcharattrlist(a.model, a.name, 1, &index, &v));
        return Ref::steal(PyBytes_FromStringAndSize(&v, v ? 1 : 0));
    }
    case TSO_ATTR_STRING: {
        const char* v = nullptr;
        check(TSOgetstrattrlist(a.model, a.name, 1, &index, &v));
        return text_value(v);
    }
    case TSO_ATTR_MATRIX:
        return read_matrix_attribute(a, index);
    default:
        raise_no_attribute(a.asked);
    }
}

Ref read_attribute_list(const Attribute& a, const std::vector<int>& indices) {
    int count = count_of(indices);
    switch (a.type) {
    case TSO_ATTR_DOUBLE: {
        std::vector<double> v(indices.size());
        check(TSOgetdblattrlist(a.model, a.name, count, indices.data(), v.data()));
        return make_list(v.size(), [&](std::size_t i) { return Ref::steal(PyFloat_FromDouble(v[i])); });
    }
    case TSO_ATTR_INT: {
        std::vector<int> v(indices.size());
        check(TSOgetintattrlist(a.model, a.name, count, indices.data(), v.data()));
        return make_list(v.size(), [&](std::size_t i) { return Ref::steal(PyLong_FromLong(v[i])); });
    }
    case TSO_ATTR_CHAR: {
        std::vector<char> v(indices.size());
        check(TSOgetcharattrlist(a.model, a.name, count, indices.data(), v.data()));
        return make_list(v.size(),
                         [&](std::size_t i) { return Ref::steal(PyBytes_FromStringAndSize(&v[i], v[i] ? 1 : 0)); });
    }
    case TSO_ATTR_STRING: {
        std::vector<const char*> v(indices.size());
        check(TSOgetstrattrlist(a.model, a.name, count, indices.data(), v.data()));
        return make_list(v.size(), [&](std::size_t i) { return text_value(v[i]); });
    }
    case TSO_ATTR_MATRIX:
        return read_matrix_attribute_list(a, indices);
    default:
        raise_no_attribute(a.asked);
    }
}

Ref read_attribute_array(const Attribute& a, const std::vector<int>& indices) {
    int count = count_of(indices);
    npy_intp size = count;
    if (a.type == TSO_ATTR_DOUBLE || a.type == TSO_ATTR_INT) {
        Ref array = Ref::steal(PyArray_SimpleNew(1, &size, a.type == TSO_ATTR_DOUBLE ? NPY_FLOAT64 : NPY_INT32));
        void* data = PyArray_DATA(as_array(array.get()));
        check(a.type == TSO_ATTR_DOUBLE
                  ? TSOgetdblattrlist(a.model, a.name, count, indices.data(), static_cast<double*>(data))
                  : TSOgetintattrlist(a.model, a.name, count, indices.data(), static_cast<int*>(data)));
        return array;
    }
    Ref list = read_attribute_list(a, indices);
    Ref array = Ref::steal(PyArray_SimpleNew(1, &size, NPY_OBJECT));
    for (npy_intp i = 0; i < size; ++i)
        checked(PyArray_SETITEM(as_array(array.get()), static_cast<char*>(PyArray_GETPTR1(as_array(array.get()), i)),
                                PyList_GET_ITEM(list.get(), i)));
    return array;
}

void write_model_attribute(const Attribute& a, Borrowed value) {
    switch (a.type) {
    case TSO_ATTR_INT:
        check(TSOsetintattr(a.model, a.name, int_values(value, 1)[0]));
        return;
    case TSO_ATTR_DOUBLE:
        check(TSOsetdblattr(a.model, a.name, double_values(value, 1)[0]));
        return;
    case TSO_ATTR_STRING: {
        TextValues text(value, 1);
        check(TSOsetstrattr(a.model, a.name, text.pointers()[0]));
        return;
    }
    default:
        raise_no_attribute(a.asked);
    }
}

void write_attribute(const Attribute& a, int index, Borrowed value) {
    if (a.type == TSO_ATTR_DOUBLE && (PyFloat_CheckExact(value) || PyLong_CheckExact(value))) {
        double v = to_double(value);
        check(TSOsetdblattrlist(a.model, a.name, 1, &index, &v));
        return;
    }
    if (a.type == TSO_ATTR_MATRIX)
        return write_matrix_attribute(a, index, value);
    Ref values = Ref::steal(PyList_New(1));
    Py_INCREF(value);
    PyList_SET_ITEM(values.get(), 0, value);
    write_attribute_list(a, {index}, values.get());
}

void write_attribute_list(const Attribute& a, const std::vector<int>& indices, Borrowed values) {
    if (a.type == TSO_ATTR_MATRIX)
        return write_matrix_attribute_list(a, indices, values);
    int count = count_of(indices);
    if (a.type == TSO_ATTR_DOUBLE && PyArray_CheckExact(values) && PyArray_ISNUMBER(as_array(values)) &&
        !PyArray_ISCOMPLEX(as_array(values)) && PyArray_SIZE(as_array(values)) == count) {
        Ref array = Ref::steal(PyArray_FROM_OTF(values, NPY_FLOAT64, NPY_ARRAY_CARRAY_RO | NPY_ARRAY_FORCECAST));
        check(TSOsetdblattrlist(a.model, a.name, count, indices.data(),
                                static_cast<const double*>(PyArray_DATA(as_array(array.get())))));
        return;
    }
    Ref plain = plain_values(values, count);
    values = plain.get();
    switch (a.type) {
    case TSO_ATTR_CHAR:
        check(TSOsetcharattrlist(a.model, a.name, count, indices.data(), char_values(values, count).data()));
        return;
    case TSO_ATTR_INT:
        check(TSOsetintattrlist(a.model, a.name, count, indices.data(), int_values(values, count).data()));
        return;
    case TSO_ATTR_DOUBLE:
        check(TSOsetdblattrlist(a.model, a.name, count, indices.data(), double_values(values, count).data()));
        return;
    case TSO_ATTR_STRING: {
        TextValues text(values, count);
        check(TSOsetstrattrlist(a.model, a.name, count, indices.data(), text.pointers()));
        return;
    }
    default:
        raise_no_attribute(a.asked);
    }
}

} // namespace tsp
