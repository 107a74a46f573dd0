#pragma once

#include "bench/HandWritten.h"

/// P5 as one would write it by hand, in two ways. Patterns are what people configure: the first way
/// takes them as they come and searches the path's text for all of them at once. The second knows
/// what these patterns say, and compares numbers; nobody who takes patterns from outside can do so.
/// Views are those of HandWritten.h, with the readings `path()` and `pathText()`; the text is made
/// with each call.
namespace Qcf::Bench {

/// `refuses(view)` is the test of the path.
template <typename View, typename Refuses>
bool importPolicy(View & view, HandImport const & hand, Refuses refuses) {
    ImportData const & data = hand.data;
    IpGenPrefix const prefix = view.prefix();
    if (hand.reserved.covers(prefix)) {
        return false;
    }
    U8 const length = prefix.len();
    bool const isV4 = prefix.af() == AddressFamily::ipv4;
    if (length < data.lengths.low || length > data.lengths.high ||
        (isV4 && length > data.longestV4)) {
        return false;
    }
    U32 const origin = view.originAs();
    if (isIn(data.origins, origin) || refuses(view)) {
        return false;
    }
    auto const validity = hand.roas.validate(prefix, origin);
    if (validity == Lists::OriginValidity::invalid) {
        return false;
    }
    bool const isValid = validity == Lists::OriginValidity::valid;
    view.localPrefIs(isValid ? data.validPreference : data.otherPreference);
    std::span<U64 const> const community = view.community();
    view.communityIs(community.size() + 1, [&](U64 * to) {
        return copyChanged(community, std::span<U64 const>(), &data.added, to);
    });
    return true;
}

template <typename View>
bool p5(View & view, HandData const & hand) {
    return importPolicy(view, hand.imports,
                        [&](View & of) { return hand.imports.refused.foundIn(of.pathText()); });
}

template <typename View>
bool p5ByNumbers(View & view, HandData const & hand) {
    return importPolicy(view, hand.imports,
                        [&](View & of) { return isRefused(of.path(), hand.imports.data); });
}

} // namespace Qcf::Bench
