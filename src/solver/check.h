// Calls of the solver library: every checked call goes through check, which turns a code that is not zero into a
// TessolvError.
#pragma once

#include "py/error.h"
#include "tessolv.h"

namespace tsp {

// Becomes TessolvError(code), whose text the library gives when the error is made.
class SolverError : public Error {
public:
    explicit SolverError(int code) : code_(code) {}
    void set() const noexcept override;

private:
    int code_;
};

// Raises TessolvError with a text of the module's own; the code is -1.
[[noreturn]] void raise_tessolv_error(const char* format, ...);
// The same with one of the solver's codes.
[[noreturn]] void raise_tessolv_error(int code, const char* format, ...);

inline void check(int code) {
    if (code != 0)
        throw SolverError(code);
}

PyTypeObject* make_tessolv_error_type();
void install_tessolv_error_members(); // errno, message

// The fields of a TessolvError, for pickling: a tuple of code, message and args. To be set they are tested first.
Ref error_fields(Borrowed error);
void set_error_fields(Borrowed error, Borrowed fields);

} // namespace tsp
