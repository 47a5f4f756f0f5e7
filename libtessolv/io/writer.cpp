#include "io/writer.h"

#include <atomic>
#include <bzlib.h>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

namespace tso::io {

namespace {

constexpr size_t kBlock = size_t{256} << 10;

// All bytes or the error number.
int write_all(int fd, const char* bytes, size_t count) {
    while (count > 0) {
        const ssize_t n = ::write(fd, bytes, count);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return n < 0 ? errno : EIO;
        bytes += n;
        count -= static_cast<size_t>(n);
    }
    return 0;
}

// The path with the link at its end followed, as often as there is one. The file at the end need not exist.
std::string follow_links(std::string path) {
    constexpr int kMostLinks = 40;
    char link[PATH_MAX];
    for (int i = 0; i < kMostLinks; ++i) {
        const ssize_t n = ::readlink(path.c_str(), link, sizeof link);
        if (n <= 0 || n == static_cast<ssize_t>(sizeof link))
            return path;
        const std::string to(link, static_cast<size_t>(n));
        const size_t slash = path.rfind('/');
        path = to[0] == '/' || slash == std::string::npos ? to : path.substr(0, slash + 1) + to;
    }
    throw Failure(TSO_FILE_WRITE_ERROR, path + ": " + std::strerror(ELOOP));
}

std::string folder_of(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

} // namespace

class Encoder {
public:
    explicit Encoder(int fd) : fd_(fd), out_(kBlock) {}
    virtual ~Encoder() = default;
    virtual int encode(char* bytes, size_t count, bool last) = 0; // 0 or an error number

protected:
    int emit(size_t count) { return write_all(fd_, out_.data(), count); }
    int fd_;
    std::vector<char> out_;
};

namespace {

class Gzip final : public Encoder {
public:
    explicit Gzip(int fd) : Encoder(fd) {
        if (deflateInit2(&z_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY) != Z_OK)
            throw std::bad_alloc();
    }
    ~Gzip() override { deflateEnd(&z_); }
    int encode(char* bytes, size_t count, bool last) override {
        z_.next_in = reinterpret_cast<Bytef*>(bytes);
        z_.avail_in = static_cast<uInt>(count);
        do {
            z_.next_out = reinterpret_cast<Bytef*>(out_.data());
            z_.avail_out = static_cast<uInt>(out_.size());
            deflate(&z_, last ? Z_FINISH : Z_NO_FLUSH);
            if (const int error = emit(out_.size() - z_.avail_out))
                return error;
        } while (z_.avail_out == 0);
        return 0;
    }

private:
    z_stream z_{};
};

class Bzip2 final : public Encoder {
public:
    explicit Bzip2(int fd) : Encoder(fd) {
        if (BZ2_bzCompressInit(&z_, 9, 0, 0) != BZ_OK)
            throw std::bad_alloc();
    }
    ~Bzip2() override { BZ2_bzCompressEnd(&z_); }
    int encode(char* bytes, size_t count, bool last) override {
        z_.next_in = bytes;
        z_.avail_in = static_cast<unsigned>(count);
        int code = BZ_RUN_OK;
        while (last ? code != BZ_STREAM_END : z_.avail_in > 0) {
            z_.next_out = out_.data();
            z_.avail_out = static_cast<unsigned>(out_.size());
            code = BZ2_bzCompress(&z_, last ? BZ_FINISH : BZ_RUN);
            if (code < 0)
                return EIO;
            if (const int error = emit(out_.size() - z_.avail_out))
                return error;
        }
        return 0;
    }

private:
    bz_stream z_{};
};

} // namespace

Writer::Writer(const std::string& path, Compression compression) : path_(path), buffer_(kBlock) {
    open_target();
    try {
        if (compression == Compression::Gzip)
            encoder_ = std::make_unique<Gzip>(fd_);
        else if (compression == Compression::Bzip2)
            encoder_ = std::make_unique<Bzip2>(fd_);
    } catch (...) {
        ::close(fd_);
        if (!temporary_.empty())
            ::unlink(temporary_.c_str());
        throw;
    }
}

void Writer::open_target() {
    target_ = follow_links(path_);
    const std::string folder = folder_of(target_);
    struct stat info;
    if (::stat(folder.empty() ? "." : folder.c_str(), &info) != 0 || !S_ISDIR(info.st_mode))
        throw Failure(TSO_DIRECTORY_ERROR, path_ + ": there is no folder " + folder);
    const bool exists = ::stat(target_.c_str(), &info) == 0;
    if (exists && S_ISDIR(info.st_mode))
        throw Failure(TSO_DIRECTORY_ERROR, path_ + ": is a directory");
    if (exists && !S_ISREG(info.st_mode)) {
        fd_ = ::open(target_.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
        if (fd_ < 0)
            fail(errno);
        return;
    }
    // Renaming over it needs no right to write to the file itself; somebody who took that right away meant it.
    if (exists && ::access(target_.c_str(), W_OK) != 0)
        fail(errno);
    static std::atomic<unsigned> counter{0};
    for (int attempt = 0; attempt < 1000; ++attempt) {
        // A short name of its own: the target's may already be as long as names can be.
        temporary_ = folder + ".tessolv-" + std::to_string(::getpid()) + "-" + std::to_string(counter++) + ".tmp";
        fd_ = ::open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666);
        if (fd_ >= 0 || errno != EEXIST)
            break;
    }
    if (fd_ < 0) {
        temporary_.clear();
        fail(errno);
    }
    if (exists) {
        // The owner only if we may; the mode last, since a change of owner clears bits of it.
        if (::fchown(fd_, info.st_uid, info.st_gid) != 0) {
        }
        ::fchmod(fd_, info.st_mode & 07777);
    }
}

Writer::~Writer() {
    if (fd_ >= 0)
        ::close(fd_);
    if (!temporary_.empty())
        ::unlink(temporary_.c_str());
}

void Writer::fail(int error) const { throw Failure(TSO_FILE_WRITE_ERROR, path_ + ": " + std::strerror(error)); }

Writer& Writer::put_long(std::string_view s) {
    while (!s.empty()) {
        if (used_ == buffer_.size())
            flush();
        const size_t n = std::min(s.size(), buffer_.size() - used_);
        s.copy(buffer_.data() + used_, n);
        used_ += n;
        s.remove_prefix(n);
    }
    return *this;
}

void Writer::flush() {
    const int error = encoder_ ? encoder_->encode(buffer_.data(), used_, false) : write_all(fd_, buffer_.data(), used_);
    used_ = 0;
    if (error != 0)
        fail(error);
}

void Writer::commit() {
    flush();
    if (encoder_)
        if (const int error = encoder_->encode(nullptr, 0, true))
            fail(error);
    const int fd = fd_;
    fd_ = -1;
    if (::close(fd) != 0 && errno != EINTR) // file systems may tell of a full disk as late as here
        fail(errno);
    if (temporary_.empty())
        return;
    if (::rename(temporary_.c_str(), target_.c_str()) != 0)
        fail(errno);
    temporary_.clear();
}

} // namespace tso::io
