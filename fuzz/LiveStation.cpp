#include "fuzz/LiveStation.h"

#include "Lists/ListBinding.h"
#include "Live/Board.h"
#include "Live/Replay.h"
#include "Text/Policy.h"
#include "fuzz/Require.h"

using namespace Qcf::Live; // NOLINT(google-build-using-namespace): what is under test

namespace {

class Policy {
public:
    Policy() {
        Qcf::Text::Messages messages;
        policy_ =
            Qcf::Text::readPolicyText("function \"import\"() {\n"
                                      "  if med < 20 { return false }\n"
                                      "  if as_path.length > 3 { as_path prepend [ 65000 ] }\n"
                                      "  community add { 65000:1 }\n"
                                      "  return true\n"
                                      "}\n",
                                      "fuzz", sources_, messages);
        requireThat(policy_.has_value(), "the policy can be read");
        live_ = std::make_shared<LivePolicy const>(
            policy_->program().find("import"),
            Qcf::Lists::bindLists(policy_->program().slots, nullptr));
    }

    std::shared_ptr<LivePolicy const> const & live() const { return live_; }

private:
    Qcf::Text::Sources sources_;
    std::optional<Qcf::Text::Policy> policy_;
    std::shared_ptr<LivePolicy const> live_;
};

std::shared_ptr<LivePolicy const> const & policy() {
    static Policy const policy;
    return policy.live();
}

} // namespace

void StationListener::note(Where const & where, String const & text) {
    said += where.text() + text;
}

void StationListener::peer(Where const & where, bool /*isUp*/, U8 /*reason*/) {
    said += where.text();
}

void StationListener::sync(Where const & where, AddressFamily /*family*/, U64 routes) {
    said += where.text() + std::to_string(routes);
}

FuzzedStation::FuzzedStation() : routers(settings_, policy(), listener_) {}

String FuzzedStation::shown() {
    Board const board = Board::of(routers, {.blackholeNoExport = true});
    return board.tables() + board.summary() + listener_.said;
}

void FuzzedStation::requireWholeCounts() {
    U64 routes = 0;
    for (auto & [name, router] : routers.all()) {
        for (auto const & [key, peer] : router.peers()) {
            for (auto const & table : peer.tables) {
                if (table) {
                    bool const isJudged = table == peer.tables[static_cast<U8>(Rib::inPre)];
                    U64 verdicts = 0;
                    for (U64 const count : table->shown.byVerdict) {
                        verdicts += count;
                    }
                    requireThat(verdicts == (isJudged ? table->routes.size() : 0),
                                "a verdict a route");
                    requireThat(table->waiting.empty(), "nothing waits after settling");
                    routes += table->routes.size();
                }
            }
        }
    }
    requireThat(routes == routers.routes(), "the routes of all tables");
    requireThat(routers.store().size() <= routes, "attributes are those of routes");
}

void watchRecording(U8 const * data, std::size_t size) {
    String bytes(reinterpret_cast<char const *>(data), size);
    FuzzedStation station;
    replay(station.routers, Qcf::Lists::ByteSource(Qcf::Lists::makeMemoryStream(std::move(bytes))),
           "fuzz");
    station.requireWholeCounts();
    station.shown();
}
