#include "Command/CounterReport.h"

#include "Command/Log.h"
#include "Platform/Render/Utf8.h"

/// Nodes of a published store may stand in no file: function and key are what can be looked up, the
/// text is what a reader recognises.

CounterReport::CounterReport(String subject, PtrConst<Qcf::Eval::Function> const & function,
                             std::shared_ptr<Qcf::Watch::NodePlaces const> places,
                             std::chrono::seconds interval)
    : subject_(std::move(subject)), statements_(function), places_(std::move(places)) {
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
    constexpr std::size_t longestName = 200;
    String text = subject_ + ": entries, verdicts, function, key, statement\n";
    for (auto const & [function, count, statement] : statements_.now()) {
        if (count.entries + count.verdicts != 0) {
            auto const place = places_->of(*count.node, *function);
            text += "  " + std::to_string(count.entries) + ' ' + std::to_string(count.verdicts) +
                    ' ' + oneLine(function->funcName(), longestName) + ' ' +
                    std::to_string(count.node->aetNodeKey()) + ' ' +
                    (place.isInText() ? oneLine(place.text(), longestName) + ' ' : String()) +
                    *statement + '\n';
        }
    }
    return text;
}
