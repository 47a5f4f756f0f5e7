#include "io/files.h"

#include "io/model_files.h"
#include "io/side_files.h"
#include "io/text.h"

#include <chrono>

namespace tso::io {

namespace {

enum class Kind : unsigned char { Lp, Mps, Sol, Mst, Bas, Prm };

struct SuffixRow {
    std::string_view suffix;
    Kind kind;
};
constexpr SuffixRow kSuffixes[] = {
    {".lp", Kind::Lp},   {".mps", Kind::Mps}, {".qps", Kind::Mps}, {".sol", Kind::Sol},
    {".mst", Kind::Mst}, {".bas", Kind::Bas}, {".prm", Kind::Prm},
};

struct CompressionRow {
    std::string_view suffix;
    Compression compression;
};
constexpr CompressionRow kCompressions[] = {{".gz", Compression::Gzip}, {".bz2", Compression::Bzip2}};

struct Form {
    Kind kind;
    Compression compression;
};

// Whether the name ends so, and there is something in front of it.
bool ends_with(std::string_view name, std::string_view suffix) {
    return name.size() > suffix.size() && same_word(name.substr(name.size() - suffix.size()), suffix);
}

[[noreturn]] void refuse(const std::string& path, const char* what, bool (*fits)(Kind)) {
    std::string text = path + ": expected the suffix of " + what + ":";
    for (const SuffixRow& s : kSuffixes)
        if (fits(s.kind))
            text += " " + std::string(s.suffix);
    throw Failure(TSO_FORMAT_ERROR, text + ", each also with .gz or .bz2 behind it");
}

Form form_of(const std::string& path, const char* what, bool (*fits)(Kind)) {
    const size_t slash = path.rfind('/');
    std::string_view name = path;
    name.remove_prefix(slash == std::string::npos ? 0 : slash + 1);
    Compression compression = Compression::None;
    for (const CompressionRow& c : kCompressions)
        if (ends_with(name, c.suffix)) {
            compression = c.compression;
            name.remove_suffix(c.suffix.size());
            break;
        }
    for (const SuffixRow& s : kSuffixes)
        if (ends_with(name, s.suffix) && fits(s.kind))
            return {s.kind, compression};
    refuse(path, what, fits);
}

bool is_any(Kind) { return true; }
bool is_model(Kind k) { return k == Kind::Lp || k == Kind::Mps; }
bool is_params(Kind k) { return k == Kind::Prm; }

std::unique_ptr<Model> read_form(const Env& env, const std::string& path, Form form) {
    const auto begin = std::chrono::steady_clock::now();
    auto model = form.kind == Kind::Lp ? read_lp(env, path, form.compression) : read_mps(env, path, form.compression);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    model->env.log().printf("Read %s: %d rows, %d columns, %lld entries (%.2f s)", path.c_str(), model->rows().size(),
                            model->cols().size(), static_cast<long long>(model->rows().matrix.entries()), seconds);
    return model;
}

} // namespace

std::unique_ptr<Model> read_model(const Env& env, const std::string& path) {
    return read_form(env, path, form_of(path, "a model file", is_model));
}

void read_into(Model& model, const std::string& path) {
    const Form form = form_of(path, "a file that can be read", is_any);
    switch (form.kind) {
    case Kind::Lp:
    case Kind::Mps:
        model.take_problem(std::move(*read_form(model.env, path, form)));
        break;
    case Kind::Sol:
    case Kind::Mst:
        read_starts(model, path, form.compression);
        break;
    case Kind::Bas:
        read_basis(model, path, form.compression);
        break;
    case Kind::Prm:
        read_params(model.env, path, form.compression);
        break;
    }
}

void write(Model& model, const std::string& path) {
    const Form form = form_of(path, "a file that can be written", is_any);
    // Whether there is anything to write shows before a file is made.
    switch (form.kind) {
    case Kind::Lp:
    case Kind::Mps:
        refuse_semidefinite(model);
        break;
    case Kind::Sol:
        require_solution(model);
        break;
    case Kind::Mst:
        require_starts(model);
        break;
    case Kind::Bas:
        require_basis(model);
        break;
    case Kind::Prm:
        break;
    }
    Writer out(path, form.compression);
    switch (form.kind) {
    case Kind::Lp:
        write_lp(model, out);
        break;
    case Kind::Mps:
        write_mps(model, out);
        break;
    case Kind::Sol:
        write_solution(model, out);
        break;
    case Kind::Mst:
        write_starts(model, out);
        break;
    case Kind::Bas:
        write_basis(model, out);
        break;
    case Kind::Prm:
        write_params(model.env, out);
        break;
    }
    out.commit();
}

void read_params(Env& env, const std::string& path) {
    read_params(env, path, form_of(path, "a parameter file", is_params).compression);
}

void write_params(const Env& env, const std::string& path) {
    Writer out(path, form_of(path, "a parameter file", is_params).compression);
    write_params(env, out);
    out.commit();
}

} // namespace tso::io
