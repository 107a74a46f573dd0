#pragma once

#include "Lists/EntryFindings.h"

namespace Qcf::Lists {

/// What is said of entry `own`, which the earlier one covers: both as the list numbers them, by
/// what is called `what`.
EntryFinding coveredEntry(String pointer, char const * what, U64 own, U64 earlier);

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
