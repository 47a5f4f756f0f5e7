#include "api/guard.h"

#include <new>
#include <stdexcept>

namespace tso::api {

int code_of_exception(Log* log) noexcept {
    try {
        throw;
    } catch (const Failure& failure) {
        if (failure.has_text() && log)
            try {
                log->line(failure.what());
            } catch (...) { // no memory for a line of the log: the code still tells
            }
        return failure.code();
    } catch (const std::bad_alloc&) {
        return TSO_NOMEMORY;
    } catch (const std::length_error&) {
        return TSO_NOMEMORY;
    } catch (...) {
        return TSO_ERROR;
    }
}

} // namespace tso::api
