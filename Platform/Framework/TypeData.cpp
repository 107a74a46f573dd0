#include "Platform/Framework/TypeData.h"

#include <algorithm>

/// Rows are searched one by one: types have few, and who looks by name reads a document or writes a
/// message.
namespace {

template <typename Rows, typename Predicate>
auto const * findRow(Rows const & rows, Predicate predicate) {
    auto const row = std::find_if(rows.begin(), rows.end(), predicate);
    return row == rows.end() ? nullptr : &*row;
}

} // namespace

String TypeData::qualifiedName() const {
    return *nameSpace == '\0' ? String(name) : String(nameSpace) + "::" + name;
}

FieldInfo const * TypeData::field(std::string_view fieldName) const {
    return findRow(fields, [&](FieldInfo const & f) { return f.name == fieldName; });
}

EnumeratorInfo const * TypeData::enumerator(U64 number) const {
    return findRow(enumerators, [&](EnumeratorInfo const & e) { return e.number == number; });
}

EnumeratorInfo const * TypeData::enumerator(std::string_view enumeratorName) const {
    return findRow(enumerators, [&](EnumeratorInfo const & e) { return e.name == enumeratorName; });
}

bool TypeData::isSameType(TypeData const & other) const {
    // The address first: names are compared only when that does not settle it.
    return this == &other ||
           (std::string_view(name) == other.name && std::string_view(nameSpace) == other.nameSpace);
}
