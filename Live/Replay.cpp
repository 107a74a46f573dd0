#include "Live/Replay.h"

#include "Agent/Mrt/MrtFrames.h"
#include "Live/MrtReplay.h"
#include "Live/RisReplay.h"

#include <cctype>

namespace Qcf::Live {

namespace {

enum class Kind : U8 { bmp, mrt, ris };

/// What the data are by how they begin. Of noise is said that it is no BMP.
Kind kindOf(Lists::ByteSource & source) {
    constexpr U8 bmpVersion = 3;
    if (!source.ensure(1) || source.data()[0] == bmpVersion) {
        return Kind::bmp;
    }
    constexpr std::size_t mostBlanks = 4096;
    std::size_t at = 0;
    while (at < mostBlanks && source.ensure(at + 1) && std::isspace(source.data()[at]) != 0) {
        ++at;
    }
    if (source.ensure(at + 1) && source.data()[at] == '{') {
        return Kind::ris;
    }
    return Agent::looksLikeMrt(source) ? Kind::mrt : Kind::bmp;
}

/// Takes messages until the stream ends; answers what is wrong with the end of it.
String takeAll(Connection & connection, Lists::ByteSource & source, ReplaySteps const & steps) {
    // A message in pieces is waited for; what is left at the end is none.
    for (std::size_t wanted = 1; source.ensure(wanted) || source.available() > 0;) {
        std::size_t const most = steps.taken ? 1 : ~std::size_t{0};
        std::size_t const used = connection.take({source.data(), source.available()}, most);
        source.skip(used);
        if (used != 0 && steps.taken) {
            steps.taken();
        }
        std::span<U8 const> const rest(source.data(), source.available());
        std::size_t const next = BmpFrame::wanted(rest);
        if (used == 0 && rest.size() < next && !source.ensure(next)) {
            return "the stream ends within a message";
        }
        wanted = next;
    }
    return {};
}

bool replayBmp(RouterSet & routers, Lists::ByteSource source, String const & name,
               ReplaySteps const & steps) {
    Connection connection(routers, name);
    String problem;
    bool inOrder = true;
    try {
        problem = takeAll(connection, source, steps);
    } catch (Damage const & damage) {
        problem = String(damage.subject()) + " " + damage.problem();
        inOrder = false;
    } catch (LimitReached const & limit) {
        problem = limit.what();
        inOrder = false;
    }
    problem = source.fault().empty() ? problem : source.fault();
    if (LiveRouter * const router = connection.router()) {
        router->settle();
    }
    if (!inOrder) {
        connection.ended(false);
    }
    String const router = connection.router() ? connection.router()->name() : name;
    if (!problem.empty()) {
        routers.listener().note({router}, "reading ended at offset " +
                                              std::to_string(connection.offset()) + ": " + problem);
    }
    if (steps.isDue) {
        routers.listener().note({router}, "a stream of BMP does not say when it was recorded: it "
                                          "was read as fast as it goes");
    }
    return problem.empty();
}

} // namespace

bool replay(RouterSet & routers, Lists::ByteSource source, String const & name,
            ReplaySteps const & steps) {
    switch (kindOf(source)) {
    case Kind::mrt:
        return replayMrt(routers, std::move(source), name, steps);
    case Kind::ris:
        return replayRis(routers, std::move(source), name, steps);
    case Kind::bmp:
        break;
    }
    return replayBmp(routers, std::move(source), name, steps);
}

} // namespace Qcf::Live
