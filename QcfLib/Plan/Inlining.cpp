#include "QcfLib/Plan/Inlining.h"

#include "QcfLib/NodeWalk.h"

#include <unordered_set>

/// What inlining has to know before it starts; lowering does the rest (PlanLowering.cpp).
namespace Qcf::Eval {

std::size_t ownNodes(Function const & function) {
    std::unordered_set<AetNodeBase const *> met;
    walkTree(*function.body(), [&](WalkedNode const & at) {
        // A shared node is not descended into again: trees from outside may share without bounds.
        return !is<Function>(at.node) && met.insert(&at.node).second;
    });
    return met.size();
}

// A callee's own callees are not looked into: whether they can be inlined is a question of their
// own.
std::optional<std::size_t> sizeInlined(Function const & function, std::size_t limit) {
    std::size_t size = 0;
    bool fits = true;
    walkTree(*function.body(), [&](WalkedNode const & at) {
        if (!fits || is<Function>(at.node)) {
            return false;
        }
        ClassFacts const & facts = at.node.typeData().facts;
        // The body of a built-in function knows its arguments by their positions.
        bool const readsIntegers = facts.integerArguments != 0 && !facts.readsNodeArguments;
        if (at.node.typeData().effects.looksIntoFrame && !readsIntegers) {
            fits = is<IntVariable>(at.node) && plays(*at.field, FieldRole::constantPlace);
            return false;
        }
        fits = ++size <= limit;
        return fits;
    });
    return fits ? std::optional(size) : std::nullopt;
}

} // namespace Qcf::Eval
