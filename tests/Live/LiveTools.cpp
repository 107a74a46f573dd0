#include "tests/Live/LiveTools.h"

#include "Lists/ListBinding.h"
#include "Platform/Render/ReadFile.h"
#include "tests/support/PolicyText.h"

#include <gtest/gtest.h>

namespace Qcf::Live::test {

namespace {

std::span<U8 const> bytesOf(String const & text) {
    return {reinterpret_cast<U8 const *>(text.data()), text.size()};
}

/// An address in the 16 bytes that BMP has for it.
String wideAddress(String const & text) {
    String const bytes = address(text);
    return String(16 - bytes.size(), '\0') + bytes;
}

} // namespace

String bmp(U8 type, String const & body) { return u8(3) + u32(6 + body.size()) + u8(type) + body; }

String perPeer(PeerSpec const & peer) {
    bool const isV6 = peer.address.find(':') != String::npos;
    return u8(peer.type) + u8(peer.flags | (isV6 ? 0x80 : 0)) + be(peer.distinguisher, 8) +
           wideAddress(peer.address) + u32(peer.as) + u32(peer.bgpId) + u32(1700000000) + u32(0);
}

String open(OpenSpec const & spec) {
    String capabilities;
    if (spec.as4) {
        capabilities += u8(65) + u8(4) + u32(spec.as);
    }
    if (spec.addPath4 != 0 || spec.addPath6 != 0) {
        capabilities += u8(69) + u8(8) + u16(1) + u8(1) + u8(spec.addPath4) + u16(2) + u8(1) +
                        u8(spec.addPath6);
    }
    String const parameters = u8(2) + u8(capabilities.size()) + capabilities;
    return message(1, u8(4) + u16(spec.as > 0xffff ? 23456 : spec.as) + u16(180) + u32(0x0a000001) +
                          u8(parameters.size()) + parameters);
}

String tlv(U16 type, String const & value) { return u16(type) + u16(value.size()) + value; }

String initiation(String const & name) { return bmp(4, tlv(1, "router") + tlv(2, name)); }

String peerUp(PeerSpec const & peer, OpenSpec const & sent, OpenSpec const & received,
              String const & tlvs) {
    return bmp(3, perPeer(peer) + String(16, '\0') + u16(179) + u16(50000) + open(sent) +
                      open(received) + tlvs);
}

String peerDown(PeerSpec const & peer, U8 reason) { return bmp(2, perPeer(peer) + u8(reason)); }

String monitoring(PeerSpec const & peer, String const & update) {
    return bmp(0, perPeer(peer) + update);
}

String announce(PeerSpec const & peer, std::string_view prefixText, String const & more,
                std::initializer_list<U32> path) {
    return monitoring(peer, update("", plainAttributes(path) + more, prefix(prefixText)));
}

String withdraw(PeerSpec const & peer, std::string_view prefixText) {
    return monitoring(peer, update(prefix(prefixText), "", ""));
}

String endOfRib(PeerSpec const & peer) { return monitoring(peer, update("", "", "")); }

String medAttribute(U32 med) { return attribute(4, u32(med)); }

TestStation::TestStation(String const & policy, LiveSettings wanted)
    : settings(std::move(wanted)), routers(settings, read(policy), notebook) {}

std::shared_ptr<LivePolicy const> TestStation::read(String const & policy) {
    Eval::StatementCounts::enabledIs(true);
    auto const text = Qcf::test::readPolicy(policy, sources_);
    auto const & program = text.program();
    return std::make_shared<LivePolicy const>(
        program.find("import"), Lists::bindLists(program.slots, text.lists(sources_).get()));
}

void TestStation::hear(String const & bytes) {
    connection_.emplace(routers, "somewhere");
    hearMore(bytes);
    settle();
}

void TestStation::hearMore(String const & bytes) {
    EXPECT_EQ(connection_->take(bytesOf(bytes)), bytes.size());
}

void TestStation::settle() { connection_->router()->settle(); }

void TestStation::lose() { connection_->ended(true); }

bool TestStation::replayFile(String const & path) {
    return replay(routers, Lists::ByteSource(Lists::openFileStream(path)), path);
}

PeerState & TestStation::peer(String const & address, String const & routerName) {
    for (auto & [key, peer] : routers.router(routerName).peers()) {
        if (key.address.toString() == address) {
            return peer;
        }
    }
    ADD_FAILURE() << "no peer " << address;
    static PeerState none;
    return none;
}

std::vector<String> TestStation::table(String const & address, Rib rib, String const & routerName) {
    std::vector<String> lines;
    PeerState & of = peer(address, routerName);
    if (of.table(rib) == nullptr) {
        return lines;
    }
    StoredRoutes stored(routers.store());
    Agent::Route route;
    for (RibRoute const * const one : of.table(rib)->routes.sorted()) {
        stored.read(*one, of, rib, route);
        lines.push_back((one->pathId != 0 ? std::to_string(one->pathId) + " " : "") +
                        routeText(route));
    }
    return lines;
}

ComparisonCounts TestStation::compare(Tolerance tolerance) {
    return Board::of(routers, tolerance).total();
}

String streamFile(String const & name) { return QCF_SOURCE_DIR "/tests/Live/streams/" + name; }

String streamPolicy(String const & name) { return readFile(streamFile(name)); }

} // namespace Qcf::Live::test
