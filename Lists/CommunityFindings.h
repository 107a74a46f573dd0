#pragma once

#include "Lists/EntryFinding.h"
#include "Lists/ListRecord.h"

#include <vector>

namespace Qcf::Lists {

/// `findingsIn` for community lists.
template <typename List>
std::vector<EntryFinding> findingsInCommunities(CommunityListRecord<List> const & list);

extern template std::vector<EntryFinding>
findingsInCommunities(CommunityListRecord<StandardCommunityList> const & list);
extern template std::vector<EntryFinding>
findingsInCommunities(CommunityListRecord<ExtCommunityList> const & list);
extern template std::vector<EntryFinding>
findingsInCommunities(CommunityListRecord<LargeCommunityList> const & list);

} // namespace Qcf::Lists
