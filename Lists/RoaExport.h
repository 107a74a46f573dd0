#pragma once

#include "Lists/Reporter.h"
#include "Lists/RoaTable.h"
#include "Platform/Render/JsonDocument.h"

namespace Qcf::Lists {

/// Reads a payload written by hand: `{"prefix": TEXT, "maxLength": N, "asn": N or "ASN" or "N"}`
/// and no other keys. Without `maxLength` only the prefix itself is granted. Failures are
/// DocumentErrors.
Roa readRoa(JsonValue const & value);
/// Reads an array of them.
std::vector<Roa> readRoas(JsonValue const & array);

/// Reads a relying party's JSON export of validated payloads: an object with `roas`, beside which
/// and in whose entries other members may stand. Files of local exceptions (SLURM) are refused by
/// name.
///
/// Entries that are no payload are left out: those whose prefix is null or empty, or whose AS
/// number is null or lacks its digits. `warn` is told how many there are, and the place of the
/// first.
std::vector<Roa> readRoaExport(String text, String const & fileName, Reporter const & warn);
/// The same of a file, which may be compressed; a plain one of payloads alone is read in a pass
/// that keeps no text. `warn` is also told what follows the end of compressed data.
std::vector<Roa> readRoaExportFile(String const & path, Reporter const & warn);
/// The same of a document that was parsed.
std::vector<Roa> readRoaExport(JsonValue const & root, String const & fileName,
                               Reporter const & warn);

/// Reads a prefix of the family; of either one for `none`. Bits beyond the length must be zero.
IpGenPrefix readPrefix(JsonValue const & value, AddressFamily family);

} // namespace Qcf::Lists
