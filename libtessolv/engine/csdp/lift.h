// The model as linear equations over columns and entries of semi-definite blocks: rows get slack columns, squares get
// blocks of two rows.
#pragma once

#include "core/model.h"

#include <string>
#include <utility>
#include <vector>

namespace tso::engine::csdp {

struct BlockTerm { // value stands for the entry and, off the diagonal, its mirror; row >= col
    int block, row, col;
    double value;
};

struct LiftedRow { // sum of columns and block terms == rhs
    std::vector<std::pair<int, double>> columns;
    std::vector<BlockTerm> blocks;
    double rhs = 0;
};

// Minimised, whatever the sense of the model. Columns 0 to n-1 and blocks 0 to p-1 are the model's; bounds may be
// infinite (+-TSO_INFINITY).
struct Lifted {
    std::vector<double> lower, upper, cost; // of columns
    std::vector<int> blocks;                // dimensions
    std::vector<BlockTerm> block_cost;
    std::vector<LiftedRow> rows;
    std::vector<int> row_of; // by the model's row; -1 for one that is free
    // A cone's row is about its heads, not about their squares: its price, divided by factor times the value of the
    // column `head`, is the price of the model's row. head -1: nothing to divide by.
    struct Head {
        int column = -1;
        double factor = 1;
    };
    std::vector<Head> head_of; // by the model's row
    double offset = 0;

    // Why it can't be done, in words for the log; empty if it was. The lifted problem is then as it should be.
    std::string build(const Model& model);

    // Takes out bounds of columns that are so far away that they are hardly meant: a solution that keeps them is one
    // with them too, and numbers of that size cost an interior-point method its accuracy. False if there are none.
    bool drop_far_bounds();

private:
    int add_column(double low, double high);
    int add_square_block(const std::vector<std::pair<int, double>>& form, double constant);
    int add_square_bound(const std::vector<std::pair<int, double>>& form);
    bool add_cone(const Model& model, const std::vector<QuadTerm>& terms, double sign, double side, int row,
                  LiftedRow& target);
    std::string add_quadratic_row(const Model& model, int i);
    void add_range(LiftedRow row, double low, double high);
};

} // namespace tso::engine::csdp
