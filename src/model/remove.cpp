// Model: removal. The only operation that renumbers elements.
#include "model/model.h"
#include "model/rows.h"
#include "module/state.h"
#include "module/text.h"
#include "py/args.h"
#include "solver/check.h"

#include <algorithm>

namespace tsp {
namespace {

// The indices to be removed, by kind.
struct Indices {
    std::vector<int> vars, constrs, qconstrs, soss, genconstrs;

    std::vector<int>* of(Kind kind) {
        switch (kind) {
        case Kind::Var:
            return &vars;
        case Kind::Constr:
            return &constrs;
        case Kind::QConstr:
            return &qconstrs;
        case Kind::Sos:
            return &soss;
        case Kind::GenConstr:
            return &genconstrs;
        default:
            return nullptr;
        }
    }
    void sort() {
        for (auto list : {&vars, &constrs, &qconstrs, &soss, &genconstrs}) {
            std::sort(list->begin(), list->end());
            list->erase(std::unique(list->begin(), list->end()), list->end());
        }
    }
};

// Walks handles, and containers of them to any depth. Elements that were removed earlier are passed over.
void collect(Borrowed items, Indices& out) {
    Kind kind = kind_of_handle(items);
    if (kind == Kind::PsdVar)
        raise(PyExc_TypeError, "remove psd variable temporary not support");
    if (kind == Kind::PsdConstr)
        raise(PyExc_TypeError, "remove psd constraint temporary not support");
    if (std::vector<int>* list = out.of(kind)) {
        int index = reinterpret_cast<Handle*>(items)->index_;
        if (index >= 0)
            list->push_back(index);
        return;
    }
    bool is_dict = PyDict_Check(items);
    if (!is_dict && is_scalar(items))
        raise(PyExc_TypeError, "unsupported type: `%s`", type_name(items));
    if (Py_EnterRecursiveCall(" while collecting elements to remove"))
        throw PythonError();
    struct Leave {
        ~Leave() { Py_LeaveRecursiveCall(); }
    } leave;
    Ref values = is_dict ? Ref::steal(PyObject_CallMethod(items, "values", nullptr)) : Ref::borrow(items);
    Ref iterator = Ref::steal(PyObject_GetIter(values.get()));
    while (PyObject* next = PyIter_Next(iterator.get())) {
        Ref item = Ref::steal(next);
        collect(next, out);
    }
    if (PyErr_Occurred())
        throw PythonError();
}

// Marks the handles whose index is among the ascending ones: minus one minus the index they had.
void mark(PyObject* list, const std::vector<int>& removed) {
    std::size_t i = 0;
    for (Py_ssize_t j = 0; j < PyList_GET_SIZE(list); ++j) {
        PyObject* object = PyList_GET_ITEM(list, j);
        if (kind_of_handle(object) == Kind::Model)
            continue;
        Handle& h = *reinterpret_cast<Handle*>(object);
        while (removed[i] < h.index_)
            if (++i == removed.size())
                return;
        if (removed[i] == h.index_)
            h.index_ = -1 - h.index_;
    }
}

// A new list of the handles that are left, renumbered; the old list object stays as it is.
Ref remaining(PyObject* list) {
    Ref fresh = Ref::steal(PyList_New(0));
    for (Py_ssize_t j = 0; j < PyList_GET_SIZE(list); ++j) {
        PyObject* object = PyList_GET_ITEM(list, j);
        if (kind_of_handle(object) == Kind::Model || reinterpret_cast<Handle*>(object)->index_ < 0)
            continue;
        reinterpret_cast<Handle*>(object)->index_ = static_cast<int>(PyList_GET_SIZE(fresh.get()));
        checked(PyList_Append(fresh.get(), object));
    }
    return fresh;
}

using Delete = int (*)(TSOmodel, int, const int*);
void remove_kind(Model& self, Delete function, const std::vector<int>& indices,
                 std::initializer_list<PyObject * Model::*> lists) {
    if (indices.empty())
        return;
    check(function(self.mdl_, static_cast<int>(indices.size()), indices.data()));
    for (auto list : lists)
        if (self.*list)
            mark(mirror(self.*list), indices);
    for (auto list : lists)
        if (self.*list)
            assign(self.*list, remaining(self.*list));
}

} // namespace

Ref model_remove(Model& self, const Call& call) {
    static const Signature<1> signature{"remove", {"items"}, 1};
    auto [items] = parse(signature, call);
    Indices indices;
    collect(items, indices);
    indices.constrs.insert(indices.constrs.end(), indices.qconstrs.begin(), indices.qconstrs.end()); // one row space
    indices.sort();
    remove_kind(self, &TSOdelvars, indices.vars, {&Model::vars_});
    remove_kind(self, &TSOdelconstrs, indices.constrs, {&Model::constrs_, &Model::psdconstrs_, &Model::qconstrs_});
    remove_kind(self, &TSOdelsos, indices.soss, {&Model::soss_});
    remove_kind(self, &TSOdelgenconstrs, indices.genconstrs, {&Model::genconstrs_});
    return Ref::none();
}

} // namespace tsp
