#pragma once

#include "QcfLib/NodeClass.h"

#include <span>
#include <string_view>
#include <vector>

namespace Qcf::Text {

/// What stands on the right of an operator.
enum class RightSide : U8 {
    nothing, ///< `is empty`
    value,   ///< the field `right`
    ranges,  ///< a set of items with ranges, in fields of their own
    list,    ///< the name of an outside list
};

/// An operator of policy text: a word between two sides stands for a class of nodes.
struct Operator {
    std::string_view words; ///< "has all"
    Eval::NodeClass const * nodeClass;
    Eval::FieldInfo const * left;
    Eval::FieldInfo const * right; ///< null unless a value stands there
    RightSide side;
    /// Whether it changes what stands on its left.
    bool isChange;
};

/// All operators, one row each, as the classes of nodes spell them. What parses, prints, completes
/// and highlights operators reads this table.
///
///     for (Operator const & row : operatorTable()) ... row.words ... row.left->wants
std::span<Operator const> operatorTable();

/// The operator of those words for a left side of that class and a value of that class on the
/// right; null where there is none. An operator that was made for the very attribute goes before
/// those of its type.
Operator const * findOperator(std::string_view words, Eval::NodeClass const & left,
                              Eval::NodeClass const & right);
/// The same with a list of that kind on the right.
Operator const * findListOperator(std::string_view words, Eval::NodeClass const & left,
                                  SlotKind list);
/// The same with nothing there.
Operator const * findLoneOperator(std::string_view words, Eval::NodeClass const & left);

/// The rows of those words whose left side may be of that class.
std::vector<Operator const *> operatorsFor(std::string_view words, Eval::NodeClass const & left);

/// The class of the body of a built-in function of that name; null where there is none.
Eval::NodeClass const * findBuiltIn(std::string_view name);
/// The names of all of them.
std::vector<std::string_view> builtInNames();

/// The word for a kind of lists: "community_list". Prefix lists of both families have one.
std::string_view listKindWord(SlotKind kind);

} // namespace Qcf::Text
