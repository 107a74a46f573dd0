#pragma once

#include "Platform/Framework/Entity.h"

namespace Qcf::Eval {

/// Which of a context's cached inputs hold the values of the present route. `Input` is the cache's
/// enumeration of its inputs, of at most 32 enumerators.
///
///     if (!cache.isPopulated(Input::communityInput)) {
///         ... // fetch it
///         cache.populatedIs(Input::communityInput);
///     }
///
/// Clearing all flags is what makes a cache ready for the next route: the containers keep their
/// storage and their stale values, which nobody reads before they are fetched anew.
class PopulatedInputs : public Entity {
public:
    /// One test of a bit, on the way of each access to a set or path.
    template <typename Input>
    bool isPopulated(Input input) const {
        return (populated_ & bitOf(input)) != 0;
    }
    /// To be called when the input was fetched, not before: an agent's operation may throw.
    template <typename Input>
    void populatedIs(Input input) {
        populated_ |= bitOf(input);
    }
    /// For the next route.
    void populatedClear() { populated_ = 0; }

private:
    template <typename Input>
    static constexpr U32 bitOf(Input input) {
        return U32{1} << static_cast<U8>(input);
    }

    /// A bit for each input.
    U32 populated_ = 0;
};

} // namespace Qcf::Eval
