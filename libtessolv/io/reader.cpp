#include "io/reader.h"

#include "io/text.h"

#include <bzlib.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

namespace tso::io {

namespace {

constexpr size_t kBlock = size_t{256} << 10;

// A text that is this long and this many times longer than its compressed form is no model but an attack: even files
// of nothing but equal rows stay far below.
constexpr int64_t kExpandedFree = int64_t{256} << 20;
constexpr int64_t kExpandedRatio = 250;

size_t read_some(int fd, char* out, size_t room, const std::string& path) {
    for (;;) {
        const ssize_t n = ::read(fd, out, room);
        if (n >= 0)
            return static_cast<size_t>(n);
        if (errno != EINTR)
            throw Failure(errno == EISDIR ? TSO_DIRECTORY_ERROR : TSO_FILE_READ_ERROR,
                          path + ": " + std::strerror(errno));
    }
}

} // namespace

class Decoder {
public:
    Decoder(int fd, const std::string& path) : fd_(fd), path_(path), in_(kBlock) {}
    virtual ~Decoder() = default;

    size_t decode(char* out, size_t room) {
        size_t made = 0;
        while (made == 0 && !finished_) {
            if (have_ == 0 && !pending_ && !refill()) {
                finished_ = true;
                if (!between_ || streams_ == 0)
                    damaged("the compressed data are cut off");
                break;
            }
            if (between_ && !begin_stream())
                continue;
            const size_t before = have_;
            made = step(out, room);
            if (made == 0 && have_ == before && !between_ && !pending_)
                damaged("the compressed data are damaged");
            pending_ = made == room && !between_;
            made_ += static_cast<int64_t>(made);
            if (made_ > kExpandedFree && made_ / kExpandedRatio > taken_)
                damaged("the compressed data expand to more than 250 times their size");
        }
        return made;
    }

protected:
    [[noreturn]] void damaged(const char* what) const { throw Failure(TSO_FORMAT_ERROR, path_ + ": " + what); }

    // Starts a stream at next_; false if its beginning is not one.
    virtual bool start(unsigned char first) = 0;
    // Decodes; sets between_ at the end of a stream.
    virtual size_t step(char* out, size_t room) = 0;

    bool refill() {
        have_ = read_some(fd_, in_.data(), in_.size(), path_);
        next_ = in_.data();
        taken_ += static_cast<int64_t>(have_);
        return have_ > 0;
    }

    char* next_ = nullptr;
    size_t have_ = 0;
    bool between_ = true; // no stream is open: at the beginning, or behind the end of one

private:
    // Compressed files may be several streams in a row. Zeros behind the last one are padding.
    bool begin_stream() {
        if (streams_ > 0 && *next_ == 0) {
            ++next_;
            --have_;
            return false;
        }
        if (!start(static_cast<unsigned char>(*next_)))
            damaged(streams_ == 0 ? "not the compressed data that the suffix promises"
                                  : "there is something behind the compressed data");
        between_ = false;
        ++streams_;
        return true;
    }

    int fd_;
    const std::string& path_;
    std::vector<char> in_;
    int64_t taken_ = 0, made_ = 0, streams_ = 0;
    bool pending_ = false; // the last step filled its room: more may come without more input
    bool finished_ = false;
};

namespace {

class Gunzip final : public Decoder {
public:
    Gunzip(int fd, const std::string& path) : Decoder(fd, path) {
        if (inflateInit2(&z_, 15 + 16) != Z_OK)
            throw std::bad_alloc();
    }
    ~Gunzip() override { inflateEnd(&z_); }

protected:
    bool start(unsigned char first) override { return first == 0x1f && inflateReset(&z_) == Z_OK; }
    size_t step(char* out, size_t room) override {
        z_.next_in = reinterpret_cast<Bytef*>(next_);
        z_.avail_in = static_cast<uInt>(have_);
        z_.next_out = reinterpret_cast<Bytef*>(out);
        z_.avail_out = static_cast<uInt>(room);
        const int code = inflate(&z_, Z_NO_FLUSH);
        if (code == Z_MEM_ERROR)
            throw std::bad_alloc();
        if (code != Z_OK && code != Z_STREAM_END && code != Z_BUF_ERROR)
            damaged("the compressed data are damaged");
        next_ = reinterpret_cast<char*>(z_.next_in);
        have_ = z_.avail_in;
        between_ = code == Z_STREAM_END;
        return room - z_.avail_out;
    }

private:
    z_stream z_{};
};

class Bunzip2 final : public Decoder {
public:
    using Decoder::Decoder;
    ~Bunzip2() override { close(); }

protected:
    bool start(unsigned char first) override {
        close();
        z_ = bz_stream{};
        if (first != 'B')
            return false;
        if (BZ2_bzDecompressInit(&z_, 0, 0) != BZ_OK)
            throw std::bad_alloc();
        open_ = true;
        return true;
    }
    size_t step(char* out, size_t room) override {
        z_.next_in = next_;
        z_.avail_in = static_cast<unsigned>(have_);
        z_.next_out = out;
        z_.avail_out = static_cast<unsigned>(room);
        const int code = BZ2_bzDecompress(&z_);
        if (code == BZ_MEM_ERROR)
            throw std::bad_alloc();
        if (code != BZ_OK && code != BZ_STREAM_END)
            damaged("the compressed data are damaged");
        next_ = z_.next_in;
        have_ = z_.avail_in;
        between_ = code == BZ_STREAM_END;
        return room - z_.avail_out;
    }

private:
    void close() {
        if (open_)
            BZ2_bzDecompressEnd(&z_);
        open_ = false;
    }
    bz_stream z_{};
    bool open_ = false;
};

} // namespace

Reader::Reader(const std::string& path, Compression compression) : path_(path) {
    fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd_ < 0)
        throw Failure(TSO_FILE_READ_ERROR, path + ": " + std::strerror(errno));
    struct stat info;
    try {
        if (::fstat(fd_, &info) == 0 && S_ISDIR(info.st_mode))
            throw Failure(TSO_DIRECTORY_ERROR, path + ": is a directory");
        if (compression == Compression::Gzip)
            decoder_ = std::make_unique<Gunzip>(fd_, path_);
        else if (compression == Compression::Bzip2)
            decoder_ = std::make_unique<Bunzip2>(fd_, path_);
        buffer_.resize(kBlock + 1);
    } catch (...) {
        ::close(fd_);
        throw;
    }
    buffer_[0] = '\0';
    at = end = buffer_.data();
}

Reader::~Reader() { ::close(fd_); }

size_t Reader::decode(char* out, size_t room) {
    return decoder_ ? decoder_->decode(out, room) : read_some(fd_, out, room, path_);
}

bool Reader::more(const char*& keep) {
    if (finished_)
        return false;
    const size_t kept = static_cast<size_t>(end - keep);
    const size_t offset = static_cast<size_t>(at - keep);
    if (kept > kLongest)
        fail(line, "no line and no word of more than 16 MiB");
    if (kept > buffer_.size() / 2) {
        std::vector<char> wider(2 * (buffer_.size() - 1) + 1);
        std::memcpy(wider.data(), keep, kept);
        buffer_.swap(wider);
    } else {
        std::memmove(buffer_.data(), keep, kept);
    }
    keep = buffer_.data();
    at = keep + offset;
    size_t n = decode(buffer_.data() + kept, buffer_.size() - 1 - kept);
    finished_ = n == 0;
    if (!started_) {
        // A mark of UTF-8 at the beginning is no part of the text. It may come in pieces through a pipe.
        started_ = true;
        while (n > 0 && n < 3) {
            const size_t m = decode(buffer_.data() + kept + n, buffer_.size() - 1 - kept - n);
            if (m == 0)
                break;
            n += m;
        }
        if (n >= 3 && std::memcmp(buffer_.data(), "\xEF\xBB\xBF", 3) == 0) {
            n -= 3;
            std::memmove(buffer_.data(), buffer_.data() + 3, n);
        }
    }
    end = buffer_.data() + kept + n;
    buffer_[kept + n] = '\0';
    return n > 0 || (!finished_ && more(keep));
}

void Reader::fail(int64_t line, const std::string& text) const {
    throw Failure(TSO_FORMAT_ERROR, path_ + ":" + std::to_string(line) + ": " + text);
}

void Reader::fail(int64_t line, const char* expected, std::string_view found) const {
    fail(line, std::string("expected ") + expected + ", found " + show(found));
}

std::string show(std::string_view found) {
    constexpr size_t kMost = 40;
    if (found.empty())
        return "end of line";
    const bool cut = found.size() > kMost;
    if (cut)
        found = found.substr(0, kMost);
    const bool utf8 = valid_utf8(found);
    std::string out = "'";
    for (const char c : found) {
        const unsigned char u = static_cast<unsigned char>(c);
        if (u < 0x20 || u == 0x7f || (u >= 0x80 && !utf8)) {
            constexpr char kHex[] = "0123456789abcdef";
            out += "\\x";
            out += kHex[u >> 4];
            out += kHex[u & 15];
        } else {
            out += c;
        }
    }
    return out + (cut ? "...'" : "'");
}

bool Lines::next(std::string_view& line) {
    ++number_;
    reader_.line = number_;
    const char* from = reader_.at; // where the search for the end goes on
    for (;;) {
        const size_t rest = static_cast<size_t>(reader_.end - from);
        if (const void* newline = rest > 0 ? std::memchr(from, '\n', rest) : nullptr) {
            const char* stop = static_cast<const char*>(newline);
            line = {reader_.at, static_cast<size_t>(stop - reader_.at)};
            reader_.at = stop + 1;
            break;
        }
        if (!reader_.more()) {
            if (reader_.at == reader_.end)
                return false;
            line = {reader_.at, static_cast<size_t>(reader_.end - reader_.at)};
            reader_.at = reader_.end;
            break;
        }
        from = reader_.at + rest;
    }
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    return true;
}

int split(std::string_view line, std::string_view* fields, int room) {
    int count = 0;
    const char* p = line.data();
    const char* const end = p + line.size();
    for (;;) {
        while (p < end && is_blank(*p))
            ++p;
        if (p == end)
            return count;
        if (count == room)
            return room + 1;
        const char* const begin = p;
        while (p < end && !is_blank(*p))
            ++p;
        fields[count++] = {begin, static_cast<size_t>(p - begin)};
    }
}

std::string_view trim(std::string_view s) {
    while (!s.empty() && is_blank(s.front()))
        s.remove_prefix(1);
    while (!s.empty() && is_blank(s.back()))
        s.remove_suffix(1);
    return s;
}

} // namespace tso::io
