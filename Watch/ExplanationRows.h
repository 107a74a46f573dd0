#pragma once

#include "Watch/NodePlaces.h"
#include "Watch/TraceNode.h"

namespace Qcf::Watch {

/// A node of an evaluation as one line for people, in columns.
struct ExplanationRow {
    std::size_t depth = 0; ///< how far it is indented
    U32 line = 0;          ///< in a text; 0 in a document
    String label = {};     ///< where it stands, as short as it is clear; empty for a part of a line
    String text = {};
    String result = {}; ///< "true", "false", "unknown"; empty for statements
    String values = {}; ///< what it read or changed, what its list says, why it is unknown
    bool isTest = false;
};

struct RowOptions {
    bool all = false;       ///< everything that was evaluated, not what led to the verdict alone
    bool withCalls = false; ///< also the tests in functions that are called as statements
};

/// The evaluation line by line, in its order: the tests that led to the deciding statement, each
/// with the parts that were evaluated, and that statement.
std::vector<ExplanationRow> rowsOf(TraceNode const & root, NodePlaces const & places,
                                   RowOptions const & options);

/// What a test read, as its row has it: "3 > 40", "9.9.9.128/25: entry 10 wants length 8..24".
String valuesText(TraceNode const & at);
/// "unknown absorbed: attribute bgp.best_path is unknown"; empty where nothing was.
String absorbedText(TraceNode const & at);
/// A change: "local_preference 100 -> 200 (clamped)", "community 65000:1 removed".
String changeText(Change const & change);

} // namespace Qcf::Watch
