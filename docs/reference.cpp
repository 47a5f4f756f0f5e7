// Writes the reference pages out of the catalogues: reference <folder>.
#include "catalog/attrs.h"
#include "catalog/params.h"
#include "engine/classes.h"
#include "module/constants_catalog.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <string>

namespace {

std::string text_of(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.10g", value);
    return text;
}

std::string code(std::string_view text) { return "`" + std::string(text) + "`"; }

const char* text_of(tso::AttrType type) {
    switch (type) {
    case tso::AttrType::Char:
        return "char";
    case tso::AttrType::Int:
        return "int";
    case tso::AttrType::Double:
        return "double";
    case tso::AttrType::String:
        return "string";
    case tso::AttrType::Matrix:
        return "matrix";
    }
    return "";
}

const char* text_of(tso::Owner owner) {
    switch (owner) {
    case tso::Owner::Model:
        return "model";
    case tso::Owner::Var:
        return "variable";
    case tso::Owner::Constr:
        return "linear constraint";
    case tso::Owner::Sos:
        return "SOS constraint";
    case tso::Owner::QConstr:
        return "quadratic constraint";
    case tso::Owner::GenConstr:
        return "general constraint";
    case tso::Owner::PsdVar:
        return "semi-definite variable";
    case tso::Owner::PsdConstr:
        return "semi-definite constraint";
    }
    return "";
}

void attributes(std::ostream& out) {
    out << "# Attributes\n\nUpper and lower case, `/` and `_` are alike: `MIP/GapAbs` is also `mip_gapabs`.\n\n"
           "| name | of | type | writable | available | meaning |\n| --- | --- | --- | --- | --- | --- |\n";
    for (const tso::AttrRow& row : tso::kAttrs)
        out << "| " << code(row.name) << " | " << text_of(row.owner) << " | " << text_of(row.type) << " | "
            << (row.writable ? "yes" : "no") << " | " << row.available << " | " << row.meaning << " |\n";
}

void parameters(std::ostream& out) {
    out << "# Parameters\n\nUpper and lower case, `/` and `_` are alike: `MIP/GapAbs` is also `mip_gapabs`. A value "
           "out of "
           "range is refused with `PARAM_SET_ERROR`.\n\n"
           "| name | type | default | range | meaning | effect |\n| --- | --- | --- | --- | --- | --- |\n";
    for (const tso::ParamRow& row : tso::kParams) {
        out << "| " << code(row.name) << " | ";
        if (row.type == tso::ParamType::String)
            out << "string | empty | ";
        else
            out << (row.type == tso::ParamType::Int ? "int" : "double") << " | " << text_of(row.fallback) << " | "
                << text_of(row.least) << " to " << text_of(row.greatest);
        out << " | " << row.meaning << " | " << (row.effect.empty() ? "accepted without effect" : row.effect) << " |\n";
    }
}

void codes(std::ostream& out) {
    out << "# Codes\n\nThe codes of `TessolvError.errno`, each also as `TSO.NAME` and `TSO.Error.NAME`.\n\n"
           "| name | value | meaning |\n| --- | --- | --- |\n";
    for (const tsp::CodeRow& row : tsp::kErrorCodes)
        out << "| " << code(row.name) << " | " << row.code << " | " << TSOexplainerror(row.code) << " |\n";
    out << "\n## Values of the attribute `Status`\n\nEach also as `TSO.NAME` and `TSO.Status.NAME`.\n\n"
           "| name | value |\n| --- | --- |\n";
    for (const tsp::CodeRow& row : tsp::kStatusCodes)
        out << "| " << code(row.name) << " | " << row.code << " |\n";
}

void constants(std::ostream& out) {
    out << "# Constants\n\nMembers of `TSO`.\n\n| name | value |\n| --- | --- |\n";
    for (const tsp::NumberRow& row : tsp::kFloatConstants)
        out << "| " << code(row.name) << " | " << text_of(row.value) << " |\n";
    for (const tsp::TextRow& row : tsp::kTextConstants)
        out << "| " << code(row.name) << " | \"" << row.text << "\" |\n";
    for (const tsp::CodeRow& row : tsp::kIntConstants)
        out << "| " << code(row.name) << " | " << row.code << " |\n";
    out << "\n## Callbacks: `where`\n\nMembers of `TSO.Callback`.\n\n| name | value | meaning |\n| --- | --- | --- |\n";
    for (const tsp::WhereRow& row : tsp::kWhereCodes)
        out << "| " << code(row.name) << " | " << row.code << " | " << row.text << " |\n";
    out << "\n## Callbacks: `what`\n\n| name | value | meaning |\n| --- | --- | --- |\n";
    for (const tsp::WhatRow& row : tsp::kWhatCodes)
        if (row.direct)
            out << "| " << code(row.name) << " | " << row.code << " | " << row.text << " |\n";
}

void engines(std::ostream& out) {
    using namespace tso::engine;
    out << "# Engines\n\nThe first class that fits a problem counts. Its engines are tried in their order: the next "
           "one where "
           "one cannot take the problem, gives up, or gives an answer that does not stand the check against the model. "
           "The "
           "log names class and engine.\n\n| the problem has | engines |\n| --- | --- |\n";
    for (const ClassRow& problem : kClasses) {
        out << "| " << problem.words << " | ";
        const char* separator = "";
        for (EngineId id : problem.engines) {
            out << separator << row(id).name;
            separator = ", ";
        }
        if (problem.engines.begin() == problem.engines.end())
            out << "none: `ABORT_SOLVER_NOT_AVAILABLE`. " << problem.advice;
        out << " |\n";
    }
    out << "\n| engine | used for |\n| --- | --- |\n";
    for (const EngineRow& engine : kEngines)
        out << "| " << engine.name << " | " << engine.words << " |\n";
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2)
        return 2;
    const struct {
        const char* name;
        void (*write)(std::ostream&);
    } pages[] = {{"attributes", attributes},
                 {"parameters", parameters},
                 {"codes", codes},
                 {"constants", constants},
                 {"engines", engines}};
    for (const auto& page : pages) {
        std::ofstream out(std::string(arguments[1]) + "/" + page.name + ".md");
        page.write(out);
        if (!out.flush()) {
            std::cerr << "cannot write " << page.name << ".md into " << arguments[1] << "\n";
            return 1;
        }
    }
}
