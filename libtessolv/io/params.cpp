// Parameter files (".prm"): lines of a parameter's name and its value; "#" begins a comment line.
#include "io/naming.h"
#include "io/side_files.h"

namespace tso::io {

namespace {

// Text values go to the end of the line: only what would be lost there is encoded.
bool is_line(std::string_view text) {
    for (const char c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
            return false;
    return text == trim(text) && !text.starts_with("_~");
}

} // namespace

void write_params(const Env& env, Writer& out) {
    const Params& params = env.params();
    out.put("# Parameters that differ from their defaults\n");
    for (const ParamRow& row : kParams) {
        const Param p = param_of(&row);
        if (params.is_default(p))
            continue;
        out.put(row.name).put(' ');
        if (row.type == ParamType::Int)
            out.put_int(params.get_int(p));
        else if (row.type == ParamType::Double)
            out.put(params.get_double(p));
        else if (const std::string& text = params.get_string(p); is_line(text))
            out.put(text);
        else
            out.put(encode_name(text, -1, Alphabet::Words));
        out.put('\n');
    }
}

void read_params(Env& env, const std::string& path, Compression compression) {
    Lines lines(path, compression);
    Params next = env.params();
    std::string_view line;
    while (lines.next(line)) {
        std::string_view name;
        line = trim(line);
        if (line.empty() || line[0] == '#')
            continue;
        split(line, &name, 1);
        const std::string_view text = trim(line.substr(name.size()));
        const auto refuse = [&](const std::string& what) {
            throw Failure(TSO_PARAM_SET_ERROR, path + ":" + std::to_string(lines.number()) + ": " + what);
        };
        const ParamRow* row = find_param(name);
        if (!row)
            refuse("there is no parameter " + show(name));
        const Param p = param_of(row);
        int whole = 0;
        double number = 0;
        if (row->type == ParamType::Int && !parse_int(text, whole))
            lines.fail("a whole number", text);
        if (row->type == ParamType::Double && !parse_number(text, number))
            lines.fail("a number", text);
        std::string scratch, decoded;
        if (row->type == ParamType::String) {
            try {
                decoded = decode_text(text, scratch);
            } catch (const Failure& f) {
                lines.fail(f.what());
            }
        }
        try {
            if (row->type == ParamType::Int)
                next.set_int(p, whole);
            else if (row->type == ParamType::Double)
                next.set_double(p, number);
            else
                next.set_string(p, decoded);
        } catch (const Failure&) {
            refuse("the value " + show(text) + " of " + std::string(row->name) + " is out of range");
        }
    }
    env.replace(next);
}

} // namespace tso::io
