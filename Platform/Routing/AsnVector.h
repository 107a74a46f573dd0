#pragma once

#include "Platform/Framework/Types.h"

#include <cstddef>
#include <iterator>
#include <span>

#include <boost/container/small_vector.hpp>

namespace Routing::Bgp {

/// An autonomous system number, of 16 or 32 bits.
using Asn = U32;

/// Kinds of path segments, numbered as in the AS_PATH attribute: the order of a set says nothing,
/// that of a sequence is the way of the route.
enum class SegmentType : U8 { set = 1, sequence = 2, confedSequence = 3, confedSet = 4 };

/// True for the two kinds that stand for the inside of a confederation. They count nothing in a
/// path's length and are no neighbours.
constexpr bool isConfed(SegmentType type) {
    return type == SegmentType::confedSequence || type == SegmentType::confedSet;
}

/// Kind and length of one segment as an `AsnVector` keeps it. The AS numbers stand elsewhere, one
/// behind the other.
struct AsPathSegment {
    SegmentType type;
    U32 count; ///< 1 to `AsnVector::maxSegmentLength`

    bool operator==(AsPathSegment const &) const = default;
};

/// One segment as seen while walking over a path; valid until the path changes. Its AS numbers are
/// never none.
struct AsPathSegmentView {
    SegmentType type;
    std::span<Asn const> asns;
};

/// An AS path as its segments over one flat run of AS numbers.
///
///     AsnVector path;
///     path.append(SegmentType::sequence, neighbours); // 65001 65002
///     path.prepend(own);                              // 65000 65001 65002
///     path.toString();                                // "65000 65001 65002"
///
/// A path of usual size lives inside the object. Storage that had to grow is kept by `clear` and by
/// assignment, so that an object reused from route to route stops allocating. Walk over it with
/// `for (AsPathSegmentView const segment : path)`. Used by one thread at a time while it changes.
/// AS numbers handed in must not lie in the path's own storage.
class AsnVector {
public:
    AsnVector();
    /// Copies as a value; assignment keeps the storage that is there.
    AsnVector(AsnVector const & other);
    AsnVector(AsnVector && other) noexcept;
    AsnVector & operator=(AsnVector const & other);
    AsnVector & operator=(AsnVector && other) noexcept;
    ~AsnVector();

    /// Longest segment that the attribute can carry. It is counted in one byte.
    static constexpr U32 maxSegmentLength = 255;

    /// Walks segments and AS numbers side by side. Valid until the path changes.
    class Iterator {
    public:
        /// An input iterator: what it yields is made when it is asked for.
        using iterator_category = std::input_iterator_tag;
        using value_type = AsPathSegmentView;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = AsPathSegmentView;

        /// Both point to what comes next.
        Iterator(AsPathSegment const * segment, Asn const * asns)
            : segment_(segment), asns_(asns) {}

        /// The segment with its AS numbers.
        AsPathSegmentView operator*() const { return {segment_->type, {asns_, segment_->count}}; }
        /// Moves over the segment's AS numbers as well.
        Iterator & operator++() {
            asns_ += segment_->count;
            ++segment_;
            return *this;
        }
        /// By the segment alone: the end has no AS numbers.
        bool operator==(Iterator const & other) const { return segment_ == other.segment_; }

    private:
        AsPathSegment const * segment_;
        Asn const * asns_;
    };

    /// The segments in order, the neighbour's first.
    Iterator begin() const { return {segments_.data(), asns_.data()}; }
    Iterator end() const { return {segments_.data() + segments_.size(), nullptr}; }

    /// No segments at all. A path with segments has AS numbers, too.
    bool empty() const { return segments_.empty(); }

    /// All AS numbers in order, whatever segment they belong to. Valid until the path changes.
    std::span<Asn const> asns() const { return {asns_.data(), asns_.size()}; }
    /// Kinds and lengths of the segments, whose AS numbers follow each other in `asns()`.
    std::span<AsPathSegment const> segments() const { return {segments_.data(), segments_.size()}; }

    /// The same segments with the same AS numbers; the order within a set counts.
    bool operator==(AsnVector const & other) const {
        return segments_ == other.segments_ && asns_ == other.asns_;
    }

    /// Empties the path and keeps its storage. Views of segments are then of no more use.
    void clear() {
        asns_.clear();
        segments_.clear();
    }

    /// Adds a segment at the end, never joined to the one before it. More than 255 AS numbers make
    /// several segments of that type, none makes no segment. AS numbers are copied.
    void append(SegmentType type, std::span<Asn const> asns);
    /// The same for `count` AS numbers from `asns` on.
    void append(SegmentType type, Asn const * asns, std::size_t count) {
        append(type, {asns, count});
    }

    /// Adds a segment of `count` AS numbers, 1 to 255, and answers where they are to be written.
    /// They have no particular value before that. The place is valid until the path changes. For
    /// readers of packets and tables, who would otherwise copy them twice.
    std::span<Asn> appendForWriting(SegmentType type, U32 count) {
        std::size_t const start = asns_.size();
        asns_.resize(start + count, boost::container::default_init);
        segments_.push_back({type, count});
        return {asns_.data() + start, count};
    }

    /// As `append`, but a sequence goes on with a last segment that is a sequence and has room. Two
    /// sequences side by side say the same as one.
    void appendJoined(SegmentType type, std::span<Asn const> asns);

    /// The path becomes one sequence in the order given (in segments of at most 255).
    void assignSequence(std::span<Asn const> asns);

    /// Puts AS numbers in front in the order given: as if a speaker had prepended them one by one
    /// from the last to the first. They join a leading sequence as long as it has room, and
    /// otherwise open new sequences before it. Costs in proportion to the path, which moves.
    void prepend(std::span<Asn const> asns);

    /// Puts `newAsn` in the place of every AS number for which `predicate(Asn)` holds, in segments
    /// of every type. Returns how many were replaced. The predicate is asked once an AS number, in
    /// order.
    template <class Predicate>
    U32 replaceIf(Predicate predicate, Asn newAsn) {
        U32 replaced = 0;
        for (Asn & asn : asns_) {
            if (predicate(asn)) {
                asn = newAsn;
                ++replaced;
            }
        }
        return replaced;
    }

    /// Takes out every AS number for which `predicate(Asn)` holds; segments that become empty
    /// vanish, the others stay apart. `predicate` must not throw. Returns how many were removed. It
    /// is asked once an AS number, in order.
    template <class Predicate>
    U32 removeIf(Predicate predicate) {
        // In place: what is kept moves to the front, and `kept` never passes `read`.
        std::size_t read = 0;
        std::size_t kept = 0;
        std::size_t keptSegments = 0;
        for (std::size_t i = 0; i < segments_.size(); ++i) {
            AsPathSegment const segment = segments_[i];
            std::size_t const segmentStart = kept;
            for (std::size_t const end = read + segment.count; read < end; ++read) {
                if (!predicate(asns_[read])) {
                    asns_[kept++] = asns_[read];
                }
            }
            if (kept != segmentStart) {
                segments_[keptSegments++] = {segment.type, static_cast<U32>(kept - segmentStart)};
            }
        }
        asns_.resize(kept);
        segments_.resize(keptSegments);
        return static_cast<U32>(read - kept);
    }

    /// The path as text, see `appendAsPathText`.
    String toString() const;

    /// A path without segments that lives as long as the process, for those who answer a reference
    /// and have no path.
    static AsnVector const & none();

private:
    /// The AS numbers of all segments, in order. Up to 16 take no heap.
    boost::container::small_vector<Asn, 16> asns_;
    /// How they are cut into segments.
    boost::container::small_vector<AsPathSegment, 4> segments_;
};

} // namespace Routing::Bgp
