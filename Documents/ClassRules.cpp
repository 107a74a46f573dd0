#include "Documents/ClassRules.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

namespace Qcf::Documents {

using Eval::FieldInfo;
using Eval::NodeClass;

namespace {

using M = FunctionMetadata;

// The first row that fits counts: the longer names of a suffix stand before the shorter.
constexpr SlotRule slotRules[] = {
    {"LargeCommList", "listName", "index", &M::largeCommListsUsed},
    {"ExtCommList", "listName", "index", &M::extCommListsUsed},
    {"CommList", "listName", "index", &M::commListsUsed},
    {"AsPathAccessList", "listName", "index", &M::asPathAccessListsUsed},
    {"", "tagSetName", "index", &M::tagSetsUsed},
    {"DynamicPrefixListImmediate", "name", "indexInAet", &M::DynPrefixListsUsed},
    {"PrefixListImmediate", "name", "indexInAet", &M::V4PrefixListsUsed},
    {"RoaTableImmediate", "name", "number", &M::roaTablesUsed},
};

/// What the bodies of built-in functions do, which their fields do not show.
struct BuiltIn {
    char const * className;
    std::initializer_list<char const *> reads;
    char const * writes;
    U8 integers;
    bool nodeArguments;
};
BuiltIn const builtIns[] = {
    {"SetNextHopSelfImplExpr", {}, "next_hop", 0, false},
    {"MatchOriginAsValidityImplExpr", {"prefix", "as_path"}, nullptr, 2, false},
    {"EvpnIpPrefixRouteSetOverlayIndexImplExpr", {}, nullptr, 0, false},
    {"AsPathReplaceImplExpr", {"as_path"}, "as_path", 1, true},
    {"AsPathRemoveImplExpr", {"as_path"}, "as_path", 0, true},
};

/// Values of these bases are passed by value, all others as references.
struct ArgumentRule {
    std::string_view base;
    ArgumentKind kind;
};
constexpr ArgumentRule argumentRules[] = {
    {"Int", ArgumentKind::integer},           {"IntModifiable", ArgumentKind::integer},
    {"Bandwidth", ArgumentKind::bandwidth},   {"TriStateBool", ArgumentKind::triStateBool},
    {"PrefixList", ArgumentKind::prefixList},
};

constexpr std::string_view notValues[] = {"Expression", "LogicalOperator", "AetNodeBase",
                                          "FunctionBase"};
constexpr std::string_view valueLists[] = {"IntLinkedList", "CommunityLinkedList",
                                           "FunctionArgumentList"};
constexpr std::string_view constants[] = {"IntImmediate", "RoaTableImmediate",
                                          "CommunityValueImmediate"};

template <typename Names>
bool isOneOf(std::string_view name, Names const & names) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

bool hasField(NodeClass const & nodeClass, std::string_view name) {
    return std::any_of(nodeClass.fields.begin(), nodeClass.fields.end(),
                       [&](FieldInfo const & field) { return field.name == name; });
}

SlotRule const * slotRuleOf(NodeClass const & nodeClass) {
    for (SlotRule const & rule : slotRules) {
        if (std::string_view(nodeClass.name).ends_with(rule.classSuffix) &&
            hasField(nodeClass, rule.nameField) && hasField(nodeClass, rule.slotField)) {
            return &rule;
        }
    }
    return nullptr;
}

/// Attributes live in a namespace of their own and say where their bases are.
std::string_view baseOf(NodeClass const & nodeClass) {
    std::string_view const base = nodeClass.base;
    std::size_t const colon = base.rfind(':');
    return colon == std::string_view::npos ? base : base.substr(colon + 1);
}

ArgumentKind argumentKindOf(NodeClass const & nodeClass) {
    for (ArgumentRule const & rule : argumentRules) {
        if (baseOf(nodeClass) == rule.base) {
            return rule.kind;
        }
    }
    return ArgumentKind::node;
}

U64 readBit(NodeClass const & attribute) {
    int const bit = attribute.attribute->readBit;
    return bit < 0 ? 0 : U64{1} << bit;
}

U32 writeBit(NodeClass const & attribute) {
    int const bit = attribute.attribute->writeBit;
    return bit < 0 ? 0 : U32{1} << bit;
}

void addBuiltIn(ClassRules & rules, BuiltIn const & builtIn) {
    rules.returns = true;
    rules.integers = builtIn.integers;
    rules.nodeArguments = builtIn.nodeArguments;
    for (char const * const name : builtIn.reads) {
        rules.reads |= readBit(*Eval::findAttribute(name));
    }
    if (builtIn.writes != nullptr) {
        rules.writes |= writeBit(*Eval::findAttribute(builtIn.writes));
    }
}

ClassRules makeRules(NodeClass const & nodeClass) {
    std::string_view const name = nodeClass.name;
    bool const value = !isOneOf(baseOf(nodeClass), notValues);
    ClassRules rules;
    rules.shared = value || isOneOf(name, valueLists);
    rules.link = hasField(nodeClass, "entry") && hasField(nodeClass, "next");
    rules.returns = name == "ReturnExpression";
    rules.constant = isOneOf(name, constants);
    rules.variable = hasField(nodeClass, "argVectorIndex");
    rules.writesOnly = name.find("Assign") != std::string_view::npos;
    rules.argument = value ? argumentKindOf(nodeClass) : ArgumentKind::none;
    rules.slot = slotRuleOf(nodeClass);
    if (nodeClass.attribute != nullptr) {
        rules.reads = readBit(nodeClass);
        rules.writes = writeBit(nodeClass);
    }
    for (BuiltIn const & builtIn : builtIns) {
        if (name == builtIn.className) {
            addBuiltIn(rules, builtIn);
        }
    }
    return rules;
}

} // namespace

ClassRules const & ClassRules::of(NodeClass const & nodeClass) {
    static std::vector<ClassRules> const all = [] {
        std::vector<ClassRules> rules;
        for (NodeClass const & each : Eval::nodeClasses()) {
            rules.push_back(makeRules(each));
        }
        return rules;
    }();
    return all[nodeClass.number()];
}

bool wantsModifiable(FieldInfo const & field) {
    return std::string_view(field.wants).ends_with("Modifiable");
}

bool passesReturn(FieldInfo const & field) {
    static constexpr std::string_view passing[] = {"stmts", "entry", "next", "thenBlock",
                                                   "elseBlock"};
    return isOneOf(field.name, passing);
}

bool isOperandField(FieldInfo const & field) {
    static constexpr std::string_view operands[] = {"condition", "expr", "expressionList"};
    return isOneOf(field.name, operands);
}

} // namespace Qcf::Documents
