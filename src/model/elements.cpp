#include "model/elements.h"

#include "solver/check.h"

namespace tsp {
namespace {

int bad_index(Kind kind) {
    switch (kind) {
    case Kind::Var:
        return TSO_MODEL_INVALID_COL_IDX;
    case Kind::Sos:
        return TSO_MODEL_INVALID_SOS_IDX;
    case Kind::GenConstr:
        return TSO_MODEL_INVALID_INDICATOR_ROW_IDX;
    case Kind::PsdVar:
        return TSO_MODEL_INVALID_SYM_MAT_IDX;
    default:
        return TSO_MODEL_INVALID_ROW_IDX;
    }
}

} // namespace

int index_of_element(const Model& self, Borrowed handle, PyTypeObject* type, const char* argument) {
    if (!is_instance(handle, type))
        raise_argument_type(argument, type->tp_name, handle);
    const Handle& h = *reinterpret_cast<Handle*>(handle);
    if (h.mdl_ != self.mdl_)
        raise_tessolv_error(bad_index(kind_of_handle(handle)), "Argument '%s' is a %s of another model", argument,
                            type_name(handle));
    if (h.index_ < 0)
        raise_tessolv_error(bad_index(kind_of_handle(handle)), "Argument '%s' is a %s that was removed from the model",
                            argument, type_name(handle));
    return h.index_;
}

Borrowed handle_at(Borrowed list, PyTypeObject* type, int index) {
    if (!list || !PyList_Check(list) || index < 0 || index >= PyList_GET_SIZE(list) ||
        !is_instance(PyList_GET_ITEM(list, index), type))
        raise(PyExc_IndexError, "list index out of range");
    return PyList_GET_ITEM(list, index);
}

} // namespace tsp
