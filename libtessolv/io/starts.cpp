// Solutions (".sol") and start values (".mst"): lines of a column's name and a value.
#include "io/naming.h"
#include "io/side_files.h"

#include <cmath>

namespace tso::io {

namespace {

void write_values(const Model& model, const std::vector<double>& values, Writer& out) {
    WrittenNames names(Alphabet::Words);
    names.add(model.cols().names, "column");
    const int count = std::min(model.cols().size(), static_cast<int>(values.size()));
    for (int j = 0; j < count; ++j)
        if (values[j] != TSO_UNDEFINED)
            out.put(names[j]).put(' ').put(values[j]).put('\n');
}

void write_head(const char* what, const Model& model, Writer& out) {
    out.put("# ").put(what);
    if (!model.name().empty() && is_plain(model.name(), Alphabet::Words))
        out.put(" of ").put(model.name());
    out.put('\n');
}

bool any_start(const Model& model) {
    for (const double v : model.cols().start)
        if (v != TSO_UNDEFINED)
            return true;
    return false;
}

} // namespace

void require_solution(const Model& model) {
    if (!model.solution.has_primal())
        throw Failure(TSO_DATA_NOT_AVAILABLE, "there is no solution to write");
}

void write_solution(const Model& model, Writer& out) {
    write_head("Solution", model, out);
    out.put("# Objective value: ").put(model.solution.objective).put('\n');
    write_values(model, model.solution.x, out);
}

void require_starts(const Model& model) {
    if (!any_start(model) && !model.solution.has_primal())
        throw Failure(TSO_DATA_NOT_AVAILABLE, "there are no start values to write, and no solution to take them from");
}

void write_starts(const Model& model, Writer& out) {
    write_head("MIP start", model, out);
    write_values(model, any_start(model) ? model.cols().start : model.solution.x, out);
}

void read_starts(Model& model, const std::string& path, Compression compression) {
    Lines lines(path, compression);
    std::vector<int> index;
    std::vector<double> value;
    std::vector<char> given(static_cast<size_t>(model.cols().size()), 0);
    std::string_view line;
    while (lines.next(line)) {
        std::string_view f[2];
        const int count = split(line, f, 2);
        if (count == 0 || f[0][0] == '#')
            continue;
        double v;
        if (count != 2 || !parse_number(f[1], v) || !(std::fabs(v) < TSO_INFINITY))
            lines.fail("a column's name and a finite number", count > 2 ? trim(line) : f[count - 1]);
        int j;
        try {
            j = find_element(model.cols().names, f[0]);
        } catch (const Failure& f) {
            lines.fail(f.what());
        }
        if (j < 0)
            throw Failure(TSO_MODEL_INVALID_COL_NAME,
                          path + ":" + std::to_string(lines.number()) + ": the model has no column " + show(f[0]));
        if (given[j])
            lines.fail("each column once", f[0]);
        given[j] = 1;
        index.push_back(j);
        value.push_back(v);
    }
    model.set_start(static_cast<int>(index.size()), index.data(), value.data());
}

} // namespace tso::io
