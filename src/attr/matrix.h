// Symmetric matrices: the coefficients and values of semi-definite variables, and the attributes that hold them.
#pragma once

#include "attr/access.h"

#include <cstdint>
#include <memory>
#include <utility>

namespace tsp {

struct SymEntry {
    int row, col; // row >= col: it stands for its mirror as well
    double value;
};

// A symmetric matrix, never changed once it is made: expressions share it. Only the entries of the lower triangle that
// are not zero are kept, so a full one takes what the user's array takes and a sparse one next to nothing.
class SymMatrix {
public:
    SymMatrix(int dim, bool dense, std::vector<SymEntry> entries)
        : dim_(dim), dense_(dense), entries_(std::move(entries)) {}
    SymMatrix(const SymMatrix&) = delete;

    int dim() const { return dim_; }
    bool dense() const { return dense_; }                             // how it was given, and is given back
    const std::vector<SymEntry>& entries() const { return entries_; } // by rising row and column

    void keep() const { ++refs_; }
    void drop() const {
        if (--refs_ == 0)
            delete this;
    }

private:
    ~SymMatrix() = default;
    mutable int64_t refs_ = 1; // changed under the interpreter lock only
    int dim_;
    bool dense_;
    std::vector<SymEntry> entries_;
};
struct DropMatrix {
    void operator()(const SymMatrix* m) const { m->drop(); }
};
using SymRef = std::unique_ptr<const SymMatrix, DropMatrix>; // one share of it

// Orders entries of the lower triangle, adds up those of one position and takes out zeros.
void merge_entries(std::vector<SymEntry>& entries);

// Whether a program may mean a matrix by it: a list, a tuple, an array or a sparse matrix.
bool is_matrix(Borrowed x);

// The symmetric matrix that a program gives for a semi-definite variable of dimension `dim`. One that is not symmetric
// counts as (A + A') / 2, whose product with every symmetric matrix is the same. TypeError for what is no matrix of
// numbers, ValueError for another shape and for entries that are not finite.
SymRef read_matrix(Borrowed x, int dim);

// factor times a matrix: a new numpy.ndarray where `dense`, else a new scipy.sparse.csr_matrix. MemoryError or
// ValueError if there is no room for all the cells of a dense one.
Ref matrix_object(const SymMatrix& m, double factor, bool dense);

// <a, b>: the sum over all cells of their products.
double inner_product(const SymMatrix& a, const SymMatrix& b);

// The dimension of a semi-definite variable.
int psd_dim(TSOmodel model, int index);

// The matrix attribute `name` of semi-definite variables.
std::vector<SymRef> read_matrices(TSOmodel model, const char* name, const std::vector<int>& indices);
void write_matrices(TSOmodel model, const char* name, const std::vector<int>& indices,
                    const std::vector<const std::vector<SymEntry>*>& matrices);

// What access.cpp does with attributes of this type.
Ref read_matrix_attribute(const Attribute& a, int index);
Ref read_matrix_attribute_list(const Attribute& a, const std::vector<int>& indices);
void write_matrix_attribute(const Attribute& a, int index, Borrowed value);
// One matrix for each element, or a sparse matrix or array of two dimensions for all of them.
void write_matrix_attribute_list(const Attribute& a, const std::vector<int>& indices, Borrowed values);

} // namespace tsp
