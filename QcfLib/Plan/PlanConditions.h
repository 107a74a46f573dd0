#pragma once

#include "QcfLib/QcfEval.h"

#include <optional>

/// What the conditions of clauses ask.
namespace Qcf::Eval {

/// The values that satisfy comparisons of an integer; none when `low` is above `high`.
struct IntBounds {
    U64 low = 0;
    U64 high = ~U64{0};
};

/// A test of an integer or a set against constants.
struct ConstantTest {
    enum class Kind : U8 { intBounds, intInSet, setHasAny, communitySetHasAny };

    Kind kind;
    StorageType const * operand;
    IntBounds bounds;
    U64SmallVector const * ints = nullptr;
    CommunitySmallVector const * communities = nullptr;

    /// How many constants it compares with.
    std::size_t size() const {
        return ints != nullptr ? ints->count() : communities != nullptr ? communities->count() : 1;
    }
};

/// The test that a node stands for; nothing for other nodes, and for comparisons with negative
/// constants.
std::optional<ConstantTest> constantTestOf(Expression const & node);

} // namespace Qcf::Eval
