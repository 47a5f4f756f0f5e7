// Reader: the bytes of a file, plain or compressed, a block at a time, and the lines of it.
#pragma once

#include "core/failure.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tso::io {

enum class Compression : unsigned char { None, Gzip, Bzip2 };

// Turns the bytes of the file into those of the text.
class Decoder;

// The unread bytes are [at, end), and *end is a NUL, so that scanning loops need no test for the end of the block.
// A text is never held whole: memory is one block, or the longest stretch that a caller keeps.
class Reader {
public:
    // Failure(TSO_FILE_READ_ERROR or TSO_DIRECTORY_ERROR).
    Reader(const std::string& path, Compression compression);
    ~Reader();
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    const char* at;
    const char* end;

    // Reads on: the bytes from `keep` stay (keep <= at) and move, more are put behind them, and `at` and `keep` point
    // to the same bytes as before. False at the end of the file. Failure(TSO_FORMAT_ERROR) when the kept stretch is
    // longer than kLongest, or when the compressed data are damaged or cut off.
    bool more(const char*& keep);
    bool more() {
        const char* keep = at;
        return more(keep);
    }

    int64_t line = 1; // kept by who scans
    const std::string& path() const { return path_; }

    // Failure(TSO_FORMAT_ERROR, "path:line: expected ..., found ...").
    [[noreturn]] void fail(int64_t line, const std::string& text) const;
    [[noreturn]] void fail(int64_t line, const char* expected, std::string_view found) const;

    static constexpr size_t kLongest = size_t{16} << 20;

private:
    size_t decode(char* out, size_t room);

    std::string path_;
    int fd_;
    std::unique_ptr<Decoder> decoder_; // null for plain text
    std::vector<char> buffer_;
    bool started_ = false, finished_ = false;
};

// A piece of input as it may be shown in a message: short, printable, in quotes; "end of line" for an empty one.
std::string show(std::string_view found);

// The lines of a text, without their ends (LF or CR LF); the last one may lack it.
class Lines {
public:
    Lines(const std::string& path, Compression compression) : reader_(path, compression) {}
    bool next(std::string_view& line); // false at the end; the line holds until the next call
    int64_t number() const { return number_; }
    const std::string& path() const { return reader_.path(); }
    [[noreturn]] void fail(const std::string& text) const { reader_.fail(number_, text); }
    [[noreturn]] void fail(const char* expected, std::string_view found) const {
        reader_.fail(number_, expected, found);
    }

private:
    Reader reader_;
    int64_t number_ = 0;
};

// The fields of a line: what stands between blanks and tabs. Returns their number, at most `room`; a greater number of
// fields gives room + 1.
int split(std::string_view line, std::string_view* fields, int room);

inline bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v'; }
std::string_view trim(std::string_view s);

} // namespace tso::io
