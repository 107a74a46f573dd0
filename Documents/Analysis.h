#pragma once

#include "QcfLib/QcfEval.h"

#include <span>
#include <vector>

namespace Qcf::Documents {

/// Something about a function that is hardly meant, although it can be evaluated.
///
/// It names nodes, not places: whoever knows where the nodes were written adds those.
struct Remark {
    enum class Kind : U8 {
        endsWithoutReturn, ///< an outermost function can end without `return`
        neverReached,      ///< a statement stands behind one that always leaves
        constantAnswer,    ///< a comparison answers the same for every route
        outOfRange,        ///< a constant that no value of the attribute or the set can be
        expectsArguments,  ///< an outermost function expects arguments
    };

    Kind kind;
    Eval::Function const * function; ///< in which the node stands
    Eval::AetNodeBase const * node;
    String text;
};

/// The name of a kind in machine-readable output, as its enumerator is called.
char const * remarkName(Remark::Kind kind);

/// Looks through functions, which are those of one document or policy text, each by itself, for
/// what is hardly meant: function by function and node by node in the order of the text.
std::vector<Remark> analyse(std::span<PtrConst<Eval::Function> const> functions);

/// For each of the functions, whether it is outermost: none of them calls it.
std::vector<bool> outermostOf(std::span<PtrConst<Eval::Function> const> functions);

} // namespace Qcf::Documents
