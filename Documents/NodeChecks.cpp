#include "Documents/NodeChecks.h"

#include "Documents/NodeBuilder.h"
#include "Documents/Program.h"

#include <array>
#include <string_view>

namespace Qcf::Documents {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

using Children = std::span<NodeFacts const * const>;

String counted(std::size_t count, char const * what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

void checkExtent(JsonValue const & place, AetNodeBase const & node, NodeFacts const & facts) {
    if (facts.size > ProgramLimits::unfoldedNodes) {
        place.fail(node.typeData().name,
                   "tree of at most " + std::to_string(ProgramLimits::unfoldedNodes) +
                       " nodes with shared ones counted at each place",
                   "a larger one");
    }
}

/// A return that comes out of an operand ends the process.
void checkOperands(JsonValue const & place, AetNodeBase const & node, Children children) {
    auto child = children.begin();
    for (FieldInfo const & field : node.typeData().fields) {
        if (!field.isNode()) {
            continue;
        }
        NodeFacts const * const facts = *child++;
        if (facts != nullptr && facts->returns && isOperandField(field)) {
            place.fail(String(node.typeData().name) + "." + field.name,
                       "operand that does not return", "one that can");
        }
    }
}

U32 lengthOf(NodeFacts const * literal) { return literal == nullptr ? 0 : literal->length; }

void checkBounds(JsonValue const & place, std::string_view subject, U32 lower, U32 upper) {
    if (lower != upper) {
        place.fail(subject, "as many lower bounds as upper bounds",
                   std::to_string(lower) + " and " + std::to_string(upper));
    }
}

/// A value that is passed as a reference would be read in the callee's frame.
void checkArgument(JsonValue const & place, FunctionArgumentList const & link,
                   NodeFacts const & entry) {
    NodeClass const & nodeClass = link.entry()->typeData();
    if (entry.onFrame && ClassRules::of(nodeClass).argument == ArgumentKind::node) {
        place.fail("FunctionArgumentList.entry",
                   "value that does not depend on the caller's own arguments", nodeClass.name);
    }
}

/// The arguments of one call, against what the callee reads of them.
class CallCheck {
public:
    CallCheck(JsonValue const & place, FunctionCallExpression const & call,
              NodeBuilder const & builder)
        : place_(place),
          call_(call),
          builder_(builder),
          needs_(builder.factsOf(*call.calleePtr()).needs) {}

    /// Adds to the needs of the caller what its own arguments are passed on for.
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
            checkBounds(place_, subject(), lengths_[1], lengths_[2]);
        }
    }

private:
    /// Indexes are one byte wide: whatever stands behind them cannot be read.
    static constexpr std::size_t mostArguments = 256;

    void take(StorageType const & entry, ArgumentNeeds & callersNeeds) {
        ArgumentKind const kind = ClassRules::of(entry.typeData()).argument;
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
        if (position >= 64 || ((needs_.narrowIntegers >> position) & 1) == 0) {
            return;
        }
        bool fits = true;
        if (auto const * const constant = dynamic_cast<IntImmediate const *>(&entry)) {
            fits = constant->value() == 0 || (!constant->negative() && isNarrow(constant->value()));
        } else if (auto const * const table = dynamic_cast<RoaTableImmediate const *>(&entry)) {
            fits = isNarrow(table->number());
        } else if (auto const * const attribute = entry.typeData().attribute) {
            fits = isNarrow(attribute->max.value_or(0));
        } else if (ClassRules::of(entry.typeData()).variable) {
            U8 const index = argumentIndexOf(entry);
            fits = index < 64;
            callersNeeds.narrowIntegers |= fits ? U64{1} << index : 0;
        }
        if (!fits) {
            place_.fail(subject(), "integer argument " + std::to_string(position) + " of 32 bits",
                        entry.toStrep());
        }
    }

    void takeNode(StorageType const & entry, std::size_t position) {
        char const * const wanted = position == 0 ? "IntSetImmediate" : "IntListImmediate";
        if (std::string_view(entry.typeData().name) != wanted) {
            place_.fail(subject(),
                        String(wanted) + " as reference argument " + std::to_string(position),
                        entry.typeData().name);
        }
        lengths_[position] = builder_.factsOf(entry).length;
    }

    static bool isNarrow(U64 value) { return value <= 0xFFFFFFFF; }

    void require(ArgumentKind kind, std::size_t needed, char const * what) const {
        std::size_t const given = counts_[static_cast<std::size_t>(kind)];
        if (given < needed) {
            place_.fail(subject(), counted(needed, what) + " at least", std::to_string(given));
        }
    }

    String subject() const { return "call of " + call_.calleeName(); }

    JsonValue const & place_;
    FunctionCallExpression const & call_;
    NodeBuilder const & builder_;
    ArgumentNeeds const & needs_;
    std::array<std::size_t, 6> counts_{};
    std::array<U32, 3> lengths_{};
};

bool chainMatches(LogicalOperatorExpression const & node, Children children) {
    return node.expressionList() && children[0]->length >= 2 &&
           children[0]->length == children[1]->length + 1;
}

} // namespace

void checkNode(JsonValue const & place, AetNodeBase const & node, Children children,
               NodeFacts & facts, NodeBuilder const & builder) {
    checkExtent(place, node, facts);
    checkOperands(place, node, children);
    std::string_view const name = node.typeData().name;
    if (name == "IntInImmediateSetWithRanges") {
        checkBounds(place, name, lengthOf(children[2]), lengthOf(children[3]));
    } else if (name == "FunctionArgumentList") {
        checkArgument(place, static_cast<FunctionArgumentList const &>(node), *children[0]);
    } else if (name == "FunctionCallExpression") {
        CallCheck(place, static_cast<FunctionCallExpression const &>(node), builder)
            .check(facts.needs);
    } else if (name == "LogicalOperatorExpression") {
        facts.dumpable =
            facts.dumpable &&
            chainMatches(static_cast<LogicalOperatorExpression const &>(node), children);
    }
}

} // namespace Qcf::Documents
