#include "Command/CounterReport.h"

#include "Command/Readiness.h"
#include "QcfLib/NodeWalk.h"

/// Nodes of a published store stand in no file: function and key are what can be looked up, the
/// text is what a reader recognises.
namespace {

using namespace Qcf::Eval; // NOLINT(google-build-using-namespace): nodes and their counts

struct Line {
    Function const * function;
    StatementCount count;
};

/// The first line of a node's text, as far as it tells one statement from another.
String shortText(Expression const & node) {
    if (auto const * const function = as<Function>(node)) {
        return "function " + function->funcName();
    }
    constexpr std::size_t longest = 60;
    auto const out = makePtr<DumpContext>();
    node.dumpState(out, 0);
    String text = out->text().substr(0, out->text().find('\n'));
    if (text.size() > longest) {
        text.replace(longest - 3, String::npos, "...");
    }
    return text;
}

} // namespace

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

String CounterReport::text() const {
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
                function->funcName() + ' ' + std::to_string(count.node->aetNodeKey()) + ' ' +
                shortText(*count.node) + '\n';
    }
    return text;
}
