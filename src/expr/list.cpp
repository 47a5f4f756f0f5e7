#include "expr/list.h"

#include "py/args.h"
#include "py/nested.h"

namespace tsp {
namespace {

Store<Coeff>& items(PyObject* self) { return reinterpret_cast<List*>(self)->items; }

void fill(Store<Coeff>& store, Borrowed list) {
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(list); ++i)
        store.add(Coeff::of(PyList_GET_ITEM(list, i)));
}

PyObject* list_new(PyTypeObject* type, PyObject*, PyObject*) { return type->tp_alloc(type, 0); } // zeroes: empty

void list_init(List& self, PyObject* args, PyObject* kwargs) {
    static const Signature<1> signature{"__init__", {"data"}, 0};
    auto [data] = parse(signature, args, kwargs);
    if (data && !PyList_Check(data))
        raise(PyExc_TypeError, "Expect a list");
    self.items.clear_for_good();
    if (data)
        fill(self.items, data);
}

void list_dealloc(PyObject* self) {
    items(self).clear_for_good();
    plain_dealloc(self);
}

Ref list_makeAppendSafe(List& self) {
    self.items.make_append_safe();
    return Ref::none();
}
Ref list_makeUpdateSafe(List& self) {
    self.items.make_update_safe();
    return Ref::none();
}

Ref list_at(PyObject* self, Py_ssize_t i) {
    if (i < 0 || i >= items(self).size())
        raise(PyExc_IndexError, "list index out of range");
    return i < items(self).vector_size() ? items(self).data()[i].object() : Ref::none();
}
Ref list_getitem(PyObject* self, PyObject* key) { return list_at(self, to_int32(key)); }

Py_ssize_t list_length(List& self) { return self.items.size(); }

Ref list_inplace_add(PyObject* self, PyObject* other) {
    if (items(self).size() == 0 && PyList_Check(other)) {
        Ref fresh = Ref::steal(as_object(allocate<List>(state().list)));
        fill(items(fresh.get()), other);
        return fresh;
    }
    if (items(self).size() == 0 && is_list(other)) {
        Ref fresh = Ref::steal(as_object(allocate<List>(state().list)));
        items(fresh.get()).share(items(other));
        return fresh;
    }
    append_to(items(self), other);
    return Ref::borrow(self);
}

Ref list_concat(PyObject* self, PyObject* other) {
    if (!is_list(self))
        return Ref::borrow(Py_NotImplemented);
    Ref copy = Ref::steal(as_object(allocate<List>(state().list)));
    items(copy.get()).share(items(self));
    return list_inplace_add(copy.get(), other);
}

Ref plain_list(List& self) {
    Ref list = Ref::steal(PyList_New(0));
    for (int i = 0; i < self.items.size(); ++i) {
        Ref item = self.items.data()[i].object();
        checked(PyList_Append(list.get(), item.get()));
    }
    return list;
}
Ref list_str(List& self) { return Ref::steal(PyObject_Str(plain_list(self).get())); }
Ref list_repr(List& self) { return Ref::steal(PyObject_Repr(plain_list(self).get())); }

PyMethodDef list_methods[] = {
    no_args<list_makeAppendSafe>("_make_append_safe",
                                 "_make_append_safe($self)\n--\n\n"
                                 "For internal use: separates the list from its copies if an append would disturb\n"
                                 "them."),
    no_args<list_makeUpdateSafe>("_make_update_safe", "_make_update_safe($self)\n--\n\n"
                                                      "For internal use: separates the list from its copies."),
    {},
};

PyType_Slot list_slots[] = {
    {Py_tp_doc,
     const_cast<char*>("List(data=[])\n--\n\n"
                       "The term store of expressions: items whose copies are shared until one side changes.\n\n"
                       "data: list. Raises TypeError for anything else.\n\n"
                       "Example: List([1.0, 2.0])[1]  # 2.0")},
    {Py_tp_new, reinterpret_cast<void*>(&list_new)},
    slot<list_init>(Py_tp_init),
    {Py_tp_dealloc, reinterpret_cast<void*>(&nested_dealloc<list_dealloc>)},
    slot<list_str>(Py_tp_str),
    slot<list_repr>(Py_tp_repr),
    slot<list_getitem>(Py_mp_subscript),
    slot<list_at>(Py_sq_item), // and so it can be iterated over
    slot<list_length>(Py_mp_length),
    slot<list_length>(Py_sq_length),
    slot<list_concat>(Py_nb_add),
    slot<list_inplace_add>(Py_nb_inplace_add),
    {Py_tp_methods, list_methods},
    {},
};
PyType_Spec list_spec = {"tessolvpy.List", sizeof(List), 0, Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE, list_slots};

} // namespace

PyTypeObject* make_list_type() { return make_type(list_spec); }

void append_to(Store<Coeff>& store, Borrowed other) {
    if (PyList_Check(other)) {
        if (store.size() > 0)
            return fill(store, other);
        Store<Coeff> fresh; // what other views put behind an empty one does not come along
        fill(fresh, other);
        store.swap(fresh);
    } else if (is_list(other))
        store.append_list(items(other));
    else
        raise(PyExc_TypeError, "unsupport operation +=: `List` and `%s`", type_name(other));
}

} // namespace tsp
