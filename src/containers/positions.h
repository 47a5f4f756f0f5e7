// PositionIndex: which rows have which value in which field, in a few arrays a field instead of a list of
// Python integers a value.
//
// It serves plain values only, those whose hash and comparison run no Python code: with them nobody can tell when and
// how often they were hashed or compared, and nothing can change while an index is built or asked. Rows with other
// values are indexed in dicts of lists (query.cpp), and this index turns into that form when somebody wants to see it.
#pragma once

#include "py/ref.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace tsp {

bool is_plain(Borrowed value);

using Positions = std::span<const int32_t>; // ascending

class PositionIndex {
public:
    // Null if some value is not plain, or some row has no such field.
    static std::shared_ptr<const PositionIndex> build(PyObject* const* rows, Py_ssize_t count, Py_ssize_t width);

    Py_ssize_t width() const { return static_cast<Py_ssize_t>(fields_.size()); }
    // The number of a (plain) value in a field, -1 if no row has it; and the rows that have it.
    int32_t find(Py_ssize_t field, Borrowed value) const;
    Positions positions(Py_ssize_t field, int32_t number) const { return at(field).positions(number); }
    // Those of some rows that have a value in a field. Cheaper than intersecting lists: one look at each row.
    std::vector<int32_t> having(Positions rows, Py_ssize_t field, int32_t number) const;
    // The same as a list with one dict a field, of values to lists of positions.
    Ref to_dicts() const;

private:
    // Open addressing; slots hold the number of a value, -1 where free, and at least a third of them is free.
    struct Field {
        struct Value {
            Py_hash_t hash;
            Ref object;
        };
        std::vector<Value> values;    // distinct, as dict keys are
        std::vector<int32_t> slots;   // a power of two of them
        std::vector<int32_t> numbers; // by row: that of its value
        std::vector<int32_t> starts;  // by value: where its positions begin; one more for the end
        std::vector<int32_t> entries; // positions, those of one value after those of the one before

        int32_t number_of(Borrowed value, Py_hash_t hash, std::size_t& slot) const;
        int32_t add(Borrowed value);
        void grow();
        void fill();
        Positions positions(int32_t number) const {
            auto n = static_cast<std::size_t>(number);
            return {entries.data() + starts[n], entries.data() + starts[n + 1]};
        }
    };
    const Field& at(Py_ssize_t field) const { return fields_[static_cast<std::size_t>(field)]; }
    std::vector<Field> fields_;
};

// Without duplicates; the lists may be permuted.
std::vector<int32_t> unite(std::vector<Positions>& lists);
std::vector<int32_t> intersect(Positions a, Positions b);

} // namespace tsp
