#include "Watch/Operands.h"

#include "Agent/Evaluation/RouteContext.h"
#include "Agent/Routes/RouteAttributes.h"
#include "QcfLib/NodeFields.h"
#include "Watch/ValueSpelling.h"

#include <bit>

namespace Qcf::Watch {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

/// Of classes without fields: nothing is asked of it.
class NoFields final : public FieldReader {
public:
#define QCF_READ(Type)                                                                             \
    void read(FieldInfo const & /*field*/, Type & /*value*/) override {}
    QCF_FOR_EACH_SCALAR(QCF_READ)
#undef QCF_READ
    PtrConst<AetNodeBase> readNode(FieldInfo const & /*field*/) override { return nullptr; }
};

template <typename Set>
PtrConst<AetNodeBase> attributeNode(std::size_t bit) {
    for (NodeClass const & nodeClass : nodeClasses()) {
        AttributeInfo const * const attribute = nodeClass.attribute;
        bool const isRead = std::is_same_v<Set, AttributeSet>;
        if (attribute != nullptr &&
            (isRead ? attribute->readBit : attribute->writeBit) == static_cast<int>(bit)) {
            NoFields noFields;
            return nodeClass.create(0, noFields);
        }
    }
    return nullptr;
}

/// A node of each attribute of the set, by its bit, to read by what no node of a tree reads: bodies
/// of built-in functions have no fields.
template <typename Set>
std::vector<PtrConst<AetNodeBase>> const & attributeNodes() {
    static std::vector<PtrConst<AetNodeBase>> const nodes = [] {
        std::vector<PtrConst<AetNodeBase>> made;
        for (std::size_t bit = 0; bit < Set::width; ++bit) {
            made.push_back(attributeNode<Set>(bit));
        }
        return made;
    }();
    return nodes;
}

template <typename Set, typename Visit>
void eachAttributeOf(U64 bits, Visit const & visit) {
    for (; bits != 0; bits &= bits - 1) {
        if (auto const & node =
                attributeNodes<Set>()[static_cast<std::size_t>(std::countr_zero(bits))]) {
            visit(*node);
        }
    }
}

struct RouteSource {
    std::optional<std::size_t> index; ///< in a route
    int writeBit = -1;                ///< of what can be written; -1 for what came with the route
};

// By the number of the class, once.
RouteSource const & sourceOf(NodeClass const & nodeClass) {
    static std::vector<RouteSource> const sources = [] {
        std::vector<RouteSource> made(nodeClasses().size());
        for (NodeClass const & each : nodeClasses()) {
            if (each.attribute == nullptr) {
                continue;
            }
            std::string_view const name = each.attribute->languageName;
            bool const isTwin = name.starts_with(Agent::inputTwinPrefix);
            RouteSource & source = made[each.number()];
            source.index = Agent::findRouteSource(name);
            if (source.index && !isTwin) {
                source.writeBit =
                    findAttribute(Agent::routeAttributeNames()[*source.index])->attribute->writeBit;
            }
        }
        return made;
    }();
    return sources[nodeClass.number()];
}

/// Whether the value came with the route or was written. Contexts whose routes are other objects
/// do not tell.
bool isGiven(AetNodeBase const & node, EvalContext const & context) {
    auto const * const ofRoute = dynamic_cast<Agent::RouteContext const *>(&context);
    if (node.typeData().attribute == nullptr || ofRoute == nullptr) {
        return true;
    }
    RouteSource const & source = sourceOf(node.typeData());
    bool const isWritten =
        source.writeBit >= 0 && ((context.modifiedFlags() >> source.writeBit) & 1) != 0;
    return isWritten || !source.index || ofRoute->route().carries(*source.index);
}

class OperandReader {
public:
    explicit OperandReader(EvalContext & context) : context_(context) {}

    // The left side says how numbers on the right are meant.
    void read(AetNodeBase const & node) {
        ValueStyle const own = ValueStyle::of(node);
        bool const isAttribute = node.typeData().attribute != nullptr;
        if (isAttribute && !hasStyle_) {
            style_ = own;
            hasStyle_ = true;
        }
        SpelledValue value = spelledValue(node, isAttribute ? own : style_, context_);
        operands_.push_back(
            {&node, value.type, std::move(value.text), isConstant(node), isGiven(node, context_)});
    }
    void styleIs(AetNodeBase const & node) {
        style_ = ValueStyle::of(node);
        hasStyle_ = true;
    }
    std::vector<Operand> take() { return std::move(operands_); }

private:
    EvalContext & context_;
    ValueStyle style_;
    bool hasStyle_ = false;
    std::vector<Operand> operands_;
};

/// What the node writes to; null for none.
AetNodeBase const * targetOf(Expression const & node) {
    AetNodeBase const * target = nullptr;
    node.typeData().visitChildren(node, [&](FieldInfo const & field, AetNodeBase const * child) {
        if (target == nullptr && plays(field, FieldRole::target)) {
            target = child;
        }
    });
    if (node.typeData().fields.empty()) {
        eachAttributeOf<ModifiableAttributeSet>(node.typeData().facts.writes,
                                                [&](AetNodeBase const & each) { target = &each; });
    }
    return target;
}

} // namespace

std::vector<Operand> operandsOf(Expression const & node, EvalContext & context) {
    OperandReader reader(context);
    if (auto const * const call = as<FunctionCallExpression>(node)) {
        for (auto const * link = call->argListHead().get(); link != nullptr;
             link = link->next().get()) {
            reader.read(*link->entry());
        }
        return reader.take();
    }
    node.typeData().visitChildren(node, [&](FieldInfo const & field, AetNodeBase const * child) {
        if (child == nullptr || !child->typeData().isKind(NodeKind::storageType)) {
            return;
        }
        bool const isWritten = plays(field, FieldRole::target) && node.typeData().facts.assigns;
        isWritten ? reader.styleIs(*child) : reader.read(*child);
    });
    if (node.typeData().fields.empty()) {
        eachAttributeOf<AttributeSet>(node.typeData().facts.reads,
                                      [&](AetNodeBase const & each) { reader.read(each); });
    }
    return reader.take();
}

namespace {

/// What arithmetic comes to before it is forced into the attribute's range.
Change::Exact exactAnswer(Expression const & node, EvalContext & context) {
    Ptr<EvalContextBase const> const reading(&context);
    Change::Exact exact;
    auto const operation = [&](auto const * change, auto const & compute) {
        if (change == nullptr) {
            return;
        }
        exact.isKnown = true;
        SignedMagnitude const operand = change->rhs()->signedVal(reading);
        exact.negative = operand.strictlyNegative();
        compute(change->lhs()->getVal(reading), operand.magnitude);
    };
    auto const move = [&](U64 current, U64 by) {
        U64 const sum = current + by;
        exact.tooLarge = !exact.negative && sum < current;
        exact.value = exact.negative ? current - by : sum;
        exact.negative = exact.negative && by > current;
    };
    operation(as<IntAssign>(node), [&](U64 /*current*/, U64 value) { exact.value = value; });
    operation(as<IntPlusEq>(node), move);
    operation(as<IntMinusEq>(node), [&](U64 current, U64 by) {
        exact.negative = !exact.negative;
        move(current, by);
    });
    operation(as<IntMultEq>(node), [&](U64 current, U64 factor) {
        exact.tooLarge = __builtin_mul_overflow(current, factor, &exact.value);
        exact.negative = exact.negative && current != 0;
    });
    return exact;
}

} // namespace

std::optional<Change> changeBefore(Expression const & node, EvalContext & context) {
    AetNodeBase const * const target = targetOf(node);
    if (target == nullptr) {
        return std::nullopt;
    }
    return Change{.target = target,
                  .before = spelledValue(*target, ValueStyle::of(*target), context).text,
                  .given = isGiven(*target, context),
                  .toSelf = is<SetNextHopSelfImplExpr>(node),
                  .exact = exactAnswer(node, context)};
}

void changeDone(Change & change, EvalContext & context) {
    change.after = spelledValue(*change.target, ValueStyle::of(*change.target), context).text;
    if (change.toSelf && context.nextHopSetToSelf()) {
        change.after = "self";
    }
    if (change.exact.isKnown) {
        Ptr<EvalContextBase const> const reading(&context);
        U64 const after = static_cast<Int const &>(*change.target).getVal(reading);
        change.clamped =
            change.exact.negative || change.exact.tooLarge || after != change.exact.value;
    }
}

} // namespace Qcf::Watch
