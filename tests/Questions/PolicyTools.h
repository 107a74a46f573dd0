#pragma once

#include "Agent/Routes/RouteJson.h"
#include "Lists/ListBinding.h"
#include "Platform/Render/JsonDocument.h"
#include "Questions/PolicyComparison.h"
#include "Watch/TextPlaces.h"
#include "tests/support/PolicyText.h"

namespace Qcf::Questions::test {

/// A policy text with its lists and its places.
class PolicyText {
public:
    explicit PolicyText(String const & text) {
        policy_.emplace(Qcf::test::readPolicy(text, sources_));
        lists_ = policy_->lists(sources_);
        places_.emplace(policy_->map(), sources_);
    }
    PolicyText(PolicyText const &) = delete;
    PolicyText & operator=(PolicyText const &) = delete;

    Documents::Program const & program() const { return policy_->program(); }
    PtrConst<Eval::Function> function(String const & name = "f") const {
        return program().find(name);
    }
    PtrConst<Lists::NamedLists> const & lists() const { return lists_; }
    Watch::NodePlaces const & places() const { return *places_; }
    ComparedPolicy compared(String const & name = "f") const {
        return {function(name), Lists::bindLists(program().slots, lists_.get())};
    }

private:
    Text::Sources sources_;
    std::optional<Text::Policy> policy_;
    PtrConst<Lists::NamedLists> lists_;
    std::optional<Watch::TextPlaces> places_;
};

/// A table of JSON routes that are at hand.
class RoutesAtHand final : public Agent::RouteReader {
public:
    explicit RoutesAtHand(std::vector<String> const & routes) : routes_(routes) {}
    bool next(Agent::Route & route) override {
        if (statistics_.routes == routes_.size()) {
            return false;
        }
        auto const document = JsonDocument::parse(routes_[statistics_.routes++], "routes");
        Agent::readRoute(document.root(), route);
        return true;
    }
    Agent::ReadStatistics const & statistics() const override { return statistics_; }

private:
    std::vector<String> routes_;
    Agent::ReadStatistics statistics_;
};

} // namespace Qcf::Questions::test
