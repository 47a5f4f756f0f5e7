// The choice of an engine by what a problem contains.
#pragma once

#include "engine/engine.h"

#include <span>
#include <string>

namespace tso::engine {

Features features_of(const Model& model, bool has_callback);

// In words, for the log: "integer variables, a quadratic objective that is not convex".
std::string in_words(const Features& f);

// The engines in order of preference; the first that can do a problem gets it.
std::span<const EngineRow> engines();
const EngineRow* choose(const Features& f); // nullptr: none

} // namespace tso::engine
