#pragma once

#include "Agent/Mrt/BgpUpdate.h"

#include <optional>

namespace Qcf::Agent {

/// What a record of a collector says around its content: between whom it passed, and how it is
/// written. Points into the record.
///
///     if (auto const session = MrtSession::ofBgp4mp(subtype, body)) {
///         if (auto const update = session->update()) { ... }
///     }
struct MrtSession {
    /// What follows the addresses.
    enum class Content : U8 {
        message,  ///< a BGP message with its header
        update,   ///< an UPDATE without it, in records of before 2001
        newState, ///< the state of the session before and after, two bytes each
    };
    /// The state in which routes are exchanged.
    static constexpr U16 established = 6;

    U32 peerAs = 0;
    U32 collectorAs = 0;
    IpGenAddr peer;
    UpdateForm form;
    Content content = Content::message;
    ByteCursor body;

    /// Of a record of BGP4MP, past the microseconds where it has them; nothing for a subtype that
    /// has neither messages nor states. Throws Damage.
    static std::optional<MrtSession> ofBgp4mp(U16 subtype, ByteCursor record);
    /// Whether a record of BGP4MP of that subtype tells a change of state.
    static bool hasState(U16 subtype);
    /// The same as `ofBgp4mp` of the old type: sessions of IPv4, and AS numbers of two bytes.
    static std::optional<MrtSession> ofBgp(U16 subtype, ByteCursor record);

    /// The UPDATE behind its header; nothing for content of another kind. Throws Damage.
    std::optional<ByteCursor> update() const;
};

} // namespace Qcf::Agent
