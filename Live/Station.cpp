#include "Live/Station.h"

#include "Live/StationLoop.h"

namespace Qcf::Live {

Station::Station(RouterSet & routers, StationSettings settings)
    : loop_(std::make_unique<StationLoop>(routers, std::move(settings))) {}

Station::~Station() = default;

std::vector<StationAddress> const & Station::listening() const { return loop_->listening(); }

void Station::add(StationTask & task) { loop_->add(task); }

Station::End Station::run(std::function<bool()> const & goesOn) { return loop_->run(goesOn); }

} // namespace Qcf::Live
