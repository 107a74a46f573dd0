#include "fuzz/RecordingSeeds.h"

#include "Lists/ByteSource.h"
#include "Live/BmpPeer.h"
#include "tests/Agent/Mrt/MrtTools.h"

#include <algorithm>
#include <filesystem>

namespace {

namespace fs = std::filesystem;
using namespace Qcf::Agent::test; // NOLINT(google-build-using-namespace): pieces of messages
using namespace Qcf::Live;        // NOLINT(google-build-using-namespace): what is under test

/// An UPDATE of a stream, with its BGP header.
struct Update {
    U32 as;
    IpGenAddr peer;
    String message;
};

/// Some of the UPDATEs of a stream of BMP.
std::vector<Update> updatesOf(Qcf::Lists::ByteSource & source) {
    constexpr std::size_t most = 60;
    constexpr std::size_t every = 7;
    std::vector<Update> updates;
    std::size_t number = 0;
    while (updates.size() < most && source.ensure(BmpFrame::headSize)) {
        std::size_t const size = BmpFrame::wanted({source.data(), source.available()});
        if (!source.ensure(size)) {
            break;
        }
        auto frame = BmpFrame::first({source.data(), size});
        if (frame && frame->type == BmpType::routeMonitoring && number++ % every == 0) {
            PeerHeader const header = PeerHeader::take(frame->body);
            auto const message = frame->body.rest();
            updates.push_back(
                {header.as, header.key.address, String(message.begin(), message.end())});
        }
        source.skip(size);
    }
    return updates;
}

String mrtOf(std::vector<Update> const & updates) {
    String records;
    for (Update const & update : updates) {
        records += bgp4mp(4, true, update.message);
    }
    // The session ends at last.
    return records + bgp4mp(5, true, u16(6) + u16(1));
}

String hexOf(String const & bytes) {
    String text;
    for (char const one : bytes) {
        auto const byte = static_cast<U8>(one);
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

String lineOf(Update const & update, std::size_t second, String const & members) {
    return R"({"type":"ris_message","data":{"timestamp":)" + std::to_string(1700000000 + second) +
           R"(.25,"peer":")" + update.peer.toString() + R"(","peer_asn":")" +
           std::to_string(update.as) + R"(","host":"rrc00",)" + members + "}}\n";
}

String risOf(std::vector<Update> const & updates) {
    String lines;
    for (std::size_t i = 0; i < updates.size(); ++i) {
        lines +=
            lineOf(updates[i], i, R"("type":"UPDATE","raw":")" + hexOf(updates[i].message) + '"');
    }
    return lines;
}

/// Lines that have no message as it was received.
String membersOf(Update const & update) {
    return lineOf(update, 0,
                  R"("type":"UPDATE","path":[65009,65010,[7,8]],"origin":"EGP","med":3,)"
                  R"("community":[[65009,1],[65535,666]],"announcements":[{"next_hop":"192.0.2.7",)"
                  R"("prefixes":["10.1.0.0/16","10.2.0.0/16"]},{"next_hop":"2001:db8::7,fe80::7",)"
                  R"("prefixes":["2001:db8:5::/48"]}])") +
           lineOf(update, 1, R"("type":"UPDATE","withdrawals":["10.2.0.0/16","2001:db8:6::/48"])") +
           lineOf(update, 2, R"("type":"RIS_PEER_STATE","state":"down")") + "{\"type\":\"pong\"}\n";
}

} // namespace

void writeRecordingSeeds(SeedWriter const & write) {
    for (auto const & entry : fs::directory_iterator(QCF_SOURCE_DIR "/tests/Live/streams")) {
        if (entry.path().extension() != ".gz") {
            continue;
        }
        String const name = entry.path().stem().string();
        Qcf::Lists::ByteSource source(Qcf::Lists::openFileStream(entry.path()));
        // Whole ones are long.
        for (std::size_t const size : {std::size_t{2} << 10, std::size_t{8} << 10}) {
            source.ensure(size);
            write("FuzzBmp", name + std::to_string(size),
                  String(reinterpret_cast<char const *>(source.data()), size));
        }
        auto const updates = updatesOf(source);
        auto const some = std::vector(
            updates.begin(), updates.begin() + std::min<std::ptrdiff_t>(6, std::ssize(updates)));
        write("FuzzUpdates", name, mrtOf(updates));
        write("FuzzUpdates", name + "-short", mrtOf(some));
        write("FuzzRis", name, risOf(some));
        if (!some.empty()) {
            write("FuzzRis", name + "-members", membersOf(some[0]));
        }
    }
}
