// What a problem contains, the classes that this makes, and the engines of each class: the one table behind the choice
// of an engine, the log and the reference page.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace tso::engine {

// Gathered once before an engine is chosen.
struct Features {
    bool integers = false, semicontinuous = false, quadratic_objective = false, quadratic_rows = false, sos = false,
         indicators = false, psd = false, callback = false;
    bool convex = true;      // the quadratic objective, in the sense of the objective
    bool convex_rows = true; // all quadratic rows, second-order cones included
    int columns = 0;

    bool discrete() const { return integers || semicontinuous; }
    bool logical() const { return sos || indicators; }
};

enum class EngineId : uint8_t { Highs, Scip, Ipopt, Csdp };

struct EngineRow {
    EngineId id;
    std::string_view name;  // what Engine::name begins with
    std::string_view words; // for the reference page
};

// clang-format off
inline constexpr EngineRow kEngines[] = {
    {EngineId::Highs, "HiGHS", "linear problems with or without integers, convex quadratic objectives"},
    {EngineId::Scip, "SCIP", "problems with integers of every kind, and those that are not convex; no dual values"},
    {EngineId::Ipopt, "Ipopt", "convex quadratic problems without integers"},
    {EngineId::Csdp, "CSDP", "semi-definite problems, second-order cones"},
};
// clang-format on

constexpr const EngineRow& row(EngineId id) { return kEngines[static_cast<size_t>(id)]; }

class EngineList {
public:
    template <class... Ids> explicit constexpr EngineList(Ids... ids) : id_{ids...}, count_(sizeof...(ids)) {}
    constexpr const EngineId* begin() const { return id_; }
    constexpr const EngineId* end() const { return id_ + count_; }

private:
    EngineId id_[4] = {};
    size_t count_;
};

struct ClassRow {
    std::string_view words;
    bool (*test)(const Features&);
    EngineList engines;      // in order of preference: the next one tries where one fails
    std::string_view advice; // where no engine can do it: what to do
    double patience = 0;     // seconds that each engine but the last one gets; 0: all the time there is
};

// On small problems HiGHS's method for quadratic objectives ends at once, or gets into a circle.
inline constexpr double kQuadraticPatience = 10;

// HiGHS's method for quadratic objectives is quick on small problems and slows down by the cube of their size.
inline constexpr int kFewColumns = 300;

// The first row that fits counts.
// clang-format off
inline constexpr ClassRow kClasses[] = {
    {"semi-definite variables beside integers, special ordered sets or indicators",
     [](const Features& f) { return f.psd && (f.discrete() || f.logical()); },
     EngineList(),
     "Make the integers continuous, which gives a bound, or state the semi-definite part by rows"},
    {"semi-definite variables beside quadratic parts that are not convex",
     [](const Features& f) { return f.psd && !(f.convex && f.convex_rows); },
     EngineList(),
     "Replace products of variables by entries of a semi-definite variable, which gives a bound"},
    {"semi-definite variables",
     [](const Features& f) { return f.psd; },
     EngineList(EngineId::Csdp), "Its library is found when Tessolv is built: on Debian, install libsdp-dev before"},
    {"integers, with a callback",
     [](const Features& f) { return f.callback; },
     EngineList(EngineId::Scip), ""},
    {"special ordered sets or indicators",
     [](const Features& f) { return f.logical(); },
     EngineList(EngineId::Scip), ""},
    {"integers with quadratic parts",
     [](const Features& f) { return f.discrete() && (f.quadratic_objective || f.quadratic_rows); },
     EngineList(EngineId::Scip), ""},
    {"quadratic parts that are not convex",
     [](const Features& f) { return !(f.convex && f.convex_rows); },
     EngineList(EngineId::Scip), ""},
    {"convex quadratic rows or second-order cones",
     [](const Features& f) { return f.quadratic_rows; },
     EngineList(EngineId::Ipopt, EngineId::Csdp, EngineId::Scip), ""},
    {"a convex quadratic objective, up to 300 columns",
     [](const Features& f) { return f.quadratic_objective && f.columns <= kFewColumns; },
     EngineList(EngineId::Highs, EngineId::Ipopt, EngineId::Scip), "", kQuadraticPatience},
    {"a convex quadratic objective, more than 300 columns",
     [](const Features& f) { return f.quadratic_objective; },
     EngineList(EngineId::Ipopt, EngineId::Highs, EngineId::Scip), ""},
    {"linear with integers or semi-continuous variables",
     [](const Features& f) { return f.discrete(); },
     EngineList(EngineId::Highs, EngineId::Scip), ""},
    {"linear",
     [](const Features&) { return true; },
     EngineList(EngineId::Highs, EngineId::Scip), ""},
};
// clang-format on
static_assert(kFewColumns == 300, "the words of two classes tell it");

constexpr const ClassRow& class_of(const Features& f) {
    for (const ClassRow& row : kClasses)
        if (row.test(f))
            return row;
    return *std::rbegin(kClasses); // which fits all
}

} // namespace tso::engine
