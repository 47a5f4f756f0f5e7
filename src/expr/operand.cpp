#include "expr/operand.h"

#include "handles/handle.h"
#include "module/state.h"

namespace tsp {
namespace {

// Only variables have a hash, which is their position.
Py_hash_t operand_hash(PyObject* self) {
    if (!is_instance(self, state().var))
        raise(PyExc_TypeError, "unsupported operand type(s) for hash(): `%s`", type_name(self));
    int32_t index = reinterpret_cast<Handle*>(self)->index_;
    return index == -1 ? -2 : index;
}

PyType_Slot operand_slots[] = {
    {Py_tp_doc, const_cast<char*>("The base class of variables and of what arithmetic makes of them.")},
    {Py_tp_dealloc, reinterpret_cast<void*>(&plain_dealloc)},
    slot<operand_hash>(Py_tp_hash),
    {},
};
PyType_Spec operand_spec = {"tessolvpy.Operand", sizeof(PyObject), 0, Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE,
                            operand_slots};

} // namespace

PyTypeObject* make_operand_type() { return make_type(operand_spec); }

} // namespace tsp
