// A sparse symmetric elimination in order of least degree: each pivot's row, divided by the pivot's root, is one form.
#include "engine/csdp/squares.h"

#include <cmath>
#include <map>
#include <set>
#include <unordered_map>

namespace tso::engine::csdp {
namespace {

constexpr double kPivotTolerance = 1e-9; // of a unit diagonal: pivots within it count as zero
constexpr double kCoupling = 1e-6;       // largest entry beside a zero pivot that counts as rounding

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
        const int p = by_degree.begin()->second;
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
