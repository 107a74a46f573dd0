#pragma once

#include "QcfLib/QcfEval.h"

#include <memory>

namespace Qcf::Text {

/// A node by itself as policy text: a statement or a condition as it stands in a body, a value, the
/// entries of a chain with commas between them, a function with all of its body.
///
///     printNode(*test); // "med > 5"
///
/// `within` is the function that it stands in, which knows how its parameters are called; without
/// one they are called as the node calls them. For one who looks at a node: made anew with each
/// call, in time linear in the function. One line where the language allows it and it is short.
String printNode(Eval::AetNodeBase const & node, Eval::Function const * within = nullptr);

/// The same for one who prints many nodes of one function: what the function settles is made once.
/// One thread's; the function must outlive it.
class FunctionText {
public:
    explicit FunctionText(Eval::Function const & within);
    ~FunctionText();
    /// Any of its nodes but the function itself.
    String node(Eval::AetNodeBase const & node) const;

private:
    struct Printed;
    std::unique_ptr<Printed const> printed_;
};

} // namespace Qcf::Text
