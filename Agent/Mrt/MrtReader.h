#pragma once

#include "Agent/Mrt/MrtFrames.h"

#include <vector>

namespace Qcf::Agent {

/// Reads the routes of an MRT file. Use it through `openRoutes` or `makeMrtReader`.
class MrtReader final : public RouteReader {
public:
    /// Bytes that a share takes at once: few enough for the routes to stay in a near cache.
    static constexpr std::size_t usualStretch = std::size_t{16} << 10;

    MrtReader(Lists::ByteSource source, String const & name, Lists::Reporter report,
              std::size_t stretch = usualStretch);

    bool next(Route & route) override;
    ReadStatistics const & statistics() const override { return findings_.statistics; }
    std::unique_ptr<RouteShare> makeShare() override;

private:
    class Share;

    bool nextStretch(MrtFindings & findings);

    MrtFrames frames_;
    MrtRecords records_;
    MrtFindings findings_;
    bool ended_ = false;
};

/// A reader of data that are known to be MRT; `name` is what its texts call them.
std::unique_ptr<RouteReader> makeMrtReader(Lists::ByteSource source, String const & name,
                                           Lists::Reporter report);

} // namespace Qcf::Agent
