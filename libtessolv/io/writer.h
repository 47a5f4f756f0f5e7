// Writer: a file that is replaced as a whole or not at all, plain or compressed.
#pragma once

#include "io/reader.h"
#include "io/text.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tso::io {

class Encoder; // turns text into the bytes of the file

// Writes a temporary file in the folder of the target; commit() renames it over the target, and a Writer that goes
// away without it takes the temporary away and leaves the target as it was. A link is followed: the file that it names
// is replaced. The new file has the permissions of the old one. What is not a regular file (a pipe, a device) is
// written to directly.
// Failures: TSO_DIRECTORY_ERROR when the folder is missing or the target is a folder, else TSO_FILE_WRITE_ERROR.
class Writer {
public:
    Writer(const std::string& path, Compression compression);
    ~Writer();
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    Writer& put(char c) {
        if (used_ == buffer_.size())
            flush();
        buffer_[used_++] = c;
        return *this;
    }
    Writer& put(std::string_view s) {
        if (s.size() > buffer_.size() - used_)
            return put_long(s);
        s.copy(buffer_.data() + used_, s.size());
        used_ += s.size();
        return *this;
    }
    Writer& put(double value) {
        if (buffer_.size() - used_ < kNumberRoom)
            flush();
        used_ = static_cast<size_t>(format_number(buffer_.data() + used_, value) - buffer_.data());
        return *this;
    }
    Writer& put_int(int value) { return put(static_cast<double>(value)); }

    void commit();

private:
    Writer& put_long(std::string_view s);
    void flush();
    void open_target();
    [[noreturn]] void fail(int error) const;

    std::string path_, target_, temporary_; // as given, with links followed, "" if the target is written directly
    int fd_ = -1;
    std::unique_ptr<Encoder> encoder_; // null for plain text
    std::vector<char> buffer_;
    size_t used_ = 0;
};

} // namespace tso::io
