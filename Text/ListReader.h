#pragma once

#include "Text/Cursor.h"
#include "Text/ListDeclaration.h"

/// Named lists in policy text: reading their declarations.
namespace Qcf::Text {

/// Reads a declaration from its kind on, behind the word `list` or within `bind`:
///
///     prefix_list LENGTHS v4 { permit 0.0.0.0/0 ge 8 le 24 }
///
/// Whatever is wrong is told, and reading goes on with the next entry. Nothing is answered where
/// kind, name or family cannot be known; the cursor then stands behind the declaration as far as
/// that can be told. A list with faulty entries is answered without them, so that its name is
/// known. Never throws Recovery. Takes time and memory linear in the text.
std::optional<ListDeclaration> readList(Cursor & cursor, ConstantScope const & constants);

/// Kind and name of a list, as they stand in a declaration and behind `as`. Throws Recovery.
struct KindAndName {
    Lists::ListKind kind;
    String name;
    Span nameSpan;
};
KindAndName readKindAndName(Cursor & cursor);

} // namespace Qcf::Text
