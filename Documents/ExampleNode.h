#pragma once

#include "Platform/Render/RendererV2.h"
#include "QcfLib/AetNode.h"

namespace Qcf::Documents {

/// A small node of any class, for who has to show what such a node looks like: every field has a
/// value, children are the simplest that make sense there, chains have a link or two. Made by the
/// class's own record, so that a new class has an example by itself.
///
/// All nodes of the example have the key 1.
Ptr<Eval::AetNodeBase> exampleNode(Eval::NodeClass const & nodeClass);

/// Writes a node in the form in which people write documents: children where they belong, values
/// as literals, without keys and without what a reader works out by itself.
///
///     writeNested(*exampleNode(*findNodeClass(name)), renderer);
///     // {"class":"IntAssign","lhs":"med","rhs":1}
void writeNested(Eval::AetNodeBase const & node, RendererV2 & renderer);

} // namespace Qcf::Documents
