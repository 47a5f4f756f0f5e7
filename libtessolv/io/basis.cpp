// Bases (".bas") as MPS files have them. A column that no line names is nonbasic at its lower bound, a row basic:
//   XU column row   the column is basic, the row nonbasic at its upper bound        XL: at its lower bound
//   UL column       the column is nonbasic at its upper bound                        LL: at its lower bound
// A basis has as many basic columns as nonbasic rows. What was set by hand need not have; for what is left over there
// are lines of our own: BS column, RU row, RL row.
#include "io/naming.h"
#include "io/side_files.h"

namespace tso::io {

namespace {

struct Statuses {
    std::vector<int> col, row;
};

// A nonbasic element without its lower bound is at its upper one, or at zero.
int at_lower(double lower, double upper) { return resting_status(lower, upper); }

bool last_basis_fits(const Model& model) {
    const Solution& s = model.solution;
    return !s.col_basis.empty() + !s.row_basis.empty() > 0 &&
           static_cast<int>(s.col_basis.size()) == model.cols().size() &&
           static_cast<int>(s.row_basis.size()) == model.rows().size();
}

bool start_basis_set(const Model& model) { return !model.cols().basis.empty() || !model.rows().basis.empty(); }

// The basis of the last run, and where there is none that one that was set to start from.
Statuses basis_of(const Model& model) {
    const bool last = last_basis_fits(model);
    const auto& col = last ? model.solution.col_basis : model.cols().basis;
    const auto& row = last ? model.solution.row_basis : model.rows().basis;
    Statuses s;
    s.col.assign(col.begin(), col.end());
    s.row.assign(row.begin(), row.end());
    if (s.col.empty())
        for (int j = 0; j < model.cols().size(); ++j)
            s.col.push_back(at_lower(model.cols().lower[j], model.cols().upper[j]));
    s.row.resize(static_cast<size_t>(model.rows().size()), TSO_BASIS_BASIC);
    return s;
}

} // namespace

void require_basis(const Model& model) {
    if (!last_basis_fits(model) && !start_basis_set(model))
        throw Failure(TSO_DATA_NOT_AVAILABLE, "there is no basis to write");
}

void write_basis(const Model& model, Writer& out) {
    const Statuses basis = basis_of(model);
    WrittenNames cols(Alphabet::Words), rows(Alphabet::Words);
    cols.add(model.cols().names, "column");
    rows.add(model.rows().names, "row");
    out.put("NAME");
    if (is_plain(model.name(), Alphabet::Words))
        out.put("          ").put(model.name());
    out.put('\n');
    const int n = model.cols().size(), m = model.rows().size();
    int i = 0;
    const auto next_row = [&] {
        while (i < m && basis.row[i] == TSO_BASIS_BASIC)
            ++i;
    };
    for (int j = 0; j < n; ++j) {
        const double lower = model.cols().lower[j], upper = model.cols().upper[j];
        if (basis.col[j] == TSO_BASIS_BASIC) {
            next_row();
            if (i == m) {
                out.put(" BS ").put(cols[j]).put('\n');
                continue;
            }
            out.put(basis.row[i] == TSO_BASIS_UPPER ? " XU " : " XL ").put(cols[j]).put(' ').put(rows[i]).put('\n');
            ++i;
        } else if (basis.col[j] == TSO_BASIS_UPPER && at_lower(lower, upper) != TSO_BASIS_UPPER) {
            out.put(" UL ").put(cols[j]).put('\n');
        }
    }
    for (next_row(); i < m; ++i, next_row())
        out.put(basis.row[i] == TSO_BASIS_UPPER ? " RU " : " RL ").put(rows[i]).put('\n');
    out.put("ENDATA\n");
}

void read_basis(Model& model, const std::string& path, Compression compression) {
    Lines lines(path, compression);
    const auto find = [&](const Names& names, std::string_view word, int code, const char* what) {
        int i;
        try {
            i = find_element(names, word);
        } catch (const Failure& f) {
            lines.fail(f.what());
        }
        if (i < 0)
            throw Failure(code, path + ":" + std::to_string(lines.number()) + ": the model has no " + what + " " +
                                    show(word));
        return i;
    };
    const auto& cols = model.cols();
    const auto& rows = model.rows();
    Statuses s;
    for (int j = 0; j < cols.size(); ++j)
        s.col.push_back(at_lower(cols.lower[j], cols.upper[j]));
    s.row.assign(static_cast<size_t>(rows.size()), TSO_BASIS_BASIC);

    bool named = false, ended = false;
    std::string_view line;
    while (!ended && lines.next(line)) {
        std::string_view f[3];
        const int count = split(line, f, 3);
        if (count == 0 || line[0] == '*')
            continue;
        if (!is_blank(line[0])) {
            if (same_word(f[0], "name"))
                named = true;
            else if (same_word(f[0], "endata"))
                ended = true;
            else
                lines.fail(named ? "ENDATA" : "NAME", f[0]);
            continue;
        }
        if (!named)
            lines.fail("NAME", f[0]);
        const bool exchange = f[0] == "XU" || f[0] == "XL";
        const bool of_row = f[0] == "RU" || f[0] == "RL";
        const bool of_col = f[0] == "UL" || f[0] == "LL" || f[0] == "BS";
        if (!exchange && !of_row && !of_col)
            lines.fail("XU, XL, UL, LL, BS, RU or RL", f[0]);
        if (count != (exchange ? 3 : 2))
            lines.fail(exchange ? "a column and a row"
                       : of_row ? "a row"
                                : "a column",
                       count == 1 ? std::string_view() : trim(line));
        if (!of_row) {
            const int j = find(cols.names, f[1], TSO_MODEL_INVALID_COL_NAME, "column");
            s.col[j] = exchange || f[0] == "BS" ? TSO_BASIS_BASIC
                       : f[0] == "UL"           ? TSO_BASIS_UPPER
                                                : at_lower(cols.lower[j], cols.upper[j]);
        }
        if (!of_col) {
            const int i = find(rows.names, f[exchange ? 2 : 1], TSO_MODEL_INVALID_ROW_NAME, "row");
            s.row[i] = f[0][1] == 'U' ? TSO_BASIS_UPPER : at_lower(rows.lower[i], rows.upper[i]);
        }
    }
    if (!ended)
        lines.fail("expected ENDATA, found the end of the file");
    model.set_col_basis(cols.size(), nullptr, s.col.data());
    model.set_row_basis(rows.size(), nullptr, s.row.data());
}

} // namespace tso::io
