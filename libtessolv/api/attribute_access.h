// How each attribute is read and written: tables by Attr, one for each form of value. The rows say type and owner; that
// every row has the access that it promises, and no other, is checked while compiling.
#pragma once

#include "catalog/attrs.h"
#include "core/model.h"

#include <array>

namespace tso::api {

// Readers answer with a code, since having no value is nothing unusual.
using ReadInt = int (*)(const Model&, int& value);
using ReadDouble = int (*)(const Model&, double& value);
using ReadElementInt = int (*)(const Model&, int element, int& value);

// The values of all elements: the first `size` of them, then `rest` for the others, or TSO_DATA_NOT_AVAILABLE.
struct DoubleColumn {
    const double* data = nullptr;
    int size = 0;
    bool has_rest = false;
    double rest = 0;
    int code = TSO_OKAY; // of the attribute as a whole
};
using ReadDoubles = DoubleColumn (*)(const Model&);
using ReadNames = const Names& (*)(const Model&);
using ReadMatrix = const std::vector<SymEntry>* (*)(const Model&, int element); // null: not available

using WriteInt = void (*)(Model&, int value);
using WriteDouble = void (*)(Model&, double value);
using WriteInts = void (Model::*)(int count, const int* ind, const int* v);
using WriteDoubles = void (Model::*)(int count, const int* ind, const double* v);
using WriteNames = void (Model::*)(int count, const int* ind, const char* const* v);

template <class Access> using ByAttr = std::array<Access, kAttrCount>;
extern const ByAttr<ReadInt> kReadInt;
extern const ByAttr<ReadDouble> kReadDouble;
extern const ByAttr<ReadElementInt> kReadElementInt;
extern const ByAttr<ReadDoubles> kReadDoubles;
extern const ByAttr<ReadNames> kReadNames;
extern const ByAttr<ReadMatrix> kReadMatrix;
extern const ByAttr<WriteInt> kWriteInt;
extern const ByAttr<WriteDouble> kWriteDouble;
extern const ByAttr<WriteInts> kWriteInts;
extern const ByAttr<WriteDoubles> kWriteDoubles;
extern const ByAttr<WriteNames> kWriteNames;

// The elements of each owner: how many there are, and the code of a bad index.
struct OwnerRow {
    int (*size)(const Model&);
    int bad_index;
};
extern const std::array<OwnerRow, 8> kOwners;

} // namespace tso::api
