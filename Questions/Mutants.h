#pragma once

#include "Lists/NamedLists.h"
#include "Platform/Render/RendererV2.h"
#include "Questions/MutantEdits.h"

#include <functional>

/// What the tests of a text do not see: the text is changed at one place after the other, and the
/// tests are run on each of these mutants. One that passes them all survives.
namespace Qcf::Questions {

struct MutantOptions {
    U64 most = 1'000; ///< of a text; of more every so many are tried, over all of it
    U64 threads = 1;
    /// Which tests are run, by their titles; all without.
    std::function<bool(String const & title)> isRun = {};
    /// Lists over those of the text; may be null.
    PtrConst<Lists::NamedLists> lists = {};
};

/// A mutant that no test noticed.
struct Survivor {
    U32 line; ///< from 1 on, as the column
    U32 column;
    String from;
    String to;   ///< empty where it is left out
    String text; ///< the line as it was
};

/// How the mutants of a text fared.
struct MutantResults {
    String file;
    U64 killed = 0;
    std::vector<Survivor> survivors = {}; ///< in the order of the text
    U64 wrong = 0;                        ///< that are no right text and count for nothing
    U64 leftOut = 0;                      ///< beyond the most

    U64 tried() const { return killed + survivors.size(); }
};

/// Runs the tests of a text on its mutants. `file` is what its imports are relative to; they are
/// read again for each mutant. The text has no errors and passes its tests.
///
///     MutantResults const results = runMutants(text, "transit.qcf", {.threads = 4});
///     results.survivors.front().line;
///
/// Throws what stands in the way of reading the text itself, such as an import that is gone.
MutantResults runMutants(String const & text, String const & file, MutantOptions const & options);

/// Killed ones in percent of those that were tried, of all texts together; 0 where there are
/// none.
F64 killedShare(std::vector<MutantResults> const & all);

/// "mutants 61 of 64 killed (95.3 %)", and a line each survivor.
///
///       survived: transit-import.qcf:40:35  40 -> 41   if is_bogon() or as_path.length > 40 {
String mutantsText(std::vector<MutantResults> const & all);

/// One object: `{"file", "mutants": {"tried", "killed", "wrong", "leftOut", "survived": [{"line",
/// "column", "from", "to", "text"}]}}`.
void renderMutants(MutantResults const & results, RendererV2 & renderer);

} // namespace Qcf::Questions
