#pragma once

#include "QcfLib/QcfEval.h"
#include "Text/NodeText.h"

#include <map>

namespace Qcf::Questions {

/// Nodes as policy text, to compare those of two policies by: the same whatever file they come
/// from. Constants are spelled out, slots of lists are left out. What was spelled is kept.
///
///     StatementTexts texts;
///     texts.head(*branch, *function); // "med > 5" of `if med > 5 { ... }`
///
/// Belongs to one thread. The nodes must outlive it.
class StatementTexts {
public:
    /// The node with all that stands in it.
    String const & whole(Eval::Expression const & node, Eval::Function const & within);
    /// What it says itself: of an `if` its condition, of a block nothing, of a function its name.
    String const & head(Eval::Expression const & node, Eval::Function const & within);

private:
    using Key = std::pair<Eval::Expression const *, Eval::Function const *>;
    std::map<Key, String> known_;
    std::map<Eval::Function const *, Text::FunctionText> functions_;
};

} // namespace Qcf::Questions
