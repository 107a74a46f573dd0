#pragma once

#include "Questions/StatementTexts.h"

#include <span>
#include <vector>

namespace Qcf::Questions {

/// A part of a sequence as it is compared: a statement of a block, an arm of a chain of `else if`,
/// an operand of `and` and `or`.
struct SequencePart {
    Eval::Expression const * node;
    String const * whole; ///< with all that stands in it
    String const * head;  ///< what it says itself
    bool isElse = false;  ///< the last arm of a chain, which has no condition
};

/// Two places of the same part, or a place of a part that only one sequence has.
struct PartPair {
    static constexpr std::size_t none = ~std::size_t{0};
    std::size_t older = none;
    std::size_t newer = none;

    bool operator==(PartPair const &) const = default;
};

/// Which parts of two sequences are the same part, perhaps changed, and which one of them lacks: in
/// order, so that as many as possible are equal, and then alike. What only the older one has stands
/// before what only the newer one has.
///
///     a; b; c   and   a; x; c   are a-a, b-x, c-c where b and x are alike, else a-a, b-, -x, c-c
///
std::vector<PartPair> pairsOf(std::span<SequencePart const> older,
                              std::span<SequencePart const> newer);

} // namespace Qcf::Questions
