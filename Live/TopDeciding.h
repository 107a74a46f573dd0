#pragma once

#include "Live/LivePolicy.h"

namespace Qcf::Live {

/// A statement with the routes that it decides.
struct DecidedShare {
    U64 routes = 0;
    /// Null where it is not known which one it is.
    PolicyStatements::Statement const * statement = nullptr;
    Watch::NodePlace place = {}; ///< without file where none is known
    String line = {};            ///< on one line; empty for the end of a function
    String reason = {};          ///< that the text gives; empty for none

    /// ":42 bogon-or-leak", ":69 return false", "the end of import": few words for people.
    String text() const;
};

/// "96.4 % :77 return true   2.3 % :42 bogon-or-leak": those that decide most, for people.
String topDecidingLine(LivePolicy const & policy, std::vector<U64> const & decided);

/// The statements that decide the most routes, the most first, as many at most; `decided` has the
/// routes by statement. The policy must outlive what is answered.
std::vector<DecidedShare> topDeciding(LivePolicy const & policy, std::vector<U64> const & decided,
                                      std::size_t most);

} // namespace Qcf::Live
