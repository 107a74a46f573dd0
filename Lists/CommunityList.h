#pragma once

#include "Lists/CommunityMatcher.h"
#include "Platform/Routing/RouteMap.h"

namespace Qcf::Lists {

/// A community list of the agent as the engine hands it around.
///
/// The engine knows a list by its status alone: an object of that class stands in the slot, and
/// comes back to the agent's context with each question, which asks the matcher in it. One template
/// serves the three kinds of community, which differ in their status, in the container of a route's
/// communities and in the text that patterns see.
///
///     PtrConst<StandardCommunityList> const list =
///         makePtr<StandardCommunityList>(std::move(entries));
///     list->matcher().matches(set, text);
///
/// Immutable once made: any number of threads may ask.
template <typename Status, typename Set>
class CommunityList final : public Status {
public:
    using Matcher = CommunityMatcher<Set>;

    /// Takes the entries in the order in which they are tried; there may be none.
    explicit CommunityList(std::vector<typename Matcher::Entry> entries)
        : empty_(entries.empty()), matcher_(std::move(entries), appendText()) {}

    /// What answers the questions.
    Matcher const & matcher() const { return matcher_; }
    /// Whether there is no entry, so that the list permits nothing.
    bool empty() const { return empty_; }

    /// How patterns see a community of this kind: `A:B`, `A:B:C`, or 0x and 16 digits. It is given
    /// to the matcher, which knows nothing of kinds.
    static typename Matcher::AppendText appendText();

private:
    /// The matcher does not keep its entries.
    bool empty_;
    /// All that the list knows.
    Matcher matcher_;
};

/// The three kinds: standard communities as numbers, extended and large ones as values.
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
