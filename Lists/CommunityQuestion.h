#pragma once

#include "Platform/Framework/Types.h"

#include <functional>

namespace Qcf::Lists {

/// What a community list is asked about one community, to be remembered.
///
///     memory.answerTo(CommunityQuestion<U64>{list.number(), community}, ask);
template <typename Community>
struct CommunityQuestion {
    /// The number of the list; 0 for a question that nobody asks.
    U64 list = 0;
    Community community{};

    bool operator==(CommunityQuestion const &) const = default;
    /// Of both, for AnswerMemory.
    U64 hash() const { return (list + std::hash<Community>()(community)) * 0x9e3779b97f4a7c15U; }
};

} // namespace Qcf::Lists
