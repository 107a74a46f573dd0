#pragma once

#include "Lists/NamedLists.h"
#include "Text/SourceText.h"

#include <optional>

namespace Qcf::Text {

/// What an `import` says.
struct ImportRequest {
    /// Of the import: where messages stand.
    Span span;
    /// As it is written, relative to the importing text.
    String path;
    /// What stands behind `as`: the kind, name and family that the file's list is to have.
    struct As {
        Lists::ListKind kind;
        String name;
        Span nameSpan;
        AddressFamily family = AddressFamily::none; ///< none where it is not said
    };
    std::optional<As> as = {};
};

} // namespace Qcf::Text
