// Model: lifetime, what belongs to the model as a whole, values of columns and rows.
#include "core/model.h"

#include "core/growth.h"

#include <cmath>

namespace tso {

Model::Model(const Env& env) : env(env) {}

std::unique_ptr<Model> Model::copy() const {
    auto twin = std::make_unique<Model>(env);
    twin->solution = solution;
    twin->cols_ = cols_;
    twin->rows_ = rows_;
    twin->quadratic_ = quadratic_;
    twin->sos_ = sos_;
    twin->indicators_ = indicators_;
    twin->indicator_names_ = indicator_names_;
    twin->psdvars_ = psdvars_;
    twin->psdvar_names_ = psdvar_names_;
    twin->name_ = name_;
    twin->sense_ = sense_;
    twin->constant_ = constant_;
    twin->num_quadratic_rows_ = num_quadratic_rows_;
    twin->num_psd_rows_ = num_psd_rows_;
    twin->num_discrete_ = num_discrete_;
    return twin;
}

void Model::take_problem(Model&& other) {
    solution = Solution();
    session.reset();
    changes.drop();
    cols_ = std::move(other.cols_);
    rows_ = std::move(other.rows_);
    quadratic_ = std::move(other.quadratic_);
    sos_ = std::move(other.sos_);
    indicators_ = std::move(other.indicators_);
    indicator_names_ = std::move(other.indicator_names_);
    psdvars_ = std::move(other.psdvars_);
    psdvar_names_ = std::move(other.psdvar_names_);
    name_ = std::move(other.name_);
    sense_ = other.sense_;
    constant_ = other.constant_;
    num_quadratic_rows_ = other.num_quadratic_rows_;
    num_psd_rows_ = other.num_psd_rows_;
    num_discrete_ = other.num_discrete_;
}

void Model::reset(bool everything) {
    solution = Solution();
    session.reset();
    changes.drop();
    if (everything) {
        cols_.start.clear();
        cols_.basis.clear();
        rows_.basis.clear();
    }
}

bool Model::is_mip() const { return num_discrete_ > 0; }

double Model::effective_lower(int j) const {
    return cols_.type[j] == TSO_BINARY ? std::max(cols_.lower[j], 0.0) : cols_.lower[j];
}

double Model::effective_upper(int j) const {
    return cols_.type[j] == TSO_BINARY ? std::min(cols_.upper[j], 1.0) : cols_.upper[j];
}

void Model::set_name(std::string_view name) {
    require(name.size() <= TSO_MAX_NAMELEN, TSO_INVALID_ARGUMENT);
    name_ = name;
}

void Model::set_sense(int sense) {
    require(sense == TSO_MINIMIZE || sense == TSO_MAXIMIZE, TSO_INVALID_ARGUMENT);
    changes.sense |= sense != sense_;
    sense_ = sense;
}

void Model::set_constant(double c) {
    checked_finite(c);
    changes.constant |= c != constant_;
    constant_ = c;
}

namespace {

// Checks all values, then stores them; `mark` is told of every element whose value is another one now.
template <double (*Checked)(double), class Mark>
void write_values(std::vector<double>& target, int count, const int* ind, const double* v, int code, Mark mark) {
    check_arrays(count, v);
    check_list(count, ind, static_cast<int>(target.size()), code);
    for (int k = 0; k < count; ++k)
        Checked(v[k]);
    for (int k = 0; k < count; ++k) {
        const int i = element(ind, k);
        const double value = Checked(v[k]);
        if (target[i] != value) {
            target[i] = value;
            mark(i);
        }
    }
}

void write_basis(std::vector<int8_t>& target, int count, const int* ind, const int* v) {
    for (int k = 0; k < count; ++k)
        target[element(ind, k)] = static_cast<int8_t>(v[k]);
}

void check_basis(int count, const int* ind, const int* v, int size, int code) {
    check_arrays(count, v);
    check_list(count, ind, size, code);
    for (int k = 0; k < count; ++k)
        require(v[k] >= TSO_BASIS_LOWER && v[k] <= TSO_BASIS_SUPER, TSO_INVALID_BASIS_STATUS);
}

// Names are set one after the other; the old ones are kept until all are, for memory may run out in between.
void write_names(Names& names, int count, const int* ind, const char* const* v, int code) {
    check_arrays(count, v);
    check_list(count, ind, names.size(), code);
    size_t bytes = 0;
    for (int k = 0; k < count; ++k)
        bytes += checked_name(v[k]).size() + 1;
    names.reserve_more(0, bytes);
    for (int k = 0; k < count; ++k)
        names.set(element(ind, k), checked_name(v[k]));
}

} // namespace

void Model::set_lower(int count, const int* ind, const double* v) {
    write_values<checked_lower>(cols_.lower, count, ind, v, TSO_MODEL_INVALID_COL_IDX,
                                [&](int j) { changes.mark_col(j, Changes::kBounds); });
}

void Model::set_upper(int count, const int* ind, const double* v) {
    write_values<checked_upper>(cols_.upper, count, ind, v, TSO_MODEL_INVALID_COL_IDX,
                                [&](int j) { changes.mark_col(j, Changes::kBounds); });
}

void Model::set_cost(int count, const int* ind, const double* v) {
    write_values<checked_finite>(cols_.cost, count, ind, v, TSO_MODEL_INVALID_COL_IDX,
                                 [&](int j) { changes.mark_col(j, Changes::kCost); });
}

void Model::set_row_lower(int count, const int* ind, const double* v) {
    write_values<checked_lower>(rows_.lower, count, ind, v, TSO_MODEL_INVALID_ROW_IDX,
                                [&](int i) { changes.mark_row(i, Changes::kBounds); });
}

void Model::set_row_upper(int count, const int* ind, const double* v) {
    write_values<checked_upper>(rows_.upper, count, ind, v, TSO_MODEL_INVALID_ROW_IDX,
                                [&](int i) { changes.mark_row(i, Changes::kBounds); });
}

void Model::set_type(int count, const int* ind, const char* v) {
    check_arrays(count, v);
    check_list(count, ind, cols_.size(), TSO_MODEL_INVALID_COL_IDX);
    for (int k = 0; k < count; ++k)
        checked_type(v[k]);
    for (int k = 0; k < count; ++k) {
        const int j = element(ind, k);
        const char type = checked_type(v[k]);
        if (cols_.type[j] != type) {
            num_discrete_ += (type != TSO_CONTINUOUS) - (cols_.type[j] != TSO_CONTINUOUS);
            cols_.type[j] = type;
            changes.mark_col(j, Changes::kType | Changes::kBounds); // the effective bounds may be others
        }
        if (type == TSO_BINARY) {
            cols_.lower[j] = effective_lower(j);
            cols_.upper[j] = effective_upper(j);
        }
    }
}

void Model::set_start(int count, const int* ind, const double* v) {
    check_arrays(count, v);
    check_list(count, ind, cols_.size(), TSO_MODEL_INVALID_COL_IDX);
    for (int k = 0; k < count; ++k)
        if (v[k] != TSO_UNDEFINED)
            checked_finite(v[k]);
    if (count > 0 && cols_.start.empty())
        cols_.start.assign(cols_.lower.size(), TSO_UNDEFINED);
    for (int k = 0; k < count; ++k)
        cols_.start[element(ind, k)] = v[k];
}

void Model::set_col_basis(int count, const int* ind, const int* v) {
    check_basis(count, ind, v, cols_.size(), TSO_MODEL_INVALID_COL_IDX);
    prepare_basis();
    write_basis(cols_.basis, count, ind, v);
}

void Model::set_row_basis(int count, const int* ind, const int* v) {
    check_basis(count, ind, v, rows_.size(), TSO_MODEL_INVALID_ROW_IDX);
    prepare_basis();
    write_basis(rows_.basis, count, ind, v);
}

// A basis that is set is whole: what the caller does not set comes from the last solution, or from the slack basis.
// The solution's basis goes, for reading answers with the newer of the two.
void Model::prepare_basis() {
    const bool had = !cols_.basis.empty() || !rows_.basis.empty();
    const bool solved = !solution.col_basis.empty() || !solution.row_basis.empty();
    if (had && !solved)
        return;
    std::vector<int8_t> col = solution.col_basis, row = solution.row_basis;
    col.reserve(cols_.lower.size());
    for (int j = static_cast<int>(col.size()); j < cols_.size(); ++j)
        col.push_back(resting_status(effective_lower(j), effective_upper(j)));
    row.resize(rows_.lower.size(), TSO_BASIS_BASIC);
    cols_.basis = std::move(col);
    rows_.basis = std::move(row);
    solution.col_basis.clear();
    solution.row_basis.clear();
}

void Model::set_col_names(int count, const int* ind, const char* const* v) {
    write_names(cols_.names, count, ind, v, TSO_MODEL_INVALID_COL_IDX);
}

void Model::set_row_names(int count, const int* ind, const char* const* v) {
    write_names(rows_.names, count, ind, v, TSO_MODEL_INVALID_ROW_IDX);
}

void Model::set_indicator_names(int count, const int* ind, const char* const* v) {
    write_names(indicator_names_, count, ind, v, TSO_MODEL_INVALID_INDICATOR_ROW_IDX);
}

void Model::set_psdvar_names(int count, const int* ind, const char* const* v) {
    write_names(psdvar_names_, count, ind, v, TSO_MODEL_INVALID_SYM_MAT_IDX);
}

void Model::set_coefficients(int count, const int* row, const int* col, const double* val) {
    check_arrays(count, row, col, val);
    for (int k = 0; k < count; ++k) {
        check_index(row[k], rows_.size(), TSO_MODEL_INVALID_ROW_IDX);
        check_index(col[k], cols_.size(), TSO_MODEL_INVALID_COL_IDX);
        checked_finite(val[k]);
    }
    std::vector<double> old(static_cast<size_t>(count));
    int done = 0;
    try {
        for (; done < count; ++done) {
            old[static_cast<size_t>(done)] = rows_.matrix.get(row[done], col[done]);
            rows_.matrix.set(row[done], col[done], val[done]);
            changes.mark_coefficient(row[done], col[done]);
        }
    } catch (...) {
        // What was taken out left its room behind, so that putting it back needs no memory.
        while (done-- > 0)
            rows_.matrix.set(row[done], col[done], old[static_cast<size_t>(done)]);
        changes.drop();
        throw;
    }
}

} // namespace tso
