#include "QcfLib/Plan/PlanCalls.h"

#include "QcfLib/Plan/PlanNodes.h"

#include <unordered_set>
#include <vector>

namespace Qcf::Eval {

namespace {

/// Whether the field `rhs`, or `entry`, of such a node is a place that a plan fills.
bool takesConstant(AetNodeBase const & parent, FieldInfo const & field) {
    static constexpr U16 classes[] = {
        IntIs::classNumber,          IntLessThan::classNumber,      IntLessThanEq::classNumber,
        IntGreaterThan::classNumber, IntGreaterThanEq::classNumber, IntAssign::classNumber,
        IntPlusEq::classNumber,      IntMinusEq::classNumber,       IntMultEq::classNumber,
    };
    std::string_view const name = field.name;
    return name == "rhs" ? isOneOf(parent, classes)
                         : name == "entry" && as<FunctionArgumentList>(parent) != nullptr;
}

/// Adds the nodes under `node` to `size`; false as soon as one cannot stand in place, or they are
/// too many.
bool countInPlace(AetNodeBase const & node, std::size_t limit, std::size_t & size) {
    if (++size > limit) {
        return false;
    }
    bool fits = true;
    node.typeData().visitChildren(node, [&](FieldInfo const & field, AetNodeBase const * child) {
        if (fits && child != nullptr && as<Function>(*child) == nullptr) {
            bool const filled = as<IntVariable>(*child) != nullptr && takesConstant(node, field);
            fits = child->typeData().effects.looksIntoFrame ? filled
                                                            : countInPlace(*child, limit, size);
        }
    });
    return fits;
}

} // namespace

std::size_t ownNodes(Function const & function) {
    std::unordered_set<AetNodeBase const *> seen{function.body().get()};
    std::vector<AetNodeBase const *> open{function.body().get()};
    while (!open.empty()) {
        AetNodeBase const & node = *open.back();
        open.pop_back();
        node.typeData().visitChildren(node, [&](FieldInfo const &, AetNodeBase const * child) {
            bool const counts = child != nullptr && as<Function>(*child) == nullptr;
            if (counts && seen.insert(child).second) {
                open.push_back(child);
            }
        });
    }
    return seen.size();
}

std::optional<std::size_t> sizeInPlace(Function const & function, std::size_t limit) {
    std::size_t size = 0;
    return countInPlace(*function.body(), limit, size) ? std::optional(size) : std::nullopt;
}

} // namespace Qcf::Eval
