#pragma once

#include "Live/Board.h"
#include "Live/Replay.h"
#include "Text/Policy.h"
#include "tests/Agent/Mrt/MrtTools.h"

#include <optional>

/// Streams of routers made by hand, and what a station makes of them.
namespace Qcf::Live::test {

using namespace Agent::test; // NOLINT(google-build-using-namespace): pieces of BGP messages

/// The per-peer header of a message.
struct PeerSpec {
    U8 type = 0;
    U8 flags = 0;
    U64 distinguisher = 0;
    String address = "192.0.2.1";
    U32 as = 65001;
    U32 bgpId = 0x01020304;
};
constexpr U8 postFlag = 0x40;
constexpr U8 as2Flag = 0x20;
constexpr U8 outFlag = 0x10;

/// What one side of a session offers.
struct OpenSpec {
    U32 as = 65000;
    bool as4 = true;
    U8 addPath4 = 0; ///< 1 receives, 2 sends
    U8 addPath6 = 0;
};

String bmp(U8 type, String const & body);
String perPeer(PeerSpec const & peer);
/// The OPEN message.
String open(OpenSpec const & spec);
String tlv(U16 type, String const & value);
String initiation(String const & name);
String peerUp(PeerSpec const & peer, OpenSpec const & sent = {},
              OpenSpec const & received = {65001}, String const & tlvs = {});
String peerDown(PeerSpec const & peer, U8 reason = 1);
/// Route Monitoring with an UPDATE that has its BGP header.
String monitoring(PeerSpec const & peer, String const & update);
/// The same that announces a prefix of IPv4 by way of these ASes. More attributes may follow.
String announce(PeerSpec const & peer, std::string_view prefixText, String const & more = {},
                std::initializer_list<U32> path = {65001});
String withdraw(PeerSpec const & peer, std::string_view prefixText);
String endOfRib(PeerSpec const & peer);
String medAttribute(U32 med);

/// Keeps what it is told, as lines: "edge1 192.0.2.1 in-pre: text".
class Notebook final : public LiveListener {
public:
    void note(Where const & where, String const & text) override {
        notes.push_back(where.text() + ": " + text);
    }
    void peer(Where const & where, bool isUp, U8 reason) override {
        peers.push_back(where.text() + (isUp ? " up" : " down " + std::to_string(reason)));
    }
    void sync(Where const & where, AddressFamily family, U64 routes) override {
        syncs.push_back(where.text() + (family == AddressFamily::ipv4 ? " v4 " : " v6 ") +
                        std::to_string(routes));
    }

    std::vector<String> notes;
    std::vector<String> peers;
    std::vector<String> syncs;
};

/// A station with a policy, whose function is called "import".
class TestStation {
public:
    /// Accepts everything and changes nothing.
    static constexpr char const * acceptAll = "function \"import\"() { return true }\n";

    explicit TestStation(String const & policy = acceptAll, LiveSettings settings = {});

    /// A connection that brings these bytes, and then nothing more for a while.
    void hear(String const & bytes);
    /// Goes on with the connection that was heard last.
    void hearMore(String const & bytes);
    /// Nothing more comes.
    void settle();
    void lose();
    /// Reads a file as a recording.
    bool replayFile(String const & path);

    LiveRouter & router(String const & name = "edge1") { return routers.router(name); }
    /// The peer of that address; fails the test where there is none.
    PeerState & peer(String const & address, String const & routerName = "edge1");
    /// The routes of a table in order, as `routeText` has them.
    std::vector<String> table(String const & address, Rib rib, String const & routerName = "edge1");
    ComparisonCounts compare(Tolerance tolerance = {});
    /// A policy for this station, whose function is called "import" as well.
    std::shared_ptr<LivePolicy const> read(String const & policy);

    LiveSettings settings;
    Notebook notebook;

private:
    Text::Sources sources_;

public:
    RouterSet routers;

private:
    std::optional<Connection> connection_;
};

/// A recorded stream or its policy in the folder of these tests.
String streamFile(String const & name);
/// The text of a policy beside the streams.
String streamPolicy(String const & name);

} // namespace Qcf::Live::test
