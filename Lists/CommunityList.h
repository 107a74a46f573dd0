#pragma once

#include "Lists/CommunityMatcher.h"
#include "Platform/Routing/RouteMap.h"

namespace Qcf::Lists {

/// A community list of the agent as the engine hands it around.
template <typename Status, typename Set>
class CommunityList final : public Status {
public:
    using Matcher = CommunityMatcher<Set>;

    explicit CommunityList(std::vector<typename Matcher::Entry> entries)
        : empty_(entries.empty()), matcher_(std::move(entries), appendText()) {}

    Matcher const & matcher() const { return matcher_; }
    bool empty() const { return empty_; }

    /// How patterns see a community of this kind: `A:B`, `A:B:C`, or 0x and 16 digits.
    static typename Matcher::AppendText appendText();

private:
    bool empty_;
    Matcher matcher_;
};

using StandardCommunityList =
    CommunityList<Routing::RouteMap::StandardCommListStatus, Eval::U64SmallVector>;
using ExtCommunityList =
    CommunityList<Routing::RouteMap::ExtCommListStatus, Eval::CommunitySmallVector>;
using LargeCommunityList =
    CommunityList<Routing::RouteMap::LargeCommListStatus, Eval::CommunitySmallVector>;

template <>
StandardCommunityList::Matcher::AppendText StandardCommunityList::appendText();
template <>
ExtCommunityList::Matcher::AppendText ExtCommunityList::appendText();
template <>
LargeCommunityList::Matcher::AppendText LargeCommunityList::appendText();

} // namespace Qcf::Lists
