// One child process at a time and thread: posix_spawn, since a process with threads must not run code of its own
// between fork and exec; a socket pair in the place of pipes, since a write to it can be told not to raise SIGPIPE.
#include "engine/csdp/child.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

#include <dlfcn.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" char** environ;

namespace tso::engine::csdp {
namespace {

using namespace std::chrono_literals;
constexpr auto kPatience = 400ms; // for the answer of a child that was asked to stop
constexpr int kTickMilliseconds = 50;
constexpr int kGraceSteps = 200; // for the end of a child that has closed its socket
constexpr auto kGraceStep = 2ms;
constexpr int kOutOfMemory[] = {4, 205}; // exit codes: the program's own, CSDP's

class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() { reset(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    void reset(int fd = -1) {
        if (fd_ >= 0)
            close(fd_);
        fd_ = fd;
    }
    int get() const { return fd_; }

private:
    int fd_ = -1;
};

struct SpawnSettings {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    SpawnSettings() {
        posix_spawn_file_actions_init(&actions);
        posix_spawnattr_init(&attributes);
    }
    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;
};

// The process and our end of its socket. It does not outlive this object.
class Child {
public:
    ~Child() {
        kill_now();
        reap();
    }

    // 0, or the errno of what failed.
    int start(const std::string& path) {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
            return errno;
        socket_.reset(ends[0]);
        const Descriptor theirs(ends[1]);
        SpawnSettings s;
        posix_spawn_file_actions_adddup2(&s.actions, theirs.get(), 0);
        // A group of its own, which the terminal's Ctrl-C does not reach; no signals blocked, ignored or handled.
        sigset_t none, all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setpgroup(&s.attributes, 0);
        posix_spawnattr_setsigmask(&s.attributes, &none);
        posix_spawnattr_setsigdefault(&s.attributes, &all);
        posix_spawnattr_setflags(&s.attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        // One thread: those of BLAS would be made when the library is loaded, however few are used then.
        std::string threads = "OPENBLAS_NUM_THREADS=1", parent = std::to_string(getpid()), name = path;
        std::vector<char*> environment{threads.data()};
        for (char** e = environ; e && *e; ++e)
            if (std::strncmp(*e, "OPENBLAS_NUM_THREADS=", 21) != 0)
                environment.push_back(*e);
        environment.push_back(nullptr);
        char* arguments[] = {name.data(), parent.data(), nullptr};
        return posix_spawn(&pid_, path.c_str(), &s.actions, &s.attributes, arguments, environment.data());
    }

    int socket() const { return socket_.get(); }

    void kill_now() {
        if (pid_ > 0)
            kill(-pid_, SIGKILL); // its group: whatever it may have started
    }

    // Waits for its end and gives the wait status; -1 if somebody else took it. One that does not end is killed.
    int reap() {
        if (pid_ <= 0)
            return -1;
        int status = -1;
        pid_t got = 0;
        for (int k = 0; k < kGraceSteps; ++k) {
            got = waitpid(pid_, &status, WNOHANG);
            if (got > 0 || (got < 0 && errno != EINTR))
                break;
            std::this_thread::sleep_for(kGraceStep);
        }
        if (got != 0) {
            pid_ = -1;
            return got < 0 ? -1 : status;
        }
        kill_now();
        while ((got = waitpid(pid_, &status, 0)) < 0 && errno == EINTR)
            ;
        pid_ = -1;
        return got < 0 ? -1 : status;
    }

private:
    Descriptor socket_;
    pid_t pid_ = -1;
};

template <class T> void append(std::vector<char>& out, const T* data, size_t count) {
    const char* bytes = reinterpret_cast<const char*>(data);
    out.insert(out.end(), bytes, bytes + count * sizeof(T));
}

size_t count_values(const Request& r) {
    size_t count = r.rhs.size();
    for (int32_t b : r.blocks)
        count += b < 0 ? static_cast<size_t>(-static_cast<int64_t>(b))
                       : static_cast<size_t>(b) * (static_cast<size_t>(b) + 1) / 2;
    return count;
}

// Takes the frames apart that have come so far.
class Reader {
public:
    Reader(size_t values, const std::function<void(const Progress&)>& tick) : expected_(values), tick_(tick) {}

    enum State { More, Complete, Garbage };
    State take(const char* data, size_t bytes, Answer& answer) {
        in_.insert(in_.end(), data, data + bytes);
        for (;;) {
            if (in_.size() < sizeof(FrameHeader))
                return More;
            FrameHeader frame;
            std::memcpy(&frame, in_.data(), sizeof frame);
            const bool result = frame.kind == Frame::Result;
            const size_t payload = result ? sizeof(ResultHeader) + expected_ * sizeof(double) : sizeof(Progress);
            if (frame.magic != kMagic || (!result && frame.kind != Frame::Progress) || frame.bytes != payload)
                return Garbage;
            if (in_.size() < sizeof frame + payload) {
                in_.reserve(sizeof frame + payload);
                return More;
            }
            const char* const body = in_.data() + sizeof frame;
            if (result) {
                std::memcpy(&answer.head, body, sizeof answer.head);
                answer.values.resize(expected_);
                std::memcpy(answer.values.data(), body + sizeof answer.head, expected_ * sizeof(double));
                return Complete;
            }
            Progress progress;
            std::memcpy(&progress, body, sizeof progress);
            in_.erase(in_.begin(), in_.begin() + static_cast<std::ptrdiff_t>(sizeof frame + payload));
            tick_(progress);
        }
    }

private:
    size_t expected_;
    const std::function<void(const Progress&)>& tick_;
    std::vector<char> in_;
};

Answer failed(Answer::How how, std::string why) {
    Answer a;
    a.how = how;
    a.why = std::move(why);
    return a;
}

Answer why_it_died(Child& child) {
    const int status = child.reap();
    if (status != -1 && WIFEXITED(status)) {
        const int code = WEXITSTATUS(status);
        for (int c : kOutOfMemory)
            if (code == c)
                return failed(Answer::NoMemory, "it ran out of memory");
        if (code == 127)
            return failed(Answer::NotAvailable, "it could not be loaded");
        return failed(Answer::Died, "it ended with code " + std::to_string(code));
    }
    if (status != -1 && WIFSIGNALED(status))
        return failed(Answer::Died, "it was ended by signal " + std::to_string(WTERMSIG(status)));
    return failed(Answer::Died, "it ended");
}

} // namespace

std::string program_path() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&program_path), &info) == 0 || !info.dli_fname)
        return {};
    std::string path = info.dli_fname;
    const size_t slash = path.rfind('/');
    path = slash == std::string::npos ? std::string("./") : path.substr(0, slash + 1);
    return path + TESSOLV_CSDP_PROGRAM;
}

Answer ask(const Request& request, Run& run, const std::function<void(const Progress&)>& tick) {
    std::vector<char> out;
    append(out, &request.header, 1);
    append(out, request.blocks.data(), request.blocks.size());
    append(out, request.rhs.data(), request.rhs.size());
    append(out, request.entries.data(), request.entries.size());
    size_t sent = 0;

    Child child;
    const std::string path = program_path();
    if (const int error = child.start(path))
        return failed(error == ENOMEM ? Answer::NoMemory : Answer::NotAvailable, path + ": " + std::strerror(error));

    Answer answer;
    Reader reader(count_values(request), tick);
    std::vector<char> buffer(1 << 16);
    bool asked = false;
    auto give_up = Run::Clock::time_point::max();
    for (;;) {
        if (!asked && (run.interrupt.load() || run.remaining() <= 0)) {
            asked = true;
            give_up = Run::Clock::now() + kPatience;
            if (sent < out.size())
                return failed(Answer::Stopped, "");
            send(child.socket(), "", 1, MSG_NOSIGNAL | MSG_DONTWAIT);
        }
        if (Run::Clock::now() >= give_up)
            return failed(Answer::Stopped, "");
        pollfd fd = {child.socket(), static_cast<short>(sent < out.size() ? POLLIN | POLLOUT : POLLIN), 0};
        if (poll(&fd, 1, kTickMilliseconds) < 0 && errno != EINTR)
            return failed(Answer::Died, std::strerror(errno));
        if (fd.revents & POLLOUT) {
            const ssize_t n = send(child.socket(), out.data() + sent, out.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
            if (n > 0)
                sent += static_cast<size_t>(n);
            else if (n < 0 && errno != EAGAIN && errno != EINTR)
                return why_it_died(child);
        }
        if (fd.revents & (POLLIN | POLLHUP | POLLERR)) {
            const ssize_t n = recv(child.socket(), buffer.data(), buffer.size(), MSG_DONTWAIT);
            if (n < 0 && (errno == EAGAIN || errno == EINTR))
                continue;
            if (n <= 0)
                return why_it_died(child);
            switch (reader.take(buffer.data(), static_cast<size_t>(n), answer)) {
            case Reader::More:
                break;
            case Reader::Complete:
                answer.how = Answer::Finished;
                return answer;
            case Reader::Garbage:
                return failed(Answer::Died, "its answer is not what it should be");
            }
        }
    }
}

} // namespace tso::engine::csdp
