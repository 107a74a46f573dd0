#pragma once

#include "QcfLib/QcfEval.h"

#include <algorithm>

/// How plans recognise nodes.
namespace Qcf::Eval {

/// Whether the node is of one of those classes.
template <std::size_t size>
bool isOneOf(AetNodeBase const & node, U16 const (&classes)[size]) {
    auto const number = node.typeData().number();
    return std::find(std::begin(classes), std::end(classes), number) != std::end(classes);
}

/// The constant set of a literal; null when it has none.
template <typename Immediate, typename Storage>
auto const * constantSet(Storage const & node) {
    auto const * const immediate = as<Immediate>(node);
    return immediate == nullptr ? nullptr : immediate->cachedGetVal();
}

/// Operands with one identity have one value: they are one node, or one attribute.
inline void const * identity(StorageType const & operand) {
    NodeClass const & nodeClass = operand.typeData();
    return nodeClass.attribute != nullptr ? static_cast<void const *>(&nodeClass) : &operand;
}

} // namespace Qcf::Eval
