#pragma once

#include "Lists/ListRecord.h"
#include "Lists/Reporter.h"
#include "Platform/Render/JsonDocument.h"
#include "Text/ImportRequest.h"

namespace Qcf::Text {

/// Reads lists as bgpq4 writes them as JSON (`-j`), an array for each name:
///
///     {"CUSTOMER": [{"prefix": "192.0.2.0/24", "exact": true},
///                   {"prefix": "198.51.100.0/22", "exact": false,
///                    "greater-equal": 22, "less-equal": 24}]}
///     {"ORIGINS": [64496, 64497]}
///
/// Prefixes become a prefix list, all of one family. AS numbers become what `as` asks for: an
/// AS-path list of one entry that paths end with one of them, or a tag set. Without `as` lists have
/// their own names. `warn` is told of a list that is empty.
///
/// Throws DocumentError with the place, also for what cannot be known: the family of an empty list,
/// the kind of a list of AS numbers.
std::vector<Lists::ListRecord> readForeignLists(JsonValue const & root, String const & path,
                                                std::optional<ImportRequest::As> const & as,
                                                Lists::Reporter const & warn);

} // namespace Qcf::Text
