#include "Live/TopDeciding.h"

#include "Platform/Render/Utf8.h"
#include "Watch/DecidedBy.h"

#include <algorithm>
#include <numeric>

namespace Qcf::Live {

namespace {

DecidedShare shareOf(LivePolicy const & policy, std::size_t number, U64 routes) {
    DecidedShare share{routes};
    if (number == 0) {
        return share;
    }
    auto const & statement = policy.statements.at(static_cast<U16>(number));
    share.statement = &statement;
    if (policy.places) {
        share.place = policy.places->of(*statement.node, *statement.within);
        share.reason = policy.places->reason(*statement.node);
        share.line =
            statement.isEnd() ? String() : policy.places->line(*statement.node, *statement.within);
    }
    return share;
}

} // namespace

String DecidedShare::text() const {
    if (statement == nullptr) {
        return "not known";
    }
    if (statement->isEnd()) {
        return "the end of " + statement->within->funcName();
    }
    String const at = place.isInText() ? ':' + std::to_string(place.line) : place.pointer;
    String const what = reason.empty() ? line : reason;
    return at + (at.empty() || what.empty() ? "" : " ") + what;
}

String topDecidingLine(LivePolicy const & policy, std::vector<U64> const & decided) {
    constexpr std::size_t mostShown = 3;
    constexpr std::size_t longestStatement = 40;
    U64 const all = std::accumulate(decided.begin(), decided.end(), U64{0});
    String line;
    for (DecidedShare const & share : topDeciding(policy, decided, mostShown)) {
        line += (line.empty() ? "" : "   ") + Watch::percentText(share.routes, all) + ' ' +
                oneLine(share.text(), longestStatement);
    }
    return line;
}

std::vector<DecidedShare> topDeciding(LivePolicy const & policy, std::vector<U64> const & decided,
                                      std::size_t most) {
    std::vector<std::pair<U64, std::size_t>> order;
    for (std::size_t number = 0; number < decided.size(); ++number) {
        if (decided[number] > 0) {
            order.emplace_back(decided[number], number);
        }
    }
    std::ranges::sort(order, [](auto const & a, auto const & b) {
        return a.first != b.first ? a.first > b.first : a.second < b.second;
    });
    order.resize(std::min(order.size(), most));
    std::vector<DecidedShare> shares;
    shares.reserve(order.size());
    for (auto const & [routes, number] : order) {
        shares.push_back(shareOf(policy, number, routes));
    }
    return shares;
}

} // namespace Qcf::Live
