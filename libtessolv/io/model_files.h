// The formats of model files. Readers make a new model; warnings go to its log.
#pragma once

#include "core/model.h"
#include "io/reader.h"
#include "io/writer.h"

#include <memory>
#include <string>

namespace tso::io {

std::unique_ptr<Model> read_mps(const Env& env, const std::string& path, Compression compression);
std::unique_ptr<Model> read_lp(const Env& env, const std::string& path, Compression compression);
void write_mps(const Model& model, Writer& out);
void write_lp(const Model& model, Writer& out);

// Failure(TSO_FORMAT_ERROR) for a model with semi-definite variables or rows, which neither format has a form for.
void refuse_semidefinite(const Model& model);

} // namespace tso::io
