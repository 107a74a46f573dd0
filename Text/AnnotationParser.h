#pragma once

#include "Text/Cursor.h"
#include "Text/Draft.h"

namespace Qcf::Text {

/// What stands before a function: fields of its node that the compiler would derive otherwise, for
/// the sake of documents in which they differ. A field that no annotation tells is empty.
struct Annotations {
    DraftField metadata = {};
    DraftField features = {};
    DraftField accessedAttributes = {};
    DraftField argumentsExpected = {};
    std::optional<U64> key = {};
};

/// Reads the annotations before the word `function`, if there are any. Throws Recovery after an
/// error.
Annotations readAnnotations(Cursor & cursor);

} // namespace Qcf::Text
