// What the library and the program that runs CSDP say to each other, over one socket, in the machine's own byte order:
// one problem in, then any number of progress frames and one result out. Any byte, or the end of the stream, that
// follows the problem asks the program to end early with what it has.
//
// The problem: maximise <C, X> subject to <A_k, X> = rhs_k, X block-diagonal and positive semi-definite.
#pragma once

#include <cstdint>

namespace tso::engine::csdp {

inline constexpr uint32_t kMagic = 0x54534450; // "TSDP"
inline constexpr uint32_t kVersion = 1;

// Followed by int32 blocks[block_count] (dimension; negative: a diagonal block), double rhs[constraint_count],
// Entry entries[entry_count], sorted by constraint, then block.
struct ProblemHeader {
    uint32_t magic = kMagic, version = kVersion;
    int32_t block_count = 0, constraint_count = 0;
    int64_t entry_count = 0;
    int32_t max_iterations = 0, careful = 0; // careful: shorter steps, for a second try
    double seconds = 0;                      // after which it ends by itself
    double primal_tolerance = 0, dual_tolerance = 0, gap_tolerance = 0;
};

struct Entry { // constraint 0 is C; all indices count from 1 within theirs; row >= col stands for its mirror too
    int32_t constraint, block, row, col;
    double value;
};

enum class Frame : uint32_t { Progress = 1, Result = 2 };

struct FrameHeader {
    uint32_t magic = kMagic;
    Frame kind = Frame::Progress;
    uint64_t bytes = 0; // that follow
};

struct Progress {
    double primal = 0, dual = 0;
    int64_t iterations = 0;
};

// Followed by double y[constraint_count] and the blocks of X, one after the other: a diagonal one as its diagonal,
// another as its lower triangle column by column.
struct ResultHeader {
    int32_t code = 0; // CSDP's: 0 solved, 1 primal infeasible, 2 dual infeasible, 3 less accurate, 4 iterations, ...
    int32_t stopped = 0;
    double primal_error = 0, dual_error = 0; // relative, of the equations of both problems
    Progress last;
};

inline constexpr int32_t kCodeSolved = 0, kCodePrimalInfeasible = 1, kCodeDualInfeasible = 2, kCodeIterationLimit = 4,
                         kCodeStopped = 10;

inline constexpr int kMaxDimension = 46000; // of a block and of the constraints: CSDP counts their squares in an int

} // namespace tso::engine::csdp
