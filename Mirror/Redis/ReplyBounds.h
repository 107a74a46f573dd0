#pragma once

#include "Platform/Framework/Types.h"

#include <string_view>

namespace Qcf::Mirror {

/// How large an answer may be. What a server says of its answer's size is believed only within
/// these: memory is taken for it before the answer itself has come.
struct ReplyLimits {
    U64 line = U64{64} << 10; ///< bytes of a status, an error, a number or a length
    U64 text = U64{64} << 20; ///< bytes of one string
    U64 bytes = U64{1} << 30; ///< of a whole answer
    U64 parts = 16'000'000;   ///< elements of all arrays of an answer
};

/// Looks at the bytes of answers before anybody else does, and finds what is beyond the limits.
///
///     ReplyBounds bounds;
///     bounds.begin();                       // a command was sent
///     String const why = bounds.take(bytes); // empty: the bytes may be read
///
/// It follows the protocol's lengths and nothing else: what is no answer at all is for the reader
/// to tell. Pieces may be cut anywhere. Costs a look at each line, none at the bytes of strings.
class ReplyBounds {
public:
    explicit ReplyBounds(ReplyLimits limits = {}) : limits_(limits) {}

    /// Another answer is to come.
    void begin() { bytes_ = parts_ = 0; }
    /// The next bytes; answers which limit they are beyond, empty for none.
    String take(std::string_view bytes);

private:
    /// A whole line without its end.
    String takeLine();

    ReplyLimits limits_;
    U64 bytes_ = 0; ///< of this answer so far
    U64 parts_ = 0;
    U64 skip_ = 0; ///< bytes of a string that are still to come, with its line end
    String line_;  ///< as far as it has come
};

} // namespace Qcf::Mirror
