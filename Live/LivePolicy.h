#pragma once

#include "Live/PolicyStatements.h"
#include "QcfLib/ExternalMatchers.h"
#include "Watch/NodePlaces.h"

#include <memory>

namespace Qcf::Live {

/// A policy as a station evaluates it. Immutable; threads share it.
struct LivePolicy {
    PtrConst<Eval::Function> function;
    PtrConst<ExternalMatchersBase> matchers; ///< null for none
    /// Tells it from other ones, for people: some hexadecimal digits; empty for nothing.
    String digest;
    /// Where its statements stand; may be null.
    std::shared_ptr<Watch::NodePlaces const> places;
    PolicyStatements statements;

    LivePolicy(PtrConst<Eval::Function> ofFunction, PtrConst<ExternalMatchersBase> itsMatchers,
               String itsDigest = {}, std::shared_ptr<Watch::NodePlaces const> itsPlaces = {})
        : function(std::move(ofFunction)),
          matchers(std::move(itsMatchers)),
          digest(std::move(itsDigest)),
          places(std::move(itsPlaces)),
          statements(function) {}
};

} // namespace Qcf::Live
