#include "handles/handle.h"

#include "module/readonly.h"
#include "module/text.h"
#include "py/args.h"

#include <type_traits>

namespace tsp {
namespace {

// What tells the kinds apart.
struct KindRow {
    Kind kind;
    const char* name;      // of the class
    const char* type_name; // with the module
    PyTypeObject* State::*type;
    const char* argument; // of sameAs
    const char* naming;   // the attribute that fills "<Name {}>"; null: the index
    const char* doc;
};
const KindRow kKinds[] = {
    {Kind::Var, "Var", "tessolvpy.Var", &State::var, "var", "VarName",
     "Var()\n--\n\n"
     "A variable of a model. Made by models; attributes are read and assigned by name, in any case: x.LB, x.ub = 4.0,\n"
     "x.X after a run. It takes part in arithmetic, and comparing it makes a constraint. It can't be pickled or "
     "copied.\n\n"
     "Example: x = m.addVar(name=\"x\"); x.ub = 4.0; m.addConstr(2 * x >= 1)"},
    {Kind::Constr, "Constr", "tessolvpy.Constr", &State::constr, "constr", "ConstrName",
     "Constr()\n--\n\n"
     "A row of a model, seen as a linear constraint: c.LHS, c.RHS, c.Activity and c.DualSoln after a run.\n\n"
     "Example: c = m.addConstr(x + y <= 4); c.RHS = 5.0"},
    {Kind::QConstr, "QConstr", "tessolvpy.QConstr", &State::qconstr, "qconstr", "QCName",
     "QConstr()\n--\n\n"
     "A row of a model, seen as a quadratic constraint: c.QCLHS, c.QCRHS, c.QCName.\n\n"
     "Example: m.getQConstrs()[0].QCName"},
    {Kind::PsdVar, "PsdVar", "tessolvpy.PsdVar", &State::psdvar, "var", "PsdVarName",
     "PsdVar()\n--\n\n"
     "A symmetric positive semi-definite matrix variable of a model, made by Model.addPsdVar: X.Dim, X.PsdVarName,\n"
     "X.PsdObj, X.PsdX after a run. A * X and X * A, A being a NumPy array, a SciPy sparse matrix or a list of lists,\n"
     "are the PsdExpr of their inner product, the sum of A[i, j] * X[i, j] over all cells.\n\n"
     "Example: X = m.addPsdVar(2); m.addConstr([[1, 0], [0, 1]] * X == 1)"},
    {Kind::PsdConstr, "PsdConstr", "tessolvpy.PsdConstr", &State::psdconstr, "constr", "PsdCName",
     "PsdConstr()\n--\n\n"
     "A row of a model, seen as a semi-definite constraint: c.PsdCLHS, c.PsdCRHS, c.PsdCName. Activity and dual value\n"
     "are attributes of the same row seen as a linear one, m.getConstrs()[c.index].\n\n"
     "Example: c = m.addConstr([[1, 0], [0, 1]] * X == 1); c.PsdCRHS"},
    {Kind::GenConstr, "GenConstr", "tessolvpy.GenConstr", &State::genconstr, "genconstr", "GenConstrName",
     "GenConstr()\n--\n\n"
     "A general constraint of a model: g.GenConstrType, g.GenConstrName.\n\n"
     "Example: [g.GenConstrName for g in m.getGenConstrs()]"},
    {Kind::Sos, "SOS", "tessolvpy.SOS", &State::sos, "sos", nullptr,
     "SOS()\n--\n\n"
     "A special ordered set of a model: of its variables at most one (type 1) or two neighbours (type 2) are not "
     "zero.\n\n"
     "Example: [s.index for s in m.getSOSs()]"},
};
constexpr int kVarRow = 0, kPsdVarRow = 3;

Handle& handle(Borrowed o) { return *reinterpret_cast<Handle*>(o); }

// Subclasses count, so a miss on the exact types asks again.
const KindRow* find_kind(Borrowed object) {
    State& s = state();
    for (const KindRow& row : kKinds)
        if (Py_TYPE(object) == s.*row.type)
            return &row;
    for (const KindRow& row : kKinds)
        if (is_instance(object, s.*row.type))
            return &row;
    return nullptr;
}

const KindRow& row_of(Handle& self) { return *find_kind(as_object(&self)); }

Ref get_attribute(Handle& self, Kind kind, Borrowed name) {
    return read_attribute(resolve_attribute(self.mdl_, name, kind), self.index_);
}

// Methods and slots of all kinds.

Ref handle_sameAs(Handle& self, const Call& call) {
    static const auto signatures = [] {
        std::array<Signature<1>, std::size(kKinds)> all;
        for (std::size_t i = 0; i < all.size(); ++i)
            all[i] = {"sameAs", {kKinds[i].argument}, 1, 1, {}};
        return all;
    }();
    const KindRow& row = row_of(self);
    auto [other] = parse(signatures[static_cast<std::size_t>(&row - kKinds)], call);
    const Handle* o = require_or_none<Handle>(other, state().*row.type, row.argument);
    return Ref::boolean(o && o->mdl_ == self.mdl_ && o->index_ == self.index_);
}

Ref handle_getAttr(Handle& self, const Call& call) {
    static const Signature<1> signature{"getAttr", {"attrname"}, 1};
    auto [name] = parse(signature, call);
    require_str_or_none(name, "attrname");
    return get_attribute(self, row_of(self).kind, name);
}

Ref handle_setAttr(Handle& self, const Call& call) {
    static const Signature<2> signature{"setAttr", {"attrname", "attrvalue"}, 2};
    auto [name, value] = parse(signature, call);
    require_str_or_none(name, "attrname");
    write_attribute(resolve_attribute(self.mdl_, name, row_of(self).kind), self.index_, value);
    return Ref::none();
}

// Ordinary lookup first, then the attributes of the element. A class without instance dictionary can tell a miss from
// its own types alone, which spares making and clearing an AttributeError for every x.X. NumPy asks every element of a
// list for __array__ and others of that form, which no attribute has: told without a C++ exception, that costs a tenth.
template <int Row> Ref handle_getattro(PyObject* self, PyObject* name) {
    const KindRow& row = kKinds[Row];
    if (Py_TYPE(self) == state().*row.type && PyUnicode_CheckExact(name)) {
        PyObject* found = lookup_in_type(self, name);
        if (found || PyErr_Occurred())
            return Ref::steal(found);
        return has_underscores(name, 2) ? no_attribute(name) : get_attribute(handle(self), row.kind, name);
    }
    if (PyObject* found = PyObject_GenericGetAttr(self, name))
        return Ref::steal(found);
    if (!PyErr_ExceptionMatches(PyExc_AttributeError))
        throw PythonError();
    PyErr_Clear();
    return get_attribute(handle(self), row.kind, name);
}

// Every assignment goes to the solver; deletion is ordinary and fails.
template <int Row> void handle_setattro(PyObject* self, PyObject* name, PyObject* value) {
    if (!value) {
        checked(PyObject_GenericSetAttr(self, name, nullptr));
        return;
    }
    Handle& h = handle(self);
    write_attribute(resolve_attribute(h.mdl_, name, kKinds[Row].kind), h.index_, value);
}

template <int Row> Ref handle_str(PyObject* self) {
    const KindRow& row = kKinds[Row];
    if (!row.naming)
        return Ref::steal(PyUnicode_FromFormat("<%s %d>", row.name, handle(self).index_));
    Ref filling = Ref::steal(PyObject_GetAttrString(self, row.naming));
    return Ref::steal(PyUnicode_FromFormat("<%s %S>", row.name, filling.get()));
}

Ref handle_repr(PyObject* self) { return Ref::steal(PyObject_Str(self)); }

Py_hash_t handle_hash(Handle& self) { return self.index_ == -1 ? -2 : self.index_; }

Ref handle_index(Handle& self) { return Ref::steal(PyLong_FromLong(self.index_)); }

PyMethodDef handle_methods[] = {
    keywords<handle_sameAs>("sameAs", "sameAs($self, other, /)\n--\n\n"
                                      "Whether both handles stand for the same element of the same model.\n\n"
                                      "other: a handle of the same class, or None (which gives False).\n"
                                      "Raises TypeError for anything else.\n\n"
                                      "Example: x.sameAs(m.getVars()[0])"),
    keywords<handle_getAttr>("getAttr", "getAttr($self, attrname)\n--\n\n"
                                        "The value of an attribute of this element.\n\n"
                                        "attrname: str, in any case, \"_\" as good as \"/\".\n"
                                        "Raises AttributeError for a name that this kind of element does not have,\n"
                                        "TessolvError when there is no value (no solution yet, element removed).\n\n"
                                        "Example: x.getAttr(\"LB\")"),
    keywords<handle_setAttr>("setAttr", "setAttr($self, attrname, attrvalue)\n--\n\n"
                                        "Sets an attribute of this element.\n\n"
                                        "attrname: str, as for getAttr.  attrvalue: a value of the attribute's type.\n"
                                        "Raises AttributeError for an unknown name, TessolvError when the solver\n"
                                        "refuses the value or the attribute can only be read.\n\n"
                                        "Example: x.setAttr(\"UB\", 4.0)"),
    {},
};

Ref handle_priority(Handle&) { return Ref::steal(PyFloat_FromDouble(1000.0)); }

PyMethodDef psdvar_readonly[] = {
    no_args<handle_priority>("__array_priority__", "Tells NumPy to leave operators to this class.\n\n"
                                                   "Example: X.__array_priority__  # 1000.0"),
    {},
};

PyMethodDef handle_readonly[] = {
    no_args<handle_index>("index", "Position of the element in its model, from 0; negative once it was removed.\n\n"
                                   "Example: m.getVars()[1].index  # 1"),
    {},
};

template <int Row> void make_kind() {
    State& s = state();
    const KindRow& row = kKinds[Row];
    PyType_Slot slots[] = {
        {Py_tp_doc, const_cast<char*>(row.doc)},
        {Py_tp_dealloc, reinterpret_cast<void*>(&plain_dealloc)},
        slot<handle_getattro<Row>>(Py_tp_getattro),
        slot<handle_setattro<Row>>(Py_tp_setattro),
        slot<handle_str<Row>>(Py_tp_str),
        slot<handle_repr>(Py_tp_repr),
        {Py_tp_methods, handle_methods},
        slot<handle_hash>(Py_tp_hash),
        {},
        {},
    };
    if (Row == kVarRow) // takes its hash from Operand
        slots[std::size(slots) - 3] = {};
    if (Row == kPsdVarRow)
        slots[std::size(slots) - 2] = slot<multiply_psdvar>(Py_nb_multiply);
    PyType_Spec spec = {row.type_name, sizeof(Handle), 0, Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE, slots};
    s.*row.type = make_type(spec, Row == kVarRow ? s.operand : nullptr);
}

template <int... Rows> void make_kinds(std::integer_sequence<int, Rows...>) { (make_kind<Rows>(), ...); }

} // namespace

void make_handle_types() { make_kinds(std::make_integer_sequence<int, static_cast<int>(std::size(kKinds))>()); }

void install_handle_members() {
    for (const KindRow& row : kKinds)
        add_readonly(state().*row.type, handle_readonly);
    add_readonly(state().psdvar, psdvar_readonly);
}

Ref new_handle(PyTypeObject* type, TSOmodel model, int index) {
    Handle* h = PyObject_New(Handle, type);
    Ref r = Ref::steal(as_object(h));
    h->mdl_ = model;
    h->index_ = index;
    return r;
}

Ref new_handle_list(PyTypeObject* type, TSOmodel model, int count) {
    Ref list = Ref::steal(PyList_New(count));
    for (int i = 0; i < count; ++i)
        PyList_SET_ITEM(list.get(), i, new_handle(type, model, i).release());
    return list;
}

Kind kind_of_handle(Borrowed object) {
    const KindRow* row = find_kind(object);
    return row ? row->kind : Kind::Model;
}

Kind require_kind(Borrowed object) {
    const KindRow* row = find_kind(object);
    if (!row)
        raise(PyExc_TypeError, "type %.200s temporary not support", type_name(object));
    return row->kind;
}

namespace {

// The index of one member: a handle's own, or the integer that another object has under that name.
int index_of(Borrowed object) {
    if (find_kind(object))
        return handle(object).index_;
    Ref index = Ref::steal(PyObject_GetAttr(object, state().s_index));
    return to_int32(index.get());
}

} // namespace

std::vector<int> handle_indices(Borrowed objects) {
    Py_ssize_t size = PyObject_Size(objects);
    if (size < 0)
        throw PythonError();
    std::vector<int> indices;
    if (PyList_CheckExact(objects) || PyTuple_CheckExact(objects)) {
        indices.reserve(static_cast<std::size_t>(size));
        // The size is asked at every step: an object's `index` may run Python code that changes the list.
        for (Py_ssize_t i = 0; i < PySequence_Fast_GET_SIZE(objects); ++i) {
            Ref item = Ref::borrow(PySequence_Fast_GET_ITEM(objects, i));
            indices.push_back(index_of(item.get()));
        }
    } else {
        Ref iterator = Ref::steal(PyObject_GetIter(objects));
        while (PyObject* next = PyIter_Next(iterator.get())) {
            Ref item = Ref::steal(next);
            indices.push_back(index_of(item.get()));
        }
        if (PyErr_Occurred())
            throw PythonError();
    }
    if (static_cast<Py_ssize_t>(indices.size()) != size)
        raise(PyExc_ValueError, "%zd elements announced, %zd given", size, static_cast<Py_ssize_t>(indices.size()));
    return indices;
}

} // namespace tsp
