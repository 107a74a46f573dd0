#pragma once

#include "Platform/Framework/Types.h"

#include <string_view>

/// What may be found about an entry of a list, whatever the list's kind.
namespace Qcf::Lists {

/// How functions ask a community list: what an entry is good for depends on it.
struct ListQuestions {
    bool matches = false; ///< whether the list permits all communities of a route
    bool single = false;  ///< the same of each community alone: remove and retain
    bool exact = false;   ///< matches that want a route to carry nothing else
    bool unites = false;  ///< assign and add take the communities of all permits
};

/// An entry that is hardly meant, and of which questions that is true.
struct EntryFinding {
    enum class Kind : U8 {
        coveredEntry,    ///< whatever it matches, an earlier one decides
        anchoredPattern, ///< `^` or `$`, where a pattern sees all communities joined
        foreignPattern,  ///< it wants a letter that no community is written with
    };

    Kind kind;
    String pointer; ///< to the entry, from the list in a document: "/entries/3"
    String text;    ///< names entries by their seq, or by their number in the list from 1
    /// Of a covered entry: it is good for nothing in these.
    ListQuestions idleIn = {true, true, true, true};

    /// Whether it holds for a list that is asked these questions, and no others. Of a list that
    /// nobody asks only what holds for every question is certain.
    bool holdsFor(ListQuestions const & asked) const;
};

/// What is said of entry `own`, which the earlier one covers: both as the list numbers them, by
/// what is called `what`.
EntryFinding coveredEntry(String pointer, char const * what, U64 own, U64 earlier);

/// Whether a pattern that sees communities joined by blanks has an anchor that only the first or
/// the last of them can meet. Of `(^| )`, `^.*` and `^$` none is.
bool hasLoneAnchor(std::string_view pattern);

/// Whether every match of the pattern wants a letter besides these: certain, so that patterns with
/// alternatives or flags are none of them.
bool wantsForeignLetter(std::string_view pattern, std::string_view letters);

} // namespace Qcf::Lists
