// LP files.
#include "io/model_files.h"
#include "io/naming.h"
#include "io/quad_merge.h"
#include "io/text.h"

#include <algorithm>
#include <cmath>

namespace tso::io {

namespace {

class LpWriter {
public:
    LpWriter(const Model& model, Writer& out)
        : model_(model), out_(out), cols_(Alphabet::Lp), rows_(Alphabet::Lp), indicators_(Alphabet::Lp) {
        cols_.add(model.cols().names, "column");
        rows_.add(model.rows().names, "row");
        indicators_.add(model.indicator_names(), "general constraint");
    }

    void write() {
        const std::string& name = model_.name();
        if (!name.empty())
            out_.put("\\Problem name: ")
                .put(is_plain(name, Alphabet::Words) ? name : encode_name(name, -1, Alphabet::Words))
                .put('\n');
        objective();
        rows();
        bounds();
        types("General", [](char t) { return t == TSO_INTEGER || t == TSO_SEMIINT; });
        types("Binary", [](char t) { return t == TSO_BINARY; });
        types("Semi-continuous", [](char t) { return t == TSO_SEMICONT || t == TSO_SEMIINT; });
        sets();
        out_.put("End\n");
    }

private:
    // Lines are broken where they grow longer than readers of old take.
    static constexpr size_t kLineWidth = 100;

    void begin_line(std::string_view name) {
        out_.put(' ').put(name).put(':');
        width_ = name.size() + 2;
        first_ = true;
    }
    void room_for(size_t bytes) {
        if (width_ + bytes > kLineWidth && width_ > 1) {
            out_.put("\n ");
            width_ = 1;
        }
        width_ += bytes;
    }
    // A sign, the value unless it is 1, and what it multiplies.
    void term(double value, std::string_view word, std::string_view second = {}) {
        char number[kNumberRoom];
        const double size = std::fabs(value);
        const size_t digits = size == 1 ? 0 : static_cast<size_t>(format_number(number, size) - number);
        room_for(digits + word.size() + second.size() + 8);
        const bool negative = std::signbit(value);
        out_.put(negative ? " -" : first_ ? "" : " +");
        if (digits > 0)
            out_.put(' ').put(std::string_view(number, digits));
        out_.put(' ').put(word).put(second);
        first_ = false;
    }
    void constant(double value) {
        room_for(kNumberRoom);
        out_.put(std::signbit(value) ? " - " : first_ ? " " : " + ").put(std::fabs(value));
        first_ = false;
    }
    // A sum without terms. Readers want a variable in it; the first has its place in the order of the model anyway.
    void nothing() {
        if (model_.cols().size() > 0)
            term(0, cols_[0]);
        else
            out_.put(" 0");
    }
    void number(double value) {
        if (std::fabs(value) >= TSO_INFINITY)
            out_.put(value < 0 ? "-inf" : "inf");
        else
            out_.put(value);
    }

    void objective();
    void rows();
    void body(int row);
    void bounds();
    template <class Wanted> void types(const char* section, Wanted wanted);
    void sets();
    void quadratic(const std::vector<QuadTerm>& terms, double factor);
    int columns_to_show() const;

    const Model& model_;
    Writer& out_;
    WrittenNames cols_, rows_, indicators_;
    size_t width_ = 0;
    bool first_ = true;
};

// Readers number columns as they meet them. Listing the first so many in the objective, with a coefficient of 0 where
// they have no cost, makes that the order of the model; the others are met in their order in the rows. This is the
// least number that does it.
int LpWriter::columns_to_show() const {
    const int n = model_.cols().size();
    std::vector<int64_t> met(static_cast<size_t>(n), -1);
    int64_t clock = 0;
    int least = 0;
    const auto meet = [&](int j) {
        if (met[j] < 0)
            met[j] = clock++;
    };
    for (int j = 0; j < n; ++j)
        if (model_.cols().cost[j] != 0)
            least = j + 1;
    for (const QuadTerm& t : model_.quadratic()) {
        meet(t.row);
        meet(t.col);
    }
    const auto& rows = model_.rows();
    for (int i = 0; i < rows.size(); ++i) {
        const auto cols = rows.matrix.columns_of(i);
        for (const int j : cols)
            meet(j);
        const bool quadratic = rows.kind_of(i) == RowKind::Quadratic && !rows.quadratic[i].empty();
        if (quadratic)
            for (const QuadTerm& t : rows.quadratic[i]) {
                meet(t.row);
                meet(t.col);
            }
        else if (cols.empty() && n > 0)
            meet(0);
    }
    for (const Indicator& g : model_.indicators()) {
        meet(g.binvar);
        for (const int j : g.ind)
            meet(j);
        if (g.ind.empty())
            meet(0);
    }
    int shown = n;
    while (shown > least && met[shown - 1] >= 0 && (shown == n || met[shown - 1] < met[shown]))
        --shown;
    return shown;
}

void LpWriter::quadratic(const std::vector<QuadTerm>& terms, double factor) {
    room_for(4);
    out_.put(first_ ? " [" : " + [");
    first_ = true;
    for (const QuadTerm& t : merged(terms)) {
        const double value = factor * t.value;
        if (t.row == t.col)
            term(value, cols_[t.row], "^2"); // some readers take no blank around it
        else
            term(value, cols_[t.row], std::string(" * ").append(cols_[t.col]));
    }
    out_.put(" ]");
    first_ = false;
}

void LpWriter::objective() {
    out_.put(model_.sense() == TSO_MAXIMIZE ? "Maximize\n" : "Minimize\n");
    begin_line("obj");
    const int shown = columns_to_show();
    for (int j = 0; j < shown; ++j)
        term(model_.cols().cost[j], cols_[j]);
    if (!model_.quadratic().empty()) {
        quadratic(model_.quadratic(), 2);
        out_.put(" / 2");
    }
    if (model_.constant() != 0) // last: some readers take it nowhere else
        constant(model_.constant());
    out_.put('\n');
}

void LpWriter::body(int i) {
    const auto& rows = model_.rows();
    const auto cols = rows.matrix.columns_of(i);
    const auto values = rows.matrix.values_of(i);
    for (size_t k = 0; k < cols.size(); ++k)
        term(values[k], cols_[cols[k]]);
    if (rows.kind_of(i) == RowKind::Quadratic && !rows.quadratic[i].empty())
        quadratic(rows.quadratic[i], 1);
    else if (cols.empty())
        nothing();
}

void LpWriter::rows() {
    out_.put("Subject To\n");
    const auto& rows = model_.rows();
    std::string second_side;
    for (int i = 0; i < rows.size(); ++i) {
        const double lower = rows.lower[i], upper = rows.upper[i];
        const bool below = lower > -TSO_INFINITY, above = upper < TSO_INFINITY;
        begin_line(rows_[i]);
        body(i);
        room_for(kNumberRoom);
        if (!below && !above)
            out_.put(" >= -inf");
        else if (below && lower == upper)
            out_.put(" = ").put(lower);
        else if (below)
            out_.put(" >= ").put(lower);
        else
            out_.put(" <= ").put(upper);
        out_.put('\n');
        if (below && above && lower != upper) { // few readers take both sides in one statement
            begin_line(second_side.assign(kSecondSide).append(rows_[i]));
            body(i);
            room_for(kNumberRoom);
            out_.put(" <= ").put(upper).put('\n');
        }
    }
    int k = 0;
    for (const Indicator& g : model_.indicators()) {
        begin_line(indicators_[k++]);
        out_.put(' ').put(cols_[g.binvar]).put(" = ").put_int(g.binval).put(" ->");
        width_ += cols_[g.binvar].size() + 8;
        for (size_t e = 0; e < g.ind.size(); ++e)
            term(g.val[e], cols_[g.ind[e]]);
        if (g.ind.empty())
            nothing();
        out_.put(g.sense == TSO_EQUAL ? " = " : g.sense == TSO_LESS_EQUAL ? " <= " : " >= ").put(g.rhs).put('\n');
    }
}

void LpWriter::bounds() {
    bool any = false;
    const auto line = [&] {
        if (!any)
            out_.put("Bounds\n");
        any = true;
        out_.put(' ');
    };
    for (int j = 0; j < model_.cols().size(); ++j) {
        const double lower = model_.effective_lower(j), upper = model_.effective_upper(j);
        const double usual = model_.cols().type[j] == TSO_BINARY ? 1 : TSO_INFINITY;
        if (lower == 0 && upper == usual)
            continue;
        line();
        if (lower == upper) {
            out_.put(cols_[j]).put(" = ").put(lower);
        } else if (lower == -TSO_INFINITY && upper == TSO_INFINITY) {
            out_.put(cols_[j]).put(" free");
        } else if (upper == TSO_INFINITY) {
            out_.put(cols_[j]).put(" >= ").put(lower);
        } else {
            if (lower != 0 || upper < 0) {
                number(lower);
                out_.put(" <= ");
            }
            out_.put(cols_[j]).put(" <= ").put(upper);
        }
        out_.put('\n');
    }
}

template <class Wanted> void LpWriter::types(const char* section, Wanted wanted) {
    const auto& type = model_.cols().type;
    if (std::none_of(type.begin(), type.end(), wanted))
        return;
    out_.put(section).put('\n');
    width_ = 0;
    for (int j = 0; j < model_.cols().size(); ++j)
        if (wanted(type[j])) {
            room_for(cols_[j].size() + 1);
            out_.put(' ').put(cols_[j]);
        }
    out_.put('\n');
}

void LpWriter::sets() {
    if (model_.sos().empty())
        return;
    out_.put("SOS\n");
    int number = 0;
    for (const Sos& s : model_.sos()) {
        const std::string name = "s" + std::to_string(number++);
        begin_line(name);
        out_.put(s.type == TSO_SOS_TYPE1 ? " S1::" : " S2::");
        width_ += 5;
        for (size_t k = 0; k < s.member.size(); ++k) {
            const std::string_view word = cols_[s.member[k]];
            room_for(word.size() + kNumberRoom);
            out_.put(' ').put(word).put(':').put(s.weight[k]);
        }
        out_.put('\n');
    }
}

} // namespace

void write_lp(const Model& model, Writer& out) { LpWriter(model, out).write(); }

void refuse_semidefinite(const Model& model) {
    if (!model.psdvars().empty() || model.num_psd_rows() > 0)
        throw Failure(TSO_FORMAT_ERROR, "LP and MPS files have no form for semi-definite variables and rows");
}

} // namespace tso::io
