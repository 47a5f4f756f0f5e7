// Failure: the exception of the library's own code. The C boundary turns it into its return code.
#pragma once

#include "tessolv.h"

#include <stdexcept>
#include <string>

namespace tso {

class Failure : public std::runtime_error {
public:
    explicit Failure(int code) : std::runtime_error("tessolv"), code_(code) {}
    // `text` goes to the log where the failing call has one: what was wrong, and what was given.
    Failure(int code, const std::string& text) : std::runtime_error(text), code_(code), has_text_(true) {}
    int code() const noexcept { return code_; }
    bool has_text() const noexcept { return has_text_; }

private:
    int code_;
    bool has_text_ = false;
};

} // namespace tso
