#include "Command/CounterReport.h"

#include "Command/Readiness.h"
#include "Platform/Render/Utf8.h"
#include "QcfLib/NodeWalk.h"
#include "Text/NodeText.h"

#include <algorithm>

/// Nodes of a published store stand in no file: function and key are what can be looked up, the
/// text is what a reader recognises.
namespace {

using namespace Qcf::Eval; // NOLINT(google-build-using-namespace): nodes and their counts

constexpr std::size_t longestName = 200;

struct Line {
    Function const * function;
    StatementCount count;
};

} // namespace

// Statements do not change while they count, and a report comes again and again.
String const & CounterReport::textOf(Expression const & node, Function const & within) {
    String & text = texts_[&node];
    if (text.empty()) {
        constexpr std::size_t longest = 60;
        text = is<Function>(node) ? "function " + within.funcName()
                                  : Qcf::Text::printNode(node, &within);
        text = oneLine(text.substr(0, text.find('\n')), longest);
    }
    return text;
}

CounterReport::CounterReport(String subject, PtrConst<Function> function,
                             std::chrono::seconds interval)
    : subject_(std::move(subject)) {
    walkNodes(
        *function,
        [&](WalkedNode const & at) {
            if (auto const * const called = as<Function>(at.node)) {
                functions_.emplace_back(called);
            }
            return true;
        },
        [](AetNodeBase const &) {});
    thread_ = std::jthread([this, interval](std::stop_token const & stop) { run(stop, interval); });
}

CounterReport::~CounterReport() {
    thread_.request_stop();
    thread_.join();
    tell(text());
}

void CounterReport::run(std::stop_token const & stop, std::chrono::seconds interval) {
    std::unique_lock lock(mutex_);
    while (!stop.stop_requested()) {
        ends_.wait_for(lock, stop, interval, [] { return false; });
        if (!stop.stop_requested()) {
            tell(text());
        }
    }
}

String CounterReport::text() {
    auto const counts = StatementCounts::now();
    std::vector<Line> lines;
    for (auto const & function : functions_) {
        for (StatementCount const & count : counts.of(*function)) {
            if (count.entries + count.verdicts != 0) {
                lines.push_back({function.get(), count});
            }
        }
    }
    std::stable_sort(lines.begin(), lines.end(), [](Line const & a, Line const & b) {
        return std::pair(a.count.entries, a.count.verdicts) >
               std::pair(b.count.entries, b.count.verdicts);
    });
    String text = subject_ + ": entries, verdicts, function, key, statement\n";
    for (auto const & [function, count] : lines) {
        text += "  " + std::to_string(count.entries) + ' ' + std::to_string(count.verdicts) + ' ' +
                oneLine(function->funcName(), longestName) + ' ' +
                std::to_string(count.node->aetNodeKey()) + ' ' + textOf(*count.node, *function) +
                '\n';
    }
    return text;
}
