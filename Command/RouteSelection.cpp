#include "Command/RouteSelection.h"

#include <algorithm>
#include <array>

namespace {

using Qcf::Agent::Evaluated;

// Those of other routes are dropped, whatever the function had set when it came to its end.
bool hasChanges(Evaluated const & evaluated) {
    bool has = evaluated.context.nextHopSetToSelf();
    evaluated.context.changes().eachChange(
        [&has](auto, char const *, auto const &) { has = true; });
    return has && evaluated.result.isTrue();
}

struct Only {
    char const * word;
    bool (*selects)(Evaluated const & evaluated);
};
constexpr std::array outcomes = {
    Only{"accepted", [](Evaluated const & evaluated) { return evaluated.result.isTrue(); }},
    Only{"rejected",
         [](Evaluated const & evaluated) {
             return evaluated.result.retVal() == Qcf::Eval::QcfFalse();
         }},
    Only{"unknown",
         [](Evaluated const & evaluated) {
             return evaluated.result.retVal() == Qcf::Eval::QcfUnknown();
         }},
    Only{"changed", hasChanges},
};

constexpr std::string_view longer = "/longer";

} // namespace

void RouteSelection::prefixIs(String const & text) {
    std::string_view written = text;
    isLonger_ = written.ends_with(longer);
    if (isLonger_) {
        written.remove_suffix(longer.size());
    }
    prefix_ = IpGenPrefix::parse(written);
    if (!prefix_) {
        throw UsageError("--prefix wants a prefix such as 10.0.0.0/8, or 10.0.0.0/8/longer, "
                         "without bits behind its length");
    }
    isAll_ = false;
}

void RouteSelection::addRoutesTo(CLI::App & command) {
    command
        .add_option_function<String>(
            "--prefix", [this](String const & text) { prefixIs(text); },
            "Tell of routes of this prefix alone, with /longer also of those within")
        ->type_name("PREFIX");
    command
        .add_option_function<String>(
            "--peer",
            [this](String const & text) {
                peer_ = IpGenAddr::parse(text);
                if (!peer_) {
                    throw UsageError("--peer wants the address of a peer");
                }
                isAll_ = false;
            },
            "Tell of routes from this peer alone")
        ->type_name("ADDRESS");
}

void RouteSelection::addTo(CLI::App & command) {
    addRoutesTo(command);
    std::vector<String> words;
    std::ranges::transform(outcomes, std::back_inserter(words), &Only::word);
    command
        .add_option_function<String>(
            "--only",
            [this](String const & text) {
                outcome_ = std::ranges::find(outcomes, text, &Only::word)->selects;
            },
            "Tell of routes alone that were accepted, rejected, changed, or are unknown")
        ->check(CLI::IsMember(words));
}

bool RouteSelection::selectsRoute(Qcf::Agent::Route const & route) const {
    bool const isPrefix =
        !prefix_ || (isLonger_ ? prefix_->contains(route.ipPrefix) : *prefix_ == route.ipPrefix);
    return isPrefix && (!peer_ || *peer_ == route.sourceSessionRemoteIpAddress);
}
