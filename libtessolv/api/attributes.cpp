// Attributes by name: of the model, and of lists of its elements.
#include "api/attribute_access.h"
#include "api/guard.h"
#include "catalog/lookup.h"

#include <cstring>

using namespace tso;
using namespace tso::api;

namespace {

// The code of a name that is of another type or of another kind of owner than a function can serve.
constexpr int kWrongType[] = {TSO_MODEL_INVALID_CHAR_ATTR, TSO_MODEL_INVALID_INT_ATTR, TSO_MODEL_INVALID_REAL_ATTR,
                              TSO_MODEL_INVALID_STR_ATTR, TSO_MODEL_INVALID_MAT_ATTR};

// The number of the attribute, or a code, which is negative.
int find_attr(const char* name, AttrType type, bool of_model) {
    if (!name)
        return TSO_INVALID_ARGUMENT;
    const int a = Lookup<kAttrs>::find_text(name);
    if (a < 0)
        return TSO_MODEL_INVALID_ATTR_NAME;
    if (kAttrs[a].type != type || (kAttrs[a].owner == Owner::Model) != of_model)
        return kWrongType[static_cast<int>(type)];
    return a;
}

int find_writable(const char* name, AttrType type, bool of_model) {
    const int a = find_attr(name, type, of_model);
    return a >= 0 && !kAttrs[a].writable ? TSO_INVALID_ARGUMENT : a;
}

const OwnerRow& owner_of(int attr) { return kOwners[static_cast<size_t>(kAttrs[attr].owner)]; }

// A value of the model: read(attr, Model&).
template <class F> int read_one(TSOmodel model, const char* name, AttrType type, const void* value, F&& read) noexcept {
    return on_model(model, Mode::Read, [&](ModelObject& object, Slot&) -> int {
        const int a = find_attr(name, type, true);
        if (a < 0)
            return a;
        return value ? read(a, object) : TSO_INVALID_ARGUMENT;
    });
}

// Values of elements: read(attr, object, size), where size is how many elements there are.
template <class F>
int read_list(TSOmodel model, const char* name, AttrType type, int len, const int* ind, const void* values,
              F&& read) noexcept {
    return on_model(model, Mode::Read, [&](ModelObject& object, Slot&) -> int {
        const int a = find_attr(name, type, false);
        if (a < 0)
            return a;
        if (len < 0 || (len > 0 && !values))
            return TSO_INVALID_ARGUMENT;
        const OwnerRow& owner = owner_of(a);
        const int size = owner.size(*object.model);
        if (!ind && len > size)
            return owner.bad_index;
        return read(a, object, size);
    });
}

// write(attr, Model&).
template <class F> int write_any(TSOmodel model, const char* name, AttrType type, bool of_model, F&& write) noexcept {
    return edit_model(model, [&](Model& m) -> int {
        const int a = find_writable(name, type, of_model);
        if (a < 0)
            return a;
        write(static_cast<size_t>(a), m);
        return TSO_OKAY;
    });
}

} // namespace

int TSOgetattrinfo(TSOmodel model, const char* name, int* type, int* owner, int* writable) {
    if (const int code = peek(handle_of(model), Kind::Model))
        return code;
    if (!name)
        return TSO_INVALID_ARGUMENT;
    const int a = Lookup<kAttrs>::find_text(name);
    if (a < 0)
        return TSO_MODEL_INVALID_ATTR_NAME;
    put(type, kAttrs[a].type);
    put(owner, kAttrs[a].owner);
    put(writable, kAttrs[a].writable);
    return TSO_OKAY;
}

int TSOgetintattr(TSOmodel model, const char* name, int* value) {
    return read_one(model, name, AttrType::Int, value, [&](int a, ModelObject& object) {
        int v = 0;
        const int code = kReadInt[static_cast<size_t>(a)](*object.model, v);
        if (code == TSO_OKAY)
            *value = v;
        return code;
    });
}

int TSOgetdblattr(TSOmodel model, const char* name, double* value) {
    return read_one(model, name, AttrType::Double, value, [&](int a, ModelObject& object) {
        double v = 0;
        const int code = kReadDouble[static_cast<size_t>(a)](*object.model, v);
        if (code == TSO_OKAY)
            *value = v;
        return code;
    });
}

int TSOgetstrattr(TSOmodel model, const char* name, const char** value) {
    return read_one(model, name, AttrType::String, value, [&](int, ModelObject& object) {
        const std::string& text = object.model->name(); // the only text of the model itself, by two names
        object.text.assign(text.c_str(), text.c_str() + text.size() + 1);
        *value = object.text.data();
        return TSO_OKAY;
    });
}

int TSOsetintattr(TSOmodel model, const char* name, int value) {
    return write_any(model, name, AttrType::Int, true, [&](size_t a, Model& m) { kWriteInt[a](m, value); });
}

int TSOsetdblattr(TSOmodel model, const char* name, double value) {
    return write_any(model, name, AttrType::Double, true, [&](size_t a, Model& m) { kWriteDouble[a](m, value); });
}

int TSOsetstrattr(TSOmodel model, const char* name, const char* value) {
    return write_any(model, name, AttrType::String, true, [&](size_t, Model& m) {
        require_pointers(value);
        m.set_name(value);
    });
}

int TSOgetintattrlist(TSOmodel model, const char* name, int len, const int* ind, int* values) {
    return read_list(model, name, AttrType::Int, len, ind, values, [&](int a, ModelObject& object, int size) -> int {
        const ReadElementInt read = kReadElementInt[static_cast<size_t>(a)];
        for (int k = 0; k < len; ++k) {
            const int i = element(ind, k);
            if (static_cast<unsigned>(i) >= static_cast<unsigned>(size))
                return owner_of(a).bad_index;
            if (const int code = read(*object.model, i, values[k]))
                return code;
        }
        return TSO_OKAY;
    });
}

int TSOgetdblattrlist(TSOmodel model, const char* name, int len, const int* ind, double* values) {
    return read_list(model, name, AttrType::Double, len, ind, values, [&](int a, ModelObject& object, int size) -> int {
        const DoubleColumn column = kReadDoubles[static_cast<size_t>(a)](*object.model);
        const auto there = static_cast<unsigned>(std::min(column.size, size));
        if (column.code == TSO_OKAY && !ind && static_cast<unsigned>(len) <= there) {
            if (len > 0)
                std::memcpy(values, column.data, static_cast<size_t>(len) * sizeof(double));
            return TSO_OKAY;
        }
        for (int k = 0; k < len; ++k) {
            const auto i = static_cast<unsigned>(element(ind, k));
            if (i < there) [[likely]]
                values[k] = column.data[i];
            else if (i >= static_cast<unsigned>(size))
                return owner_of(a).bad_index;
            else if (column.code != TSO_OKAY)
                return column.code;
            else if (column.has_rest)
                values[k] = column.rest;
            else
                return TSO_DATA_NOT_AVAILABLE;
        }
        return TSO_OKAY;
    });
}

int TSOgetcharattrlist(TSOmodel model, const char* name, int len, const int* ind, char* values) {
    return read_list(model, name, AttrType::Char, len, ind, values, [&](int, ModelObject& object, int size) -> int {
        const std::vector<char>& types = object.model->cols().type; // VType is the only one
        for (int k = 0; k < len; ++k) {
            const int j = element(ind, k);
            if (static_cast<unsigned>(j) >= static_cast<unsigned>(size))
                return TSO_MODEL_INVALID_COL_IDX;
            values[k] = types[static_cast<size_t>(j)];
        }
        return TSO_OKAY;
    });
}

int TSOgetstrattrlist(TSOmodel model, const char* name, int len, const int* ind, const char** values) {
    return read_list(model, name, AttrType::String, len, ind, values, [&](int a, ModelObject& object, int) -> int {
        const Names& names = kReadNames[static_cast<size_t>(a)](*object.model);
        check_list(len, ind, names.size(), owner_of(a).bad_index);
        // The texts are copied, so that they hold whatever is renamed or added later.
        std::string scratch;
        size_t bytes = 0;
        for (int k = 0; k < len; ++k)
            bytes += names.text(element(ind, k), scratch).size() + 1;
        std::vector<char> text;
        text.reserve(bytes);
        for (int k = 0; k < len; ++k) {
            values[k] = text.data() + text.size();
            const std::string_view given = names.text(element(ind, k), scratch);
            text.insert(text.end(), given.begin(), given.end());
            text.push_back('\0');
        }
        object.text.swap(text);
        return TSO_OKAY;
    });
}

int TSOsetintattrlist(TSOmodel model, const char* name, int len, const int* ind, const int* values) {
    return write_any(model, name, AttrType::Int, false,
                     [&](size_t a, Model& m) { (m.*kWriteInts[a])(len, ind, values); });
}

int TSOsetdblattrlist(TSOmodel model, const char* name, int len, const int* ind, const double* values) {
    return write_any(model, name, AttrType::Double, false,
                     [&](size_t a, Model& m) { (m.*kWriteDoubles[a])(len, ind, values); });
}

int TSOsetcharattrlist(TSOmodel model, const char* name, int len, const int* ind, const char* values) {
    return write_any(model, name, AttrType::Char, false, [&](size_t, Model& m) { m.set_type(len, ind, values); });
}

int TSOsetstrattrlist(TSOmodel model, const char* name, int len, const int* ind, const char** values) {
    return write_any(model, name, AttrType::String, false,
                     [&](size_t a, Model& m) { (m.*kWriteNames[a])(len, ind, values); });
}

int TSOgetmatattrlist(TSOmodel model, const char* name, int len, const int* ind, int* sizes, int* starts, int* rows,
                      int* cols, double* values, int* counts) {
    return read_list(model, name, AttrType::Matrix, len, ind, name, [&](int a, ModelObject& object, int size) -> int {
        check_list(len, ind, size, owner_of(a).bad_index);
        const ReadMatrix read = kReadMatrix[static_cast<size_t>(a)];
        const Model& m = *object.model;
        int64_t total = 0;
        for (int k = 0; k < len; ++k) {
            const auto* const matrix = read(m, element(ind, k));
            if (!matrix)
                return TSO_DATA_NOT_AVAILABLE;
            total += static_cast<int64_t>(matrix->size());
        }
        require(total <= INT32_MAX, TSO_NOMEMORY);
        int at = 0;
        for (int k = 0; k < len; ++k) {
            const auto& matrix = *read(m, element(ind, k));
            if (sizes)
                sizes[k] = m.psdvars()[static_cast<size_t>(element(ind, k))].dim;
            if (counts)
                counts[k] = static_cast<int>(matrix.size());
            if (starts)
                starts[k] = at;
            for (const SymEntry& e : matrix) {
                if (rows)
                    rows[at] = e.row;
                if (cols)
                    cols[at] = e.col;
                if (values)
                    values[at] = e.value;
                ++at;
            }
        }
        if (starts)
            starts[len] = at;
        return TSO_OKAY;
    });
}

int TSOsetmatattrlist(TSOmodel model, const char* name, int len, const int* ind, int nz, const int* starts,
                      const int* rows, const int* cols, const double* values) {
    return write_any(model, name, AttrType::Matrix, false,
                     [&](size_t, Model& m) { m.set_psd_costs(len, ind, nz, starts, rows, cols, values); });
}
