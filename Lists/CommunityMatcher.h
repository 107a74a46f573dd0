#pragma once

#include "Lists/ListAction.h"
#include "Lists/Pattern.h"
#include "QcfLib/QcfEvalCollections.h"

#include <optional>
#include <span>
#include <vector>

namespace Qcf::Lists {

/// The entries of a community list, made ready to be asked. `Set` is the container of the kind of
/// community: U64SmallVector or CommunitySmallVector.
///
/// Entries are tried in their order and the first that matches decides; none matching is false. An
/// entry matches a route that carries all of its communities, or in whose communities as text its
/// pattern is found. An entry without communities and pattern matches every route.
///
/// Literal entries cost a search, however many they are: each is filed under the one of its
/// communities that the fewest entries share. Immutable once made; the text buffer that questions
/// are given is the asking thread's, and nothing is allocated once it has grown.
template <typename Set_>
class CommunityMatcher {
public:
    using Set = Set_;
    using Value = typename Set::Value;
    /// Appends a community as patterns see it.
    using AppendText = void (*)(String & out, Value const & community);

    struct Entry {
        ListAction action = ListAction::permit;
        std::vector<Value> communities;
        std::optional<Pattern> pattern;
    };

    CommunityMatcher(std::vector<Entry> entries, AppendText appendText);
    CommunityMatcher(CommunityMatcher const &) = delete;
    CommunityMatcher & operator=(CommunityMatcher const &) = delete;

    /// Whether the list permits a route with these communities; null is the empty set.
    bool matches(Set const * set, String & text) const;
    /// The same with entries that match only where the route carries just their communities.
    /// Entries with a pattern never do.
    bool matchesExactly(Set const * set) const;
    /// Whether the list permits a route that carries this community alone.
    bool permits(Value const & community, String & text) const;

    /// The communities of all permitting entries; null when there are none. Threads that hand it on
    /// would all count it: see PermittedSets.
    Ptr<Set> const & permitted() const { return permitted_; }

private:
    using Number = U32; ///< of an entry; entryCount() for none

    struct Literal {
        U32 first; ///< in communities_
        U32 count;
    };

    /// A community and the literal entries filed under it.
    struct Anchor {
        Value community;
        Number single;  ///< the first entry of just this community
        U32 firstFiled; ///< in filed_, where those of several communities stand in their order
    };

    Number entryCount() const { return static_cast<Number>(actions_.size()); }
    bool permitsEntry(Number entry) const {
        return entry < entryCount() && actions_[entry] == ListAction::permit;
    }
    std::span<Value const> communitiesOf(Number entry) const {
        return {communities_.data() + literals_[entry].first, literals_[entry].count};
    }
    std::span<Number const> filedUnder(std::size_t anchor) const {
        U32 const first = anchors_[anchor].firstFiled;
        return {filed_.data() + first, anchors_[anchor + 1].firstFiled - first};
    }
    std::size_t anchorCount() const { return anchors_.size() - 1; }

    void fileLiterals();
    void unitePermitted();
    Number firstSingle(Value const & community) const;
    template <typename Matches>
    Number firstFiled(Set const & set, Matches const & matches) const;
    template <typename AppendAll>
    Number firstPattern(Number before, String & text, AppendAll const & appendAll) const;

    AppendText appendText_;
    std::vector<ListAction> actions_;
    std::vector<Literal> literals_;  ///< of every entry; count 0 for patterns
    std::vector<Value> communities_; ///< ascending within an entry
    std::vector<std::pair<Number, Pattern>> patterns_;
    Number always_ = 0;           ///< the first entry that matches every route
    std::vector<Anchor> anchors_; ///< ascending, with one more at the end for its firstFiled
    std::vector<Number> filed_;
    Ptr<Set> permitted_;
};

extern template class CommunityMatcher<Eval::U64SmallVector>;
extern template class CommunityMatcher<Eval::CommunitySmallVector>;

} // namespace Qcf::Lists
