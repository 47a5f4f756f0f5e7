#include "engine/csdp/lift.h"

#include "engine/csdp/squares.h"

#include <cmath>
#include <map>

namespace tso::engine::csdp {
namespace {

bool is_finite(double v) { return std::fabs(v) < TSO_INFINITY; }

// Terms of one pair of columns added up; zeros out.
std::vector<QuadTerm> merged(const std::vector<QuadTerm>& terms) {
    std::map<std::pair<int, int>, double> sum;
    for (const QuadTerm& t : terms)
        sum[{std::max(t.row, t.col), std::min(t.row, t.col)}] += t.value;
    std::vector<QuadTerm> result;
    for (const auto& [at, v] : sum)
        if (v != 0)
            result.push_back({at.first, at.second, v});
    return result;
}

} // namespace

bool Lifted::drop_far_bounds() {
    constexpr double kFar = 1e6;
    bool dropped = false;
    const auto drop = [&](double& bound, double to) {
        dropped |= bound != to;
        bound = to;
    };
    for (size_t j = 0; j < cost.size(); ++j) {
        if (lower[j] > upper[j])
            continue;
        if (lower[j] <= -kFar)
            drop(lower[j], -TSO_INFINITY);
        if (upper[j] >= kFar)
            drop(upper[j], TSO_INFINITY);
    }
    return dropped;
}

int Lifted::add_column(double low, double high) {
    lower.push_back(low);
    upper.push_back(high);
    cost.push_back(0);
    return static_cast<int>(cost.size()) - 1;
}

// low <= row <= high by a slack column.
void Lifted::add_range(LiftedRow row, double low, double high) {
    if (low == high) {
        row.rhs += low;
    } else if (high < TSO_INFINITY) {
        row.columns.emplace_back(add_column(0, low > -TSO_INFINITY ? high - low : TSO_INFINITY), 1.0);
        if (low > high)
            upper.back() = -1; // no value is allowed
        row.rhs += high;
    } else {
        row.columns.emplace_back(add_column(0, TSO_INFINITY), -1.0);
        row.rhs += low;
    }
    rows.push_back(std::move(row));
}

// A block whose entry (1, 0) is form + constant. Its diagonal is the caller's business.
int Lifted::add_square_block(const LinearForm& form, double constant) {
    const int b = static_cast<int>(blocks.size());
    blocks.push_back(2);
    LiftedRow link;
    link.blocks.push_back({b, 1, 0, 0.5}); // with its mirror: once
    for (const auto& [j, v] : form)
        link.columns.emplace_back(j, -v);
    link.rhs = constant;
    rows.push_back(std::move(link));
    return b;
}

// sum of squares + constant <= head * other head: a second-order cone, upright or rotated. With head the value of the
// other diagonal entry of each square's block, the squares divided by it add up to no more than the other head.
bool Lifted::add_cone(const Model& model, const std::vector<QuadTerm>& terms, double sign, double side, int row,
                      LiftedRow& target) {
    const double constant = -side;
    if (constant < 0 || !target.columns.empty())
        return false;
    std::vector<QuadTerm> rest;
    const QuadTerm* heads = nullptr;
    for (const QuadTerm& t : terms) {
        const bool negative_square = t.row == t.col && sign * t.value < 0;
        if (negative_square) {
            if (heads)
                return false;
            heads = &t;
        }
    }
    if (!heads) { // a product of two columns that have no squares
        std::map<int, int> squares, products;
        for (const QuadTerm& t : terms) {
            if (t.row == t.col) {
                ++squares[t.row];
            } else {
                ++products[t.row];
                ++products[t.col];
            }
        }
        for (const QuadTerm& t : terms)
            if (t.row != t.col && sign * t.value < 0 && !squares.count(t.row) && !squares.count(t.col) &&
                products[t.row] == 1 && products[t.col] == 1) {
                if (heads)
                    return false;
                heads = &t;
            }
    }
    if (!heads)
        return false;
    const int s = heads->row, t = heads->col;
    for (const QuadTerm& term : terms)
        if (&term != heads) {
            if (term.row == s || term.col == s || term.row == t || term.col == t)
                return false;
            rest.push_back(term);
        }
    // The heads must not be negative; of an upright cone the head may as well be the negative of a column.
    double factor;
    if (s == t) {
        const double root = std::sqrt(std::fabs(heads->value));
        if (model.cols().lower[s] >= 0)
            factor = root;
        else if (model.cols().upper[s] <= 0)
            factor = -root;
        else
            return false;
    } else {
        if (model.cols().lower[s] < 0 || model.cols().lower[t] < 0)
            return false;
        factor = std::fabs(heads->value);
    }
    auto forms = squares_of(rest, sign);
    if (!forms)
        return false;
    // s * s' with s' the head of every block: s == t means (factor * s)^2.
    const auto add = [&](const LinearForm& form, double value) {
        const int b = add_square_block(form, value);
        LiftedRow head;
        head.blocks.push_back({b, 0, 0, 1.0});
        head.columns.emplace_back(s, -factor);
        rows.push_back(std::move(head));
        target.blocks.push_back({b, 1, 1, 1.0});
    };
    for (const LinearForm& form : *forms)
        add(form, 0);
    if (constant > 0)
        add({}, std::sqrt(constant));
    target.columns.emplace_back(t, s == t ? -factor : -1.0);
    head_of[row] = {s, factor};
    return true;
}

// A block whose first entry is at least the square of a form.
int Lifted::add_square_bound(const LinearForm& form) {
    const int b = add_square_block(form, 0);
    LiftedRow one;
    one.blocks.push_back({b, 1, 1, 1.0});
    one.rhs = 1;
    rows.push_back(std::move(one));
    return b;
}

std::string Lifted::add_quadratic_row(const Model& model, int i) {
    const Rows& r = model.rows();
    const std::vector<QuadTerm> terms = merged(r.quadratic[i]);
    LiftedRow row;
    const auto c = r.matrix.columns_of(i);
    const auto v = r.matrix.values_of(i);
    for (size_t k = 0; k < c.size(); ++k)
        row.columns.emplace_back(c[k], v[k]);
    double low = r.lower[i], high = r.upper[i];
    if (terms.empty()) {
        row_of[i] = static_cast<int>(rows.size());
        add_range(std::move(row), low, high);
        return {};
    }
    if (is_finite(low) && is_finite(high))
        return "quadratic constraint " + std::to_string(i) + " is bounded from both sides";
    // As sign * (terms + linear) <= side.
    const double sign = is_finite(high) ? 1 : -1, side = is_finite(high) ? high : -low;
    const auto forms = squares_of(terms, sign);
    if (forms && row.columns.empty() && side == 0) { // all squares vanish: said by rows, which leave an interior
        for (const LinearForm& form : *forms) {
            LiftedRow zero;
            zero.columns = form;
            rows.push_back(std::move(zero));
        }
        return {};
    }
    if (forms) {
        for (const LinearForm& form : *forms) {
            const int b = add_square_bound(form);
            row.blocks.push_back({b, 0, 0, sign});
        }
    } else {
        LiftedRow cone;
        cone.columns = row.columns;
        if (!add_cone(model, terms, sign, side, i, cone))
            return "quadratic constraint " + std::to_string(i) + " is neither convex nor a second-order cone";
        row = LiftedRow();
        for (const auto& [j, value] : cone.columns)
            row.columns.emplace_back(j, sign * value);
        for (const BlockTerm& t : cone.blocks)
            row.blocks.push_back({t.block, t.row, t.col, sign * t.value});
        (sign > 0 ? high : low) = 0;
    }
    row_of[i] = static_cast<int>(rows.size());
    add_range(std::move(row), low, high);
    return {};
}

std::string Lifted::build(const Model& model) {
    const Columns& c = model.cols();
    const Rows& r = model.rows();
    const double sense = model.sense();
    lower = c.lower;
    upper = c.upper;
    cost = c.cost;
    for (double& v : cost)
        v *= sense;
    offset = sense * model.constant();
    for (const PsdVar& p : model.psdvars()) {
        for (const SymEntry& e : p.cost)
            block_cost.push_back({static_cast<int>(blocks.size()), e.row, e.col, sense * e.value});
        blocks.push_back(p.dim);
    }
    row_of.assign(r.size(), -1);
    head_of.assign(r.size(), {});
    for (int i = 0; i < r.size(); ++i) {
        if (!is_finite(r.lower[i]) && !is_finite(r.upper[i]))
            continue;
        if (r.kind_of(i) == RowKind::Quadratic) {
            if (std::string reason = add_quadratic_row(model, i); !reason.empty())
                return reason;
            continue;
        }
        LiftedRow row;
        const auto ind = r.matrix.columns_of(i);
        const auto val = r.matrix.values_of(i);
        for (size_t k = 0; k < ind.size(); ++k)
            row.columns.emplace_back(ind[k], val[k]);
        if (r.kind_of(i) == RowKind::Psd)
            for (const PsdTerm& t : r.psd[i])
                row.blocks.push_back({t.psdvar, t.row, t.col, t.value});
        row_of[i] = static_cast<int>(rows.size());
        add_range(std::move(row), r.lower[i], r.upper[i]);
    }
    if (!model.quadratic().empty()) {
        const auto forms = squares_of(merged(model.quadratic()), sense);
        if (!forms)
            return "the quadratic objective is not convex";
        for (const LinearForm& form : *forms) {
            const int b = add_square_bound(form);
            block_cost.push_back({b, 0, 0, 1.0});
        }
    }
    return {};
}

} // namespace tso::engine::csdp
