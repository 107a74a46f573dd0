#include "Command/CountedStatements.h"

#include "Platform/Render/Utf8.h"
#include "QcfLib/NodeWalk.h"
#include "Text/NodeText.h"

#include <algorithm>

using namespace Qcf::Eval; // NOLINT(google-build-using-namespace): nodes and their counts

CountedStatements::CountedStatements(PtrConst<Function> const & function) {
    walkNodes(
        *function,
        [&](WalkedNode const & at) {
            if (auto const * const called = as<Function>(at.node)) {
                functions_.emplace_back(called);
            }
            return true;
        },
        [](AetNodeBase const &) {});
}

// Statements do not change while they count, and a report comes again and again.
String const & CountedStatements::textOf(Expression const & node, Function const & within) {
    String & text = texts_[&node];
    if (text.empty()) {
        constexpr std::size_t longest = 60;
        text = is<Function>(node) ? "function " + within.funcName()
                                  : Qcf::Text::printNode(node, &within);
        text = oneLine(text.substr(0, text.find('\n')), longest);
    }
    return text;
}

std::vector<CountedStatement> CountedStatements::now() {
    auto const counts = StatementCounts::now();
    std::vector<CountedStatement> statements;
    for (auto const & function : functions_) {
        for (StatementCount const & count : counts.of(*function)) {
            statements.push_back({function.get(), count, &textOf(*count.node, *function)});
        }
    }
    std::stable_sort(statements.begin(), statements.end(),
                     [](CountedStatement const & a, CountedStatement const & b) {
                         return std::pair(a.count.entries, a.count.verdicts) >
                                std::pair(b.count.entries, b.count.verdicts);
                     });
    return statements;
}
