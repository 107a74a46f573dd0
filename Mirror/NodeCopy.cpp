#include "Mirror/NodeCopy.h"

#include "QcfLib/QcfEval.h"

/// Copies and comparisons are the registry's, field by field. What is added here is the value that
/// literals of constants keep: it is no field, and evaluation counts on it.
namespace Qcf::Mirror {

Ptr<Eval::AetNodeBase> copyNode(Eval::AetNodeBase const & node, U64 key,
                                Eval::NodeClass::ChildMapper const & mapChild) {
    Ptr<Eval::AetNodeBase> copy = node.typeData().copy(node, key, mapChild);
    keepConstantValue(*copy);
    return copy;
}

bool sameFields(Eval::AetNodeBase const & a, Eval::AetNodeBase const & b,
                Eval::NodeClass::ChildComparison const & sameChild) {
    return &a.typeData() == &b.typeData() && a.typeData().sameFields(a, b, sameChild);
}

void keepConstantValue(Eval::AetNodeBase const & node) {
    if (auto const keep = node.typeData().facts.keepConstant) {
        keep(node);
    }
}

} // namespace Qcf::Mirror
