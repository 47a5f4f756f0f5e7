#include "engine/choose.h"

#include "engine/convex.h"
#include "engine/highs/highs.h"

namespace tso::engine {
namespace {

constexpr EngineRow kEngines[] = {
    {"HiGHS", highs_can, make_highs},
};

// Another cause for refusing than what a feature's name says is told by the feature `convex`.
struct FeatureName {
    bool Features::*has;
    std::string_view words;
};
constexpr FeatureName kFeatureNames[] = {
    {&Features::integers, "integer variables"},
    {&Features::semicontinuous, "semi-continuous variables"},
    {&Features::quadratic_rows, "quadratic constraints"},
    {&Features::sos, "special ordered sets"},
    {&Features::indicators, "indicator constraints"},
    {&Features::psd, "semi-definite variables"},
    {&Features::callback, "a callback"},
};

} // namespace

Features features_of(const Model& model, bool has_callback) {
    Features f;
    if (model.is_mip()) {
        for (char type : model.cols().type) {
            f.integers |= type != TSO_CONTINUOUS && type != TSO_SEMICONT;
            f.semicontinuous |= type == TSO_SEMICONT || type == TSO_SEMIINT;
        }
    }
    f.quadratic_objective = !model.quadratic().empty();
    f.quadratic_rows = model.num_quadratic_rows() > 0;
    f.sos = !model.sos().empty();
    f.indicators = !model.indicators().empty();
    f.psd = !model.psdvars().empty() || model.num_psd_rows() > 0;
    f.callback = has_callback && (f.integers || f.semicontinuous || f.sos || f.indicators);
    f.convex = !f.quadratic_objective || is_convex(model.quadratic(), model.sense());
    return f;
}

std::string in_words(const Features& f) {
    std::string words;
    const auto add = [&](std::string_view w) {
        if (!words.empty())
            words += ", ";
        words += w;
    };
    for (const FeatureName& row : kFeatureNames)
        if (f.*row.has)
            add(row.words);
    if (f.quadratic_objective)
        add(f.convex ? "a convex quadratic objective" : "a quadratic objective that is not convex");
    return words.empty() ? "linear rows only" : words;
}

std::span<const EngineRow> engines() { return kEngines; }

const EngineRow* choose(const Features& f) {
    for (const EngineRow& row : kEngines)
        if (row.can(f))
            return &row;
    return nullptr;
}

} // namespace tso::engine
