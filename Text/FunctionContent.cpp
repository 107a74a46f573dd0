#include "Text/FunctionContent.h"

#include "Documents/FieldVisitors.h"
#include "QcfLib/NodeWalk.h"

#include <set>
#include <unordered_set>

namespace Qcf::Text {

using Eval::AetNodeBase;
using Eval::ArgumentKind;
using Eval::ClassFacts;
using Eval::FieldInfo;
using Eval::FieldRole;

namespace {

/// Picks name and slot out of a node's fields.
class ListFields final : public Documents::FieldVisitor<ListFields> {
public:
    explicit ListFields(SlotKind kind) : list{kind, {}, 0} {}

    template <typename T>
    void visit(FieldInfo const & field, T const & value) {
        if constexpr (std::is_same_v<T, String>) {
            list.name = plays(field, FieldRole::listName) ? value : list.name;
        } else if constexpr (std::is_same_v<T, bool>) {
            // The class says IPv4 for both families.
            bool const isV6 = plays(field, FieldRole::isV4) && !value;
            list.kind = isV6 ? SlotKind::v6PrefixList : list.kind;
        } else if constexpr (std::is_unsigned_v<T>) {
            list.slot = plays(field, FieldRole::listSlot) ? value : list.slot;
        }
    }
    void writeNode(FieldInfo const & /*field*/, AetNodeBase const * /*child*/) override {}

    PrintedList list;
};

/// Picks name and index out of an argument's fields.
class VariableFields final : public Documents::FieldVisitor<VariableFields> {
public:
    explicit VariableFields(ArgumentKind kind) : variable{kind, 0, {}} {}

    template <typename T>
    void visit(FieldInfo const & field, T const & value) {
        if constexpr (std::is_same_v<T, U8>) {
            variable.index = plays(field, FieldRole::argumentIndex) ? value : variable.index;
        } else if constexpr (std::is_same_v<T, String>) {
            variable.name = value;
        }
    }
    void writeNode(FieldInfo const & /*field*/, AetNodeBase const * /*child*/) override {}

    PrintedVariable variable;
};

/// Collects what nodes say, in the order in which a text has them.
class Collector {
public:
    explicit Collector(FunctionContent & content) : content_(content) {}

    void take(AetNodeBase const & node) {
        Eval::NodeClass const & nodeClass = node.typeData();
        ClassFacts const & facts = nodeClass.facts;
        if (facts.list) {
            takeList(listOf(node));
        }
        if (nodeClass.fieldOf(FieldRole::argumentIndex) != nullptr) {
            takeVariable(variableOf(node));
        }
        if (auto const * const call = Eval::as<Eval::FunctionCallExpression>(node)) {
            content_.calls.push_back(call);
        }
        content_.readsUnnamedArguments = content_.readsUnnamedArguments ||
                                         facts.integerArguments != 0 || facts.readsNodeArguments;
        takeAttributes(node);
    }

private:
    void takeList(PrintedList list) {
        if (lists_.insert(list).second) {
            content_.lists.push_back(std::move(list));
        }
    }
    void takeVariable(PrintedVariable variable) {
        if (variables_.emplace(variable.kind, variable.index).second) {
            content_.variables.push_back(std::move(variable));
        }
    }

    // What is replaced is not read. An attribute is known by whose child it is: its own node says
    // that it can be read and written, not which of it happens.
    void takeAttributes(AetNodeBase const & node) {
        ClassFacts const & own = node.typeData().facts;
        if (node.typeData().attribute == nullptr) {
            content_.reads |= own.reads;
            content_.writes |= own.writes;
        }
        node.typeData().visitChildren(
            node, [&](FieldInfo const & field, AetNodeBase const * child) {
                if (child == nullptr || child->typeData().attribute == nullptr) {
                    return;
                }
                ClassFacts const & theirs = child->typeData().facts;
                bool const isTarget = plays(field, FieldRole::target);
                content_.reads |= isTarget && own.assigns ? 0 : theirs.reads;
                content_.writes |= isTarget ? theirs.writes : 0;
            });
    }

    FunctionContent & content_;
    std::set<PrintedList> lists_;
    std::set<std::pair<ArgumentKind, U8>> variables_;
};

} // namespace

PrintedList listOf(AetNodeBase const & node) {
    ListFields fields(*node.typeData().facts.list);
    node.typeData().write(node, fields);
    return std::move(fields.list);
}

PrintedVariable variableOf(AetNodeBase const & node) {
    VariableFields fields(node.typeData().facts.argument);
    node.typeData().write(node, fields);
    return std::move(fields.variable);
}

// A shared node is looked at in the first place where the text has it.
FunctionContent contentOf(Eval::Function const & function) {
    FunctionContent content{&function};
    if (!function.body()) {
        return content;
    }
    Collector collector(content);
    std::unordered_set<AetNodeBase const *> met;
    Eval::walkTree(
        *function.body(),
        [](Eval::WalkedNode const & at) { return !plays(*at.field, FieldRole::callee); },
        [&](Eval::WalkedNode const & at) {
            bool const isNew = met.insert(&at.node).second;
            if (isNew) {
                collector.take(at.node);
            }
            return isNew;
        },
        [](AetNodeBase const &) {});
    return content;
}

} // namespace Qcf::Text
