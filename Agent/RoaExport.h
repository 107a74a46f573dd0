#pragma once

#include "Agent/RoaTable.h"
#include "Platform/Render/JsonDocument.h"

namespace Qcf::Agent {

/// What is done with keys that say nothing of a payload.
enum class OtherKeys : U8 { refuse, ignore };

/// Reads an array of payloads: `{"prefix": TEXT, "maxLength": N, "asn": N or "ASN" or "N"}`.
/// Without `maxLength` only the prefix itself is granted. Failures are DocumentErrors.
std::vector<Roa> readRoas(JsonValue const & array, OtherKeys otherKeys);

/// Reads a relying party's JSON export of validated payloads: an object with `roas`, beside which
/// other members may stand. Files of local exceptions (SLURM) are refused by name.
std::vector<Roa> readRoaExport(String text, String const & fileName);

/// Reads a prefix of the family; of either one for `none`. Bits beyond the length must be zero.
IpGenPrefix readPrefix(JsonValue const & value, AddressFamily family);

} // namespace Qcf::Agent
