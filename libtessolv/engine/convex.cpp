// A sparse symmetric elimination in order of least degree, which goes over to a dense one when fill has made what is
// left dense. The matrix is scaled to a unit diagonal first, so that one tolerance fits all pivots.
#include "engine/convex.h"

#include <algorithm>
#include <cmath>
#include <queue>
#include <unordered_map>

namespace tso::engine {
namespace {

constexpr double kPivotTolerance = 1e-9; // of a unit diagonal: pivots within it count as zero
constexpr double kCoupling = 1e-6;       // largest entry beside a zero pivot that counts as rounding

using Row = std::unordered_map<int, double>; // without the diagonal

// What is left of the matrix, dense and column by column; pivots on the largest diagonal entry.
bool dense_is_semidefinite(std::vector<double>& a, int n) {
    const auto at = [&](int i, int j) -> double& { return a[static_cast<size_t>(j) * n + i]; };
    std::vector<char> used(n, 0);
    std::vector<double> column(n);
    for (int step = 0; step < n; ++step) {
        int p = -1;
        for (int i = 0; i < n; ++i) {
            if (used[i])
                continue;
            if (at(i, i) < -kPivotTolerance)
                return false;
            if (p < 0 || at(i, i) > at(p, p))
                p = i;
        }
        used[p] = 1;
        const double pivot = at(p, p);
        if (pivot <= kPivotTolerance) { // the largest one: all that is left must vanish
            for (int j = 0; j < n; ++j)
                for (int i = 0; i < n; ++i)
                    if (i != j && (!used[i] || i == p) && (!used[j] || j == p) && std::fabs(at(i, j)) > kCoupling)
                        return false;
            return true;
        }
        for (int i = 0; i < n; ++i)
            column[i] = used[i] ? 0 : at(i, p);
        for (int j = 0; j < n; ++j) {
            if (column[j] == 0)
                continue;
            const double factor = column[j] / pivot;
            double* target = &a[static_cast<size_t>(j) * n];
            for (int i = 0; i < n; ++i)
                target[i] -= factor * column[i];
        }
    }
    return true;
}

} // namespace

bool is_convex(const std::vector<QuadTerm>& terms, double sign) {
    // Only the variables that occur, numbered afresh.
    std::unordered_map<int, int> number;
    const auto numbered = [&](int j) { return number.emplace(j, static_cast<int>(number.size())).first->second; };
    std::vector<double> diagonal;
    std::vector<Row> off;
    for (const QuadTerm& t : terms) {
        const int i = numbered(t.row), j = numbered(t.col);
        diagonal.resize(number.size(), 0.0);
        off.resize(number.size());
        if (i == j) {
            diagonal[i] += 2 * sign * t.value;
        } else {
            off[i][j] += sign * t.value;
            off[j][i] += sign * t.value;
        }
    }
    const int n = static_cast<int>(number.size());
    double largest = 0;
    for (double d : diagonal)
        largest = std::max(largest, std::fabs(d));
    for (const Row& r : off)
        for (const auto& [j, v] : r)
            largest = std::max(largest, std::fabs(v));
    if (largest == 0)
        return true;
    std::vector<double> scale(n);
    for (int i = 0; i < n; ++i) {
        if (diagonal[i] < -1e-12 * largest)
            return false;
        const bool zero = diagonal[i] <= 1e-15 * largest;
        for (const auto& [j, v] : off[i])
            if (zero && std::fabs(v) > 1e-12 * largest)
                return false;
        scale[i] = zero ? 0.0 : 1 / std::sqrt(diagonal[i]);
    }
    for (int i = 0; i < n; ++i) {
        for (auto& [j, v] : off[i])
            v *= scale[i] * scale[j];
        std::erase_if(off[i], [](const auto& e) { return e.second == 0; });
        diagonal[i] = scale[i] == 0 ? 0.0 : 1.0;
    }

    std::vector<char> gone(n, 0);
    using Entry = std::pair<size_t, int>;
    std::priority_queue<Entry, std::vector<Entry>, std::greater<>> by_degree;
    for (int i = 0; i < n; ++i)
        by_degree.emplace(off[i].size(), i);
    int left = n;
    while (!by_degree.empty()) {
        const auto [degree, p] = by_degree.top();
        by_degree.pop();
        if (gone[p] || degree != off[p].size())
            continue;
        if (degree > 60 && degree * 2 > static_cast<size_t>(left))
            break; // the least of all: dense
        gone[p] = 1;
        --left;
        const double pivot = diagonal[p];
        if (pivot < -kPivotTolerance)
            return false;
        if (pivot <= kPivotTolerance) {
            for (const auto& [j, v] : off[p])
                if (std::fabs(v) > kCoupling)
                    return false;
            for (const auto& [j, v] : off[p]) {
                off[j].erase(p);
                by_degree.emplace(off[j].size(), j);
            }
            continue;
        }
        const std::vector<std::pair<int, double>> row(off[p].begin(), off[p].end());
        for (const auto& [j, v] : row) {
            off[j].erase(p);
            diagonal[j] -= v * v / pivot;
        }
        for (size_t a = 0; a < row.size(); ++a)
            for (size_t b = a + 1; b < row.size(); ++b) {
                const double change = row[a].second * row[b].second / pivot;
                off[row[a].first][row[b].first] -= change;
                off[row[b].first][row[a].first] -= change;
            }
        for (const auto& [j, v] : row)
            by_degree.emplace(off[j].size(), j);
        off[p] = Row();
    }
    if (left == 0)
        return true;
    std::vector<int> position(n, -1);
    int m = 0;
    for (int i = 0; i < n; ++i)
        if (!gone[i])
            position[i] = m++;
    std::vector<double> dense(static_cast<size_t>(m) * m, 0.0);
    for (int i = 0; i < n; ++i) {
        if (gone[i])
            continue;
        dense[static_cast<size_t>(position[i]) * m + position[i]] = diagonal[i];
        for (const auto& [j, v] : off[i])
            dense[static_cast<size_t>(position[j]) * m + position[i]] = v;
    }
    return dense_is_semidefinite(dense, m);
}

namespace {

// The terms with repeated ones summed up and those that cancel out left out, row >= col.
std::vector<QuadTerm> summed(const std::vector<QuadTerm>& terms) {
    std::vector<QuadTerm> sums = terms;
    for (QuadTerm& t : sums)
        if (t.row < t.col)
            std::swap(t.row, t.col);
    std::sort(sums.begin(), sums.end(),
              [](const QuadTerm& a, const QuadTerm& b) { return a.row != b.row ? a.row < b.row : a.col < b.col; });
    size_t kept = 0;
    for (size_t k = 0; k < sums.size(); ++k) {
        if (kept > 0 && sums[kept - 1].row == sums[k].row && sums[kept - 1].col == sums[k].col)
            sums[kept - 1].value += sums[k].value;
        else
            sums[kept++] = sums[k];
    }
    sums.resize(kept);
    std::erase_if(sums, [](const QuadTerm& t) { return t.value == 0; });
    return sums;
}

// sum of squares - t^2 or sum of squares - s * t, at most zero, without linear part, each variable once, and the
// signs of s and t known.
bool is_cone(const Model& model, int i, const std::vector<QuadTerm>& terms, double sign) {
    const Rows& rows = model.rows();
    const double side = sign > 0 ? rows.upper[i] : -rows.lower[i];
    if (side > 0)
        return false;
    for (double v : rows.matrix.values_of(i))
        if (v != 0)
            return false;
    const QuadTerm* axis = nullptr;
    for (const QuadTerm& t : terms) {
        const double v = sign * t.value;
        if (v < 0 || t.row != t.col) {
            if (axis)
                return false;
            axis = &t;
        }
    }
    if (!axis)
        return false;
    for (const QuadTerm& t : terms)
        if (&t != axis && (t.row == axis->row || t.row == axis->col))
            return false;
    const auto sign_of = [&](int j) {
        return model.effective_lower(j) >= 0 ? 1 : model.effective_upper(j) <= 0 ? -1 : 0;
    };
    return sign_of(axis->row) * sign_of(axis->col) * sign * axis->value < 0;
}

} // namespace

double least_shift(const std::vector<double>& matrix, int dim, double size) {
    if (!std::all_of(matrix.begin(), matrix.end(), [](double v) { return std::isfinite(v); }))
        return TSO_INFINITY;
    const size_t n = static_cast<size_t>(dim);
    const auto factorises = [&](double shift) { // by Cholesky, columns of the lower triangle
        std::vector<double> a = matrix;
        for (size_t k = 0; k < n; ++k) {
            double* column = &a[k * n];
            column[k] += shift;
            if (!(column[k] > 0))
                return false;
            const double root = std::sqrt(column[k]);
            for (size_t i = k; i < n; ++i)
                column[i] /= root;
            for (size_t j = k + 1; j < n; ++j) {
                const double factor = column[j];
                if (factor == 0)
                    continue;
                double* target = &a[j * n];
                for (size_t i = j; i < n; ++i)
                    target[i] -= factor * column[i];
            }
        }
        return true;
    };
    double shift = 1e-9 * size;
    if (factorises(shift))
        return 0;
    do
        shift *= 10;
    while (!factorises(shift) && shift < TSO_INFINITY);
    return shift;
}

bool is_convex_row(const Model& model, int i) {
    const Rows& rows = model.rows();
    if (rows.kind_of(i) != RowKind::Quadratic)
        return true;
    const bool above = rows.lower[i] > -TSO_INFINITY, below = rows.upper[i] < TSO_INFINITY;
    if (!above && !below)
        return true;
    const double sign = below ? 1 : -1;
    const std::vector<QuadTerm> terms = summed(rows.quadratic[i]);
    if (above && below)
        return terms.empty();
    const auto square = [&](const QuadTerm& t) { return t.row == t.col && sign * t.value > 0; };
    return std::all_of(terms.begin(), terms.end(), square) || is_convex(terms, sign) || is_cone(model, i, terms, sign);
}

} // namespace tso::engine
