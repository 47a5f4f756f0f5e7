// What a model contains, and the engines that this build has.
#pragma once

#include "engine/engine.h"

#include <memory>
#include <string>

namespace tso::engine {

// They mean nothing if `run` is over by then.
Features features_of(const Model& model, bool has_callback, const Run* run = nullptr);

// In words, for the log: "integer variables, a quadratic objective that is not convex".
std::string in_words(const Features& f);

bool is_built_in(EngineId id);
std::unique_ptr<Engine> make_engine(EngineId id); // of one that is built in

} // namespace tso::engine
