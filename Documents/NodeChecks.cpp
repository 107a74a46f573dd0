#include "Documents/NodeChecks.h"

#include "Documents/Position.h"
#include "Documents/Program.h"

#include <array>

/// Evaluation asserts where a tree is malformed, and an assertion ends the process. Whatever it
/// asserts of a tree is therefore checked here, where a document can still be turned down with its
/// place.
namespace Qcf::Documents {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

using Children = std::span<NodeFacts const * const>;

String countText(std::size_t count, char const * what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

// Counted as evaluation meets them, not as they are stored: a few kilobytes of nodes that share
// each other may unfold to more than can ever be walked.
void checkExtent(Place const & place, AetNodeBase const & node, NodeFacts const & facts) {
    if (facts.size > ProgramLimits::unfoldedNodes) {
        place.fail(node.typeData().name,
                   "tree of at most " + std::to_string(ProgramLimits::unfoldedNodes) +
                       " nodes with shared ones counted at each place",
                   "a larger one");
    }
}

/// A return that comes out of an operand ends the process.
void checkOperands(Place const & place, AetNodeBase const & node, Children children) {
    auto child = children.begin();
    for (FieldInfo const & field : node.typeData().fields) {
        if (!field.isNode()) {
            continue;
        }
        NodeFacts const * const facts = *child++;
        if (facts != nullptr && facts->returns && plays(field, FieldRole::operand)) {
            place.fail(Position{node.typeData(), field}.subject(), wantsNoReturn, "one that can");
        }
    }
}

/// The child that plays the role; null where it is absent. Children count node fields alone, fields
/// all of them.
NodeFacts const * childOf(AetNodeBase const & node, Children children, FieldRole role) {
    auto child = children.begin();
    for (FieldInfo const & field : node.typeData().fields) {
        if (plays(field, role)) {
            return *child;
        }
        child += field.isNode() ? 1 : 0;
    }
    return nullptr;
}

U32 lengthOf(NodeFacts const * chain) { return chain == nullptr ? 0 : chain->length; }

void checkBounds(Place const & place, std::string_view subject, U32 lower, U32 upper) {
    if (lower != upper) {
        place.fail(subject, "as many lower bounds as upper bounds",
                   std::to_string(lower) + " and " + std::to_string(upper));
    }
}

/// A value that is passed as a reference would be read in the callee's frame. By then the frame is
/// that of another function, whose arguments are others.
void checkArgument(Place const & place, FunctionArgumentList const & link,
                   NodeFacts const & entry) {
    NodeClass const & nodeClass = link.entry()->typeData();
    if (entry.onFrame && nodeClass.facts.argument == ArgumentKind::node) {
        place.fail(Position::of(link.typeData(), FieldRole::entry).subject(),
                   "value that does not depend on the caller's own arguments", nodeClass.name);
    }
}

/// The arguments of one call, against what the callee reads of them. Arguments that are missing end
/// the process when the callee reads them. No tree of the callee is looked at: what it needs is
/// known.
class CallCheck {
public:
    CallCheck(Place const & place, FunctionCallExpression const & call, NodeTable const & earlier)
        : place_(place),
          call_(call),
          earlier_(earlier),
          needs_(earlier.factsOf(*call.calleePtr()).needs) {}

    /// Adds to the needs of the caller what its own arguments are passed on for. More arguments
    /// than are needed do no harm: nobody reads them.
    void check(ArgumentNeeds & callersNeeds) {
        for (auto const * link = call_.argListHead().get(); link != nullptr;
             link = link->next().get()) {
            take(*link->entry(), callersNeeds);
        }
        require(ArgumentKind::integer, needs_.integers, "integer argument");
        require(ArgumentKind::bandwidth, needs_.bandwidths, "bandwidth argument");
        require(ArgumentKind::triStateBool, needs_.triStateBools, "tri-state argument");
        require(ArgumentKind::prefixList, needs_.prefixLists, "prefix-list argument");
        if (needs_.nodes) {
            require(ArgumentKind::node, 1, "integer set as argument");
            // Position 0 has the singletons, 1 and 2 the bounds of the ranges.
            checkBounds(place_, subject(), lengths_[1], lengths_[2]);
        }
    }

private:
    /// Indexes are one byte wide: whatever stands behind them cannot be read.
    static constexpr std::size_t mostArguments = 256;

    void take(StorageType const & entry, ArgumentNeeds & callersNeeds) {
        ++number_;
        ArgumentKind const kind = entry.typeData().facts.argument;
        std::size_t const position = counts_[static_cast<std::size_t>(kind)]++;
        if (position >= mostArguments) {
            place_.fail(subject(), "at most 256 arguments of a type", "more");
        }
        if (kind == ArgumentKind::integer) {
            takeInteger(entry, position, callersNeeds);
        } else if (kind == ArgumentKind::node && needs_.nodes && position < lengths_.size()) {
            takeNode(entry, position);
        }
    }

    void takeInteger(StorageType const & entry, std::size_t position,
                     ArgumentNeeds & callersNeeds) const {
        // Needs are known for 64 positions; an argument that stands behind them may not be passed
        // on where a narrow one is wanted.
        if (position >= 64 || ((needs_.narrowIntegers >> position) & 1) == 0) {
            return;
        }
        bool fits = true;
        if (auto const * const constant = as<IntImmediate>(entry)) {
            // Zero has no sign that counts.
            fits = constant->value() == 0 || (!constant->negative() && isNarrow(constant->value()));
        } else if (auto const * const table = as<RoaTableImmediate>(entry)) {
            fits = isNarrow(table->number());
        } else if (auto const * const attribute = entry.typeData().attribute) {
            // An attribute without a range is trusted to fit.
            fits = isNarrow(attribute->max.value_or(0));
        } else if (readsArgument(entry)) {
            // An argument passed on is as wide as what the caller gets: its own callers must see to
            // it.
            U8 const index = argumentIndexOf(entry);
            fits = index < 64;
            callersNeeds.narrowIntegers |= fits ? U64{1} << index : 0;
        }
        if (!fits) {
            auto const * const constant = as<IntImmediate>(entry);
            bool const negative = constant != nullptr && constant->negative();
            place_.fail(subject(), "integer of 32 bits as " + argumentText(),
                        (negative ? "-" : "") + entry.toStrep());
        }
    }

    // These are the classes that the built-in functions read.
    void takeNode(StorageType const & entry, std::size_t position) {
        NodeClass const & wanted =
            position == 0 ? nodeClassOf<IntSetImmediate>() : nodeClassOf<IntListImmediate>();
        if (&entry.typeData() != &wanted) {
            place_.fail(subject(), String(wanted.name) + " as " + argumentText(),
                        entry.typeData().name);
        }
        lengths_[position] = earlier_.factsOf(entry).length;
    }

    static bool isNarrow(U64 value) { return value <= 0xFFFFFFFF; }

    void require(ArgumentKind kind, std::size_t needed, char const * what) const {
        std::size_t const given = counts_[static_cast<std::size_t>(kind)];
        if (given < needed) {
            place_.fail(subject(), countText(needed, what) + " at least", std::to_string(given));
        }
    }

    /// As a reader counts them: over all types, from 1.
    String argumentText() const {
        std::size_t all = 0;
        for (auto const * link = call_.argListHead().get(); link != nullptr;
             link = link->next().get()) {
            ++all;
        }
        return "argument " + std::to_string(number_) + " of " + std::to_string(all);
    }

    String subject() const { return "call of " + call_.calleeName(); }

    Place const & place_;
    FunctionCallExpression const & call_;
    NodeTable const & earlier_;
    ArgumentNeeds const & needs_;
    // By ArgumentKind.
    std::array<std::size_t, 6> counts_{};
    std::array<U32, 3> lengths_{};
    std::size_t number_ = 0; ///< of the argument that is looked at
};

/// Whether the chain's operators stand between its operands. Evaluation makes do with another
/// number of them, text forms do not.
bool chainMatches(AetNodeBase const & chain, Children children) {
    U32 const operands = lengthOf(childOf(chain, children, FieldRole::operand));
    U32 const operators = lengthOf(childOf(chain, children, FieldRole::operators));
    return operands >= 2 && operands == operators + 1;
}

} // namespace

void checkNode(Place const & place, AetNodeBase const & node, Children children, NodeFacts & facts,
               NodeTable const & earlier) {
    checkExtent(place, node, facts);
    checkOperands(place, node, children);
    if (is<IntInImmediateSetWithRanges>(node)) {
        checkBounds(place, node.typeData().name,
                    lengthOf(childOf(node, children, FieldRole::lowerBounds)),
                    lengthOf(childOf(node, children, FieldRole::upperBounds)));
    } else if (auto const * const link = as<FunctionArgumentList>(node)) {
        checkArgument(place, *link, *children[0]);
    } else if (auto const * const call = as<FunctionCallExpression>(node)) {
        CallCheck(place, *call, earlier).check(facts.needs);
    } else if (is<LogicalOperatorExpression>(node)) {
        facts.dumpable = facts.dumpable && chainMatches(node, children);
    }
}

} // namespace Qcf::Documents
