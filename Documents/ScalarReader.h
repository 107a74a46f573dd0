#pragma once

#include "Platform/Render/JsonDocument.h"
#include "QcfLib/NodeFields.h"

namespace Qcf::Documents {

using Eval::AccessibleAttributes;
using Eval::TriStateBoolValue;

// Reading a scalar field of a node from JSON, an overload a type. They fail with `subject`
// ("IntImmediate.value") and what the type wants.
#define QCF_READ_SCALAR(Type)                                                                      \
    void readScalar(JsonValue const & json, String const & subject, Type & value);
QCF_FOR_EACH_SCALAR(QCF_READ_SCALAR)
#undef QCF_READ_SCALAR

} // namespace Qcf::Documents
