// A sparse symmetric elimination in order of least degree: each pivot's row, divided by the pivot's root, is one form.
#include "engine/csdp/squares.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <unordered_map>

namespace tso::engine::csdp {
namespace {

constexpr double kPivotTolerance = 1e-9; // of a unit diagonal: pivots within it count as zero
constexpr double kCoupling = 1e-6;       // largest entry beside a zero pivot that counts as rounding

constexpr size_t kDense = 60; // entries of the shortest row left, from which on maps are no place for it

// The elimination of what is left once its rows are dense: `columns`, and the upper triangle of their matrix.
bool eliminate_dense(const std::vector<int>& columns, std::vector<double>& matrix,
                     const std::unordered_map<int, double>& scale, std::vector<LinearForm>& forms) {
    const size_t n = columns.size();
    for (size_t p = 0; p < n; ++p) {
        const double* row = &matrix[p * n];
        const double pivot = row[p];
        if (pivot < -kPivotTolerance)
            return false;
        if (pivot <= kPivotTolerance) {
            if (std::any_of(row + p + 1, row + n, [](double v) { return std::fabs(v) > kCoupling; }))
                return false;
            continue;
        }
        const double root = std::sqrt(pivot);
        LinearForm form;
        for (size_t j = p; j < n; ++j)
            if (row[j] != 0)
                form.emplace_back(columns[j], row[j] / root * scale.at(columns[j]));
        forms.push_back(std::move(form));
        for (size_t i = p + 1; i < n; ++i) {
            const double factor = row[i] / pivot;
            double* target = &matrix[i * n];
            for (size_t j = i; factor != 0 && j < n; ++j)
                target[j] -= factor * row[j];
        }
    }
    return true;
}

} // namespace

std::optional<std::vector<LinearForm>> squares_of(const std::vector<QuadTerm>& terms, double sign) {
    std::map<int, double> diagonal;
    std::unordered_map<int, std::map<int, double>> off;
    for (const QuadTerm& t : terms) {
        diagonal.try_emplace(t.row, 0.0);
        diagonal.try_emplace(t.col, 0.0);
        if (t.row == t.col) {
            diagonal[t.row] += sign * t.value;
        } else {
            off[t.row][t.col] += sign * t.value / 2;
            off[t.col][t.row] += sign * t.value / 2;
        }
    }
    // A unit diagonal, so that one tolerance fits all.
    std::unordered_map<int, double> scale;
    for (auto& [j, d] : diagonal) {
        if (d < 0)
            return std::nullopt;
        scale[j] = d > 0 ? std::sqrt(d) : 1;
        if (d > 0)
            d = 1;
    }
    std::set<std::pair<size_t, int>> by_degree;
    for (auto& [j, d] : diagonal) {
        for (auto& [k, v] : off[j])
            v /= scale[j] * scale[k];
        by_degree.emplace(off[j].size(), j);
    }
    std::vector<LinearForm> forms;
    while (!by_degree.empty()) {
        const auto [degree, p] = *by_degree.begin();
        if (degree > kDense && 2 * degree > by_degree.size()) {
            std::vector<int> columns;
            std::unordered_map<int, size_t> place;
            for (const auto& [d, j] : by_degree) {
                place[j] = columns.size();
                columns.push_back(j);
            }
            const size_t n = columns.size();
            std::vector<double> matrix(n * n, 0.0);
            for (size_t i = 0; i < n; ++i) {
                matrix[i * n + i] = diagonal[columns[i]];
                for (const auto& [j, v] : off[columns[i]])
                    matrix[i * n + place[j]] = v;
            }
            if (!eliminate_dense(columns, matrix, scale, forms))
                return std::nullopt;
            return forms;
        }
        by_degree.erase(by_degree.begin());
        const double pivot = diagonal[p];
        const std::map<int, double> row = std::move(off[p]);
        off.erase(p);
        for (const auto& [j, v] : row) {
            by_degree.erase({off[j].size(), j});
            off[j].erase(p);
        }
        if (pivot < -kPivotTolerance)
            return std::nullopt;
        if (pivot <= kPivotTolerance) {
            for (const auto& [j, v] : row)
                if (std::fabs(v) > kCoupling)
                    return std::nullopt;
        } else {
            const double root = std::sqrt(pivot);
            LinearForm form{{p, root * scale[p]}};
            for (const auto& [j, v] : row)
                if (v != 0) {
                    form.emplace_back(j, v / root * scale[j]);
                    diagonal[j] -= v * v / pivot;
                }
            for (auto a = row.begin(); a != row.end(); ++a)
                for (auto b = std::next(a); b != row.end(); ++b) {
                    const double change = a->second * b->second / pivot;
                    off[a->first][b->first] -= change;
                    off[b->first][a->first] -= change;
                }
            forms.push_back(std::move(form));
        }
        for (const auto& [j, v] : row)
            by_degree.emplace(off[j].size(), j);
    }
    return forms;
}

} // namespace tso::engine::csdp
