// MPS files in free form, with the fields where the fixed form has them as far as they fit.
#include "io/model_files.h"
#include "io/naming.h"
#include "io/quad_merge.h"
#include "io/text.h"

#include <cmath>
#include <cstdio>

namespace tso::io {

namespace {

constexpr double kFarAway = 1e30; // how an infinity is written where a number must stand

// The text of a range: `base`, read back, and the range give the far end to the last bit. A double does it in nearly
// all cases; for the others the reader takes ranges in the width of long double.
std::string range_text(double base, double far) {
    const double range = std::fabs(far - base);
    std::string text = number_text(range);
    const auto exact = [&] {
        long double r;
        parse_number(text, r);
        return static_cast<double>(static_cast<long double>(base) + (far < base ? -r : r)) == far;
    };
    if (!exact()) {
        char room[64];
        const int n = std::snprintf(room, sizeof room, "%.21Lg",
                                    std::fabs(static_cast<long double>(far) - static_cast<long double>(base)));
        text.assign(room, static_cast<size_t>(n));
        for (char& c : text)
            if (c == ',') // the decimal point of some locales
                c = '.';
    }
    return text;
}

class MpsWriter {
public:
    MpsWriter(const Model& model, Writer& out)
        : model_(model), out_(out), cols_(Alphabet::Words), rows_(Alphabet::Words) {
        cols_.add(model.cols().names, "column");
        rows_.add(model.rows().names, "row");
        rows_.add(model.indicator_names(), "general constraint");
        while (rows_.has(objective_))
            objective_ += '_';
    }

    void write() {
        head();
        rows();
        columns();
        right_hand_sides();
        ranges();
        bounds();
        sets(); // the order that readers expect
        quadratic();
        indicators();
        out_.put("ENDATA\n");
    }

private:
    int num_rows() const { return model_.rows().size(); }
    double lower(int i) const { return model_.rows().lower[i]; }
    double upper(int i) const { return model_.rows().upper[i]; }

    // The type of a row tells the side that its right-hand side is. Of a range the end nearer to zero is: the sum with
    // the range then hits the other end.
    char type_of(int i) const {
        const bool below = lower(i) > -TSO_INFINITY, above = upper(i) < TSO_INFINITY;
        if (!below && !above)
            return 'N';
        if (below && above)
            return lower(i) == upper(i)                         ? 'E'
                   : lower(i) > upper(i)                        ? 'X'
                   : std::fabs(lower(i)) <= std::fabs(upper(i)) ? 'G'
                                                                : 'L';
        return below ? 'G' : 'L';
    }
    double side_of(int i) const { return type_of(i) == 'L' ? upper(i) : lower(i); }

    void pad(std::string_view word, size_t width) {
        out_.put(word);
        for (size_t n = word.size(); n < width; ++n)
            out_.put(' ');
        out_.put("  ");
    }
    void entry(std::string_view first, std::string_view second, double value) {
        out_.put("    ");
        pad(first, 8);
        pad(second, 8);
        out_.put(value).put('\n');
    }
    void bound(const char* type, int j) { out_.put(' ').put(type).put(" BND       ").put(cols_[j]).put('\n'); }
    void bound(const char* type, int j, double value) {
        out_.put(' ').put(type).put(" BND       ");
        pad(cols_[j], 8);
        out_.put(value).put('\n');
    }

    void head();
    void rows();
    void columns();
    void right_hand_sides();
    void ranges();
    void bounds();
    void quadratic();
    void sets();
    void indicators();

    const Model& model_;
    Writer& out_;
    WrittenNames cols_, rows_; // rows and, behind them, indicators
    std::string objective_ = "OBJ";
};

void MpsWriter::head() {
    const std::string& name = model_.name();
    out_.put("NAME");
    if (!name.empty())
        out_.put("          ").put(is_plain(name, Alphabet::Words) ? name : encode_name(name, -1, Alphabet::Words));
    out_.put('\n');
    if (model_.sense() == TSO_MAXIMIZE)
        out_.put("OBJSENSE\n    MAX\n");
}

void MpsWriter::rows() {
    out_.put("ROWS\n N  ").put(objective_).put('\n');
    for (int i = 0; i < num_rows(); ++i) {
        const char type = type_of(i);
        out_.put(' ').put(type == 'X' ? 'E' : type).put("  ").put(rows_[i]).put('\n');
    }
    int k = num_rows();
    for (const Indicator& g : model_.indicators())
        out_.put(' ')
            .put(g.sense == TSO_EQUAL        ? 'E'
                 : g.sense == TSO_LESS_EQUAL ? 'L'
                                             : 'G')
            .put("  ")
            .put(rows_[k++])
            .put('\n');
}

void MpsWriter::columns() {
    const auto& cols = model_.cols();
    const auto& by_column = model_.rows().matrix.by_column(cols.size());
    // The entries of indicated rows, by column.
    std::vector<std::vector<std::pair<int, double>>> indicated(model_.indicators().empty() ? 0 : cols.lower.size());
    int k = num_rows();
    for (const Indicator& g : model_.indicators()) {
        for (size_t e = 0; e < g.ind.size(); ++e)
            indicated[g.ind[e]].emplace_back(k, g.val[e]);
        ++k;
    }

    out_.put("COLUMNS\n");
    bool integers = false;
    int markers = 0;
    const auto mark = [&](bool wanted) {
        if (integers == wanted)
            return;
        integers = wanted;
        out_.put("    MARKER").put_int(markers++).put("  'MARKER'                 ");
        out_.put(wanted ? "'INTORG'\n" : "'INTEND'\n");
    };
    for (int j = 0; j < cols.size(); ++j) {
        mark(cols.type[j] == TSO_INTEGER);
        const int64_t begin = by_column.begin[j], end = by_column.begin[j + 1];
        const bool alone = begin == end && (indicated.empty() || indicated[j].empty());
        if (cols.cost[j] != 0 || alone)
            entry(cols_[j], objective_, cols.cost[j]);
        for (int64_t e = begin; e < end; ++e)
            entry(cols_[j], rows_[by_column.row[e]], by_column.value[e]);
        if (!indicated.empty())
            for (const auto& [row, value] : indicated[j])
                entry(cols_[j], rows_[row], value);
    }
    mark(false);
}

void MpsWriter::right_hand_sides() {
    out_.put("RHS\n");
    if (model_.constant() != 0)
        entry("RHS", objective_, -model_.constant());
    for (int i = 0; i < num_rows(); ++i)
        if (type_of(i) != 'N' && side_of(i) != 0)
            entry("RHS", rows_[i], side_of(i));
    int k = num_rows();
    for (const Indicator& g : model_.indicators()) {
        if (g.rhs != 0)
            entry("RHS", rows_[k], g.rhs);
        ++k;
    }
}

void MpsWriter::ranges() {
    bool any = false;
    for (int i = 0; i < num_rows(); ++i) {
        const char type = type_of(i);
        if (type == 'E' || type == 'N' || lower(i) == -TSO_INFINITY || upper(i) == TSO_INFINITY)
            continue;
        if (type == 'X')
            throw Failure(TSO_FORMAT_ERROR, "MPS files have no form for the row " + std::string(rows_[i]) +
                                                ", whose lower bound is above its upper one; LP files have");
        if (!any)
            out_.put("RANGES\n");
        any = true;
        out_.put("    RNG       ");
        pad(rows_[i], 8);
        out_.put(type == 'L' ? range_text(upper(i), lower(i)) : range_text(lower(i), upper(i))).put('\n');
    }
}

void MpsWriter::bounds() {
    const auto& cols = model_.cols();
    out_.put("BOUNDS\n");
    for (int j = 0; j < cols.size(); ++j) {
        double lower = model_.effective_lower(j), upper = model_.effective_upper(j);
        const char type = cols.type[j];
        const bool semi = type == TSO_SEMICONT || type == TSO_SEMIINT;
        if (type == TSO_BINARY) {
            bound("BV", j);
            if (lower == 0 && upper == 1)
                continue;
        }
        if (semi) {
            // An upper bound of 0 would be read as none here, and a negative one is clearer below.
            const bool plain = upper > 0;
            bound(type == TSO_SEMIINT ? "SI" : "SC", j, plain && upper < TSO_INFINITY ? upper : kFarAway);
            if (lower == -TSO_INFINITY)
                bound("MI", j);
            else if (lower != 0 || !plain)
                bound("LO", j, lower);
            if (!plain)
                bound("UP", j, upper);
            continue;
        }
        if (lower == upper) {
            bound("FX", j, lower);
        } else if (lower == -TSO_INFINITY && upper == TSO_INFINITY) {
            bound("FR", j);
        } else {
            if (lower == -TSO_INFINITY)
                bound("MI", j);
            else if (lower != 0 || upper < 0 || type == TSO_BINARY)
                bound("LO", j, lower); // also where it is the default: a negative upper bound alone means no lower one
            if (upper < TSO_INFINITY)
                bound("UP", j, upper);
            else if (type == TSO_INTEGER)
                bound("PL", j); // an integer without a bound would be one between 0 and 1
        }
    }
}

void MpsWriter::quadratic() {
    const auto term = [&](int row, int col, double value) { entry(cols_[row], cols_[col], value); };
    if (!model_.quadratic().empty()) {
        // Half of the matrix whose one triangle is listed.
        out_.put("QUADOBJ\n");
        for (const QuadTerm& t : merged(model_.quadratic()))
            term(t.row, t.col, t.row == t.col ? 2 * t.value : t.value);
    }
    for (int i = 0; i < num_rows(); ++i) {
        if (model_.rows().kind_of(i) != RowKind::Quadratic || model_.rows().quadratic[i].empty())
            continue;
        // The whole matrix.
        out_.put("QCMATRIX   ").put(rows_[i]).put('\n');
        for (const QuadTerm& t : merged(model_.rows().quadratic[i])) {
            if (t.row == t.col) {
                term(t.row, t.col, t.value);
                continue;
            }
            term(t.row, t.col, t.value / 2);
            term(t.col, t.row, t.value - t.value / 2);
        }
    }
}

void MpsWriter::sets() {
    if (model_.sos().empty())
        return;
    out_.put("SOS\n");
    int number = 0;
    for (const Sos& s : model_.sos()) {
        out_.put(s.type == TSO_SOS_TYPE1 ? " S1 " : " S2 ").put("SOS").put_int(number++).put('\n');
        for (size_t k = 0; k < s.member.size(); ++k) {
            out_.put("    ");
            pad(cols_[s.member[k]], 8);
            out_.put(s.weight[k]).put('\n');
        }
    }
}

void MpsWriter::indicators() {
    if (model_.indicators().empty())
        return;
    out_.put("INDICATORS\n");
    int k = num_rows();
    for (const Indicator& g : model_.indicators()) {
        out_.put(" IF ");
        pad(rows_[k++], 8);
        pad(cols_[g.binvar], 8);
        out_.put_int(g.binval).put('\n');
    }
}

} // namespace

void write_mps(const Model& model, Writer& out) { MpsWriter(model, out).write(); }

} // namespace tso::io
