#include "Lists/ListBinding.h"
#include "Live/Board.h"
#include "Text/Policy.h"
#include "fuzz/Require.h"

namespace {

using namespace Qcf::Live; // NOLINT(google-build-using-namespace): what is under test

/// A policy that looks at most of what routers send.
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
    }

    RouterSet station(LiveSettings const & settings, LiveListener & listener) const {
        return {settings, policy_->program().find("import"),
                Qcf::Lists::bindLists(policy_->program().slots, nullptr), listener};
    }

private:
    Qcf::Text::Sources sources_;
    std::optional<Qcf::Text::Policy> policy_;
};

class Silence final : public LiveListener {
public:
    void note(Where const & where, String const & text) override { said += where.text() + text; }
    void peer(Where const & where, bool /*isUp*/, U8 /*reason*/) override { said += where.text(); }
    void sync(Where const & where, AddressFamily /*family*/, U64 routes) override {
        said += where.text() + std::to_string(routes);
    }

    String said;
};

/// Hears the bytes in pieces of that size, as a socket may bring them.
void hear(RouterSet & routers, std::span<U8 const> bytes, std::size_t piece) {
    Connection connection(routers, "fuzz");
    try {
        std::size_t used = 0;
        for (std::size_t end = 0; end < bytes.size();) {
            end = std::min(bytes.size(), end + piece);
            used += connection.take(bytes.subspan(used, end - used));
        }
    } catch (Damage const &) {
    } catch (LimitReached const &) {
    }
    if (connection.router() != nullptr) {
        connection.router()->settle();
    }
}

/// Each route is counted once, wherever it is counted.
void requireWholeCounts(RouterSet & routers) {
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

} // namespace

/// Reads the input as the stream of a router, whole and in pieces: both come to the same.
extern "C" int LLVMFuzzerTestOneInput(U8 const * data, std::size_t size) {
    static Policy const policy;
    LiveSettings const settings{.maxRoutes = 10'000};
    String shown[2];
    for (std::size_t i = 0; i < 2; ++i) {
        Silence listener;
        RouterSet routers = policy.station(settings, listener);
        hear(routers, {data, size}, i == 0 ? size + 1 : 7);
        requireWholeCounts(routers);
        Board const board = Board::of(routers, {.blackholeNoExport = true});
        shown[i] = board.tables() + board.summary() + listener.said;
    }
    requireSame(shown[0], shown[1]);
    return 0;
}
