#pragma once

#include "Platform/Framework/Ptr.h"
#include "Platform/Framework/Types.h"

class RendererV2;

namespace Routing::Policy {

/// A record of how a policy was evaluated, of whatever kind of policy, so that a host can keep and
/// show logs without knowing the engine that wrote them. Read-only once it is handed out. It holds
/// all that it tells and may be kept when the route is gone.
class EvaluationLogBase : public PtrInterface {
public:
    ~EvaluationLogBase() override = default;

    /// Code of the kind of policy that wrote the log. By it a host finds out whether it knows more
    /// of the log.
    virtual U32 policyType() const = 0;

    /// Writes the log as members of the object that is open in the renderer, which must not be
    /// null.
    virtual void toJson(RendererV2 * renderer) const = 0;

    /// Writes the log as one JSON object to an open file descriptor, which stays open; a descriptor
    /// that does not block is waited for. Throws `std::system_error` when writing fails.
    virtual void toJsonOnFd(unsigned fd) const = 0;
};

} // namespace Routing::Policy
