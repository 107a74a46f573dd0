#pragma once

#include "Command/CountedStatements.h"
#include "Watch/NodePlaces.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

/// Tells on standard error what the statements of a function, and of all that it calls, have
/// counted: at an interval while it lives, by a thread of its own, and once more at the end.
///
///     CounterReport const report("edge version 3", function, std::chrono::seconds(10));
///     runRoutes(...);
///
/// Lines are `entries verdicts function key text`, with `FILE:LINE` before the text where a place
/// is known, the largest entries first; of the function itself the entries are how often it was
/// evaluated or called, and the verdicts those that no `return` or `exit` decided. What was never
/// entered is left out. Counts must be switched on.
class CounterReport {
public:
    CounterReport(String subject, PtrConst<Qcf::Eval::Function> const & function,
                  std::shared_ptr<Qcf::Watch::NodePlaces const> places,
                  std::chrono::seconds interval);
    CounterReport(CounterReport const &) = delete;
    CounterReport & operator=(CounterReport const &) = delete;
    ~CounterReport();

private:
    void run(std::stop_token const & stop, std::chrono::seconds interval);
    String text();

    String subject_;
    CountedStatements statements_;
    std::shared_ptr<Qcf::Watch::NodePlaces const> places_;
    std::mutex mutex_;
    std::condition_variable_any ends_;
    // The last member, so that it starts when all else is there.
    std::jthread thread_;
};
