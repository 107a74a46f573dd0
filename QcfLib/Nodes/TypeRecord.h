#pragma once

#include "Platform/Framework/ValueText.h"

/// How the sources that describe a wing's types for reflection write a record. Costly to include.
inline TypeData typeRecord(TypeData::Kind kind, char const * nameSpace, char const * name,
                           char const * base, std::span<FieldInfo const> fields) {
    return {kind, name, nameSpace, base, fields, {}};
}
inline TypeData enumRecord(char const * nameSpace, char const * name,
                           std::span<EnumeratorInfo const> enumerators) {
    return {TypeData::Kind::enumeration, name, nameSpace, "", {}, enumerators};
}
