// Model: the store of one optimisation problem. Built for millions of columns and rows: adding is amortised constant
// time and touches no engine, bulk additions and deletions are linear, reading by index is constant time.
#pragma once

#include "core/entries.h"
#include "core/env.h"
#include "core/names.h"
#include "core/row_matrix.h"
#include "core/session.h"
#include "core/solution.h"

#include <memory>
#include <span>
#include <string>
#include <vector>

namespace tso {

enum class RowKind : unsigned char { Linear, Quadratic, Psd };

struct QuadTerm { // value * x[row] * x[col], as it was given
    int row, col;
    double value;
};

struct PsdTerm { // one entry of the coefficient matrix of a psd variable in a row
    int psdvar, row, col;
    double value;
};

// Where a column that is in no basis rests.
inline int8_t resting_status(double lower, double upper) {
    return lower > -TSO_INFINITY ? TSO_BASIS_LOWER : upper < TSO_INFINITY ? TSO_BASIS_UPPER : TSO_BASIS_SUPER;
}

struct Columns {
    std::vector<double> lower, upper, cost; // infinite bounds are +-TSO_INFINITY
    std::vector<char> type;                 // TSO_CONTINUOUS, ...
    std::vector<double> start;              // MIP start, TSO_UNDEFINED where none; empty while nobody set any
    std::vector<int8_t> basis;              // basis to start from; empty while nobody set any
    Names names{'C'};
    int size() const { return static_cast<int>(lower.size()); }
};

struct Rows {
    std::vector<double> lower, upper;
    RowMatrix matrix;
    std::vector<RowKind> kind;                    // empty while all rows are linear
    std::vector<std::vector<QuadTerm>> quadratic; // parallel to kind where that is not empty
    std::vector<std::vector<PsdTerm>> psd;        // parallel to kind where that is not empty
    std::vector<int8_t> basis;                    // basis to start from; empty while nobody set any
    Names names{'R'};
    int size() const { return static_cast<int>(lower.size()); }
    RowKind kind_of(int i) const { return kind.empty() ? RowKind::Linear : kind[i]; }
};

struct Sos {
    int type;
    std::vector<int> member;
    std::vector<double> weight;
};

struct Indicator { // if x[binvar] == binval then lower/upper bound on a sum
    int binvar, binval;
    std::vector<int> ind;
    std::vector<double> val;
    char sense;
    double rhs;
};

struct PsdVar {
    int dim;
    std::vector<SymEntry> cost;
};

class Model {
public:
    explicit Model(const Env& env);
    std::unique_ptr<Model> copy() const; // session and run state are not copied

    // Read access for engines, writers and attributes.
    const Columns& cols() const { return cols_; }
    const Rows& rows() const { return rows_; }
    const std::vector<QuadTerm>& quadratic() const { return quadratic_; } // of the objective
    const std::vector<Sos>& sos() const { return sos_; }
    const std::vector<Indicator>& indicators() const { return indicators_; }
    const Names& indicator_names() const { return indicator_names_; }
    const std::vector<PsdVar>& psdvars() const { return psdvars_; }
    const Names& psdvar_names() const { return psdvar_names_; }
    const std::string& name() const { return name_; }
    int sense() const { return sense_; }          // TSO_MINIMIZE or TSO_MAXIMIZE
    double constant() const { return constant_; } // of the objective
    int num_quadratic_rows() const { return num_quadratic_rows_; }
    int num_psd_rows() const { return num_psd_rows_; }
    bool is_mip() const; // some column is not continuous
    // Bounds as an engine must see them: a binary's are cut to [0, 1] whatever was set later.
    double effective_lower(int j) const;
    double effective_upper(int j) const;

    // Edits. Each checks everything first and throws Failure without having changed anything.
    void set_name(std::string_view name);
    void set_sense(int sense);
    void set_constant(double c);
    void add_col(int count, const int* row, const double* val, double cost, double lower, double upper, char type,
                 const char* name);
    void add_cols(int count, int entries, const int* begin, const int* row, const double* val, const double* cost,
                  const double* lower, const double* upper, const char* type, const char* const* names);
    void add_row(int count, const int* col, const double* val, double lower, double upper, const char* name);
    void add_rows(int count, int entries, const int* begin, const int* col, const double* val, const double* lower,
                  const double* upper, const char* const* names);
    void add_quadratic_row(int linear, const int* lind, const double* lval, int terms, const int* qrow, const int* qcol,
                           const double* qval, double lower, double upper, const char* name);
    void add_psd_row(int linear, const int* cind, const double* cval, int terms, const int* pind, const int* prow,
                     const int* pcol, const double* pval, double lower, double upper, const char* name);
    void add_quadratic(int terms, const int* row, const int* col, const double* val);
    void clear_quadratic();
    void add_sos(int count, int members, const int* type, const int* begin, const int* ind, const double* weight);
    void add_indicator(const char* name, int binvar, int binval, int count, const int* ind, const double* val,
                       char sense, double rhs);
    void add_psdvar(int dim, int entries, const int* row, const int* col, const double* val, const char* name);
    void set_psd_cost(int psdvar, std::vector<SymEntry> cost);
    void set_psd_costs(int count, const int* ind, int entries, const int* begin, const int* row, const int* col,
                       const double* val);
    void set_coefficients(int count, const int* row, const int* col, const double* val);
    // List writes: `ind` null means elements 0 to count-1.
    void set_lower(int count, const int* ind, const double* v);
    void set_upper(int count, const int* ind, const double* v);
    void set_cost(int count, const int* ind, const double* v);
    void set_type(int count, const int* ind, const char* v);
    void set_start(int count, const int* ind, const double* v); // TSO_UNDEFINED takes a start value back
    void set_row_lower(int count, const int* ind, const double* v);
    void set_row_upper(int count, const int* ind, const double* v);
    void set_col_basis(int count, const int* ind, const int* v);
    void set_row_basis(int count, const int* ind, const int* v);
    void set_col_names(int count, const int* ind, const char* const* v);
    void set_row_names(int count, const int* ind, const char* const* v);
    void set_indicator_names(int count, const int* ind, const char* const* v);
    void set_psdvar_names(int count, const int* ind, const char* const* v);
    void delete_cols(int count, const int* ind);
    void delete_rows(int count, const int* ind);
    void delete_sos(int count, const int* ind);
    void delete_indicators(int count, const int* ind);
    void reset(bool everything); // TSOreset
    int cleanup_milp();          // TSOcleanupmilp: how many starts and stored solutions went
    // Takes over the problem (not the environment, not the parameters) of another model: reading a file into a model.
    void take_problem(Model&& other);

    Env env; // private copy
    Solution solution;
    std::unique_ptr<Session> session; // what the engine of the last run keeps
    Changes changes;                  // since session last had the model

private:
    // Undo what an addition that failed half-way has appended.
    void truncate_cols(int size, bool entries);
    void truncate_rows(int size);
    void append_col(double cost, double lower, double upper, char type, std::string_view name);
    void append_row(double lower, double upper, std::string_view name); // all but the entries and the kind
    void append_col_entries(int j, int count, const int* row, const double* val);
    void add_special_row(RowKind kind, const Entries& linear, std::vector<QuadTerm> quadratic, std::vector<PsdTerm> psd,
                         double lower, double upper, std::string_view name);
    std::vector<QuadTerm> checked_terms(int terms, const int* row, const int* col, const double* val) const;
    std::vector<SymEntry> checked_matrix(int dim, int entries, const int* row, const int* col, const double* val) const;
    void prepare_basis();

    Columns cols_;
    Rows rows_;
    std::vector<QuadTerm> quadratic_;
    std::vector<Sos> sos_;
    std::vector<Indicator> indicators_;
    Names indicator_names_{'G'};
    std::vector<PsdVar> psdvars_;
    Names psdvar_names_{'P'};
    std::string name_;
    int sense_ = TSO_MINIMIZE;
    double constant_ = 0;
    int num_quadratic_rows_ = 0, num_psd_rows_ = 0;
    int64_t num_discrete_ = 0; // columns that are not continuous
    Entries entries_;          // of the row that is being added; kept for its memory
};

} // namespace tso
