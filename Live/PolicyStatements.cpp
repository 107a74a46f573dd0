#include "Live/PolicyStatements.h"

#include "Live/RouteOutcome.h"
#include "QcfLib/NodeWalk.h"

namespace Qcf::Live {

using Eval::Function;

PolicyStatements::PolicyStatements(PtrConst<Function> const & function) : function_(function) {
    // What several functions share stands in each of them.
    std::vector<Function const *> within{function.get()};
    std::unordered_set<Eval::AetNodeBase const *> known;
    while (!within.empty()) {
        Function const & at = *within.back();
        within.pop_back();
        if (!known.insert(&at).second) {
            continue;
        }
        functions_.push_back(&at);
        std::vector<Function const *> called;
        auto const add = [&](Eval::Expression const & node) {
            if (statements_.size() < RouteOutcome::mostStatements &&
                numbers_.try_emplace({&node, &at}, statements_.size() + 1).second) {
                statements_.push_back({&node, &at});
            }
        };
        Eval::walkNodes(
            *at.body(),
            [&](Eval::WalkedNode const & walked) {
                if (auto const * const callee = Eval::as<Function>(walked.node)) {
                    called.push_back(callee);
                    return false;
                }
                if (Eval::is<Eval::ReturnExpression>(walked.node) ||
                    Eval::is<Eval::ExitExpression>(walked.node)) {
                    add(static_cast<Eval::Expression const &>(walked.node));
                }
                return true;
            },
            [](Eval::AetNodeBase const &) {});
        add(at);
        within.insert(within.end(), called.rbegin(), called.rend());
    }
    numbersByDecider();
}

std::vector<U16> PolicyStatements::numbersByDecider() const {
    std::vector<U16> numbers;
    for (Function const * const function : functions_) {
        Eval::eachDecider(*function, [&](Eval::Decider const & decider) {
            auto const known = numbers_.find({&decider.node, &decider.within});
            if (known != numbers_.end()) {
                numbers.resize(std::max<std::size_t>(numbers.size(), decider.number + 1));
                numbers[decider.number] = known->second;
            }
        });
    }
    return numbers;
}

} // namespace Qcf::Live
