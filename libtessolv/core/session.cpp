#include "core/session.h"

#include <numeric>

namespace tso {

namespace {

// Beyond this many single coefficients, giving an engine the whole matrix is the quicker way.
constexpr size_t kManyCoefficients = 1'000'000;

void erase_marks(const std::vector<char>& gone, std::vector<int>& origin, std::vector<unsigned char>& marks) {
    size_t kept = 0;
    for (size_t i = 0; i < origin.size(); ++i)
        if (!gone[i]) {
            origin[kept] = origin[i];
            marks[kept] = marks[i];
            ++kept;
        }
    origin.resize(kept);
    marks.resize(kept);
}

} // namespace

void Changes::settle(int cols, int rows) {
    Changes settled;
    settled.everything = false;
    settled.col_origin.resize(static_cast<size_t>(cols));
    settled.row_origin.resize(static_cast<size_t>(rows));
    std::iota(settled.col_origin.begin(), settled.col_origin.end(), 0);
    std::iota(settled.row_origin.begin(), settled.row_origin.end(), 0);
    settled.col.resize(static_cast<size_t>(cols));
    settled.row.resize(static_cast<size_t>(rows));
    settled.engine_cols = cols;
    settled.engine_rows = rows;
    *this = std::move(settled);
}

void Changes::mark_coefficient(int i, int j) {
    if (everything || static_cast<size_t>(i) >= row.size() || static_cast<size_t>(j) >= col.size())
        return; // a new row or column is sent with its entries
    if (coefficients.size() >= kManyCoefficients)
        drop();
    else
        coefficients.emplace_back(i, j);
}

void Changes::erase_cols(const std::vector<char>& gone, const std::vector<int>& new_index) {
    if (everything)
        return;
    erase_marks(gone, col_origin, col);
    std::erase_if(coefficients, [&](const auto& c) { return gone[c.second] != 0; });
    for (auto& c : coefficients)
        c.second = new_index[c.second];
}

void Changes::erase_rows(const std::vector<char>& gone, const std::vector<int>& new_index) {
    if (everything)
        return;
    erase_marks(gone, row_origin, row);
    std::erase_if(coefficients, [&](const auto& c) { return gone[c.first] != 0; });
    for (auto& c : coefficients)
        c.first = new_index[c.first];
}

} // namespace tso
