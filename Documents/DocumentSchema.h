#pragma once

#include "Platform/Framework/Types.h"

namespace Qcf::Documents {

/// The JSON Schema (draft 2020-12) of evaluation-tree documents, made from the records of the node
/// classes: a new class, field or attribute is in it by itself.
///
/// What the schema refuses, no reader takes. A reader refuses more, which no schema can say: keys
/// that are not unique, references to what is not there, trees that are too deep.
String documentSchema();

} // namespace Qcf::Documents
