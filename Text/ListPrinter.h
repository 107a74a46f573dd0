#pragma once

#include "Lists/ListRecord.h"

/// Named lists as policy text declares them.
namespace Qcf::Text {

/// Appends the declaration, which reads back as the same record, with a line's end: on one line
/// where that is short, else an entry a line. Entries of prefix lists come in the order of their
/// numbers; these are written where they differ from those that an entry gets without.
void printList(String & out, Lists::ListRecord const & list);

/// All of them, one after the other.
String printLists(std::span<Lists::ListRecord const> lists);

} // namespace Qcf::Text
