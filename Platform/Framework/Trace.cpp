#include "Platform/Framework/Trace.h"

#include "Platform/Framework/Assert.h"

#include <mutex>
#include <sstream>
#include <vector>

#include <spdlog/logger.h>
#include <spdlog/sinks/stdout_sinks.h>

/// Where trace messages go. What is asked while tracing is off stands in the header.
namespace {

// Never destroyed: facilities at namespace scope come before it and go after it.
struct Registry {
    std::mutex mutex; // guards `facilities`
    std::vector<TraceFacility *> facilities;
    std::mutex sinkMutex; // held while the sink runs
    TraceFacility::Sink sink;
};

Registry & registry() {
    static auto * const r = new Registry;
    return *r;
}

// Our levels are a filter of their own, so spdlog lets everything through.
spdlog::logger & standardError() {
    static auto * const logger = [] {
        auto * l = new spdlog::logger("qcf", std::make_shared<spdlog::sinks::stderr_sink_mt>());
        l->set_level(spdlog::level::trace);
        l->set_pattern("%Y-%m-%d %H:%M:%S.%f %v");
        return l;
    }();
    return *logger;
}

} // namespace

TraceFacility::TraceFacility(char const * name) : name_(name) {
    // Two facilities of one name could not be told apart by whoever turns one on.
    QCF_ASSERT_TEXT(find(name) == nullptr, "trace facility name is taken");
    Registry & r = registry();
    std::lock_guard const lock(r.mutex);
    r.facilities.push_back(this);
}

TraceFacility::~TraceFacility() {
    Registry & r = registry();
    std::lock_guard const lock(r.mutex);
    std::erase(r.facilities, this);
}

TraceFacility * TraceFacility::find(std::string_view name) {
    Registry & r = registry();
    std::lock_guard const lock(r.mutex);
    // A handful of them: no map is needed.
    for (TraceFacility * facility : r.facilities) {
        if (name == facility->name()) {
            return facility;
        }
    }
    return nullptr;
}

void TraceFacility::sinkIs(Sink sink) {
    Registry & r = registry();
    // A replaced sink is no longer running when this returns: what it refers to may go.
    std::lock_guard const lock(r.sinkMutex);
    r.sink = std::move(sink);
}

void TraceFacility::trace(int level, String const & message) const {
    Registry & r = registry();
    std::lock_guard const lock(r.sinkMutex);
    if (r.sink) {
        r.sink(level, message);
    } else {
        standardError().trace("{} {}: {}", name_, level, message);
    }
}

// The stream is on the heap: on the stack it would enlarge the frame of every function that traces.
TraceMessage::TraceMessage() : text_(std::make_unique<std::ostringstream>()) {}
TraceMessage::~TraceMessage() = default;

std::ostream & TraceMessage::stream() noexcept { return *text_; }

void TraceMessage::send(TraceFacility const & facility, int level) const {
    facility.trace(level, text_->str());
}
