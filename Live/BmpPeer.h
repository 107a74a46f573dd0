#pragma once

#include "Agent/Mrt/BgpUpdate.h"
#include "Live/BmpFrame.h"

#include <map>
#include <vector>

namespace Qcf::Live {

/// The tables of a router that it may show.
enum class Rib : U8 { inPre, inPost, loc, outPre, outPost };
constexpr std::size_t ribs = 5;
/// Whether it is sent to a peer.
constexpr bool isOut(Rib rib) { return rib == Rib::outPre || rib == Rib::outPost; }
/// "in-pre".
char const * ribName(Rib rib);
/// The table of that name; nothing for another text.
std::optional<Rib> ribOf(std::string_view name);

/// What tells a router's peers apart. Two of them may have one address, in different VRFs.
struct PeerKey {
    /// 0 and 1 are peers, in the default instance or a VRF; 2 stands for local routes, 3 for
    /// Loc-RIB.
    U8 type = 0;
    U64 distinguisher = 0;
    IpGenAddr address;

    auto operator<=>(PeerKey const &) const = default;
};

/// A distinguisher as people write it: "65000:7", "192.0.2.1:7".
String distinguisherText(U64 distinguisher);

/// What stands before most messages: which peer they are about, and in which form.
struct PeerHeader {
    static constexpr U8 locRibType = 3;

    PeerKey key;
    Rib rib = Rib::inPre;
    bool as2 = false;        ///< AS_PATH is said to have AS numbers of two bytes
    bool isFiltered = false; ///< of a Loc-RIB: not all of it is shown
    U32 as = 0;
    U32 bgpId = 0;
    U32 seconds = 0; ///< by the router's clock, or 0

    /// Takes the header that the body begins with. Throws Damage.
    static PeerHeader take(ByteCursor & body);
};

/// The OPEN message of one side of a session, as far as it matters for reading UPDATEs.
struct SpeakerOpen {
    U32 as = 0;
    U32 bgpId = 0;
    bool as4 = false; ///< AS numbers of four bytes
    /// What it offers for path identifiers of unicast routes, by family: IPv4 first. Bit 0:
    /// receives them, bit 1: sends them.
    std::array<U8, 2> addPath{};

    /// Takes an OPEN with its BGP header. Throws Damage.
    static SpeakerOpen take(ByteCursor & body);
};

/// What a Peer Up message says.
struct PeerUp {
    SpeakerOpen sent;     ///< by the router
    SpeakerOpen received; ///< from the peer
    String tableName;     ///< of a VRF or a table; empty for none
    U32 unknownTlvs = 0;

    /// Takes what follows the per-peer header. Throws Damage.
    static PeerUp take(ByteCursor & body);
    /// The form that the UPDATEs of a table have by these OPENs; `as2` as the message says.
    Agent::UpdateForm declaredForm(Rib rib, bool as2) const;
};

/// Takes one BGP message of that type and answers what follows its header. Throws Damage.
ByteCursor takeBgpMessage(ByteCursor & body, U8 type);

} // namespace Qcf::Live
