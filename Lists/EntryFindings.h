#pragma once

#include "Lists/ListRecord.h"

#include <map>
#include <vector>

/// Looking through the entries of a list for those that are hardly meant. What is told is certain.
///
///     for (EntryFinding const & finding : findingsIn(record))
///         std::cerr << record.name << finding.pointer << ": " << finding.text << '\n';
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

/// What is found in a list, in the order of its entries: in prefix lists and in community lists
/// entries that a single earlier one covers, in AS-path lists those with the pattern of an earlier
/// one; in community lists also patterns with an anchor. Costs about linear time in all that the
/// entries hold. To keep to that, not all parts of a set are looked up where one entry has more
/// than nine communities: a cover of such an entry may go untold.
std::vector<EntryFinding> findingsIn(ListRecord const & list);

/// What is found in lists, by kind and name.
using EntryFindings = std::map<std::pair<ListKind, String>, std::vector<EntryFinding>>;

/// Notes what is found in the list, in place of what was found in another of its kind and name.
void noteEntries(EntryFindings & findings, ListRecord const & list);

/// Whether a pattern that sees communities joined by blanks has an anchor that only the first or
/// the last of them can meet. Of `(^| )`, `^.*` and `^$` none is.
bool hasLoneAnchor(std::string_view pattern);

} // namespace Qcf::Lists
