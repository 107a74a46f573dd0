#pragma once

#include "Agent/Mrt/MrtFrames.h"

#include <vector>

namespace Qcf::Agent {

/// Reads the routes of an MRT file: TABLE_DUMP, TABLE_DUMP_V2, BGP4MP, BGP4MP_ET and the old BGP
/// type, of IPv4 and IPv6 unicast and multicast. Use it through `openRoutes` or `makeMrtReader`.
///
///     auto const reader = makeMrtReader(std::move(source), "rib.mrt", report);
///     while (reader->next(route)) {
///         ...
///     }
///
/// Damage costs the record that it is in and no more; it is counted and reported with the offset in
/// the file, and reading goes on. After the largest route nothing is allocated.
///
/// Shares decode stretches of the file side by side. What they meet is told in the order of the
/// file, as if one thread had read it.
class MrtReader final : public RouteReader {
public:
    /// Bytes that a share takes at once: few enough for the routes to stay in a near cache.
    static constexpr std::size_t usualStretch = std::size_t{16} << 10;

    /// `name` stands before each line that `report` is given. `stretch` is for tests, which make it
    /// small.
    MrtReader(Lists::ByteSource source, String const & name, Lists::Reporter report,
              std::size_t stretch = usualStretch);

    bool next(Route & route) override;
    ReadStatistics const & statistics() const override { return findings_.statistics; }
    std::unique_ptr<RouteShare> makeShare() override;

private:
    /// Decodes pieces in a thread of its own, see RouteShare.
    class Share;

    /// The first route of the stretches behind this one; false at the end.
    bool nextOfStretches(Route & route);
    /// Cuts the next stretch; false at the end.
    bool nextStretch(MrtFindings & findings);

    MrtFrames frames_;
    MrtRecords records_;
    MrtFindings findings_;
    /// The file has no more stretches.
    bool ended_ = false;
};

/// A reader of data that are known to be MRT; `name` is what its texts call them.
std::unique_ptr<RouteReader> makeMrtReader(Lists::ByteSource source, String const & name,
                                           Lists::Reporter report);

} // namespace Qcf::Agent
