#pragma once

#include "Platform/Framework/Trace.h"
#include "QcfLib/QcfEval.h"

#include <charconv>
#include <optional>
#include <vector>

/// Gathers what the engine traces about sanity checks as long as it lives. The engine's check
/// answers yes or no; why, it tells its trace alone. The sink is the process's: it is taken off
/// again, because it writes to this object.
class SanityTrace {
public:
    SanityTrace() {
        TraceFacility::sinkIs(
            [this](int, String const & message) { messages_.push_back(message); });
        Qcf::Eval::traceQcfEval.levelIs(2);
    }
    ~SanityTrace() {
        Qcf::Eval::traceQcfEval.levelIs(0);
        TraceFacility::sinkIs({});
    }
    SanityTrace(SanityTrace const &) = delete;
    SanityTrace & operator=(SanityTrace const &) = delete;

    /// The innermost message that tells of a fault; starts anew. Checks trace from the inside out.
    /// To be asked after each function, sane ones too, since those leave messages as well.
    String takeReason() {
        String reason = "a node is not sane";
        for (String const & message : messages_) {
            if (tellsOfFault(message)) {
                reason = message;
                break;
            }
        }
        messages_.clear();
        return reason;
    }

private:
    /// Messages end in `name=number` pairs: a check that failed is 0, and a slot is to be equal to
    /// that of the metadata and not 0.
    static bool tellsOfFault(String const & message) {
        std::optional<U64> common;
        for (std::size_t at = message.find('='); at != String::npos;
             at = message.find('=', at + 1)) {
            U64 number = 0;
            std::from_chars(message.data() + at + 1, message.data() + message.size(), number);
            if (number == 0 || number != common.value_or(number)) {
                return true;
            }
            common = number;
        }
        return false;
    }

    std::vector<String> messages_;
};
