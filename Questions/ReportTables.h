#pragma once

#include "Questions/Report.h"

/// The parts of the page that can be read without script, as HTML. All texts of the report are
/// escaped.
namespace Qcf::Questions {

/// A list item a statement that decided verdicts, with a link to its line; the function's end last.
String clauseItems(Report const & report);
/// Ranges of lines that no route reached.
String neverReachedItems(Report const & report);
/// How many routes had which attribute changed.
String changedTable(Report const & report);

/// A table a file, a row a line. Rows with something to evaluate have an id, `L0-36` for line 36 of
/// the first file, and the classes `covered`, `half` or `never`, and `decides`.
String sourceTables(Report const & report);

/// The examples: number, prefix, peer, verdict, and what decided.
String exampleTable(Report const & report);
/// A table a list, with the hits of its entries.
String listTables(Report const & report);
/// What another version treats otherwise; empty where nothing was compared.
String differenceSection(Report const & report);
/// Verdicts and conditions that came to unknown, and why.
String unknownTables(Report const & report);

} // namespace Qcf::Questions
