#pragma once

#include "Lists/EntryFinding.h"
#include "Lists/ListRecord.h"

#include <map>
#include <vector>

/// Looking through the entries of a list for those that are hardly meant. What is told is certain.
///
///     for (EntryFinding const & finding : findingsIn(record))
///         std::cerr << record.name << finding.pointer << ": " << finding.text << '\n';
namespace Qcf::Lists {

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

} // namespace Qcf::Lists
