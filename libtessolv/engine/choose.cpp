#include "engine/choose.h"

#include "engine/convex.h"
#include "engine/csdp/csdp.h"
#include "engine/highs/highs.h"
#include "engine/ipopt/ipopt.h"
#include "engine/scip/scip.h"

namespace tso::engine {
namespace {

// In the order of EngineId. Null: not built in.
using Maker = std::unique_ptr<Engine> (*)();
constexpr Maker kMakers[] = {
    make_highs,
    make_scip,
    make_ipopt,
    make_csdp,
};
static_assert(std::size(kMakers) == std::size(kEngines));

struct FeatureName {
    bool Features::*has;
    std::string_view words;
};
constexpr FeatureName kFeatureNames[] = {
    {&Features::integers, "integer variables"},  {&Features::semicontinuous, "semi-continuous variables"},
    {&Features::sos, "special ordered sets"},    {&Features::indicators, "indicator constraints"},
    {&Features::psd, "semi-definite variables"}, {&Features::callback, "a callback"},
};

} // namespace

Features features_of(const Model& model, bool has_callback, const Run* run) {
    Features f;
    if (model.is_mip()) {
        for (char type : model.cols().type) {
            f.integers |= type != TSO_CONTINUOUS && type != TSO_SEMICONT;
            f.semicontinuous |= type == TSO_SEMICONT || type == TSO_SEMIINT;
        }
    }
    f.quadratic_objective = !model.quadratic().empty();
    // A quadratic row without a quadratic term is as good as a linear one.
    for (int i = 0; model.num_quadratic_rows() > 0 && !f.quadratic_rows && i < model.rows().size(); ++i)
        f.quadratic_rows = model.rows().kind_of(i) == RowKind::Quadratic && !model.rows().quadratic[i].empty();
    f.sos = !model.sos().empty();
    f.indicators = !model.indicators().empty();
    f.psd = !model.psdvars().empty() || model.num_psd_rows() > 0;
    f.callback = has_callback && (f.integers || f.semicontinuous || f.sos || f.indicators);
    f.columns = model.cols().size();
    f.convex = !f.quadratic_objective || is_convex(model.quadratic(), model.sense(), run);
    for (int i = 0; f.quadratic_rows && f.convex_rows && i < model.rows().size(); ++i)
        f.convex_rows = is_convex_row(model, i, run);
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
    if (f.quadratic_rows)
        add(f.convex_rows ? "convex quadratic constraints" : "quadratic constraints that are not convex");
    return words.empty() ? "linear rows only" : words;
}

bool is_built_in(EngineId id) { return kMakers[static_cast<size_t>(id)] != nullptr; }

std::unique_ptr<Engine> make_engine(EngineId id) { return kMakers[static_cast<size_t>(id)](); }

} // namespace tso::engine
