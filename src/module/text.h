// Text and value tests that every layer above uses.
#pragma once

#include "py/args.h"

#include <string>
#include <string_view>

namespace tsp {

// The UTF-8 form of a str, NUL-terminated: the one way in which text reaches the solver. It holds as long as this
// object and costs no copy. What is not a str raises the TypeError of bytes(value, "UTF-8").
class Chars {
public:
    Chars() : text_(nullptr) {}
    explicit Chars(Borrowed value);
    const char* get() const { return text_; }
    operator const char*() const { return text_; }

private:
    Ref keep_;
    const char* text_;
};
inline Chars str2chars(Borrowed value) { return Chars(value); }

// Text from the solver as a str. Invalid UTF-8 raises UnicodeDecodeError.
inline Ref chars2str(const char* text, Py_ssize_t length) {
    return Ref::steal(PyUnicode_DecodeUTF8(text, length, nullptr));
}
inline Ref chars2str(const char* text) {
    return chars2str(text, static_cast<Py_ssize_t>(std::char_traits<char>::length(text)));
}
Ref chars2str(Borrowed bytes); // a bytes-like object, as str(bytes, "UTF-8")

// Whether a name begins with so many underscores.
bool has_underscores(Borrowed name, Py_ssize_t count);

// numpy.isscalar(value); the usual types are told apart without asking NumPy.
bool is_scalar(Borrowed value);

// Whether SciPy made it: a sparse matrix or array of any format.
bool is_sparse(Borrowed value);

// `text` itself if it has at most 250 characters, otherwise its first and last 123 with " ... " between them.
Ref shorten(Ref text);

// The built-in print with one argument.
void print(Ref text);

} // namespace tsp
