// Model: removal. The only operation that renumbers elements.
#include "arrays/handle_array.h"
#include "model/model.h"
#include "model/rows.h"
#include "module/state.h"
#include "module/text.h"
#include "py/args.h"
#include "py/signals.h"
#include "solver/check.h"

#include <algorithm>
#include <optional>

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
            if (!std::is_sorted(list->begin(), list->end()))
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
    Ref inside;
    if (is_handle_array(items)) {
        inside = Ref::steal(PyArray_Ravel(as_array(array_of(as_handle_array(items))), NPY_CORDER));
        items = inside.get();
    }
    bool is_dict = PyDict_Check(items);
    if (!is_dict && is_scalar(items))
        raise(PyExc_TypeError, "unsupported type: `%s`", type_name(items));
    if (Py_EnterRecursiveCall(" while collecting elements to remove"))
        throw PythonError();
    struct Leave {
        ~Leave() { Py_LeaveRecursiveCall(); }
    } leave;
    if (PyList_CheckExact(items)) {
        if (PyList_GET_SIZE(items) > 0)
            if (auto* list = out.of(kind_of_handle(PyList_GET_ITEM(items, 0)))) // mostly all are of one kind
                list->reserve(list->size() + static_cast<std::size_t>(PyList_GET_SIZE(items)));
        for (Py_ssize_t i = 0; i < PyList_GET_SIZE(items); ++i) {
            Ref item = Ref::borrow(PyList_GET_ITEM(items, i));
            collect(item.get(), out);
        }
        return;
    }
    Ref values = is_dict ? Ref::steal(PyObject_CallMethod(items, "values", nullptr)) : Ref::borrow(items);
    Ref iterator = Ref::steal(PyObject_GetIter(values.get()));
    Interruptible loop;
    while (PyObject* next = PyIter_Next(iterator.get())) {
        Ref item = Ref::steal(next);
        collect(next, out);
        loop.step();
    }
    if (PyErr_Occurred())
        throw PythonError();
}

// Whether an entry of a list of handles stays when the elements of the ascending indices `removed` go. What goes is
// marked: minus one minus the index that it had. A list that the program has tampered with is brought back in order:
// what is no handle does not stay.
class Staying {
public:
    Staying(PyObject* list, const std::vector<int>& removed) : next_(removed.data()), end_(next_ + removed.size()) {
        if (PyList_GET_SIZE(list) > 0 && kind_of_handle(PyList_GET_ITEM(list, 0)) != Kind::Model)
            usual_ = Py_TYPE(PyList_GET_ITEM(list, 0));
    }
    // For the entries in their order; `index` is the new one of those that stay.
    bool operator()(PyObject* object, Py_ssize_t index) {
        if (Py_TYPE(object) != usual_ && kind_of_handle(object) == Kind::Model)
            return false;
        Handle& h = *reinterpret_cast<Handle*>(object);
        while (next_ != end_ && *next_ < h.index_)
            ++next_;
        if (next_ != end_ && *next_ == h.index_)
            h.index_ = -1 - h.index_;
        if (h.index_ < 0)
            return false;
        h.index_ = static_cast<int>(index);
        return true;
    }

private:
    PyTypeObject* usual_ = nullptr;
    const int *next_, *end_;
};

// Takes the entries that do not stay out of a list that nobody else can see. Nothing in here can fail.
void compact(PyObject* list, const std::vector<int>& removed) {
    Staying stays(list, removed);
    PyObject** items = PySequence_Fast_ITEMS(list);
    Py_ssize_t size = PyList_GET_SIZE(list), filled = 0;
    for (Py_ssize_t i = 0; i < size; ++i)
        if (stays(items[i], filled))
            std::swap(items[filled++], items[i]);
    shorten(list, filled);
}

// The same into `fresh`, which has room for what stays. The old list, which somebody holds, stays as it is.
Ref take_out(PyObject* list, const std::vector<int>& removed, Ref fresh) {
    Staying stays(list, removed);
    Py_ssize_t room = PyList_GET_SIZE(fresh.get()), filled = 0;
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(list); ++i) {
        PyObject* object = PyList_GET_ITEM(list, i);
        if (!stays(object, filled))
            continue;
        if (filled < room) {
            Py_INCREF(object);
            PyList_SET_ITEM(fresh.get(), filled, object);
        } else {
            checked(PyList_Append(fresh.get(), object));
        }
        ++filled;
    }
    if (filled < room)
        checked(PyList_SetSlice(fresh.get(), filled, room, nullptr));
    return fresh;
}

// A list of the model that is about to lose elements. What that needs is there before the solver is called, so that
// nothing can fail after it.
class Shrinking {
public:
    Shrinking(PyObject*& list, Py_ssize_t removed) : list_(list) {
        if (Py_REFCNT(list) == 1)
            return;
        Py_ssize_t left = PyList_GET_SIZE(list) - removed;
        fresh_ = Ref::steal(PyList_New(left > 0 ? left : 0));
    }
    void finish(const std::vector<int>& removed) {
        if (fresh_)
            assign(list_, take_out(list_, removed, std::move(fresh_)));
        else
            compact(list_, removed);
    }

private:
    PyObject*& list_;
    Ref fresh_;
};

// The general constraints that leave the model with their binary variable.
std::vector<int> without_binary(Model& self, const std::vector<int>& vars) {
    std::vector<int> gone;
    if (vars.empty() || !self.genconstrs_ || !PyList_Check(self.genconstrs_))
        return gone;
    auto count = static_cast<int>(PyList_GET_SIZE(self.genconstrs_));
    for (int i = 0; i < count; ++i) {
        int binvar = -1, terms = 0;
        int code = TSOgetgenconstrIndicator(self.mdl_, i, &binvar, nullptr, &terms, nullptr, nullptr, nullptr, nullptr);
        if (code == 0 && std::binary_search(vars.begin(), vars.end(), binvar))
            gone.push_back(i);
    }
    return gone;
}

Py_ssize_t count_of(const std::vector<int>& indices) { return static_cast<Py_ssize_t>(indices.size()); }

// What ascending indices are once those in `lost`, ascending too, are gone.
void count_anew(std::vector<int>& indices, const std::vector<int>& lost) {
    std::erase_if(indices, [&](int i) { return std::binary_search(lost.begin(), lost.end(), i); });
    for (int& i : indices)
        i -= static_cast<int>(std::lower_bound(lost.begin(), lost.end(), i) - lost.begin());
}

using Delete = int (*)(TSOmodel, int, const int*);
void remove_kind(Model& self, Delete function, const std::vector<int>& indices,
                 std::initializer_list<PyObject * Model::*> lists) {
    if (indices.empty())
        return;
    std::vector<Shrinking> shrinking;
    for (auto list : lists)
        if (self.*list) {
            mirror(self.*list);
            shrinking.emplace_back(self.*list, count_of(indices));
        }
    check(function(self.mdl_, static_cast<int>(indices.size()), indices.data()));
    for (Shrinking& list : shrinking)
        list.finish(indices);
}

} // namespace

Ref model_remove(Model& self, const Call& call) {
    static const Signature<1> signature{"remove", {"items"}, 1};
    auto [items] = parse(signature, call);
    Indices indices;
    collect(items, indices);
    indices.constrs.insert(indices.constrs.end(), indices.qconstrs.begin(), indices.qconstrs.end()); // one row space
    indices.sort();
    std::vector<int> lost = without_binary(self, indices.vars);
    std::optional<Shrinking> genconstrs;
    if (!lost.empty())
        genconstrs.emplace(self.genconstrs_, count_of(lost));
    remove_kind(self, &TSOdelvars, indices.vars, {&Model::vars_});
    if (genconstrs) {
        genconstrs->finish(lost);
        count_anew(indices.genconstrs, lost);
    }
    remove_kind(self, &TSOdelconstrs, indices.constrs, {&Model::constrs_, &Model::psdconstrs_, &Model::qconstrs_});
    remove_kind(self, &TSOdelsos, indices.soss, {&Model::soss_});
    remove_kind(self, &TSOdelgenconstrs, indices.genconstrs, {&Model::genconstrs_});
    return Ref::none();
}

} // namespace tsp
