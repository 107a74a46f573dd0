#include "Command/WatchTeller.h"

#include "Agent/Routes/AppliedChanges.h"
#include "Command/Log.h"
#include "Command/Output.h"
#include "Platform/Render/Utf8.h"

#include <climits>
#include <utility>

#include <poll.h>
#include <unistd.h>

using namespace Qcf::Live; // NOLINT(google-build-using-namespace): what this command is about

WatchDecider::WatchDecider(std::shared_ptr<LivePolicy const> policy)
    : policy_(std::move(policy)),
      agent_(makePtr<Qcf::Agent::AgentContext>(policy_->matchers)),
      context_(agent_),
      decisions_(policy_->places.get()) {
    agent_->evaluationObserverIs(&deciding_);
}

DecidedBy WatchDecider::of(Qcf::Agent::Route const & route) {
    agent_->routeIs(route);
    policy_->function->eval(context_);
    ShownDecision shown = decisions_.of(deciding_);
    return {shown.place, std::move(shown.reason)};
}

WatchTeller::WatchTeller(WatchOptions const & options, std::shared_ptr<LivePolicy const> policy)
    : options_(options),
      decider_(std::make_unique<WatchDecider>(std::move(policy))),
      events_([this](std::string_view line) { take(line); }) {}

void WatchTeller::take(std::string_view line) {
    constexpr std::size_t most = std::size_t{4} << 20;
    if (!doWait_) {
        standardOutput().write(line);
        return;
    }
    waiting_ += line;
    // Nothing is left out: at last routers wait for whoever reads this.
    if (waiting_.size() > most) {
        standardOutput().write(std::exchange(waiting_, {}));
    }
}

void WatchTeller::eventsAreDue() {
    doWait_ = false;
    standardOutput().write(std::exchange(waiting_, {}));
}

bool WatchTeller::write() {
    // So much a pipe takes at once that takes anything.
    constexpr std::size_t atOnce = PIPE_BUF;
    std::size_t written = 0;
    while (written < waiting_.size()) {
        pollfd out{.fd = STDOUT_FILENO, .events = POLLOUT, .revents = 0};
        if (::poll(&out, 1, 0) == 0) {
            break;
        }
        std::string_view const piece = std::string_view(waiting_).substr(written, atOnce);
        standardOutput().write(piece);
        standardOutput().flush();
        written += piece.size();
    }
    waiting_.erase(0, written);
    return waiting_.empty();
}

void WatchTeller::note(Where const & where, String const & text) {
    // For programs, and for people who look on.
    if (options_.isJson()) {
        events_.note(where, text);
        return;
    }
    String const about = where.text();
    String const line = visibleText(about.empty() ? text : about + ": " + text);
    if (lines_) {
        lines_(line);
    } else {
        tellLine(line);
    }
}

void WatchTeller::peer(Where const & where, bool isUp, U8 reason) {
    if (options_.isJson()) {
        events_.peer(where, isUp, reason);
    }
}

void WatchTeller::sync(Where const & where, AddressFamily family, U64 routes) {
    if (options_.isJson()) {
        events_.sync(where, family, routes);
    }
}

void WatchTeller::policy(PolicyChange const & change) {
    decider_ = std::make_unique<WatchDecider>(change.to);
    if (options_.isJson()) {
        events_.policy(change);
        return;
    }
    note({}, "policy " + change.to->digest + " in the place of " + change.from->digest + ": " +
                 std::to_string(change.routes) + " routes, " +
                 std::to_string(change.changes.verdictsChanged()) + " with another verdict, " +
                 std::to_string(change.changes.writesOther) + " with other attributes");
}

void WatchTeller::route(RouteNews const & news) {
    if (options_.isAsked(news)) {
        events_.route(news, news.route != nullptr ? decider_->of(*news.route) : DecidedBy());
    }
}

void WatchTeller::passed(String const & router, PeerState const & peer, bool isWhole) {
    if (!isWhole) {
        differences_.passedSome(router, peer.key);
        return;
    }
    Where const where{router, peer.key.address, options_.settings.rib, peer.vrf()};
    differences_.passed(router, peer.key, [&](Qcf::Agent::UpdatePrefix const & key) {
        if (!isBusy()) {
            events_.agrees(where, key);
        }
        return !isBusy();
    });
}

void WatchTeller::differs(RouteDifference const & difference) {
    if (!options_.isAsked(difference)) {
        return;
    }
    if (options_.isJson()) {
        if (differences_.note(difference) && !isBusy()) {
            events_.differs(difference, options_.settings.rib, decider_->of(difference.before));
            differences_.isTold(difference);
        }
    } else if (options_.output == "table") {
        standardOutput().write(lineOf(difference));
    }
}

void WatchTeller::board(Board const & board) {
    for (auto const & [where, text] : board.advice()) {
        note(where, text);
    }
    if (options_.isJson()) {
        events_.summary(board.total());
        return;
    }
    if (options_.output == "table") {
        standardOutput().write('\n' + visibleLines(board.tables()) + '\n');
    }
    standardOutput().write(board.summary());
}

String WatchTeller::lineOf(RouteDifference const & difference) {
    String line = Where{difference.router, difference.peer.key.address}.text() + "  " +
                  difference.before.ipPrefix.toString() + "  " + compareKindName(difference.kind);
    DecidedBy const decided = decider_->of(difference.before);
    line += "  " + (decided.place != nullptr ? decided.place->text() : String("-"));
    if (difference.underlying == CompareKind::verdict) {
        line += difference.engine != nullptr ? "  engine accepts, the router lacks it"
                                             : "  engine rejects, the router has it";
    }
    for (std::size_t i = 0; i < comparedAttributes; ++i) {
        auto const attribute = static_cast<ComparedAttribute>(i);
        if (difference.differing.has(attribute)) {
            char const * const name = comparedAttributeName(attribute);
            line += String("  ") + name + ": " +
                    Qcf::Agent::attributeText(*difference.engine, name) + " (engine), " +
                    Qcf::Agent::attributeText(*difference.after, name) + " (router)";
        }
    }
    return visibleText(line) + '\n';
}
