// The program that runs CSDP for the library: reads a problem from the socket that is its standard input, writes
// progress and the result to it. CSDP ends the process when it is out of memory and prints what it likes, which is why
// it lives in a process of its own.
#include "engine/csdp/protocol.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <type_traits>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/prctl.h>
#include <sys/syscall.h>
#endif

extern "C" {
#include <csdp/declarations.h>
void openblas_set_num_threads(int);
}

using namespace tso::engine::csdp;

namespace {

constexpr int kSocket = 0;
enum ExitCode { kGood = 0, kBadProblem = 2, kLostParent = 3, kNoMemory = 4 };

using Clock = std::chrono::steady_clock;
struct Control { // what CSDP's callbacks need
    ProblemHeader header;
    Clock::time_point begin = Clock::now();
    const double* y = nullptr; // of the true iterates; others are only tried
    Progress last;
    Clock::time_point told;
    bool stopped = false;
} control;

// Calls transfer(done, left) until all bytes are through.
template <class Transfer> void transfer_all(size_t bytes, Transfer transfer) {
    for (size_t done = 0; done < bytes;) {
        const ssize_t n = transfer(done, bytes - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            _exit(kLostParent);
        done += static_cast<size_t>(n);
    }
}

void read_all(void* target, size_t bytes) {
    const auto to = static_cast<char*>(target);
    transfer_all(bytes, [&](size_t done, size_t left) { return read(kSocket, to + done, left); });
}

void write_all(const void* source, size_t bytes) {
    const auto from = static_cast<const char*>(source);
    transfer_all(bytes, [&](size_t done, size_t left) { return send(kSocket, from + done, left, MSG_NOSIGNAL); });
}

template <class T> std::vector<T> read_array(size_t count) {
    static_assert(std::is_trivially_copyable_v<T>);
    std::vector<T> v(count);
    read_all(v.data(), count * sizeof(T));
    return v;
}

void require(bool holds) {
    if (!holds)
        _exit(kBadProblem);
}

template <class T> T* allocate(size_t count) { // CSDP's arrays; the process's end frees them
    T* const p = static_cast<T*>(calloc(count, sizeof(T)));
    if (!p)
        _exit(kNoMemory);
    return p;
}

bool asked_to_stop() {
    pollfd fd = {kSocket, POLLIN, 0};
    return poll(&fd, 1, 0) > 0 ||
           std::chrono::duration<double>(Clock::now() - control.begin).count() > control.header.seconds;
}

struct Problem {
    int dimension = 0, constraints = 0;
    blockmatrix objective{};
    constraintmatrix* matrices = nullptr;
    double* rhs = nullptr;
};

// The entries of one constraint in one block.
sparseblock* make_block(const Entry* first, const Entry* last, int size) {
    sparseblock* const p = allocate<sparseblock>(1);
    const auto count = static_cast<size_t>(last - first);
    p->blocknum = first->block;
    p->blocksize = size;
    p->constraintnum = first->constraint;
    p->numentries = static_cast<int>(count);
    p->entries = allocate<double>(count + 1);
    p->iindices = allocate<int>(count + 1);
    p->jindices = allocate<int>(count + 1);
    for (size_t k = 0; k < count; ++k) {
        p->iindices[k + 1] = first[k].col; // CSDP wants the upper triangle
        p->jindices[k + 1] = first[k].row;
        p->entries[k + 1] = first[k].value;
    }
    return p;
}

Problem read_problem() {
    ProblemHeader& h = control.header;
    read_all(&h, sizeof h);
    require(h.magic == kMagic && h.version == kVersion && h.block_count > 0 && h.constraint_count > 0 &&
            h.constraint_count <= kMaxDimension && h.entry_count >= 0);
    const auto sizes = read_array<int32_t>(static_cast<size_t>(h.block_count));
    const auto rhs = read_array<double>(static_cast<size_t>(h.constraint_count));
    const auto entries = read_array<Entry>(static_cast<size_t>(h.entry_count));

    Problem p;
    p.constraints = h.constraint_count;
    p.rhs = allocate<double>(rhs.size() + 1);
    std::copy(rhs.begin(), rhs.end(), p.rhs + 1);
    p.matrices = allocate<constraintmatrix>(rhs.size() + 1);
    p.objective.nblocks = h.block_count;
    p.objective.blocks = allocate<blockrec>(sizes.size() + 1);
    for (size_t b = 0; b < sizes.size(); ++b) {
        blockrec& block = p.objective.blocks[b + 1];
        const bool diagonal = sizes[b] < 0;
        const int size = diagonal ? -sizes[b] : sizes[b];
        require(size > 0 && (diagonal || size <= kMaxDimension) && size < 0x7fffffff - p.dimension);
        p.dimension += size;
        block.blocksize = size;
        block.blockcategory = diagonal ? DIAG : MATRIX;
        if (diagonal)
            block.data.vec = allocate<double>(static_cast<size_t>(size) + 1);
        else
            block.data.mat = allocate<double>(static_cast<size_t>(size) * static_cast<size_t>(size));
    }
    std::vector<sparseblock*> tail(rhs.size() + 1, nullptr);
    for (size_t k = 0; k < entries.size();) {
        const Entry& e = entries[k];
        require(e.constraint >= 0 && e.constraint <= h.constraint_count && e.block > 0 && e.block <= h.block_count);
        const blockrec& block = p.objective.blocks[e.block];
        size_t end = k;
        for (; end < entries.size() && entries[end].constraint == e.constraint && entries[end].block == e.block;
             ++end) {
            const Entry& f = entries[end];
            require(f.col > 0 && f.col <= f.row && f.row <= block.blocksize);
            require(std::isfinite(f.value) && (block.blockcategory == MATRIX || f.row == f.col));
        }
        if (e.constraint == 0) {
            for (; k < end; ++k) {
                const int i = entries[k].row, j = entries[k].col;
                if (block.blockcategory == DIAG) {
                    block.data.vec[i] = entries[k].value;
                } else {
                    block.data.mat[ijtok(i, j, block.blocksize)] = entries[k].value;
                    block.data.mat[ijtok(j, i, block.blocksize)] = entries[k].value;
                }
            }
        } else {
            sparseblock* const made = make_block(&entries[k], entries.data() + end, block.blocksize);
            sparseblock*& last = tail[static_cast<size_t>(e.constraint)];
            (last ? last->next : p.matrices[e.constraint].blocks) = made;
            last = made;
        }
        k = end;
    }
    return p;
}

void write_result(const Problem& p, int code, const blockmatrix& x, double* y, const blockmatrix& z) {
    std::vector<double> values(y + 1, y + 1 + p.constraints);
    for (int b = 1; b <= x.nblocks; ++b) {
        const blockrec& block = x.blocks[b];
        const int n = block.blocksize;
        if (block.blockcategory == DIAG)
            values.insert(values.end(), block.data.vec + 1, block.data.vec + 1 + n);
        else
            for (int j = 1; j <= n; ++j)
                for (int i = j; i <= n; ++i)
                    values.push_back((block.data.mat[ijtok(i, j, n)] + block.data.mat[ijtok(j, i, n)]) / 2);
    }
    ResultHeader head;
    head.code = code;
    head.stopped = control.stopped;
    blockmatrix work{};
    alloc_mat(p.objective, &work);
    head.dual_error = dinfeas(p.constraints, p.objective, p.matrices, y, z, work);
    std::vector<double> rows(static_cast<size_t>(p.constraints) + 1);
    head.primal_error = pinfeas(p.constraints, p.matrices, x, p.rhs, rows.data());
    head.last = control.last;
    FrameHeader frame;
    frame.kind = Frame::Result;
    frame.bytes = sizeof head + values.size() * sizeof(double);
    write_all(&frame, sizeof frame);
    write_all(&head, sizeof head);
    write_all(values.data(), values.size() * sizeof(double));
}

// Nothing of the parent's but the socket, and no life without it.
void settle_in(const char* parent) {
#ifdef __linux__
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (parent && getppid() != atoi(parent)) // it died before that
        _exit(kLostParent);
#ifdef SYS_close_range
    if (syscall(SYS_close_range, 3u, ~0u, 0u) != 0)
#endif
#endif
        for (int fd = 3; fd < 1024; ++fd)
            close(fd);
    (void)parent;
    const int nowhere = open("/dev/null", O_RDWR);
    dup2(nowhere, 1);
    dup2(nowhere, 2);
    if (nowhere > 2)
        close(nowhere);
}

} // namespace

// CSDP calls these two; its own would read a file param.csdp of the working directory and look at nothing.
extern "C" void initparams(struct paramstruc* p, int* printlevel) {
    const ProblemHeader& h = control.header;
    *p = {};
    p->axtol = h.primal_tolerance;
    p->atytol = h.dual_tolerance;
    p->objtol = h.gap_tolerance;
    p->pinftol = p->dinftol = 1e8;
    p->maxiter = h.max_iterations;
    p->minstepfrac = h.careful ? 0.6 : 0.9;
    p->maxstepfrac = h.careful ? 0.8 : 0.97;
    p->minstepp = p->minstepd = h.careful ? 1e-12 : 1e-8;
    p->usexzgap = 1;
    p->perturbobj = h.careful ? 0 : 1;
    *printlevel = 0;
}

extern "C" int user_exit(int, int, struct blockmatrix, double*, double dual, double primal, double,
                         struct constraintmatrix*, struct blockmatrix, double* y, struct blockmatrix,
                         struct paramstruc) {
    if (y == control.y) {
        control.last = {primal, dual, control.last.iterations + 1};
        if (const auto now = Clock::now(); now - control.told > std::chrono::milliseconds(50)) {
            control.told = now;
            FrameHeader frame;
            frame.bytes = sizeof control.last;
            write_all(&frame, sizeof frame);
            write_all(&control.last, sizeof control.last);
        }
    }
    control.stopped = asked_to_stop();
    return control.stopped;
}

int main(int argc, char** argv) {
    settle_in(argc > 1 ? argv[1] : nullptr);
    openblas_set_num_threads(1); // its threads spin while they wait
    Problem p = read_problem();
    blockmatrix x{}, z{};
    double *y = nullptr, primal = 0, dual = 0;
    initsoln(p.dimension, p.constraints, p.objective, p.rhs, p.matrices, &x, &y, &z);
    control.y = y;
    const int code =
        easy_sdp(p.dimension, p.constraints, p.objective, p.rhs, p.matrices, 0.0, &x, &y, &z, &primal, &dual);
    control.last.primal = primal;
    control.last.dual = dual;
    write_result(p, code, x, y, z);
    _exit(kGood); // nothing to put in order
}
