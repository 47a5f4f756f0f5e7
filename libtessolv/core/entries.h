// Entries: the linear entries of one row as a caller gave them, made fit for storing.
#pragma once

#include "core/check.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace tso {

// Throws for an index outside of [0, size) (with `code`) and for a value that is not finite. True if the entries can be
// stored as they stand: indices rising, none twice, no zero.
inline bool check_entries(int count, const int* ind, const double* val, int size, int code) {
    bool fit = true;
    int last = -1;
    for (int k = 0; k < count; ++k) {
        check_index(ind[k], size, code);
        checked_finite(val[k]);
        fit &= ind[k] > last && val[k] != 0;
        last = ind[k];
    }
    return fit;
}

class Entries {
public:
    // Views the entries as they stand where they are fit; otherwise sorts them, adds up those of one index and takes
    // out zeros, in memory of its own that is used again at the next call.
    void assign(int count, const int* ind, const double* val, bool fit) {
        if (fit) {
            ind_ = ind;
            val_ = val;
            count_ = count;
            return;
        }
        pairs_.clear();
        for (int k = 0; k < count; ++k)
            pairs_.emplace_back(ind[k], val[k]);
        std::stable_sort(pairs_.begin(), pairs_.end(), [](auto& a, auto& b) { return a.first < b.first; });
        own_ind_.clear();
        own_val_.clear();
        for (size_t k = 0; k < pairs_.size();) {
            const int i = pairs_[k].first;
            double sum = 0;
            for (; k < pairs_.size() && pairs_[k].first == i; ++k)
                sum += pairs_[k].second;
            require(std::fabs(sum) < TSO_INFINITY, TSO_INVALID_ARGUMENT);
            if (sum != 0) {
                own_ind_.push_back(i);
                own_val_.push_back(sum);
            }
        }
        ind_ = own_ind_.data();
        val_ = own_val_.data();
        count_ = static_cast<int>(own_ind_.size());
    }

    int count() const { return count_; }
    const int* ind() const { return ind_; }
    const double* val() const { return val_; }

private:
    std::vector<std::pair<int, double>> pairs_;
    std::vector<int> own_ind_;
    std::vector<double> own_val_;
    const int* ind_ = nullptr;
    const double* val_ = nullptr;
    int count_ = 0;
};

} // namespace tso
