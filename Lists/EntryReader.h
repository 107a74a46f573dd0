#pragma once

#include "Lists/ListRecord.h"
#include "Platform/Render/JsonDocument.h"

/// One entry of a list as documents have it, and what stands beside the entries. Whoever reads
/// entries from elsewhere than a whole document takes the same.
///
/// Failures are DocumentErrors with the place. Members that are not known are faults.
namespace Qcf::Lists {

/// Of a prefix list of that family; that no two share a number is the caller's to see to.
PrefixListEntry readPrefixListEntry(JsonValue const & value, AddressFamily family);
/// Of a community list; `List` is the list that is made of it.
template <typename List>
typename CommunityListRecord<List>::Entry readCommunityEntry(JsonValue const & value);
/// Of an AS-path list.
AsPathListRecord::Entry readAsPathEntry(JsonValue const & value);
/// Of a tag set.
U32 readTag(JsonValue const & value);

/// "v4" or "v6", the family of a prefix list.
AddressFamily readListFamily(JsonValue const & value);
/// The VRFs in which a dynamic prefix list is active.
std::map<U32, bool> readVrfs(JsonValue const & value);

} // namespace Qcf::Lists
