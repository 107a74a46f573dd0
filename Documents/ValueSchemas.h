#pragma once

#include "Documents/FieldVisitors.h"

#include <vector>

/// The forms of the values of fields, an overload a type, as ScalarReader.h reads them; for the
/// schema of documents. The value says its type and is not looked at.
namespace Qcf::Documents {

#define QCF_SCHEMA(Type) String valueSchema(Type const &);
QCF_FOR_EACH_SCALAR(QCF_SCHEMA)
#undef QCF_SCHEMA

/// Standard communities as texts.
inline constexpr char const * communityPattern = "^([0-9]+(:[0-9]+)?|[A-Za-z][A-Za-z0-9_-]*)$";

/// Adds the forms of the values that stand for a whole node in that field, arrays and names of
/// attributes excepted.
void addLiterals(FieldInfo const & field, std::vector<String> & forms);

} // namespace Qcf::Documents
