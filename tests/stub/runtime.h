// What every function of the stand-in does before it answers: write down its name and arguments, fail if it was asked
// to. The answers themselves stand below as answer_TSO... functions; a function without one answers TSO_OKAY.
#pragma once

#include "catalog/attrs.h"
#include "catalog/params.h"
#include "tessolv.h"

#include <dlfcn.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace stub {

struct Failure {
    std::string function;
    int left; // calls until it happens
    int code;
};

struct State {
    std::recursive_mutex lock;
    std::vector<std::string> log; // one JSON array a call: [name, interpreter lock held, argument...]
    std::vector<Failure> failures;
    std::map<const void*, std::string> names;           // of the handles that were given out
    std::map<const void*, TSOenv> private_environments; // of models
    std::map<std::string, std::string> answers;         // set by the test, by attribute, as texts whatever the type
    std::set<std::string> kept;                         // texts that were given back, which stay where they are
    int next = 0;
    int environments = 0, models = 0;
    int callbacks = 0, where = 4; // how often TSOoptimize calls back, and with what
    bool on_thread = false;
    int (*callback)(TSOmodel, TSOcbdata, int, void*) = nullptr;
    void* usrdata = nullptr;
};

inline State& state() {
    static State* s = new State; // never freed: calls come until the process is gone
    return *s;
}

inline std::string answer(const char* name, const std::string& otherwise) {
    auto found = state().answers.find(name);
    return found == state().answers.end() ? otherwise : found->second;
}
inline int variables() { return std::stoi(answer("NumVars", "0")); }

// The allocations of C++ that fail, to the last one or all: the module's, which finds operator new here. Those of the
// stand-in itself, inside of its functions, do not.
struct Allocations {
    int first = -1, last = 0, made = 0, inside = 0;
} inline g_allocations;

// An address that looks like a pointer and points nowhere: whoever follows it crashes.
template <class Handle> Handle new_handle(const std::string& name) {
    State& s = state();
    auto* handle = reinterpret_cast<Handle>(static_cast<uintptr_t>(0x7000000000000000u + 0x1000u * ++s.next));
    s.names[handle] = name;
    return handle;
}

inline bool interpreter_lock_held() {
    static auto* check = reinterpret_cast<int (*)()>(dlsym(RTLD_DEFAULT, "PyGILState_Check"));
    static auto* alive = reinterpret_cast<int (*)()>(dlsym(RTLD_DEFAULT, "Py_IsInitialized"));
    return check && alive && alive() && check();
}

class Record {
public:
    ~Record() { --g_allocations.inside; }
    explicit Record(const char* name) : name_(name) {
        ++g_allocations.inside;
        line_ = std::string("[\"") + name + "\"," + (interpreter_lock_held() ? "true" : "false");
    }
    template <class T> void value(T v) { raw(shown(v)); }
    void out(const void* v) { raw(v ? "\"out\"" : "null"); }
    void address(const void* v) { raw(std::to_string(reinterpret_cast<uintptr_t>(v))); }
    template <class F> void callback(F v) { raw(v ? "\"callback\"" : "null"); }
    void handle(const void* v) { raw(quoted(handle_name(v))); }
    template <class Handle> void old_handle(const Handle* v) {
        raw(v ? "[\"out\"," + quoted(handle_name(*v)) + "]" : "null");
    }
    void array(const char* v, int n) { raw(v ? quoted(std::string(v, n)) : "null"); }
    template <class T> void array(const T* v, int n) {
        if (!v)
            return raw("null");
        std::string out = "[";
        for (int i = 0; i < n; ++i)
            out += (i ? "," : "") + shown(v[i]);
        raw(out + "]");
    }
    // Stores the line; answers the code that this call shall fail with.
    int finish() {
        State& s = state();
        std::lock_guard guard(s.lock);
        s.log.push_back(line_ + "]");
        if (const char* path = std::getenv("TESSOLV_STUB_LOG"))
            std::ofstream(path, std::ios::app) << s.log.back() << "\n";
        for (Failure& f : s.failures)
            if (f.function == name_ && f.left > 0 && --f.left == 0)
                return f.code;
        return 0;
    }

private:
    void raw(const std::string& v) { line_ += "," + v; }
    static std::string handle_name(const void* v) {
        if (!v)
            return "null";
        auto found = state().names.find(v);
        return found == state().names.end() ? std::to_string(reinterpret_cast<uintptr_t>(v)) : found->second;
    }
    static std::string shown(int v) { return std::to_string(v); }
    static std::string shown(char v) { return quoted(std::string(1, v)); }
    static std::string shown(const char* v) { return v ? quoted(v) : "null"; }
    static std::string shown(double v) {
        if (!std::isfinite(v))
            return std::isnan(v) ? "NaN" : v > 0 ? "Infinity" : "-Infinity";
        char buffer[40];
        std::snprintf(buffer, sizeof buffer, "%.17g", v);
        return std::strpbrk(buffer, ".e") ? buffer : std::string(buffer) + ".0";
    }
    static std::string quoted(const std::string& v) {
        std::string out = "\"";
        for (unsigned char c : v) {
            char buffer[8] = {static_cast<char>(c)};
            if (c == '"' || c == '\\' || c < 32)
                std::snprintf(buffer, sizeof buffer, "\\u%04x", c);
            out += buffer;
        }
        return out + "\"";
    }
    std::string name_, line_;
};

inline const char* keep(const std::string& text) { return state().kept.insert(text).first->c_str(); }

// ---- Environments ----

inline int answer_TSOemptyenv(TSOenv* env) {
    *env = new_handle<TSOenv>("env" + std::to_string(++state().environments));
    return 0;
}
inline int answer_TSOloadenv(TSOenv* env, const char*) { return answer_TSOemptyenv(env); }

// The same private environment for a model at every call.
inline TSOenv answer_TSOgetenv(TSOmodel model) {
    State& s = state();
    if (!s.names.count(model))
        return nullptr;
    TSOenv& env = s.private_environments[model];
    return env ? env : env = new_handle<TSOenv>("env of " + s.names[model]);
}
inline void answer_TSOversion(int* major, int* minor, int* technical) { *major = 7, *minor = 8, *technical = 9; }
inline const char* answer_TSOexplainerror(int code) { return keep("text of code " + std::to_string(code)); }

template <class T, class V> void put(T* to, V value) {
    if (to)
        *to = static_cast<T>(value);
}

// ---- Parameters: four different numbers, so that nobody can mix up current value, range and default ----

template <class T> int four(T* current, T* least = nullptr, T* greatest = nullptr, T* fallback = nullptr) {
    T next = 11;
    for (T* value : {current, least, greatest, fallback})
        put(value, next++);
    return 0;
}
inline int text(char* value, const char* text) {
    if (value)
        std::strcpy(value, text);
    return 0;
}
inline int answer_TSOgetintparam(TSOenv, const char*, int* value) { return four(value); }
inline int answer_TSOgetdblparam(TSOenv, const char*, double* value) {
    *value = 11.5;
    return 0;
}
inline int answer_TSOgetstrparam(TSOenv, const char*, char* value) { return text(value, "current text"); }
inline int answer_TSOgetintparaminfo(TSOenv, const char*, int* c, int* l, int* g, int* f) { return four(c, l, g, f); }
inline int answer_TSOgetdblparaminfo(TSOenv, const char*, double* c, double* l, double* g, double* f) {
    return four(c, l, g, f);
}
inline int answer_TSOgetstrparaminfo(TSOenv, const char*, char* current, char* fallback) {
    return text(current, "current text") + text(fallback, "default text");
}

// ---- Attributes: types and owners from the library's own table, values that tell the index they belong to ----

inline int answer_TSOgetattrinfo(TSOmodel model, const char* name, int* type, int* owner, int* writable) {
    if (!model)
        return TSO_INVALID_ARGUMENT;
    for (const tso::AttrRow& row : tso::kAttrs) {
        if (row.name != name)
            continue;
        put(type, row.type), put(owner, row.owner), put(writable, row.writable);
        return 0;
    }
    return TSO_MODEL_INVALID_ATTR_NAME;
}
inline int answer_TSOgetintattr(TSOmodel, const char* name, int* value) {
    *value = std::stoi(answer(name, "0"));
    return 0;
}
inline int answer_TSOgetq(TSOmodel model, int* count, int*, int*, double*) { // terms of no value
    return answer_TSOgetintattr(model, "NumQuads", count);
}
inline int answer_TSOgetdblattr(TSOmodel, const char* name, double* value) {
    *value = std::stod(answer(name, "0"));
    return 0;
}
inline int answer_TSOgetstrattr(TSOmodel, const char* name, const char** value) {
    *value = keep(answer(name, "text"));
    return 0;
}
// A value for each of the indices, or for the first ones.
template <class T, class F> int each(T* values, int len, const int* ind, F value) {
    for (int i = 0; values && i < len; ++i)
        values[i] = value(ind ? ind[i] : i);
    return 0;
}
// The dimension of a semi-definite variable is that of its matrices below, others are told by the test.
inline int answer_TSOgetintattrlist(TSOmodel, const char* name, int len, const int* ind, int* values) {
    const bool dim = std::strcmp(name, "Dim") == 0;
    return each(values, len, ind, [&](int i) { return dim ? std::stoi(answer(name, "2")) : 10 * i; });
}
inline int answer_TSOgetdblattrlist(TSOmodel, const char*, int len, const int* ind, double* values) {
    return each(values, len, ind, [](int i) { return i + 0.5; });
}
inline int answer_TSOgetcharattrlist(TSOmodel, const char*, int len, const int* ind, char* values) {
    return each(values, len, ind, [](int i) { return "CBI"[i % 3]; });
}
inline int answer_TSOgetstrattrlist(TSOmodel, const char* name, int len, const int* ind, const char** values) {
    return each(values, len, ind, [&](int i) { return keep(answer(name, "n" + std::to_string(i))); });
}
// Each matrix is [[1, 2], [2, 3]].
inline int answer_TSOgetmatattrlist(TSOmodel, const char*, int len, const int*, int* sizes, int* starts, int* rows,
                                    int* cols, double* values, int* counts) {
    each(sizes, len, nullptr, [](int) { return 2; });
    each(counts, len, nullptr, [](int) { return 3; });
    each(starts, len + 1, nullptr, [](int i) { return 3 * i; });
    each(rows, 3 * len, nullptr, [](int k) { return k % 3 > 0; });
    each(cols, 3 * len, nullptr, [](int k) { return k % 3 > 1; });
    return each(values, 3 * len, nullptr, [](int k) { return k % 3 + 1.0; });
}

// ---- Models ----

inline TSOmodel another_model() { return new_handle<TSOmodel>("model" + std::to_string(++state().models)); }

inline TSOmodel answer_TSOcopymodel(TSOmodel) { return another_model(); }
inline int answer_TSOreadmodel(TSOenv, const char*, TSOmodel* model) {
    *model = another_model();
    return 0;
}
inline int answer_TSOnewmodel(TSOenv env, TSOmodel* model, const char* name, int, const double*, const double*,
                              const double*, const char*, const char**) {
    return answer_TSOreadmodel(env, name, model);
}
inline int answer_TSOcleanupmilp(TSOmodel, int* removed) {
    *removed = 17;
    return 0;
}
inline int answer_TSOsetcallbackfunc(TSOmodel, int (*cb)(TSOmodel, TSOcbdata, int, void*), void* usrdata) {
    state().callback = cb;
    state().usrdata = usrdata;
    return 0;
}
inline int answer_TSOoptimize(TSOmodel model) {
    State& s = state();
    int code = 0;
    auto run = [&] {
        for (int i = 0; i < s.callbacks && s.callback && !code; ++i) {
            if (s.callback(model, new_handle<TSOcbdata>("cbdata"), s.where, s.usrdata))
                code = TSO_ABORT_INTERRUPTED;
        }
    };
    if (s.on_thread)
        std::thread(run).join();
    else
        run();
    return code;
}
inline int answer_TSOcomputeIIS(TSOmodel model) { return answer_TSOoptimize(model); }
// Counts are those of the variables, a double is its code, entry i of an array is i / 4 or i; the relaxation is
// missing.
inline int answer_TSOcbget(TSOcbdata, int, int what, void* result) {
    static double doubles[64];
    static int ints[64];
    for (int i = 0; i < 64; ++i)
        doubles[i] = i / 4.0, ints[i] = i;
    if (what == 212 || (what >= 300 && what <= 302))
        *static_cast<double*>(result) = what;
    else if (what == 208 || what == 210 || what == 211)
        *static_cast<int**>(result) = ints;
    else if (what <= 202 || (what >= 306 && what <= 312))
        *static_cast<int*>(result) = variables();
    else
        *static_cast<double**>(result) = what == 317 ? nullptr : doubles;
    return 0;
}

} // namespace stub

// ---- The remote control, for the tests ----

#define STUB_API extern "C" __attribute__((visibility("default")))

__attribute__((visibility("default"))) void* operator new(std::size_t size) {
    stub::Allocations& a = stub::g_allocations;
    bool fails = a.first >= 0 && !a.inside && a.made++ >= a.first && (a.last == 0 || a.made <= a.last);
    void* p = fails ? nullptr : std::malloc(size);
    return p ? p : throw std::bad_alloc();
}
STUB_API void stub_fail_allocations(int first, int last) { stub::g_allocations = {first, last}; }

STUB_API const char* stub_log() {
    static std::string text;
    std::lock_guard guard(stub::state().lock);
    text.clear();
    for (const std::string& line : stub::state().log)
        text += line + "\n";
    return text.c_str();
}
STUB_API void stub_clear() {
    std::lock_guard guard(stub::state().lock);
    stub::state().log.clear();
}
// Forgets failures and answers, but not handles: other tests' objects still hold those.
STUB_API void stub_reset() {
    stub::State& s = stub::state();
    std::lock_guard guard(s.lock);
    s.log.clear(), s.failures.clear(), s.answers.clear();
    s.callbacks = 0, s.where = 4, s.on_thread = false;
}
STUB_API void stub_fail(const char* function, int nth, int code) {
    std::lock_guard guard(stub::state().lock);
    stub::state().failures.push_back({function, nth, code});
}
STUB_API void stub_unfail() { stub::state().failures.clear(); }
STUB_API void stub_set(const char* name, const char* value) { stub::state().answers[name] = value; }
STUB_API void stub_set_callbacks(int times, int where, int on_thread) {
    stub::state().callbacks = times, stub::state().where = where, stub::state().on_thread = on_thread;
}
STUB_API const char* stub_name(uintptr_t handle) {
    auto found = stub::state().names.find(reinterpret_cast<void*>(handle));
    return found == stub::state().names.end() ? nullptr : found->second.c_str();
}
