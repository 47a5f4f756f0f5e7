#include "core/log.h"

#include "core/failure.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace tso {

LogFile::LogFile(const std::string& path) : fd_(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666)) {
    if (fd_ < 0)
        throw Failure(TSO_FILE_WRITE_ERROR);
}

LogFile::~LogFile() { ::close(fd_); }

void LogFile::write(std::string_view lines) {
    while (!lines.empty()) {
        const ssize_t n = ::write(fd_, lines.data(), lines.size());
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return;
        lines.remove_prefix(static_cast<size_t>(n));
    }
}

void Log::configure(const Params& params) {
    const std::string& path = params.get_string(Param::LogFile);
    std::string kept = path;
    std::shared_ptr<LogFile> file;
    if (!path.empty())
        file = file_ && path == path_ ? file_ : std::make_shared<LogFile>(path);
    file_ = std::move(file);
    path_ = std::move(kept);
    quiet_ = params.get_int(Param::OutputFlag) == 0;
    console_ = params.get_int(Param::LogToConsole) != 0;
}

void Log::line(std::string_view text) {
    if (!on())
        return;
    std::string whole(text);
    if (whole.empty() || whole.back() != '\n')
        whole += '\n';
    if (console_) {
        // Through C's stdout, so that these lines and those that the program prints itself stay in order.
        std::fwrite(whole.data(), 1, whole.size(), stdout);
        std::fflush(stdout);
    }
    if (file_)
        file_->write(whole);
}

void Log::printf(const char* format, ...) {
    if (!on())
        return;
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    char text[512];
    const int n = std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    if (n >= 0 && static_cast<size_t>(n) < sizeof text) {
        line({text, static_cast<size_t>(n)});
    } else if (n >= 0) {
        std::string longer(static_cast<size_t>(n) + 1, '\0');
        std::vsnprintf(longer.data(), longer.size(), format, again);
        line({longer.data(), static_cast<size_t>(n)});
    }
    va_end(again);
}

} // namespace tso
