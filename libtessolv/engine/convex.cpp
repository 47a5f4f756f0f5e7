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
constexpr size_t kFewColumns = 60;       // where it makes no difference how a matrix is stored

using Row = std::unordered_map<int, double>; // without the diagonal

bool is_over(const Run* run) { return run && (run->interrupt.load() || run->remaining() <= 0); }

// Columns of the lower triangle of a matrix with a unit diagonal; pivots on the largest diagonal entry.
bool dense_is_semidefinite(std::vector<double>& a, size_t n, const Run* run) {
    const auto at = [&](size_t i, size_t j) -> double& { return a[j * n + i]; };
    for (size_t step = 0; step < n && !is_over(run); ++step) {
        size_t p = step;
        for (size_t i = step; i < n; ++i) {
            if (at(i, i) < -kPivotTolerance)
                return false;
            if (at(i, i) > at(p, p))
                p = i;
        }
        if (at(p, p) <= kPivotTolerance) { // the largest one: all that is left must vanish
            for (size_t j = step; j < n; ++j)
                for (size_t i = j + 1; i < n; ++i)
                    if (std::fabs(at(i, j)) > kCoupling)
                        return false;
            return true;
        }
        if (p != step) {
            std::swap(at(step, step), at(p, p));
            for (size_t i = step + 1; i < n; ++i)
                if (i != p)
                    std::swap(at(i, step), i < p ? at(p, i) : at(i, p));
        }
        const double* column = &at(0, step);
        for (size_t j = step + 1; j < n; ++j) {
            const double factor = column[j] / column[step];
            double* target = &at(0, j);
            for (size_t i = j; factor != 0 && i < n; ++i)
                target[i] -= factor * column[i];
        }
    }
    return true;
}

// For matrices that have most of their entries: no maps. `number` has the place of each variable.
bool dense_is_convex(const std::vector<QuadTerm>& terms, double sign, const std::unordered_map<int, int>& number,
                     const Run* run) {
    const size_t n = number.size();
    std::vector<double> a(n * n, 0.0), scale(n);
    for (const QuadTerm& t : terms) {
        const auto [j, i] = std::minmax(number.at(t.row), number.at(t.col));
        a[j * n + i] += (i == j ? 2 : 1) * sign * t.value;
    }
    double largest = 0;
    for (double v : a)
        largest = std::max(largest, std::fabs(v));
    for (size_t i = 0; i < n; ++i) {
        const double diagonal = a[i * n + i];
        if (diagonal < -1e-12 * largest)
            return false;
        scale[i] = diagonal <= 1e-15 * largest ? 0.0 : 1 / std::sqrt(diagonal);
    }
    for (size_t j = 0; j < n; ++j)
        for (size_t i = j; i < n; ++i) {
            double& v = a[j * n + i];
            if (i != j && scale[i] * scale[j] == 0 && std::fabs(v) > 1e-12 * largest)
                return false;
            v = i == j ? (scale[i] == 0 ? 0.0 : 1.0) : v * scale[i] * scale[j];
        }
    return dense_is_semidefinite(a, n, run);
}

} // namespace

bool is_convex(const std::vector<QuadTerm>& terms, double sign, const Run* run) {
    // Only the variables that occur, numbered afresh.
    std::unordered_map<int, int> number;
    const auto numbered = [&](int j) { return number.emplace(j, static_cast<int>(number.size())).first->second; };
    for (const QuadTerm& t : terms) {
        numbered(t.row);
        numbered(t.col);
    }
    if (number.size() > kFewColumns && terms.size() > number.size() * number.size() / 4)
        return dense_is_convex(terms, sign, number, run);
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
    while (!by_degree.empty() && !is_over(run)) {
        const auto [degree, p] = by_degree.top();
        by_degree.pop();
        if (gone[p] || degree != off[p].size())
            continue;
        if (degree > kFewColumns && degree * 2 > static_cast<size_t>(left))
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
    if (left == 0 || is_over(run))
        return true;
    std::vector<size_t> position(n);
    size_t m = 0;
    for (int i = 0; i < n; ++i)
        if (!gone[i])
            position[i] = m++;
    std::vector<double> dense(m * m, 0.0);
    for (int i = 0; i < n; ++i) {
        if (gone[i])
            continue;
        dense[position[i] * m + position[i]] = diagonal[i];
        for (const auto& [j, v] : off[i])
            dense[position[j] * m + position[i]] = v;
    }
    return dense_is_semidefinite(dense, m, run);
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

bool is_convex_row(const Model& model, int i, const Run* run) {
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
    return std::all_of(terms.begin(), terms.end(), square) || is_convex(terms, sign, run) ||
           is_cone(model, i, terms, sign);
}

} // namespace tso::engine
