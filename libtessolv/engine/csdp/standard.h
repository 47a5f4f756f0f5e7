// The lifted problem in the form that CSDP takes: equations over variables that are not negative and over semi-definite
// blocks. Free columns are eliminated, rows that depend on others go, everything is scaled; the way back is kept.
#pragma once

#include "engine/csdp/child.h"
#include "engine/csdp/lift.h"

#include <cstdint>
#include <vector>

namespace tso::engine::csdp {

struct LiftedPoint {
    std::vector<double> columns;
    std::vector<std::vector<double>> blocks; // each a lower triangle column by column
    std::vector<double> duals;               // of the lifted rows, for minimisation
    double dual_objective = 0;               // of the minimisation
};

class Standard {
public:
    enum State {
        Open,      // there is something to solve
        Infeasible // seen already
    };
    explicit Standard(const Lifted& lifted);

    State state() const { return state_; }
    bool has_ray() const { return !ray_.empty(); }
    const std::vector<double>& ray() const { return ray_; } // of an Infeasible one: weights of the lifted rows

    // Scales variables and the rows and columns of blocks so that the entries of the equations come close to one.
    void equilibrate();

    // feasibility: with no objective, to see whether there is a point at all.
    Request request(bool feasibility) const;
    double largest_block() const { return largest_block_; }

    // From the program's answer.
    LiftedPoint point(const std::vector<double>& values) const;
    std::vector<double> infeasibility_ray(const std::vector<double>& values) const; // weights of the lifted rows
    std::vector<double> unbounded_ray(const std::vector<double>& values) const;     // a direction of the columns
    double objective(double value) const { return offset_ - value * objective_scale_ * primal_scale_; }

private:
    // An unknown is named by a key: first the non-negative variables, then free columns, then entries of blocks.
    struct Term {
        int64_t key;
        double value;
    };
    struct Row {
        std::vector<Term> terms; // by rising key
        double rhs = 0;
        bool active = true;
    };
    struct Pivot { // an unknown expressed by a row, as that was then
        int row;
        int64_t key;
        double value, cost;
        std::vector<Term> terms;
        double rhs;
        std::vector<std::pair<int, double>> multipliers; // of the other rows that it was taken out of
    };
    enum class Kind : unsigned char { Fixed, Lower, Upper, Free };
    struct Column {
        Kind kind;
        int64_t key;
        double shift;
    };

    void make_columns(const Lifted& lifted);
    void make_rows(const Lifted& lifted);
    void use_pivot(int row, int64_t key, std::vector<std::vector<int>>& rows_with, int64_t first);
    void eliminate();
    void split_free(int64_t key);
    void settle_singletons();
    void drop_dependent_rows();
    void number();
    void scale();

    // Calls visit(term, block, row, column) with what the term's key stands for; for a variable block is -1.
    template <class F> void visit_places(const std::vector<Term>& terms, F&& visit) const;
    double scale_of(int64_t key) const { return key_scale_.empty() ? 1 : key_scale_[static_cast<size_t>(key)]; }
    int64_t block_key(int block, int row, int col) const;
    bool is_free(int64_t key) const { return key >= first_free_ && key < first_block_; }
    static void add_multiple(Row& target, double factor, const Row& source);
    double cost_at(int64_t key) const;
    std::vector<double> values_by_key(const std::vector<double>& values, bool direction) const;
    void complete_primal(std::vector<double>& by_key, bool direction) const;
    void complete_dual(std::vector<double>& y, bool direction) const;
    std::vector<double> columns_of(const std::vector<double>& by_key, bool direction) const;

    State state_ = Open;
    std::vector<double> ray_;
    size_t lifted_rows_ = 0;
    std::vector<Column> columns_;
    std::vector<int> block_size_;
    std::vector<int64_t> block_begin_;  // keys
    std::vector<size_t> matrix_blocks_; // blocks of more than one row; those of one are non-negative variables
    int64_t nonnegative_ = 0;           // how many so far
    int64_t first_free_ = 0, first_block_ = 0, keys_ = 0;
    std::vector<std::pair<int64_t, int64_t>> split_; // by free column: keys of its parts; -1 if it was not split
    std::vector<Row> rows_;
    std::vector<double> rhs_; // as they were made
    std::vector<Term> cost_;  // by rising key
    std::vector<Pivot> pivots_;
    double offset_ = 0, first_offset_ = 0;

    // For the program.
    std::vector<int> active_;        // rows, in its order
    std::vector<int64_t> diagonal_;  // keys of its diagonal block
    std::vector<int> position_;      // of a non-negative key in the diagonal block, -1 for none
    std::vector<int> program_block_; // of a block; 0 for one that is not given
    std::vector<double> row_scale_;  // of the active rows
    std::vector<double> key_scale_;  // unknowns are these times the program's; empty: all 1
    double objective_scale_ = 1, primal_scale_ = 1, largest_block_ = 0;
    bool constant_diagonal_ = false; // no rows: one was made up
};

} // namespace tso::engine::csdp
