#pragma once

#include "Lists/ListAction.h"
#include "Lists/ListExplanation.h"
#include "Lists/ListNumber.h"
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
///
///     CommunityMatcher<Eval::U64SmallVector> const matcher(std::move(entries), appendText);
///     matcher.matches(&communities, text); // `text` is any buffer of this thread
template <typename Set_>
class CommunityMatcher {
public:
    using Set = Set_;
    using Value = typename Set::Value;
    /// Appends a community as patterns see it. It is called for each community of a route, at most
    /// once a question.
    using AppendText = void (*)(String & out, Value const & community);

    /// One line of the list: either communities or a pattern, or neither.
    struct Entry {
        ListAction action = ListAction::permit;
        std::vector<Value> communities;
        std::optional<Pattern> pattern;
    };

    /// Files the entries; costs in proportion to all their communities, with a sort.
    CommunityMatcher(std::vector<Entry> entries, AppendText appendText);
    /// Not to be copied: others know a list by its address.
    CommunityMatcher(CommunityMatcher const &) = delete;
    CommunityMatcher & operator=(CommunityMatcher const &) = delete;

    /// Whether the list permits a route with these communities; null is the empty set. `text` is
    /// written to where there are patterns.
    bool matches(Set const * set, String & text) const;
    /// The same with entries that match only where the route carries just their communities.
    /// Entries with a pattern never do. Needs no text.
    bool matchesExactly(Set const * set) const;
    /// Whether the list permits a route that carries this community alone. It is what decides about
    /// each community when a list is retained or removed.
    bool permits(Value const & community, String & text) const;

    /// By which answers are remembered.
    U64 number() const { return number_.value(); }
    /// Whether an answer may take a search through text.
    bool hasPatterns() const { return !groups_.empty(); }

    /// What `matches` and `matchesExactly` answer, with the entry that decides or what the nearest
    /// one lacks.
    ListExplanation explain(Set const * set) const;
    ListExplanation explainExactly(Set const * set) const;

    /// The communities of all permitting entries; null when there are none. Threads that hand it on
    /// would all count it: see PermittedSets.
    Ptr<Set> const & permitted() const { return permitted_; }

private:
    /// Entries are known by their numbers in the order of the list.
    using Number = U32; ///< of an entry; entryCount() for none

    /// Where the communities of an entry stand.
    struct Literal {
        U32 first; ///< in communities_
        U32 count;
    };

    /// A community and the literal entries filed under it. An entry of several communities matches
    /// only routes that carry its anchor, so that no others need be looked at.
    struct Anchor {
        Value community;
        Number single;  ///< the first entry of just this community
        U32 firstFiled; ///< in filed_, where those of several communities stand in their order
    };

    Number entryCount() const { return static_cast<Number>(actions_.size()); }
    /// What is answered when that entry is the first that matches.
    bool permitsEntry(Number entry) const {
        return entry < entryCount() && actions_[entry] == ListAction::permit;
    }
    /// All of them must be there for the entry to match.
    std::span<Value const> communitiesOf(Number entry) const {
        return {communities_.data() + literals_[entry].first, literals_[entry].count};
    }
    /// The entries to look at where a route carries the anchor's community, ascending.
    std::span<Number const> filedUnder(std::size_t anchor) const {
        U32 const first = anchors_[anchor].firstFiled;
        return {filed_.data() + first, anchors_[anchor + 1].firstFiled - first};
    }
    /// Different communities under which entries are filed.
    std::size_t anchorCount() const { return anchors_.size() - 1; }

    // For explanations.
    bool carriesAllOf(Set const * set, Number entry) const;
    String nearestWants(Set const * set) const;
    /// As an explanation; entryCount() where no entry decides.
    ListExplanation explainedBy(Set const * set, Number entry) const;

    /// Pattern entries whose numbers follow each other, of one action: whichever matches, the
    /// answer is the same.
    struct PatternGroup {
        Number first;
        PatternSet patterns;
    };

    /// Chooses the anchor of each literal entry and files it there.
    void fileLiterals();
    void groupPatterns();
    /// Gathers what `permitted` answers.
    void unitePermitted();
    /// The first entry of just this community; entryCount() for none.
    Number firstSingle(Value const & community) const;
    /// The first literal entry that matches by `matches(number)`, of those filed under a community
    /// of the set.
    template <typename Matches>
    Number firstFiled(Set const & set, Matches const & matches) const;
    /// The first entry of the first group before `before` of which a pattern is found in the text
    /// that `appendAll` writes; `before` is the number of no pattern.
    template <typename AppendAll>
    Number firstPattern(Number before, String & text, AppendAll const & appendAll) const;

    /// How the communities of this kind read.
    AppendText appendText_;
    /// By the number of the entry.
    std::vector<ListAction> actions_;
    std::vector<Literal> literals_;  ///< of every entry; count 0 for patterns
    std::vector<Value> communities_; ///< ascending within an entry
    /// Entries with a pattern, ascending; kept for who asks which of them decides.
    std::vector<std::pair<Number, Pattern>> patterns_;
    std::vector<PatternGroup> groups_;
    Number always_ = 0;           ///< the first entry that matches every route
    std::vector<Anchor> anchors_; ///< ascending, with one more at the end for its firstFiled
    std::vector<Number> filed_;
    Ptr<Set> permitted_;
    ListNumber number_;
};

extern template class CommunityMatcher<Eval::U64SmallVector>;
extern template class CommunityMatcher<Eval::CommunitySmallVector>;

} // namespace Qcf::Lists
