#pragma once

#include "Agent/Routes/RouteJson.h"
#include "Lists/ListBinding.h"
#include "Platform/Render/JsonDocument.h"
#include "Questions/PolicyComparison.h"
#include "Text/Policy.h"
#include "Watch/TextPlaces.h"

#include <sstream>

namespace Qcf::Questions::test {

/// A policy text with its lists and its places.
class PolicyText {
public:
    explicit PolicyText(String const & text) {
        Text::Messages messages;
        auto policy = Text::readPolicyText(text, "p.qcf", sources_, messages);
        if (!policy) {
            std::ostringstream told;
            messages.print(sources_, told);
            throw std::runtime_error(told.str());
        }
        policy_.emplace(std::move(*policy));
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
