#pragma once

#include "Platform/Render/JsonDocument.h"
#include "QcfLib/NodeFields.h"

namespace Qcf::Documents {

using Eval::AccessibleAttributes;
using Eval::TriStateBoolValue;

/// Reading a scalar field of a node from JSON, an overload a type. They fail with a DocumentError
/// at the value's place, which names `subject` ("IntImmediate.value") and what the type wants.
/// Values are read as documents write them, and nothing is converted silently: a number that does
/// not fit the type is no number of it. A map's or a set's value is added to what `value` holds;
/// after a failure `value` is not to be used.
///
///     U16 slot = 0;
///     readScalar(*json.find("index"), "IntSetMatchCommList.index", slot);
#define QCF_READ_SCALAR(Type)                                                                      \
    void readScalar(JsonValue const & json, String const & subject, Type & value);
QCF_FOR_EACH_SCALAR(QCF_READ_SCALAR)
#undef QCF_READ_SCALAR

} // namespace Qcf::Documents
