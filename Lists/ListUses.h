#pragma once

#include "Lists/ListBinding.h"
#include "QcfLib/QcfEval.h"

#include <functional>
#include <optional>
#include <span>

namespace Qcf::Lists {

/// Tells the place of a node as messages name it. `within` is the function that reaches the node
/// without a call: by key alone a node that functions share could be told in either.
using PlaceOf =
    std::function<String(Eval::AetNodeBase const & node, Eval::Function const & within)>;

/// The list that a node itself names, without a place; nothing where its class names none.
std::optional<ListUse> listUseOf(Eval::AetNodeBase const & node);

/// The lists that evaluating the function refers to, functions that it calls included: each name of
/// a kind once, with the first node that has it, in the order of the text. A callee's lists stand
/// at the call, those of its arguments behind them.
///
/// Walks the tree without recursion, each node once, whatever the depth; asks `placeOf` only for
/// what it lists. Which classes name a list, and by which fields, is a fact of the class.
std::vector<ListUse> reachedLists(Eval::Function const & function, PlaceOf const & placeOf);

/// What the functions ask of each community list that they name, functions that they call included:
/// for findings that depend on it. Walks like `reachedLists`.
QuestionsOfLists questionsOf(std::span<PtrConst<Eval::Function> const> functions);

} // namespace Qcf::Lists
