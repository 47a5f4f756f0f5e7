// The files beside a model: solutions and starts, bases, parameters. Readers check everything before they change the
// model or the environment.
#pragma once

#include "core/model.h"
#include "io/reader.h"
#include "io/writer.h"

#include <string>

namespace tso::io {

// ".sol" and ".mst": lines of a column's name and a value. Reading gives start values: those of columns that the file
// does not name stay as they are. Failure(TSO_MODEL_INVALID_COL_NAME) for a name that no column has.
void read_starts(Model& model, const std::string& path, Compression compression);
void write_solution(const Model& model, Writer& out);
void write_starts(const Model& model, Writer& out);

// ".bas": the basis as MPS files have it. Reading gives the basis to start from.
// Failure(TSO_MODEL_INVALID_COL_NAME, TSO_MODEL_INVALID_ROW_NAME).
void read_basis(Model& model, const std::string& path, Compression compression);
void write_basis(const Model& model, Writer& out);

// ".prm": lines of a parameter's name and its value. Those that the file does not name stay as they are.
// Failure(TSO_PARAM_SET_ERROR) for an unknown name or a value out of range.
void read_params(Env& env, const std::string& path, Compression compression);
void write_params(const Env& env, Writer& out);

// Failure(TSO_DATA_NOT_AVAILABLE) if there is nothing that the file could hold.
void require_solution(const Model& model);
void require_starts(const Model& model);
void require_basis(const Model& model);

} // namespace tso::io
