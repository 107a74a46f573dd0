#pragma once

#include "Platform/Framework/Types.h"

namespace Qcf::Lists {

/// The JSON Schema (draft 2020-12) of lists documents: a section a kind of list.
///
/// What the schema refuses, no reader takes. A reader refuses more, which no schema can say: a seq
/// that stands twice, host bits, lengths that do not fit their prefix, expressions that are none.
String listsSchema();

} // namespace Qcf::Lists
