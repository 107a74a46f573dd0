#pragma once

#include "QcfLib/QcfEval.h"

#include <compare>
#include <vector>

namespace Qcf::Text {

/// An outside list as a node names it.
struct PrintedList {
    SlotKind kind;
    String name;
    U64 slot;
    auto operator<=>(PrintedList const &) const = default;
};

/// An argument as a variable of the function's body names it.
struct PrintedVariable {
    Eval::ArgumentKind kind;
    U8 index; ///< among those of its kind
    String name;
};

/// What the text of a function says of it beyond its body: all that a printer has to know before it
/// writes the first line. Of the function's own tree, what it calls left out.
struct FunctionContent {
    Eval::Function const * function;
    /// The lists that it names, each with each slot once, in the order of first use.
    std::vector<PrintedList> lists = {};
    /// The arguments that it reads, each once, under the name that comes first.
    std::vector<PrintedVariable> variables = {};
    /// In the order of the text, a shared one once.
    std::vector<Eval::FunctionCallExpression const *> calls = {};
    U64 reads = 0;  ///< bits of AttributeSet
    U32 writes = 0; ///< bits of ModifiableAttributeSet
    /// A body of a built-in function stands in it, and reads arguments.
    bool readsUnnamedArguments = false;
};

/// Goes over the function's tree once, each shared node once, without recursion.
FunctionContent contentOf(Eval::Function const & function);

/// The list that the node names; its class must name one.
PrintedList listOf(Eval::AetNodeBase const & node);

/// The argument that the node reads; its class must read one.
PrintedVariable variableOf(Eval::AetNodeBase const & node);

} // namespace Qcf::Text
