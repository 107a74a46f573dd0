#pragma once

#include "Platform/Framework/Types.h"

#include <optional>
#include <string_view>

namespace Qcf::Mirror {

// JSON holds neither any bytes nor any float; batches hold both, as texts that are unlike all
// others.

/// Whether the text stands for itself: UTF-8 without NUL that does not begin with '%'.
bool isPlainText(std::string_view text);

/// The text itself if it is plain; else '%' and the text with every byte that is not a printable
/// character of ASCII, and '%', as %XX.
String wireText(std::string_view text);

/// What `wireText` was made from; nothing when it cannot have been made so.
std::optional<String> parseWireText(std::string_view wire);

/// The bits of a float that is no finite number: "0x7f800000".
String wireBits(F32 value);
/// The float of such a text; nothing for any other.
std::optional<F32> parseWireBits(std::string_view wire);

} // namespace Qcf::Mirror
