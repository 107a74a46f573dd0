#pragma once

#include "Lists/ByteStream.h"
#include "Lists/RoaTable.h"

#include <optional>

namespace Qcf::Lists {

/// Reads a relying party's export without keeping its text: for files of hundreds of thousands of
/// payloads, in which nothing is remarkable.
///
/// Whatever is not as plain as such files are answers nothing: faults, entries that are no payload,
/// escapes and letters beyond ASCII, a file that is no regular one. Then `readRoaExport` is to read
/// the text, which knows what to say of it. What this answers is what that would.
std::optional<std::vector<Roa>> scanRoaExport(String const & path);
/// The same of a stream of about `size` bytes.
std::optional<std::vector<Roa>> scanRoaExport(std::unique_ptr<ByteStream> stream, U64 size);

/// An AS number as exports write it, or as a text of digits: "65001", "AS65001"; nothing for what
/// is none.
std::optional<U32> parseAsn(std::string_view text);

} // namespace Qcf::Lists
