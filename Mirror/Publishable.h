#pragma once

#include "QcfLib/QcfLib.h"

namespace Qcf::Eval {
class Function;
}

namespace Qcf::Mirror {

// What a publisher's status may hold, but no reader can be given: it is refused with a MirrorError
// that names it, before anything of it is sent.

/// Whether the tree under the node is deeper than any that is taken from outside. Costs nothing:
/// nodes know their depth.
inline bool isTooDeep(Eval::AetNodeBase const & node) {
    return node.treeDepth() > Eval::maximumTreeDepth;
}

/// Whether the tree under the node is larger than any that is taken from outside, its shared nodes
/// counted at each place: evaluation would walk it for ever. Costs nothing, either.
bool isTooLarge(Eval::AetNodeBase const & node);

/// Throws for a node of a class that is none of the engine's, or with a tree under it that is
/// deeper or larger than any that may be evaluated.
void checkPublishable(Eval::AetNodeBase const & node);

/// The function as the engine's class; throws for any other, and as above. `name` is for the
/// message.
Eval::Function const & publishableFunction(String const & name,
                                           Eval::FunctionBase const & function);

/// "tree of at most 2048 levels".
String depthWanted();
/// "tree of at most 100000000 nodes ...".
String sizeWanted();

} // namespace Qcf::Mirror
