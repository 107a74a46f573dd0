#pragma once

#include "QcfLib/QcfEval.h"

#include <span>

namespace Qcf::Watch {

/// How numbers beside an attribute are meant: the same number is a state, a community or a count.
struct ValueStyle {
    std::span<std::string_view const> valueNames = {}; ///< of 0 and so on
    bool standardCommunities = false;                  ///< integers are such

    /// As the attribute's own values; plain numbers for a node that is none.
    static ValueStyle of(Eval::AetNodeBase const & node);
};

/// What a value node yields at this point of an evaluation.
struct SpelledValue {
    char const * type; ///< "int", "as_path", "community_set"
    String text;       ///< as policy text spells it
};

/// Reads the node by its accessor. Lists read as their names. A node that is no value is of the
/// type "" and has no text.
SpelledValue spelledValue(Eval::AetNodeBase const & node, ValueStyle const & style,
                          Eval::EvalContext & context);

/// Whether the value is the same for all routes: no attribute and no argument is read for it.
bool isConstant(Eval::AetNodeBase const & node);

} // namespace Qcf::Watch
