#pragma once

#include "QcfLib/QcfEval.h"

namespace Qcf::Watch {

/// Where a node stands, for people and programs: a line of a text, or a pointer into a document.
struct NodePlace {
    String file;    ///< empty where no place is known
    String pointer; ///< JSON pointer in a document; empty in a text
    // Lines and columns count from 1; the end is behind the last character. 0 in a document.
    U32 line = 0;
    U32 column = 0;
    U32 endLine = 0;
    U32 endColumn = 0;

    /// Whether it is a line of a text.
    bool isInText() const { return line != 0; }
    /// "FILE:LINE", or "FILE:POINTER"; the file alone where no more is known.
    String text() const {
        String const within = isInText() ? std::to_string(line) : pointer;
        return within.empty() ? file : file + ':' + within;
    }
};

/// Whether the node is a `return` or an `exit`.
inline bool leavesFunction(Eval::AetNodeBase const & node) {
    return Eval::is<Eval::ReturnExpression>(node) || Eval::is<Eval::ExitExpression>(node);
}

/// Tells of the nodes of one program where they were written and how. Whoever has read the program
/// implements it; what watches evaluations asks it when something is shown, never while a route is
/// evaluated.
///
///     NodePlace const place = places.of(*node, *function);
///     std::cout << place.text() << "  " << places.line(*node, *function);
///
/// Used by any number of threads at a time.
class NodePlaces {
public:
    NodePlaces() = default;
    NodePlaces(NodePlaces const &) = delete;
    NodePlaces & operator=(NodePlaces const &) = delete;
    virtual ~NodePlaces() = default;

    /// The node's place: that within this function where it stands in several.
    virtual NodePlace of(Eval::AetNodeBase const & node, Eval::Function const & within) const = 0;
    /// The node on one line: the first line of its own text where the text is known, else as policy
    /// text would spell it. Of an `if` what stands before its block.
    virtual String line(Eval::AetNodeBase const & node, Eval::Function const & within) const = 0;
    /// What the text gives as reason of a `return` or `exit`; empty for none.
    virtual String reason(Eval::AetNodeBase const & node) const = 0;
};

} // namespace Qcf::Watch
