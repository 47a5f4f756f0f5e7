#include "py/error.h"

#include <unistd.h>

#include <cstdarg>
#include <cstring>
#include <exception>
#include <new>

namespace tsp {

void raise(PyObject* type, const char* format, ...) {
    va_list args;
    va_start(args, format);
    PyErr_FormatV(type, format, args);
    va_end(args);
    throw PythonError();
}

const char* type_name(Borrowed object) {
    PyTypeObject* type = Py_TYPE(object);
    if (type->tp_flags & Py_TPFLAGS_HEAPTYPE) // which may have a dot in its name
        if (const char* name = PyUnicode_AsUTF8(reinterpret_cast<PyHeapTypeObject*>(type)->ht_name))
            return name;
    const char* name = type->tp_name;
    const char* dot = std::strrchr(name, '.');
    return dot ? dot + 1 : name;
}

void raise_argument_type(const char* argument, const char* expected, Borrowed given) {
    raise(PyExc_TypeError, "Argument '%.200s' has incorrect type (expected %.200s, got %.200s)", argument, expected,
          Py_TYPE(given)->tp_name);
}

void error_from_exception() noexcept {
    try {
        throw;
    } catch (const PythonError&) {
        if (!PyErr_Occurred())
            PyErr_SetString(PyExc_SystemError, "a failure without an error set");
    } catch (const Error& e) {
        e.set();
    } catch (const std::bad_alloc&) {
        PyErr_NoMemory();
    } catch (const std::exception& e) {
        PyErr_SetString(PyExc_SystemError, e.what());
    } catch (...) {
        // Not even an exception: the interpreter is ending and ends this thread, which was in Python code called from
        // here, by unwinding its stack. That must not go on into code that wants the lock or cannot be unwound: the
        // thread stops here.
        while (!std::current_exception())
            pause();
        PyErr_SetString(PyExc_SystemError, "an unknown failure");
    }
}

} // namespace tsp
