// Errors: what the code below throws, and the one place where it becomes a Python error.
#pragma once

#include "py/ref.h"

namespace tsp {

// An exception that knows how to become a Python error.
class Error {
public:
    virtual ~Error() = default;
    virtual void set() const noexcept = 0;
};

// Sets a Python error (format as PyErr_Format) and throws PythonError.
[[noreturn]] void raise(PyObject* type, const char* format, ...);

// type(object).__name__; the text belongs to the type.
const char* type_name(Borrowed object);

// The standard wording for an argument of a wrong type.
[[noreturn]] void raise_argument_type(const char* argument, const char* expected, Borrowed given);

// Called in a catch block: sets the Python error that fits the exception in flight.
void error_from_exception() noexcept;

// Runs a call whose failure, of whatever kind, is told in other words: false then, with no error set.
template <class F> bool succeeds(F call) {
    try {
        call();
        return true;
    } catch (...) {
        error_from_exception();
        PyErr_Clear();
        return false;
    }
}

// Keeps the Python error that is set and puts it back at the end of the scope.
class SavedError {
public:
    SavedError() { PyErr_Fetch(&type_, &value_, &traceback_); }
    ~SavedError() { PyErr_Restore(type_, value_, traceback_); }
    SavedError(const SavedError&) = delete;
    SavedError& operator=(const SavedError&) = delete;

private:
    PyObject *type_, *value_, *traceback_;
};

} // namespace tsp
