// Files: reading and writing by suffix. Every reader checks the whole file before it changes the model; every writer
// writes a temporary file beside the target and renames it over the target when all of it is on the disk.
#pragma once

#include "core/model.h"

#include <memory>
#include <string>

namespace tso::io {

// TSOreadmodel: a new model with a copy of env. Failure codes as the header tells; the text of a FORMAT_ERROR is
// "file:line: what was expected, what was found" and is written into the log of env.
std::unique_ptr<Model> read_model(const Env& env, const std::string& path);
void read_into(Model& model, const std::string& path); // TSOread
void write(Model& model, const std::string& path);     // TSOwrite
void read_params(Env& env, const std::string& path);   // TSOreadparams
void write_params(const Env& env, const std::string& path);

} // namespace tso::io
