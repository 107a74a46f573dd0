#include "Command/Decisions.h"

#include "Watch/DecidedBy.h"

#include <algorithm>

using Qcf::Watch::Deciding;
using Qcf::Watch::DecidingStatement;
using Qcf::Watch::NodePlace;

ShownDecision Decisions::of(Deciding const & deciding) {
    ShownDecision shown{nullptr, {}};
    for (DecidingStatement const & statement : deciding.path()) {
        Known const & known = find({statement.node, statement.within});
        shown.place = shown.place == nullptr ? &known.place : shown.place;
        if (!known.reason.empty()) {
            shown.reason = known.reason;
            break;
        }
    }
    return shown;
}

void Decisions::count(Deciding const & deciding) {
    auto const [node, within] = deciding.statement();
    ++(node == nullptr ? atEnd_ : find({node, within}).verdicts);
}

void Decisions::take(Decisions & other) {
    for (auto & [key, known] : other.known_) {
        if (known.verdicts != 0) {
            find(key).verdicts += std::exchange(known.verdicts, 0);
        }
    }
    atEnd_ += std::exchange(other.atEnd_, 0);
}

Decisions::Known & Decisions::find(Key const & key) {
    auto const [at, isNew] = known_.try_emplace(key);
    if (isNew) {
        at->second = {places_->of(*key.first, *key.second), places_->reason(*key.first)};
    }
    return at->second;
}

// In the order of the text first: that of pointers differs from run to run.
String Decisions::text(U64 routes) const {
    std::vector<std::pair<NodePlace const *, Key>> order;
    for (auto const & [key, known] : known_) {
        order.emplace_back(&known.place, key);
    }
    std::ranges::sort(order, {}, [](auto const & each) {
        NodePlace const & place = *each.first;
        return std::tie(place.file, place.line, place.column, place.pointer);
    });
    std::vector<Qcf::Watch::DecidedVerdicts> statements;
    statements.reserve(order.size());
    for (auto const & [place, key] : order) {
        statements.push_back(
            {known_.at(key).verdicts, place->text(), places_->line(*key.first, *key.second)});
    }
    return Qcf::Watch::decidedByText(std::move(statements), atEnd_, routes);
}
