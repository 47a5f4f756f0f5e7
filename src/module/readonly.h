// Read-only properties: real `property` objects whose assignment raises TypeError "Value is readonly".
#pragma once

#include "py/type.h"

namespace tsp {

// A read-only property over a getter, with a docstring of its own or the getter's where `doc` is null.
Ref constant(Borrowed getter, Borrowed doc = nullptr);

// The same with the text that help shows of a class.
Ref documented_constant(Borrowed getter, Borrowed cls);

// Gives a type its __getmetaclass__, a class method that returns the class of the class.
void add_getmetaclass(PyTypeObject* type);

// Adds each row of a table of no-argument methods to a type, as a read-only property of that name.
void add_readonly(PyTypeObject* type, PyMethodDef* rows);

// A function that takes any arguments and returns `value`: the getter of a property that is a fixed value.
Ref constant_function(Borrowed value);

} // namespace tsp
