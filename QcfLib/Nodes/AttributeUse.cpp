#include "QcfLib/AttributeUse.h"

#include "QcfLib/NodeClass.h"
#include "QcfLib/NodeWalk.h"
#include "QcfLib/QcfEvalGenerated.h"

namespace Qcf::Eval {

namespace {

/// Bits of the two sets.
struct Use {
    U64 reads = 0;
    U32 writes = 0;
};

// What an attribute is used for, only its parent knows: a node may stand in several places.
void addChildren(Use & use, AetNodeBase const & node) {
    ClassFacts const & facts = node.typeData().facts;
    node.typeData().visitChildren(node, [&](FieldInfo const & field, AetNodeBase const * child) {
        if (child == nullptr) {
            return;
        }
        ClassFacts const & its = child->typeData().facts;
        bool const isTarget = plays(field, FieldRole::target);
        use.reads |= isTarget && facts.assigns ? 0 : its.reads;
        use.writes |= isTarget || child->typeData().attribute == nullptr ? its.writes : 0;
    });
}

template <typename Flags>
Flags named(std::initializer_list<std::string_view> names) {
    Flags flags;
    for (std::string_view const name : names) {
        flags.insert(Flags::bitOf(name)); // throws for the bit that stands for no flag
    }
    return flags;
}

} // namespace

AccessibleAttributes attributesUsed(Function const & function) {
    Use use;
    walkNodes(
        function,
        [&use](WalkedNode const & at) {
            addChildren(use, at.node);
            return true;
        },
        [](AetNodeBase const &) {});
    return {AttributeSet(use.reads), ModifiableAttributeSet(use.writes)};
}

AccessibleAttributes attributesNamed(std::initializer_list<std::string_view> read,
                                     std::initializer_list<std::string_view> written) {
    return {named<AttributeSet>(read), named<ModifiableAttributeSet>(written)};
}

AccessibleAttributes attributesLacking(AccessibleAttributes const & used,
                                       AccessibleAttributes const & offered) {
    return {AttributeSet(used.readableAttributes.value() & ~offered.readableAttributes.value()),
            ModifiableAttributeSet(used.writableAttributes.value() &
                                   ~offered.writableAttributes.value())};
}

} // namespace Qcf::Eval
