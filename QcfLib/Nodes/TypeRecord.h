#pragma once

#include "Platform/Framework/ValueText.h"

/// How the sources that describe a wing's types for reflection write a record. Costly to include.
/// Fields are those of the type alone; the base is named, not repeated.
inline TypeData typeRecord(TypeData::Kind kind, char const * nameSpace, char const * name,
                           char const * base, std::span<FieldInfo const> fields) {
    return {kind, name, nameSpace, base, fields, {}};
}
/// The enumerators must live as long as the record: they are static where it is made.
inline TypeData enumRecord(char const * nameSpace, char const * name,
                           std::span<EnumeratorInfo const> enumerators) {
    return {TypeData::Kind::enumeration, name, nameSpace, "", {}, enumerators};
}
