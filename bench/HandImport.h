#pragma once

#include "Lists/Pattern.h"
#include "Platform/Routing/AsnVector.h"
#include "bench/CoverTable.h"
#include "bench/Policies.h"

#include <algorithm>
#include <span>

namespace Qcf::Bench {

/// What P5 looks things up in.
struct HandImport {
    explicit HandImport(ImportData const & policy);

    ImportData const & data;
    CoverTable reserved;
    CoverTable roas;
    Lists::Pattern refused; ///< all patterns
};

inline bool isIn(std::span<ImportData::Range const> ascending, U64 value) {
    auto const above =
        std::upper_bound(ascending.begin(), ascending.end(), value,
                         [](U64 wanted, auto const & range) { return wanted < range.low; });
    return above != ascending.begin() && value <= std::prev(above)->high;
}

/// What the patterns find, found by numbers.
inline bool isRefused(Routing::Bgp::AsnVector const & path, ImportData const & data) {
    for (U32 const asn : path.asns()) {
        if (isIn(data.reservedInPath, asn)) {
            return true;
        }
    }
    bool const hasThird = !path.empty() && path.segments().front().count > 2 &&
                          path.segments().front().type == Routing::Bgp::SegmentType::sequence;
    return hasThird &&
           std::find(data.leaks.begin(), data.leaks.end(), path.asns()[2]) != data.leaks.end();
}

} // namespace Qcf::Bench
