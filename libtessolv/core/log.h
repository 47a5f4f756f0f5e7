// Log: lines to the console and to a log file, as OutputFlag, LogToConsole and LogFile say.
#pragma once

#include "core/params.h"

#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace tso {

// One log file; environments that were copied from one another share it until one of them changes LogFile.
class LogFile {
public:
    explicit LogFile(const std::string& path); // opens for appending; Failure(TSO_FILE_WRITE_ERROR)
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;
    ~LogFile();
    void write(std::string_view lines); // in one write, so that lines of threads do not mix

private:
    int fd_;
};

class Log {
public:
    // Opens, shares or closes the log file that params name. Failure(TSO_FILE_WRITE_ERROR) leaves the log as it was.
    void configure(const Params& params);
    bool on() const { return !quiet_ && (console_ || file_); }
    // Writes the lines of text (split at newlines), flushed. A failing write is ignored: a full disk must not end a
    // run.
    void line(std::string_view text);
#if defined(__GNUC__)
    __attribute__((format(printf, 2, 3)))
#endif
    void
    printf(const char* format, ...);

private:
    bool quiet_ = false, console_ = true;
    std::shared_ptr<LogFile> file_;
    std::string path_;
};

} // namespace tso
