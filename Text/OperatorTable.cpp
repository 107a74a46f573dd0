#include "Text/OperatorTable.h"

#include "QcfLib/QcfEval.h"
#include "Text/Draft.h"

#include <algorithm>

/// What a row says follows from the class: its first field is the left side, the second one the
/// right side.
namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

/// Bodies of built-in functions have words and no fields.
bool isBuiltIn(NodeClass const & nodeClass) {
    return nodeClass.isKind(NodeKind::expression) && !nodeClass.facts.words.empty() &&
           nodeClass.fields.empty();
}

/// Of what has words and is an expression, operators have a value on their left.
bool isOperator(NodeClass const & nodeClass) {
    return nodeClass.isKind(NodeKind::expression) && !nodeClass.facts.words.empty() &&
           !nodeClass.fields.empty() && nodeClass.fields[0].isNode() &&
           nodeClass.fields[0].wanted != wanting(NodeKind::expression) &&
           !plays(nodeClass.fields[0], FieldRole::operand);
}

Operator rowOf(NodeClass const & nodeClass) {
    FieldInfo const & left = nodeClass.fields[0];
    Operator row{nodeClass.facts.words,         &nodeClass, &left, nullptr, RightSide::nothing,
                 plays(left, FieldRole::target)};
    if (nodeClass.facts.list) {
        row.side = RightSide::list;
    } else if (nodeClass.fieldOf(FieldRole::lowerBounds) != nullptr) {
        row.side = RightSide::ranges;
    } else if (nodeClass.fields.size() > 1) {
        row.side = RightSide::value;
        row.right = &nodeClass.fields[1];
    }
    return row;
}

/// Adding to extended communities without a word about it keeps one link bandwidth. Other
/// communities have no bandwidth to keep, so that plain adding needs no word there.
bool suitsAttribute(Operator const & row, std::string_view words, NodeClass const & left) {
    bool const isExtended =
        left.attribute != nullptr && left.attribute->lists == SlotKind::extCommList;
    bool const keepsOneBandwidth = row.nodeClass == &nodeClassOf<ExtCommunitySetAddImmediate>();
    bool const isPlain = row.nodeClass == &nodeClassOf<CommunitySetAddImmediate>();
    if (keepsOneBandwidth) {
        return words == row.words && isExtended;
    }
    return words == row.words || (isPlain && !isExtended && row.words.starts_with(words) &&
                                  row.words.substr(words.size()) == " plain");
}

template <typename Fits>
Operator const * findRow(std::string_view words, NodeClass const & left, Fits const & fits) {
    for (Operator const & row : operatorTable()) {
        if (mayStand(left, *row.left) && suitsAttribute(row, words, left) && fits(row)) {
            return &row;
        }
    }
    return nullptr;
}

} // namespace

std::span<Operator const> operatorTable() {
    static std::vector<Operator> const rows = [] {
        std::vector<Operator> all;
        for (NodeClass const & nodeClass : nodeClasses()) {
            if (isOperator(nodeClass)) {
                all.push_back(rowOf(nodeClass));
            }
        }
        return all;
    }();
    return rows;
}

Operator const * findOperator(std::string_view words, NodeClass const & left,
                              NodeClass const & right) {
    // A set of items alone tells that ranges are asked; a set that stands there whole is the value.
    return findRow(words, left, [&](Operator const & row) {
        return row.side == RightSide::value && mayStand(right, *row.right) &&
               row.nodeClass->fieldOf(FieldRole::lowerBounds) == nullptr;
    });
}

Operator const * findListOperator(std::string_view words, NodeClass const & left, SlotKind list) {
    return findRow(words, left, [&](Operator const & row) {
        return row.side == RightSide::list && row.nodeClass->facts.list == list;
    });
}

Operator const * findLoneOperator(std::string_view words, NodeClass const & left) {
    return findRow(words, left,
                   [](Operator const & row) { return row.side == RightSide::nothing; });
}

std::vector<Operator const *> operatorsFor(std::string_view words, NodeClass const & left) {
    std::vector<Operator const *> rows;
    for (Operator const & row : operatorTable()) {
        if (mayStand(left, *row.left) && suitsAttribute(row, words, left)) {
            rows.push_back(&row);
        }
    }
    return rows;
}

NodeClass const * findBuiltIn(std::string_view name) {
    auto const classes = nodeClasses();
    auto const found = std::ranges::find_if(classes, [&](NodeClass const & each) {
        return isBuiltIn(each) && each.facts.words == name;
    });
    return found == classes.end() ? nullptr : &*found;
}

std::vector<std::string_view> builtInNames() {
    std::vector<std::string_view> names;
    for (NodeClass const & nodeClass : nodeClasses()) {
        if (isBuiltIn(nodeClass)) {
            names.push_back(nodeClass.facts.words);
        }
    }
    return names;
}

std::string_view listKindWord(SlotKind kind) {
    switch (kind) {
    case SlotKind::commList:
        return "community_list";
    case SlotKind::extCommList:
        return "ext_community_list";
    case SlotKind::largeCommList:
        return "large_community_list";
    case SlotKind::tagSet:
        return "tag_set";
    case SlotKind::asPathAccessList:
        return "as_path_list";
    case SlotKind::v4PrefixList:
    case SlotKind::v6PrefixList:
        return "prefix_list";
    case SlotKind::dynamicPrefixList:
        return "dynamic_prefix_list";
    case SlotKind::roaTable:
        return "roa_table";
    case SlotKind::tunnelRib:
        return "tunnel_rib";
    }
    return "";
}

} // namespace Qcf::Text
