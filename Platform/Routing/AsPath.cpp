#include "Platform/Routing/AsPath.h"

/// What route selection and origin validation ask of a path, and how a path with 16-bit AS numbers
/// is made whole.
namespace Routing::Bgp {

U32 pathLength(AsnVector const & path) {
    U32 length = 0;
    for (AsPathSegment const & segment : path.segments()) {
        if (segment.type == SegmentType::sequence) {
            length += segment.count;
            // A set is one hop, whichever of its members the route passed.
        } else if (segment.type == SegmentType::set) {
            ++length;
        }
    }
    return length;
}

U32 originAs(AsnVector const & path, U32 localAs, bool & known) {
    known = true;
    if (path.empty() || isConfed(path.segments().back().type)) {
        return localAs;
    }
    // Of a set nobody can tell which member originated the route.
    known = path.segments().back().type == SegmentType::sequence;
    return known ? path.asns().back() : 0;
}

U32 lastAs(AsnVector const & path) {
    for (AsPathSegmentView const segment : path) {
        // Confederation segments are inside the own AS: they have no neighbour in them.
        if (!isConfed(segment.type)) {
            return segment.asns.front();
        }
    }
    return 0;
}

namespace {

/// Appends those segments of `asPath` that go before an AS4_PATH which is `missing` shorter.
void appendLeadingPart(AsnVector const & asPath, U32 missing, AsnVector & out) {
    for (AsPathSegmentView const segment : asPath) {
        // One of a confederation leads the path or adjoins what went before it: it always goes in.
        if (isConfed(segment.type)) {
            out.append(segment.type, segment.asns);
            continue;
        }
        if (missing == 0) {
            return;
        }
        if (segment.type == SegmentType::set) {
            out.append(segment.type, segment.asns);
            --missing;
        } else if (segment.asns.size() > missing) {
            out.append(segment.type, segment.asns.first(missing));
            return;
        } else {
            out.append(segment.type, segment.asns);
            missing -= static_cast<U32>(segment.asns.size());
        }
    }
}

} // namespace

// Lengths are those of route selection, in which confederation segments count nothing, so that both
// attributes are measured alike.
void mergeAs4Path(AsnVector const & asPath, AsnVector const & as4Path, AsnVector & out) {
    U32 const length = pathLength(asPath);
    U32 const as4Length = pathLength(as4Path);
    // Such an AS4_PATH cannot stem from this path: it is ignored (RFC 6793 4.2.3).
    if (as4Length > length) {
        out = asPath;
        return;
    }
    out.clear();
    appendLeadingPart(asPath, length - as4Length, out);
    for (AsPathSegmentView const segment : as4Path) {
        if (!isConfed(segment.type)) {
            // Joined, since the cut may lie within a sequence that the original path had in one
            // piece.
            out.appendJoined(segment.type, segment.asns);
        }
    }
}

} // namespace Routing::Bgp
