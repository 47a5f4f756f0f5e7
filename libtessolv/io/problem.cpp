#include "io/problem.h"

#include <deque>

namespace tso::io {

namespace {

// Names for the model, out of the words of a file. Decoded ones live in `decoded`.
std::vector<const char*> name_pointers(const NameTable& words, int from, int to, std::deque<std::string>& decoded) {
    std::vector<const char*> out(static_cast<size_t>(to - from));
    std::string scratch;
    for (int i = from; i < to; ++i) {
        const std::string_view word = words.name(i);
        const std::string_view name = decode_name(word, scratch);
        out[static_cast<size_t>(i - from)] =
            name.data() == word.data() ? words.c_name(i) : decoded.emplace_back(name).c_str();
    }
    return out;
}

struct TermArrays {
    explicit TermArrays(const std::vector<QuadTerm>& terms) {
        for (const QuadTerm& t : terms) {
            row.push_back(t.row);
            col.push_back(t.col);
            value.push_back(t.value);
        }
    }
    int size() const { return static_cast<int>(row.size()); }
    std::vector<int> row, col;
    std::vector<double> value;
};

} // namespace

int Problem::add_col(std::string_view col_name) {
    const auto [j, added] = cols.insert(col_name);
    if (added) {
        cost.push_back(0);
        lower.push_back(0);
        upper.push_back(TSO_INFINITY);
        type.push_back(TSO_CONTINUOUS);
    }
    return j;
}

bool Problem::add_member(int col, double weight) {
    const int set = static_cast<int>(sos.size()) - 1;
    last_set_.resize(static_cast<size_t>(cols.size()), -1);
    if (last_set_[col] == set)
        return false;
    last_set_[col] = set;
    sos.back().member.push_back(col);
    sos.back().weight.push_back(weight);
    return true;
}

std::unique_ptr<Model> Problem::finish(const Env& env, const std::string& path) const {
    try {
        return make(env, path);
    } catch (const Failure& f) {
        if (f.code() == TSO_FORMAT_ERROR || f.code() == TSO_NOMEMORY)
            throw;
        throw Failure(TSO_FORMAT_ERROR, path + ": the model that the file describes cannot be stored");
    }
}

std::unique_ptr<Model> Problem::make(const Env& env, const std::string& path) const {
    auto model = std::make_unique<Model>(env);
    std::deque<std::string> decoded;
    std::string scratch;
    model->set_name(name);
    model->set_sense(sense);
    model->set_constant(constant);
    if (cols.size() > 0)
        model->add_cols(cols.size(), 0, nullptr, nullptr, nullptr, cost.data(), lower.data(), upper.data(), type.data(),
                        name_pointers(cols, 0, cols.size(), decoded).data());

    // Runs of linear rows go in as one, the quadratic ones between them one by one.
    const int rows_total = rows.size();
    const auto begin_of = [&](int i) { return i < rows_total ? begin[i] : static_cast<int>(index.size()); };
    size_t q = 0;
    for (int i = 0; i < rows_total;) {
        if (q < quadratic_rows.size() && quadratic_rows[q].row == i) {
            const TermArrays terms(quadratic_rows[q++].terms);
            model->add_quadratic_row(begin_of(i + 1) - begin[i], index.data() + begin[i], value.data() + begin[i],
                                     terms.size(), terms.row.data(), terms.col.data(), terms.value.data(), row_lower[i],
                                     row_upper[i], name_pointers(rows, i, i + 1, decoded)[0]);
            ++i;
            continue;
        }
        const int stop = q < quadratic_rows.size() ? quadratic_rows[q].row : rows_total;
        std::vector<int> shifted(begin.begin() + i, begin.begin() + stop);
        for (int& b : shifted)
            b -= begin[i];
        const int entries = begin_of(stop) - begin[i];
        model->add_rows(stop - i, entries, shifted.data(), index.data() + begin[i], value.data() + begin[i],
                        &row_lower[i], &row_upper[i], name_pointers(rows, i, stop, decoded).data());
        i = stop;
    }

    if (!quadratic.empty()) {
        const TermArrays terms(quadratic);
        model->add_quadratic(terms.size(), terms.row.data(), terms.col.data(), terms.value.data());
    }
    for (const Sos& set : sos) {
        const int start = 0;
        model->add_sos(1, static_cast<int>(set.member.size()), &set.type, &start, set.member.data(), set.weight.data());
    }
    for (const auto& [g, text, line] : indicators) {
        try {
            model->add_indicator(std::string(decode_name(text, scratch)).c_str(), g.binvar, g.binval,
                                 static_cast<int>(g.ind.size()), g.ind.data(), g.val.data(), g.sense, g.rhs);
        } catch (const Failure& f) {
            throw Failure(TSO_FORMAT_ERROR, path + ":" + std::to_string(line) +
                                                ": expected a binary in front of the indicated row, '" +
                                                std::string(cols.name(g.binvar)) + "' is none" +
                                                (f.has_text() ? std::string(" (") + f.what() + ")" : ""));
        }
    }
    return model;
}

} // namespace tso::io
