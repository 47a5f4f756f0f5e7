// Reading rows, columns and special elements. Counts are written always, arrays where they are given.
#include "api/guard.h"

using namespace tso;
using namespace tso::api;

namespace {

// A range of elements [start, start + len).
void check_range(int start, int len, int size, int code) {
    require(len >= 0, TSO_INVALID_ARGUMENT);
    require(start >= 0 && start <= size && len <= size - start, code);
}

int as_count(int64_t n) {
    require(n <= INT32_MAX, TSO_NOMEMORY); // more than a caller's arrays can be told to hold
    return static_cast<int>(n);
}

template <class T, class Source> void put_array(T* target, const Source& source) {
    if (target)
        std::copy(source.begin(), source.end(), target);
}

void put_quadratic(const std::vector<QuadTerm>& terms, int* qrow, int* qcol, double* qval) {
    for (size_t k = 0; k < terms.size(); ++k) {
        if (qrow)
            qrow[k] = terms[k].row;
        if (qcol)
            qcol[k] = terms[k].col;
        if (qval)
            qval[k] = terms[k].value;
    }
}

// The first element of that name.
int index_named(const Names& names, const char* name, int missing) {
    require_pointers(name);
    const int i = names.find(name);
    require(i >= 0, missing);
    return i;
}

} // namespace

int TSOgetcoeff(TSOmodel model, int constr, int var, double* value) {
    return read_model(model, [&](Model& m) {
        require_pointers(value);
        check_index(constr, m.rows().size(), TSO_MODEL_INVALID_ROW_IDX);
        check_index(var, m.cols().size(), TSO_MODEL_INVALID_COL_IDX);
        *value = m.rows().matrix.get(constr, var);
    });
}

int TSOgetconstrs(TSOmodel model, int* numnz, int* cbeg, int* cind, double* cval, int start, int len) {
    return read_model(model, [&](Model& m) {
        require_pointers(numnz);
        check_range(start, len, m.rows().size(), TSO_MODEL_INVALID_ROW_IDX);
        const RowMatrix& matrix = m.rows().matrix;
        int64_t count = 0;
        for (int i = start; i < start + len; ++i)
            count += static_cast<int64_t>(matrix.columns_of(i).size());
        *numnz = as_count(count);
        size_t at = 0;
        for (int i = start; i < start + len; ++i) {
            put(cbeg ? &cbeg[i - start] : nullptr, at);
            put_array(cind ? cind + at : nullptr, matrix.columns_of(i));
            put_array(cval ? cval + at : nullptr, matrix.values_of(i));
            at += matrix.columns_of(i).size();
        }
    });
}

int TSOgetvars(TSOmodel model, int* numnz, int* vbeg, int* vind, double* vval, int start, int len) {
    return read_model(model, [&](Model& m) {
        require_pointers(numnz);
        check_range(start, len, m.cols().size(), TSO_MODEL_INVALID_COL_IDX);
        const RowMatrix::Columns& columns = m.rows().matrix.by_column(m.cols().size());
        const int64_t first = columns.begin[static_cast<size_t>(start)];
        const int64_t last = columns.begin[static_cast<size_t>(start + len)];
        *numnz = as_count(last - first);
        for (int j = start; vbeg && j < start + len; ++j)
            vbeg[j - start] = static_cast<int>(columns.begin[static_cast<size_t>(j)] - first);
        if (vind)
            std::copy(columns.row.begin() + first, columns.row.begin() + last, vind);
        if (vval)
            std::copy(columns.value.begin() + first, columns.value.begin() + last, vval);
    });
}

int TSOgetq(TSOmodel model, int* numqnz, int* qrow, int* qcol, double* qval) {
    return read_model(model, [&](Model& m) {
        require_pointers(numqnz);
        *numqnz = as_count(static_cast<int64_t>(m.quadratic().size()));
        put_quadratic(m.quadratic(), qrow, qcol, qval);
    });
}

int TSOgetqconstr(TSOmodel model, int constr, int* numlnz, int* lind, double* lval, int* numqnz, int* qrow, int* qcol,
                  double* qval) {
    return read_model(model, [&](Model& m) {
        require_pointers(numlnz);
        require_pointers(numqnz);
        const Rows& rows = m.rows();
        check_index(constr, rows.size(), TSO_MODEL_INVALID_ROW_IDX);
        require(rows.kind_of(constr) != RowKind::Psd, TSO_DATA_NOT_AVAILABLE);
        const bool quadratic = rows.kind_of(constr) == RowKind::Quadratic;
        *numlnz = static_cast<int>(rows.matrix.columns_of(constr).size());
        *numqnz = quadratic ? static_cast<int>(rows.quadratic[static_cast<size_t>(constr)].size()) : 0;
        put_array(lind, rows.matrix.columns_of(constr));
        put_array(lval, rows.matrix.values_of(constr));
        if (quadratic)
            put_quadratic(rows.quadratic[static_cast<size_t>(constr)], qrow, qcol, qval);
    });
}

int TSOgetsos(TSOmodel model, int* nummembers, int* types, int* beg, int* ind, double* weight, int start, int len) {
    return read_model(model, [&](Model& m) {
        require_pointers(nummembers);
        check_range(start, len, static_cast<int>(m.sos().size()), TSO_MODEL_INVALID_SOS_IDX);
        const std::span<const Sos> sets =
            std::span(m.sos()).subspan(static_cast<size_t>(start), static_cast<size_t>(len));
        int64_t count = 0;
        for (const Sos& s : sets)
            count += static_cast<int64_t>(s.member.size());
        *nummembers = as_count(count);
        size_t at = 0;
        for (size_t k = 0; k < sets.size(); ++k) {
            put(types ? &types[k] : nullptr, sets[k].type);
            put(beg ? &beg[k] : nullptr, at);
            put_array(ind ? ind + at : nullptr, sets[k].member);
            put_array(weight ? weight + at : nullptr, sets[k].weight);
            at += sets[k].member.size();
        }
    });
}

int TSOgetgenconstrIndicator(TSOmodel model, int genconstr, int* binvar, int* binval, int* nvars, int* ind, double* val,
                             char* sense, double* rhs) {
    return read_model(model, [&](Model& m) {
        require_pointers(nvars);
        check_index(genconstr, static_cast<int>(m.indicators().size()), TSO_MODEL_INVALID_INDICATOR_ROW_IDX);
        const Indicator& c = m.indicators()[static_cast<size_t>(genconstr)];
        put(binvar, c.binvar);
        put(binval, c.binval);
        *nvars = static_cast<int>(c.ind.size());
        put_array(ind, c.ind);
        put_array(val, c.val);
        put(sense, c.sense);
        put(rhs, c.rhs);
    });
}

int TSOgetvarbyname(TSOmodel model, const char* name, int* index) {
    return read_model(model, [&](Model& m) {
        require_pointers(index);
        *index = index_named(m.cols().names, name, TSO_MODEL_INVALID_COL_NAME);
    });
}

int TSOgetconstrbyname(TSOmodel model, const char* name, int* index) {
    return read_model(model, [&](Model& m) {
        require_pointers(index);
        *index = index_named(m.rows().names, name, TSO_MODEL_INVALID_ROW_NAME);
    });
}

int TSOgetqconstrbyname(TSOmodel model, const char* name, int* index) {
    return read_model(model, [&](Model& m) {
        require_pointers(index);
        const Rows& rows = m.rows();
        // Rows of another kind may have the name too, and stand before the quadratic one.
        const int first = index_named(rows.names, name, TSO_MODEL_INVALID_ROW_NAME);
        int i = first;
        while (i < rows.size() &&
               !(rows.kind_of(i) == RowKind::Quadratic && (i == first || rows.names.given(i) == name)))
            ++i;
        require(i < rows.size(), TSO_MODEL_INVALID_ROW_NAME);
        *index = i;
    });
}
