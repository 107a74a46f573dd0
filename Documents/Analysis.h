#pragma once

#include "QcfLib/QcfEval.h"

#include <span>
#include <vector>

/// Looking through functions for what is hardly meant, although it can be evaluated.
///
/// What is told is certain: where it depends on the route, or is not known, nothing is said.
///
///     Places places;
///     Program const program = readProgramFile(path, {&places});
///     for (Remark const & remark : analyse(program.functions))
///         std::cerr << places.of(*remark.node, *remark.function) << ": " << remark.text << '\n';
namespace Qcf::Documents {

/// One thing that is hardly meant.
///
/// It names nodes, not places: whoever knows where the nodes were written adds those. The nodes are
/// those of the functions looked through, and live as long as these.
struct Remark {
    enum class Kind : U8 {
        endsWithoutReturn, ///< an outermost function can end without `return`
        neverReached,      ///< a statement stands behind one that always leaves
        constantAnswer,    ///< a comparison answers the same for every route
        outOfRange,        ///< a constant that no value of the attribute or the set can be
        expectsArguments,  ///< an outermost function expects arguments
        unusedResult,      ///< a call as a statement whose callee neither changes nor exits
        bareTest,          ///< a statement that only tests
    };

    Kind kind;
    Eval::Function const * function; ///< in which the node stands
    Eval::AetNodeBase const * node;
    String text;
};

/// The name of a kind in machine-readable output, as its enumerator is called.
char const * remarkName(Remark::Kind kind);

/// Looks through functions, which are those of one document or policy text, each by itself, for
/// what is hardly meant: function by function and node by node in the order of the text. A node
/// that stands in several places is looked at in the first. Takes time in proportion to the nodes,
/// however often they are shared.
std::vector<Remark> analyse(std::span<PtrConst<Eval::Function> const> functions);

/// For each of the functions, in their order, whether it is outermost: none of them calls it.
std::vector<bool> outermostOf(std::span<PtrConst<Eval::Function> const> functions);

} // namespace Qcf::Documents
