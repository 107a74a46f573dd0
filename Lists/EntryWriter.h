#pragma once

#include "Lists/ListRecord.h"
#include "Platform/Render/RendererV2.h"

/// One entry of a list as documents have it, as `EntryReader.h` reads it: equal entries are written
/// alike. What readers take for it anyway is left out.
namespace Qcf::Lists {

/// Of a prefix list, an AS-path list, a tag set and a ROA table.
void writeEntry(PrefixListEntry const & entry, RendererV2 & renderer);
void writeEntry(AsPathListRecord::Entry const & entry, RendererV2 & renderer);
void writeEntry(U32 tag, RendererV2 & renderer);
void writeEntry(Roa const & roa, RendererV2 & renderer);
/// Of the three kinds of community lists.
void writeEntry(CommunityListRecord<StandardCommunityList>::Entry const & entry,
                RendererV2 & renderer);
void writeEntry(CommunityListRecord<ExtCommunityList>::Entry const & entry, RendererV2 & renderer);
void writeEntry(CommunityListRecord<LargeCommunityList>::Entry const & entry,
                RendererV2 & renderer);

/// The family of a prefix list and, where it is so, that it is covered: two members.
void writeFamily(PrefixListRecord const & list, RendererV2 & renderer);
/// The VRFs of a dynamic prefix list: a member.
void writeVrfs(DynamicPrefixListRecord const & list, RendererV2 & renderer);

} // namespace Qcf::Lists
