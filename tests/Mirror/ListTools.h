#pragma once

#include "Lists/ListRecord.h"
#include "Mirror/ChangeSource.h"
#include "Mirror/Replica.h"

namespace Qcf::Mirror::test {

/// The lists of a lists document, without its first member: `{"tagSets": {...}}`.
std::vector<Lists::ListRecord> listRecords(String const & sections);
/// The same as they are published.
PublishedLists lists(String const & sections);
/// A document of lists as it is written: what two lists have in common with each other.
String listsText(PublishedLists const & lists);

/// A prefix list P with that many entries, the first of number `first`.
String prefixLists(std::size_t count, std::size_t first = 0);

/// A batch as it comes in.
StagedBatch staged(Batch batch);

} // namespace Qcf::Mirror::test
