// Model: edits of rows that exist.
#include "arrays/handle_array.h"
#include "attr/values.h"
#include "model/elements.h"
#include "model/rows.h"
#include "py/args.h"
#include "solver/check.h"

#include <climits>
#include <new>
#include <string>
#include <vector>

namespace tsp {
namespace {

bool is_handle(Borrowed object) { return kind_of_handle(object) != Kind::Model; }

// A list of its own of what a sequence, an iterator or an array of handles holds, so that nothing more of a program
// runs when it is read.
Ref list_of(Borrowed items) {
    if (!is_handle_array(items))
        return Ref::steal(PySequence_List(items));
    Ref flat = Ref::steal(PyArray_Ravel(as_array(array_of(as_handle_array(items))), NPY_CORDER));
    return Ref::steal(PyArray_ToList(as_array(flat.get())));
}

std::vector<int> indices_of_elements(const Model& self, const Ref& list, PyTypeObject* type, const char* argument) {
    std::vector<int> indices(static_cast<std::size_t>(PyList_GET_SIZE(list.get())));
    for (std::size_t i = 0; i < indices.size(); ++i) {
        Borrowed item = PyList_GET_ITEM(list.get(), static_cast<Py_ssize_t>(i));
        if (is_instance(item, type) && index_in(self, item) >= 0) {
            indices[i] = index_in(self, item);
        } else {
            std::string place = std::string(argument) + "[" + std::to_string(i) + "]";
            index_of_element(self, item, type, place.c_str()); // says what is wrong
        }
    }
    return indices;
}

} // namespace

Ref model_chgCoeff(Model& self, const Call& call) {
    static const Signature<3> signature{"chgCoeff", {"constr", "var", "value"}, 3};
    auto [constr, var, value] = parse(signature, call);
    State& s = state();
    // The value first: its conversion may run a program's code, which must not change what the indices stand for.
    if (is_handle(constr) || is_handle(var)) {
        double coefficient = to_double(value);
        int row = index_of_element(self, constr, s.constr, "constr");
        int col = index_of_element(self, var, s.var, "var");
        check(TSOchgcoeffs(self.mdl_, 1, &row, &col, &coefficient));
        return Ref::none();
    }
    Ref constrs = list_of(constr), vars = list_of(var);
    Py_ssize_t size = PyList_GET_SIZE(constrs.get());
    if (PyList_GET_SIZE(vars.get()) != size)
        raise(PyExc_ValueError, "%zd constraints and %zd variables given", size, PyList_GET_SIZE(vars.get()));
    if (size > INT_MAX)
        throw std::bad_alloc();
    int count = static_cast<int>(size);
    Ref plain = plain_values(value, count);
    std::vector<double> values = double_values(plain.get(), count);
    std::vector<int> rows = indices_of_elements(self, constrs, s.constr, "constr");
    std::vector<int> cols = indices_of_elements(self, vars, s.var, "var");
    check(TSOchgcoeffs(self.mdl_, count, rows.data(), cols.data(), values.data()));
    return Ref::none();
}

} // namespace tsp
