// Problem: what the readers of model files collect before a model is made of it.
#pragma once

#include "core/model.h"
#include "io/naming.h"

#include <memory>
#include <string>
#include <vector>

namespace tso::io {

// Names are kept as the words of the file: two words are two elements even where they stand for the same name.
struct Problem {
    NameTable cols;
    std::vector<double> cost, lower, upper;
    std::vector<char> type;

    // Linear entries by row: those of row i at begin[i] up to the next begin.
    NameTable rows; // "" for a row without a name
    std::vector<int> begin, index;
    std::vector<double> value;
    std::vector<double> row_lower, row_upper;

    struct QuadraticRow {
        int row;
        std::vector<QuadTerm> terms;
    };
    std::vector<QuadraticRow> quadratic_rows; // by rising row
    std::vector<QuadTerm> quadratic;          // of the objective
    std::vector<Sos> sos;

    struct NamedIndicator {
        Indicator indicator;
        std::string name;
        int64_t line; // for messages
    };
    std::vector<NamedIndicator> indicators;

    std::string name;
    int sense = TSO_MINIMIZE;
    double constant = 0;

    int add_col(std::string_view col_name);  // cost 0, bounds 0 and infinity, continuous
    bool add_member(int col, double weight); // to the last of the sets; false if it is in it already
    // Makes the model. `path` is for messages; indicators that do not fit their variable are the only failure left.
    std::unique_ptr<Model> finish(const Env& env, const std::string& path) const;

private:
    std::unique_ptr<Model> make(const Env& env, const std::string& path) const;
    std::vector<int> last_set_; // of each column: the last set that it is in
};

} // namespace tso::io
