#pragma once

#include "Platform/Framework/Types.h"

#include <atomic>

namespace Qcf::Lists {

/// The number of a list: tells it from every other one there was in this process, also from one
/// that stood at its address or in its object. Never 0. Made by any thread.
class ListNumber {
public:
    ListNumber() = default;
    /// A copy is another list, and what is assigned becomes one.
    ListNumber(ListNumber const & /*other*/) {}
    ListNumber & operator=(ListNumber const & /*other*/) {
        number_ = another();
        return *this;
    }

    U64 value() const { return number_; }

private:
    static U64 another() {
        static std::atomic<U64> last = 0;
        return last.fetch_add(1, std::memory_order_relaxed) + 1;
    }

    U64 number_ = another();
};

} // namespace Qcf::Lists
