#pragma once

#include "Mirror/ChangeBatch.h"
#include "Mirror/PublishedLists.h"

#include <string_view>

namespace Qcf::Mirror {

/// A place where a row of entries changes: `drop` entries from `at` of the row before go, `add`
/// from `from` of the row after come.
struct ListEdit {
    std::size_t at = 0;
    std::size_t drop = 0;
    std::size_t from = 0;
    std::size_t add = 0;

    bool operator==(ListEdit const &) const = default;
};

/// What makes one row of texts another one, by rising places. Entries that stay keep their order:
/// equal texts are paired in the order in which they stand, and of the pairs the longest rising
/// part stays. Costs n log n, whatever the rows are.
std::vector<ListEdit> editsBetween(std::vector<std::string_view> const & before,
                                   std::vector<std::string_view> const & after);

/// Entries of a row that are numbered anew: `count` from `at` of the row after, the first with the
/// number `first`, each further one `step` more.
struct NumberRun {
    std::size_t at = 0;
    std::size_t count = 0;
    U32 first = 0;
    U32 step = 0;

    bool operator==(NumberRun const &) const = default;
};

/// What the numbers of a row want once the edits are made, which bring those of what comes: the
/// entries that stay may have others than they had. By rising places.
std::vector<NumberRun> numbersBetween(std::vector<U32> const & before,
                                      std::vector<U32> const & after,
                                      std::vector<ListEdit> const & edits);

/// Writes the lines that make lists of others.
ListCounts writeListChanges(BatchWriter & writer, PublishedLists const & before,
                            PublishedLists const & after);

} // namespace Qcf::Mirror
