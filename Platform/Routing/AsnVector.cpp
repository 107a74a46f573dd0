#include "Platform/Routing/AsnVector.h"

#include "Platform/Routing/AsPath.h"

#include <algorithm>

/// The longer operations on paths; what runs for every route stands in the header.
namespace Routing::Bgp {

// Kept out of line: inlined into a caller, the moves of the inner vectors make g++ 12 warn of reads
// that they never do.
AsnVector::AsnVector() = default;
AsnVector::AsnVector(AsnVector const & other) = default;
AsnVector::AsnVector(AsnVector && other) noexcept = default;
AsnVector & AsnVector::operator=(AsnVector const & other) = default;
AsnVector & AsnVector::operator=(AsnVector && other) noexcept = default;
AsnVector::~AsnVector() = default;

void AsnVector::append(SegmentType type, std::span<Asn const> asns) {
    asns_.insert(asns_.end(), asns.begin(), asns.end());
    // The attribute counts a segment in one byte, so that longer runs are cut.
    for (std::size_t left = asns.size(); left > 0;) {
        U32 const count = static_cast<U32>(std::min<std::size_t>(left, maxSegmentLength));
        segments_.push_back({type, count});
        left -= count;
    }
}

void AsnVector::appendJoined(SegmentType type, std::span<Asn const> asns) {
    if (type == SegmentType::sequence && !segments_.empty() && segments_.back().type == type) {
        U32 & count = segments_.back().count;
        std::size_t const joined = std::min<std::size_t>(asns.size(), maxSegmentLength - count);
        asns_.insert(asns_.end(), asns.begin(), asns.begin() + static_cast<std::ptrdiff_t>(joined));
        count += static_cast<U32>(joined);
        asns = asns.subspan(joined);
    }
    append(type, asns);
}

void AsnVector::assignSequence(std::span<Asn const> asns) {
    clear();
    append(SegmentType::sequence, asns);
}

void AsnVector::prepend(std::span<Asn const> asns) {
    // AS numbers first, in one move; the segments then only have to be counted anew.
    asns_.insert(asns_.begin(), asns.begin(), asns.end());
    std::size_t left = asns.size();
    if (!segments_.empty() && segments_.front().type == SegmentType::sequence) {
        U32 & count = segments_.front().count;
        std::size_t const joined = std::min<std::size_t>(left, maxSegmentLength - count);
        count += static_cast<U32>(joined);
        left -= joined;
    }
    // All found room in the leading sequence.
    if (left == 0) {
        return;
    }
    // Only the outermost segment may be short: the ones behind it were filled first.
    std::size_t const full = (left - 1) / maxSegmentLength;
    segments_.insert(segments_.begin(), full + 1, {SegmentType::sequence, maxSegmentLength});
    segments_.front().count = static_cast<U32>(left - full * maxSegmentLength);
}

String AsnVector::toString() const {
    String text;
    appendAsPathText(text, *this);
    return text;
}

AsnVector const & AsnVector::none() {
    static AsnVector const empty;
    return empty;
}

} // namespace Routing::Bgp
