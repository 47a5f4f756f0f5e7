// The way into the program's form and the way back. What happens to the rows between is in reduce.cpp.
#include "engine/csdp/standard.h"

#include <algorithm>
#include <cmath>

namespace tso::engine::csdp {
namespace {

double power_of_two(double v) { return v > 0 && std::isfinite(v) ? std::exp2(std::round(std::log2(v))) : 1; }

// Where an entry stands in a lower triangle column by column.
int64_t packed(int64_t size, int64_t row, int64_t col) { return col * size - col * (col - 1) / 2 + row - col; }

} // namespace

Standard::Standard(const Lifted& lifted) : lifted_rows_(lifted.rows.size()) {
    make_columns(lifted);
    if (state_ == Infeasible)
        return;
    make_rows(lifted);
    eliminate();
    if (state_ == Open)
        settle_singletons();
    if (state_ == Open)
        drop_dependent_rows();
    if (state_ == Open) {
        number();
        scale();
    }
}

void Standard::make_columns(const Lifted& lifted) {
    int64_t free = 0;
    for (size_t j = 0; j < lifted.cost.size(); ++j) {
        const double l = lifted.lower[j], u = lifted.upper[j];
        const bool below = l > -TSO_INFINITY, above = u < TSO_INFINITY;
        const double slack = 1e-12 * std::max(1.0, std::min(std::fabs(l), std::fabs(u)));
        if (below && above && l - u > 1e3 * slack) {
            state_ = Infeasible;
            return;
        }
        Column c{Kind::Free, 0, 0};
        if (below && above && u - l <= slack)
            c = {Kind::Fixed, -1, l};
        else if (below)
            c = {Kind::Lower, nonnegative_++, l};
        else if (above)
            c = {Kind::Upper, nonnegative_++, u};
        else
            c.key = free++;
        first_offset_ += lifted.cost[j] * c.shift;
        columns_.push_back(c);
    }
    first_offset_ += lifted.offset;
    block_size_ = lifted.blocks;
    block_begin_.assign(block_size_.size(), 0);
    for (size_t b = 0; b < block_size_.size(); ++b)
        if (block_size_[b] == 1)
            block_begin_[b] = nonnegative_++;
    int64_t boxes = 0;
    for (size_t j = 0; j < columns_.size(); ++j)
        boxes += columns_[j].kind == Kind::Lower && lifted.upper[j] < TSO_INFINITY;
    // Room for what free columns may be split into.
    first_free_ = nonnegative_ + boxes + 2 * free;
    first_block_ = first_free_ + free;
    split_.assign(static_cast<size_t>(free), {-1, -1});
    for (Column& c : columns_)
        if (c.kind == Kind::Free)
            c.key += first_free_;
    keys_ = first_block_;
    for (size_t b = 0; b < block_size_.size(); ++b)
        if (const int64_t n = block_size_[b]; n > 1) {
            matrix_blocks_.push_back(b);
            block_begin_[b] = keys_;
            keys_ += n * (n + 1) / 2;
        }
}

int64_t Standard::block_key(int block, int row, int col) const {
    return block_begin_[static_cast<size_t>(block)] + packed(block_size_[static_cast<size_t>(block)], row, col);
}

void Standard::make_rows(const Lifted& lifted) {
    const auto tidy = [](std::vector<Term>& terms) {
        std::sort(terms.begin(), terms.end(), [](const Term& a, const Term& b) { return a.key < b.key; });
        size_t kept = 0;
        for (size_t k = 0; k < terms.size();) {
            Term sum = terms[k];
            for (++k; k < terms.size() && terms[k].key == sum.key; ++k)
                sum.value += terms[k].value;
            if (sum.value != 0)
                terms[kept++] = sum;
        }
        terms.resize(kept);
    };
    const auto column_term = [&](size_t j, double v) {
        return Term{columns_[j].key, columns_[j].kind == Kind::Upper ? -v : v};
    };
    for (const LiftedRow& from : lifted.rows) {
        Row row;
        row.rhs = from.rhs;
        for (const auto& [j, v] : from.columns) {
            row.rhs -= v * columns_[static_cast<size_t>(j)].shift;
            if (columns_[static_cast<size_t>(j)].kind != Kind::Fixed)
                row.terms.push_back(column_term(static_cast<size_t>(j), v));
        }
        for (const BlockTerm& t : from.blocks)
            row.terms.push_back({block_key(t.block, t.row, t.col), t.value});
        tidy(row.terms);
        rows_.push_back(std::move(row));
    }
    for (size_t j = 0; j < columns_.size(); ++j) {
        if (columns_[j].kind == Kind::Lower && lifted.upper[j] < TSO_INFINITY)
            rows_.push_back({{{columns_[j].key, 1.0}, {nonnegative_++, 1.0}}, lifted.upper[j] - lifted.lower[j], true});
        if (columns_[j].kind != Kind::Fixed && lifted.cost[j] != 0)
            cost_.push_back(column_term(j, lifted.cost[j]));
    }
    for (const BlockTerm& t : lifted.block_cost)
        cost_.push_back({block_key(t.block, t.row, t.col), t.value});
    tidy(cost_);
    for (const Row& row : rows_)
        rhs_.push_back(row.rhs);
    offset_ = first_offset_;
}

// Which rows, variables and blocks the program is given. A variable or block that is in no row stays away where zero is
// its best value.
void Standard::number() {
    std::vector<char> used(static_cast<size_t>(first_free_), 0);
    std::vector<char> block_used(block_size_.size(), 0);
    const auto block_of = [&](int64_t key) {
        const auto after = std::upper_bound(matrix_blocks_.begin(), matrix_blocks_.end(), key,
                                            [&](int64_t k, size_t b) { return k < block_begin_[b]; });
        return *(after - 1);
    };
    const auto mark = [&](int64_t key) {
        if (key < first_free_)
            used[static_cast<size_t>(key)] = 1;
        else
            block_used[block_of(key)] = 1;
    };
    for (size_t i = 0; i < rows_.size(); ++i)
        if (rows_[i].active) {
            active_.push_back(static_cast<int>(i));
            for (const Term& t : rows_[i].terms)
                mark(t.key);
        }
    for (const Term& t : cost_)
        if (t.key >= first_block_ || t.value < 0)
            mark(t.key);
    position_.assign(static_cast<size_t>(first_free_), -1);
    for (int64_t key = 0; key < first_free_; ++key)
        if (used[static_cast<size_t>(key)]) {
            position_[static_cast<size_t>(key)] = static_cast<int>(diagonal_.size());
            diagonal_.push_back(key);
        }
    constant_diagonal_ = active_.empty();
    int next = diagonal_.empty() && !constant_diagonal_ ? 1 : 2;
    program_block_.assign(block_size_.size(), 0);
    for (size_t b = 0; b < block_size_.size(); ++b)
        if (block_size_[b] > 1 && block_used[b]) {
            program_block_[b] = next++;
            largest_block_ = std::max<double>(largest_block_, block_size_[b]);
        }
}

template <class F> void Standard::visit_places(const std::vector<Term>& terms, F&& visit) const {
    size_t at = 0;
    int64_t col = 0, begin = 0; // of the column of the block; keys rise
    for (const Term& t : terms) {
        if (t.key < first_free_) {
            visit(t, -1, 0, 0);
            continue;
        }
        while (at + 1 < matrix_blocks_.size() && t.key >= block_begin_[matrix_blocks_[at + 1]])
            ++at, col = begin = 0;
        const size_t b = matrix_blocks_[at];
        const int64_t n = block_size_[b], k = t.key - block_begin_[b];
        while (k >= begin + n - col)
            begin += n - col++;
        visit(t, static_cast<int>(b), static_cast<int>(col + k - begin), static_cast<int>(col));
    }
}

void Standard::equilibrate() {
    constexpr int kPasses = 8;
    key_scale_.assign(static_cast<size_t>(keys_), 1.0);
    std::vector<std::vector<double>> block_scale(block_size_.size());
    for (size_t b : matrix_blocks_)
        block_scale[b].assign(static_cast<size_t>(block_size_[b]), 1.0);
    std::vector<const std::vector<Term>*> equations{&cost_};
    for (int i : active_)
        equations.push_back(&rows_[static_cast<size_t>(i)].terms);
    struct Mean { // of logarithms
        double sum = 0;
        int count = 0;
        double value() const { return count ? sum / count : 0; }
        void take(double v) {
            sum += v;
            ++count;
        }
    };
    const auto size_of = [&](const Term& t) { return std::log2(std::fabs(t.value) * scale_of(t.key)); };
    const auto corrected = [](double scale, const Mean& mean, double power) {
        return std::clamp(scale * std::exp2(-power * mean.value()), 1e-8, 1e8);
    };
    for (int pass = 0; pass < kPasses; ++pass) {
        // The mean size of the entries of each variable and each row of a block, in equations of mean size one.
        std::vector<Mean> of_variable(static_cast<size_t>(first_free_));
        std::vector<std::vector<Mean>> of_block_row(block_size_.size());
        for (size_t b : matrix_blocks_)
            of_block_row[b].resize(static_cast<size_t>(block_size_[b]));
        for (const auto* terms : equations) {
            Mean equation;
            for (const Term& t : *terms)
                equation.take(size_of(t));
            visit_places(*terms, [&](const Term& t, int block, int row, int col) {
                const double v = size_of(t) - equation.value();
                if (block < 0) {
                    of_variable[static_cast<size_t>(t.key)].take(v);
                } else {
                    of_block_row[static_cast<size_t>(block)][static_cast<size_t>(row)].take(v);
                    of_block_row[static_cast<size_t>(block)][static_cast<size_t>(col)].take(v);
                }
            });
        }
        for (size_t k = 0; k < of_variable.size(); ++k)
            key_scale_[k] = corrected(key_scale_[k], of_variable[k], 1);
        for (size_t b : matrix_blocks_) {
            auto key = static_cast<size_t>(block_begin_[b]);
            const auto n = static_cast<size_t>(block_size_[b]);
            for (size_t i = 0; i < n; ++i)
                block_scale[b][i] = corrected(block_scale[b][i], of_block_row[b][i], 0.5);
            for (size_t col = 0; col < n; ++col)
                for (size_t row = col; row < n; ++row)
                    key_scale_[key++] = block_scale[b][row] * block_scale[b][col];
        }
    }
    scale();
}

void Standard::scale() {
    double largest_rhs = 0, largest_cost = 0;
    row_scale_.clear();
    for (int i : active_) {
        double sum = 0;
        for (const Term& t : rows_[static_cast<size_t>(i)].terms)
            sum += t.value * t.value * scale_of(t.key) * scale_of(t.key);
        row_scale_.push_back(1 / power_of_two(std::sqrt(sum)));
        largest_rhs = std::max(largest_rhs, std::fabs(rows_[static_cast<size_t>(i)].rhs) * row_scale_.back());
    }
    for (const Term& t : cost_)
        largest_cost = std::max(largest_cost, std::fabs(t.value) * scale_of(t.key));
    primal_scale_ = power_of_two(largest_rhs);
    objective_scale_ = power_of_two(largest_cost);
}

Request Standard::request(bool feasibility) const {
    Request r;
    const bool has_diagonal = !diagonal_.empty() || constant_diagonal_;
    if (has_diagonal)
        r.blocks.push_back(-static_cast<int32_t>(diagonal_.size() + constant_diagonal_));
    for (size_t b = 0; b < block_size_.size(); ++b)
        if (program_block_[b])
            r.blocks.push_back(block_size_[b]);
    const auto add = [&](int constraint, const std::vector<Term>& terms, double factor) {
        visit_places(terms, [&](const Term& t, int block, int row, int col) {
            const int place = block < 0 ? position_[static_cast<size_t>(t.key)] : 0;
            if (place < 0)
                return;
            Entry e{constraint, 1, place + 1, place + 1, t.value * factor * scale_of(t.key)};
            if (block >= 0) {
                e.block = program_block_[static_cast<size_t>(block)];
                e.row = row + 1;
                e.col = col + 1;
            }
            r.entries.push_back(e);
        });
    };
    if (!feasibility)
        add(0, cost_, -1 / objective_scale_);
    for (size_t k = 0; k < active_.size(); ++k) {
        const Row& row = rows_[static_cast<size_t>(active_[k])];
        add(static_cast<int>(k) + 1, row.terms, row_scale_[k]);
        r.rhs.push_back(row.rhs * row_scale_[k] / primal_scale_);
    }
    if (constant_diagonal_) {
        const auto place = static_cast<int32_t>(diagonal_.size() + 1);
        r.entries.push_back({1, 1, place, place, 1.0});
        r.rhs.push_back(1);
    }
    r.header.block_count = static_cast<int32_t>(r.blocks.size());
    r.header.constraint_count = static_cast<int32_t>(r.rhs.size());
    r.header.entry_count = static_cast<int64_t>(r.entries.size());
    return r;
}

// The values of all unknowns, entries off the diagonal twice: so every row is a plain sum.
std::vector<double> Standard::values_by_key(const std::vector<double>& values, bool direction) const {
    std::vector<double> by_key(static_cast<size_t>(keys_), 0.0);
    size_t at = active_.size() + constant_diagonal_;
    for (int64_t key : diagonal_)
        by_key[static_cast<size_t>(key)] = primal_scale_ * scale_of(key) * values[at++];
    at += constant_diagonal_;
    for (size_t b = 0; b < block_size_.size(); ++b) {
        if (!program_block_[b])
            continue;
        auto key = static_cast<size_t>(block_begin_[b]);
        for (int col = 0; col < block_size_[b]; ++col)
            for (int row = col; row < block_size_[b]; ++row, ++key)
                by_key[key] = (row == col ? 1 : 2) * primal_scale_ * scale_of(static_cast<int64_t>(key)) * values[at++];
    }
    complete_primal(by_key, direction);
    return by_key;
}

void Standard::complete_primal(std::vector<double>& by_key, bool direction) const {
    for (auto p = pivots_.rbegin(); p != pivots_.rend(); ++p) {
        double sum = direction ? 0 : p->rhs;
        for (const Term& t : p->terms)
            if (t.key != p->key)
                sum -= t.value * by_key[static_cast<size_t>(t.key)];
        by_key[static_cast<size_t>(p->key)] = sum / p->value;
    }
    for (size_t f = 0; f < split_.size(); ++f)
        if (split_[f].first >= 0)
            by_key[static_cast<size_t>(first_free_) + f] =
                by_key[static_cast<size_t>(split_[f].first)] - by_key[static_cast<size_t>(split_[f].second)];
}

void Standard::complete_dual(std::vector<double>& y, bool direction) const {
    for (auto p = pivots_.rbegin(); p != pivots_.rend(); ++p) {
        double v = direction ? 0 : p->cost / p->value;
        for (const auto& [i, factor] : p->multipliers)
            v -= factor * y[static_cast<size_t>(i)];
        y[static_cast<size_t>(p->row)] = v;
    }
}

std::vector<double> Standard::columns_of(const std::vector<double>& by_key, bool direction) const {
    std::vector<double> x;
    for (const Column& c : columns_) {
        const double v = c.kind == Kind::Fixed ? 0 : by_key[static_cast<size_t>(c.key)];
        x.push_back((direction ? 0 : c.shift) + (c.kind == Kind::Upper ? -v : v));
    }
    return x;
}

LiftedPoint Standard::point(const std::vector<double>& values) const {
    LiftedPoint p;
    const std::vector<double> by_key = values_by_key(values, false);
    p.columns = columns_of(by_key, false);
    for (size_t b = 0; b < block_size_.size(); ++b) {
        auto key = static_cast<size_t>(block_begin_[b]);
        std::vector<double> block;
        for (int col = 0; col < block_size_[b]; ++col)
            for (int row = col; row < block_size_[b]; ++row)
                block.push_back(by_key[key++] / (row == col ? 1 : 2));
        p.blocks.push_back(std::move(block));
    }
    std::vector<double> y(rows_.size(), 0.0);
    for (size_t k = 0; k < active_.size(); ++k)
        y[static_cast<size_t>(active_[k])] = -objective_scale_ * row_scale_[k] * values[k];
    complete_dual(y, false);
    long double sum = first_offset_;
    for (size_t i = 0; i < y.size(); ++i)
        sum += static_cast<long double>(y[i]) * rhs_[i];
    p.dual_objective = static_cast<double>(sum);
    y.resize(lifted_rows_);
    p.duals = std::move(y);
    return p;
}

std::vector<double> Standard::infeasibility_ray(const std::vector<double>& values) const {
    std::vector<double> y(rows_.size(), 0.0);
    for (size_t k = 0; k < active_.size(); ++k)
        y[static_cast<size_t>(active_[k])] = -row_scale_[k] * values[k];
    complete_dual(y, true);
    y.resize(lifted_rows_);
    return y;
}

std::vector<double> Standard::unbounded_ray(const std::vector<double>& values) const {
    return columns_of(values_by_key(values, true), true);
}

} // namespace tso::engine::csdp
