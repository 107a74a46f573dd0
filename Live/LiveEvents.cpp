#include "Live/LiveEvents.h"

#include "Live/ChangesJson.h"
#include "Watch/ExplanationText.h"

#include <array>
#include <chrono>
#include <ctime>

namespace Qcf::Live {

namespace {

/// "2026-11-22T12:04:31.250Z".
String now() {
    using namespace std::chrono; // NOLINT(google-build-using-namespace): units
    auto const time = system_clock::now();
    auto const part = duration_cast<milliseconds>(time.time_since_epoch()).count() % 1000;
    std::time_t const seconds = system_clock::to_time_t(time);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    std::array<char, 32> text{};
    std::size_t const size = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S.", &parts);
    String const digits = std::to_string(part);
    return String(text.data(), size) + String(3 - digits.size(), '0') + digits + 'Z';
}

char const * resultOf(RouteDifference const & difference) {
    if (difference.underlying == CompareKind::unknown) {
        return "unknown";
    }
    return difference.engine != nullptr ? "true" : "false";
}

} // namespace

LiveEvents::LiveEvents(Write write, Clock clock)
    : write_(std::move(write)),
      clock_(clock ? std::move(clock) : now),
      renderer_(line_),
      values_(renderer_) {}

void LiveEvents::begin(char const * event, Where const & where) {
    renderer_.beginObject();
    member("event", event);
    member("time", clock_());
    if (!where.router.empty()) {
        member("router", where.router);
    }
    if (where.peer.af() != AddressFamily::none) {
        member("peer", where.peer.toString());
    }
    if (where.rib) {
        member("rib", ribName(*where.rib));
    }
    if (!where.vrf.empty()) {
        member("vrf", where.vrf);
    }
}

void LiveEvents::end() {
    renderer_.endObject();
    renderer_.endDocument();
    write_(line_);
    line_.clear();
}

void LiveEvents::note(Where const & where, String const & text) {
    begin("note", where);
    member("text", text);
    end();
}

void LiveEvents::peer(Where const & where, bool isUp, U8 reason) {
    begin("peer", where);
    member("state", isUp ? "up" : "down");
    if (!isUp) {
        member("reason", U64{reason});
    }
    end();
}

void LiveEvents::sync(Where const & where, AddressFamily family, U64 routes) {
    begin("sync", where);
    member("family", family == AddressFamily::ipv4 ? "ipv4" : "ipv6");
    member("routes", routes);
    end();
}

void LiveEvents::prefix(Agent::UpdatePrefix const & key) {
    member("prefix", key.prefix.toString());
    if (key.pathId != 0) {
        member("pathId", U64{key.pathId});
    }
}

void LiveEvents::route(RouteNews const & news, DecidedBy const & decided) {
    begin("route", news.where);
    prefix(news.key);
    member("result", verdictName(news.verdict));
    if (news.was != Verdict::none) {
        member("was", verdictName(news.was));
    }
    if (news.context != nullptr) {
        renderer_.key("decidedBy");
        Watch::renderDecidedBy(decided.place, decided.reason, renderer_);
    }
    if (news.verdict == Verdict::accepted) {
        renderer_.key("changes");
        renderer_.beginObject();
        renderChanges(*news.context, renderer_, values_);
        renderer_.endObject();
    }
    end();
}

void LiveEvents::agrees(Where const & where, Agent::UpdatePrefix const & key) {
    begin("agrees", where);
    prefix(key);
    end();
}

void LiveEvents::differs(RouteDifference const & difference, Rib rib, DecidedBy const & decided) {
    begin("differs", {difference.router, difference.peer.key.address, rib, difference.peer.vrf()});
    prefix({difference.before.ipPrefix, difference.pathId});
    member("kind", compareKindName(difference.kind));
    if (difference.kind != difference.underlying) {
        member("otherwise", compareKindName(difference.underlying));
    }
    member("result", resultOf(difference));
    member("held", difference.after != nullptr);
    renderer_.key("decidedBy");
    Watch::renderDecidedBy(decided.place, decided.reason, renderer_);
    if (!difference.differing.isEmpty()) {
        renderer_.key("attributes");
        renderer_.beginObject();
        for (std::size_t i = 0; i < comparedAttributes; ++i) {
            attribute(static_cast<ComparedAttribute>(i), difference);
        }
        renderer_.endObject();
    }
    end();
}

void LiveEvents::attribute(ComparedAttribute attribute, RouteDifference const & difference) {
    if (!difference.differing.has(attribute)) {
        return;
    }
    char const * const name = comparedAttributeName(attribute);
    auto const index = *Agent::findRouteAttribute(name);
    renderer_.key(name);
    renderer_.beginObject();
    value("engine", *difference.engine, index);
    value("router", *difference.after, index);
    renderer_.endObject();
}

void LiveEvents::value(char const * key, Agent::Route const & route, std::size_t index) {
    renderer_.key(key);
    route.eachAttribute([&](std::size_t at, auto const & value) {
        if (at == index) {
            values_.render(value, Agent::routeAttributes()[at].form);
        }
    });
}

void LiveEvents::policy(PolicyChange const & change) {
    constexpr std::size_t mostStatements = 10;
    begin("policy", {});
    member("from", change.from->digest);
    member("to", change.to->digest);
    member("routes", change.routes);
    member("milliseconds", static_cast<U64>(change.time.count()));
    renderer_.key("changed");
    renderer_.beginObject();
    for (std::size_t before = 0; before < verdictKinds; ++before) {
        for (std::size_t after = 0; after < verdictKinds; ++after) {
            if (U64 const routes = change.changes.byVerdicts[before][after];
                before != after && routes > 0) {
                String const key = String(verdictName(static_cast<Verdict>(before))) + "->" +
                                   verdictName(static_cast<Verdict>(after));
                member(key.c_str(), routes);
            }
        }
    }
    if (change.changes.writesOther > 0) {
        member("attributes", change.changes.writesOther);
    }
    renderer_.endObject();
    renderer_.key("decided");
    renderer_.beginArray();
    for (DecidedShare const & share :
         topDeciding(*change.to, change.changes.decided, mostStatements)) {
        renderer_.beginObject();
        renderer_.key("by");
        bool const isKnown = share.statement != nullptr && !share.statement->isEnd();
        Watch::renderDecidedBy(isKnown ? &share.place : nullptr, share.reason, renderer_);
        member("routes", share.routes);
        renderer_.endObject();
    }
    renderer_.endArray();
    end();
}

void LiveEvents::summary(ComparisonCounts const & counts) {
    begin("summary", {});
    member("compared", counts.compared());
    for (CompareKind const kind :
         {CompareKind::equal, CompareKind::verdict, CompareKind::attributes, CompareKind::unknown,
          CompareKind::known, CompareKind::doubtful}) {
        member(compareKindName(kind), counts.of(kind));
    }
    member("notCompared", counts.of(CompareKind::notCompared));
    member("bothAccept", counts.bothAccept);
    member("bothReject", counts.bothReject);
    member("tolerated", counts.tolerated);
    member("stale", counts.inStale);
    member("unsettled", counts.inUnsettled);
    member("preferenceNotShown", counts.preferenceNotShown);
    member("preferenceWanted", counts.preferenceWanted);
    end();
}

} // namespace Qcf::Live
