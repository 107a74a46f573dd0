#pragma once

#include "Text/Policy.h"

#include <sstream>
#include <stdexcept>

namespace Qcf::test {

/// Reads a text as the file "p.qcf". Throws its messages where it has errors.
inline Text::Policy readPolicy(String const & text, Text::Sources & sources) {
    Text::Messages messages;
    auto policy = Text::readPolicyText(text, "p.qcf", sources, messages);
    if (!policy) {
        std::ostringstream told;
        messages.print(sources, told);
        throw std::runtime_error(told.str());
    }
    return std::move(*policy);
}

} // namespace Qcf::test
