// What makes the rows fit for an interior-point method: it wants no free columns, since the parts of a split one drift
// away together, and independent rows.
#include "engine/csdp/standard.h"

#include <algorithm>
#include <cmath>
#include <queue>
#include <unordered_map>

namespace tso::engine::csdp {
namespace {

constexpr double kCancelled = 1e-13;   // of the larger summand: what is left of a difference is rounding
constexpr double kPivotShare = 0.01;   // of the largest entry of its column that a pivot must have
constexpr double kDependent = 1e-10;   // what is left of a row of norm 1 that depends on others
constexpr double kInconsistent = 1e-7; // relative difference of right-hand sides that rounding can't explain
constexpr int64_t kMostWork = 300'000'000;

template <class Terms> auto find_term(Terms& terms, int64_t key) {
    const auto at = std::lower_bound(terms.begin(), terms.end(), key, [](auto& t, int64_t k) { return t.key < k; });
    return at != terms.end() && at->key == key ? at : terms.end();
}

} // namespace

double Standard::cost_at(int64_t key) const {
    const auto at = find_term(cost_, key);
    return at == cost_.end() ? 0 : at->value;
}

void Standard::add_multiple(Row& target, double factor, const Row& source) {
    std::vector<Term> sum;
    sum.reserve(target.terms.size() + source.terms.size());
    auto a = target.terms.begin();
    auto b = source.terms.begin();
    while (a != target.terms.end() || b != source.terms.end()) {
        if (b == source.terms.end() || (a != target.terms.end() && a->key < b->key)) {
            sum.push_back(*a++);
        } else if (a == target.terms.end() || b->key < a->key) {
            sum.push_back({b->key, factor * b->value});
            ++b;
        } else {
            const double other = factor * b->value, v = a->value + other;
            if (std::fabs(v) > kCancelled * (std::fabs(a->value) + std::fabs(other)))
                sum.push_back({a->key, v});
            ++a, ++b;
        }
    }
    target.terms.swap(sum);
    target.rhs += factor * source.rhs;
}

// Expresses an unknown by a row and puts that in wherever it occurs; the row is then done with.
// rows_with: rows that may hold a key, from key `first` on.
void Standard::use_pivot(int row, int64_t key, std::vector<std::vector<int>>& rows_with, int64_t first) {
    Row& source = rows_[static_cast<size_t>(row)];
    Pivot p{row, key, find_term(source.terms, key)->value, cost_at(key), {}, source.rhs, {}};
    source.active = false;
    const auto list = [&](int64_t k) -> std::vector<int>* {
        const int64_t at = k - first;
        return at >= 0 && at < static_cast<int64_t>(rows_with.size()) ? &rows_with[static_cast<size_t>(at)] : nullptr;
    };
    std::vector<int> others;
    others.swap(*list(key));
    std::sort(others.begin(), others.end());
    others.erase(std::unique(others.begin(), others.end()), others.end());
    for (int i : others) {
        Row& target = rows_[static_cast<size_t>(i)];
        const auto at = find_term(target.terms, key);
        if (!target.active || at == target.terms.end())
            continue;
        const double factor = at->value / p.value;
        add_multiple(target, -factor, source);
        if (const auto left = find_term(target.terms, key); left != target.terms.end())
            target.terms.erase(left);
        p.multipliers.emplace_back(i, factor);
        for (const Term& t : source.terms)
            if (auto* rows = list(t.key); rows && t.key != key)
                rows->push_back(i);
    }
    if (p.cost != 0) {
        Row cost{std::move(cost_), 0, true};
        add_multiple(cost, -p.cost / p.value, source);
        if (const auto left = find_term(cost.terms, key); left != cost.terms.end())
            cost.terms.erase(left);
        cost_ = std::move(cost.terms);
        offset_ += p.cost / p.value * source.rhs;
    }
    p.terms = std::move(source.terms);
    source.terms.clear();
    pivots_.push_back(std::move(p));
}

// Takes free columns out, those in few rows first; where fill gets too much the others are split in two parts.
void Standard::eliminate() {
    const size_t free = split_.size();
    if (free == 0)
        return;
    std::vector<std::vector<int>> rows_with(free);
    int64_t terms = 0;
    for (size_t i = 0; i < rows_.size(); ++i)
        for (const Term& t : rows_[i].terms) {
            ++terms;
            if (is_free(t.key))
                rows_with[static_cast<size_t>(t.key - first_free_)].push_back(static_cast<int>(i));
        }
    const int64_t most = 20 * terms + 1'000'000;
    int64_t work = 0;
    using Item = std::pair<size_t, size_t>; // rows, column
    std::priority_queue<Item, std::vector<Item>, std::greater<>> queue;
    for (size_t f = 0; f < free; ++f)
        queue.emplace(rows_with[f].size(), f);
    while (!queue.empty()) {
        const auto [count, f] = queue.top();
        queue.pop();
        const int64_t key = first_free_ + static_cast<int64_t>(f);
        std::vector<int>& list = rows_with[f];
        std::sort(list.begin(), list.end());
        list.erase(std::unique(list.begin(), list.end()), list.end());
        double largest = 0;
        std::erase_if(list, [&](int i) {
            const Row& row = rows_[static_cast<size_t>(i)];
            const auto at = find_term(row.terms, key);
            if (!row.active || at == row.terms.end())
                return true;
            largest = std::max(largest, std::fabs(at->value));
            return false;
        });
        if (list.empty() || work > most) {
            split_free(key);
            continue;
        }
        if (list.size() > count) {
            queue.emplace(list.size(), f);
            continue;
        }
        int best = -1;
        for (int i : list) {
            const Row& row = rows_[static_cast<size_t>(i)];
            if (std::fabs(find_term(row.terms, key)->value) >= kPivotShare * largest &&
                (best < 0 || row.terms.size() < rows_[static_cast<size_t>(best)].terms.size()))
                best = i;
        }
        work += static_cast<int64_t>(list.size() * rows_[static_cast<size_t>(best)].terms.size());
        use_pivot(best, key, rows_with, first_free_);
    }
}

// One that is in no row and costs nothing stays zero.
void Standard::split_free(int64_t key) {
    const int64_t plus = nonnegative_++, minus = nonnegative_++;
    split_[static_cast<size_t>(key - first_free_)] = {plus, minus};
    const auto split = [&](std::vector<Term>& terms) {
        const auto at = find_term(terms, key);
        if (at == terms.end())
            return;
        const double v = at->value;
        terms.erase(at);
        // Non-negative keys come before all others, and these two are the last of them.
        const auto place = std::find_if(terms.begin(), terms.end(), [&](const Term& t) { return t.key > plus; });
        terms.insert(place, {{plus, v}, {minus, -v}});
    };
    for (Row& row : rows_)
        if (row.active)
            split(row.terms);
    split(cost_);
}

// Rows that fix one non-negative variable.
void Standard::settle_singletons() {
    std::vector<std::vector<int>> rows_with(static_cast<size_t>(first_free_));
    std::vector<int> queue;
    for (size_t i = 0; i < rows_.size(); ++i) {
        if (!rows_[i].active)
            continue;
        for (const Term& t : rows_[i].terms)
            if (t.key < first_free_)
                rows_with[static_cast<size_t>(t.key)].push_back(static_cast<int>(i));
        if (rows_[i].terms.size() == 1)
            queue.push_back(static_cast<int>(i));
    }
    while (!queue.empty()) {
        const int i = queue.back();
        queue.pop_back();
        Row& row = rows_[static_cast<size_t>(i)];
        if (!row.active || row.terms.size() != 1 || row.terms[0].key >= first_free_)
            continue;
        const Term t = row.terms[0];
        if (row.rhs / t.value < -kInconsistent * std::max(1.0, std::fabs(rhs_[static_cast<size_t>(i)] / t.value))) {
            state_ = Infeasible;
            std::vector<double> y(rows_.size(), 0.0);
            y[static_cast<size_t>(i)] = t.value > 0 ? -1 : 1;
            complete_dual(y, true);
            y.resize(lifted_rows_);
            ray_ = std::move(y);
            return;
        }
        if (row.rhs / t.value < 0)
            row.rhs = 0;
        const std::vector<int> touched = rows_with[static_cast<size_t>(t.key)];
        use_pivot(i, t.key, rows_with, 0);
        for (int k : touched)
            if (rows_[static_cast<size_t>(k)].active && rows_[static_cast<size_t>(k)].terms.size() == 1)
                queue.push_back(k);
    }
}

void Standard::drop_dependent_rows() {
    // Rows that hold an unknown which no other has depend on none; when they are set aside, others become such.
    std::unordered_map<int64_t, std::vector<int>> rows_with;
    std::unordered_map<int64_t, int> count;
    std::vector<char> open(rows_.size(), 0);
    for (size_t i = 0; i < rows_.size(); ++i) {
        open[i] = rows_[i].active;
        if (rows_[i].active)
            for (const Term& t : rows_[i].terms) {
                rows_with[t.key].push_back(static_cast<int>(i));
                ++count[t.key];
            }
    }
    std::vector<int> queue;
    const auto stands_alone = [&](const Row& row) {
        double largest = 0;
        for (const Term& t : row.terms)
            largest = std::max(largest, std::fabs(t.value));
        return std::any_of(row.terms.begin(), row.terms.end(),
                           [&](const Term& t) { return count[t.key] == 1 && std::fabs(t.value) >= 1e-6 * largest; });
    };
    for (size_t i = 0; i < rows_.size(); ++i)
        if (open[i] && stands_alone(rows_[i]))
            queue.push_back(static_cast<int>(i));
    while (!queue.empty()) {
        const auto i = static_cast<size_t>(queue.back());
        queue.pop_back();
        if (!open[i])
            continue;
        open[i] = 0;
        for (const Term& t : rows_[i].terms)
            if (--count[t.key] == 1)
                for (int k : rows_with[t.key])
                    if (open[static_cast<size_t>(k)] && stands_alone(rows_[static_cast<size_t>(k)]))
                        queue.push_back(k);
    }
    // Gauss over the others, shortest first, each with the combination of rows that it has become.
    std::vector<int> order;
    for (size_t i = 0; i < rows_.size(); ++i)
        if (open[i])
            order.push_back(static_cast<int>(i));
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
        return rows_[static_cast<size_t>(a)].terms.size() < rows_[static_cast<size_t>(b)].terms.size();
    });
    struct Reduced {
        int64_t pivot;
        double value;
        std::unordered_map<int64_t, double> terms;
        double rhs, size; // size: of the summands of rhs
        std::unordered_map<int, double> combination;
    };
    std::vector<Reduced> basis;
    int64_t work = 0;
    for (int i : order) {
        Row& row = rows_[static_cast<size_t>(i)];
        double norm = 0;
        for (const Term& t : row.terms)
            norm += t.value * t.value;
        norm = norm > 0 ? std::sqrt(norm) : 1;
        Reduced now{0, 0, {}, row.rhs / norm, std::fabs(row.rhs / norm), {{i, 1 / norm}}};
        for (const Term& t : row.terms)
            now.terms[t.key] = t.value / norm;
        for (const Reduced& b : basis) {
            ++work;
            const auto at = now.terms.find(b.pivot);
            if (at == now.terms.end())
                continue;
            const double factor = at->second / b.value;
            now.terms.erase(at);
            for (const auto& [key, v] : b.terms)
                if (key != b.pivot)
                    now.terms[key] -= factor * v;
            for (const auto& [k, v] : b.combination)
                now.combination[k] -= factor * v;
            now.rhs -= factor * b.rhs;
            now.size += std::fabs(factor) * b.size;
            work += static_cast<int64_t>(b.terms.size() + b.combination.size());
        }
        for (const auto& [key, v] : now.terms)
            if (std::fabs(v) > std::fabs(now.value)) {
                now.value = v;
                now.pivot = key;
            }
        if (std::fabs(now.value) > kDependent) {
            basis.push_back(std::move(now));
            if (work > kMostWork)
                return;
            continue;
        }
        if (std::fabs(now.rhs) > kInconsistent * std::max(now.size, 1.0)) {
            state_ = Infeasible;
            std::vector<double> y(rows_.size(), 0.0);
            for (const auto& [k, v] : now.combination)
                y[static_cast<size_t>(k)] = now.rhs > 0 ? v : -v;
            complete_dual(y, true);
            y.resize(lifted_rows_);
            ray_ = std::move(y);
            return;
        }
        row.active = false;
    }
}

} // namespace tso::engine::csdp
