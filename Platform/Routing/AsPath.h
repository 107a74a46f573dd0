#pragma once

#include "Platform/Routing/AsnVector.h"

#include <iosfwd>
#include <optional>
#include <string_view>
#include <utility>

namespace Routing::Bgp {

/// Length of a path in route selection: a sequence counts its AS numbers, a set counts 1, and
/// confederation segments count nothing (RFC 4271 9.1.2.2, RFC 5065 5.3).
U32 pathLength(AsnVector const & path);

/// The AS that originated the route: the rightmost AS of the last segment.
/// - An empty path, or one whose last segment is of a confederation: `localAs` (RFC 6811).
/// - A path that ends in a set: not known, 0.
/// `known` tells whether there is an answer.
U32 originAs(AsnVector const & path, U32 localAs, bool & known);

/// The neighbour's AS: the leftmost AS after any leading confederation segments; the first member
/// where that segment is a set. 0 when there is none.
U32 lastAs(AsnVector const & path);

/// The path of a route as it came, with its length worked out once.
///
///     AsPath path(*parseAsPath("65001 65002 {65003,65004}"));
///     path.length(); // 3: the set counts 1
///
/// A value; copying keeps the target's storage. Equal paths have equal segments in the same order.
class AsPath {
public:
    AsPath() = default;
    /// Takes the segments over.
    explicit AsPath(AsnVector asns) : asns_(std::move(asns)), length_(pathLength(asns_)) {}

    /// The segments, good until the path changes.
    AsnVector const & asns() const { return asns_; }

    /// Takes over a copy; storage is reused.
    void asnsIs(AsnVector const & asns) {
        asns_ = asns;
        length_ = pathLength(asns_);
    }

    /// Lets `write(AsnVector &)` write the path anew, into the storage that is there. Clear the
    /// path when it throws.
    template <class Write>
    void asnsWrittenBy(Write write) {
        asns_.clear();
        write(asns_);
        length_ = pathLength(asns_);
    }

    /// Empties the path and keeps its storage.
    void clear() {
        asns_.clear();
        length_ = 0;
    }

    /// The cached `pathLength` of the path.
    U32 length() const { return length_; }

    /// The length follows from the segments and is not compared.
    bool operator==(AsPath const & other) const { return asns_ == other.asns_; }

    /// The path as text, see `appendAsPathText`.
    String toString() const { return asns_.toString(); }

private:
    AsnVector asns_;
    /// Of `asns_`, at any time.
    U32 length_ = 0;
};

/// The same questions to a path that knows its length.
inline U32 pathLength(AsPath const & path) { return path.length(); }
/// As for the segments.
inline U32 originAs(AsPath const & path, U32 localAs, bool & known) {
    return originAs(path.asns(), localAs, known);
}
/// As for the segments.
inline U32 lastAs(AsPath const & path) { return lastAs(path.asns()); }

/// A path that starts as somebody else's and is copied only when it is to change.
///
/// Made to be reused: one container serves route after route. `existingPathIs` points it at the
/// next route's path, which must outlive that use; `expand` copies that path once into the
/// container's own storage for changing, and from then on the copy is what holds. The storage of
/// the copy is kept, so a container that has seen its longest path allocates no more.
///
///     AspathContainerFromExisting path;
///     path.existingPathIs(&route.asPath);  // nothing is copied
///     path.expand().prepend(own);          // copied now, and changed
///     path.asns();                         // the changed path
///
/// Belongs to one thread.
class AspathContainerFromExisting {
public:
    /// The path pointed at, not owned; null is the empty path.
    AsPath const * existingPath() const { return existing_; }

    /// Points at another path and forgets any change made to a copy.
    void existingPathIs(AsPath const * path) {
        existing_ = path;
        isExpanded_ = false;
    }

    /// The own copy, or null as long as `expand` was not called for this path.
    AsnVector const * expanded() const { return isExpanded_ ? &expanded_ : nullptr; }

    /// The own copy for changing; made by the first call after `existingPathIs`.
    AsnVector & expand() {
        if (!isExpanded_) {
            expanded_ = asns();
            isExpanded_ = true;
        }
        return expanded_;
    }

    /// The own copy for changing as an empty path: for those who would overwrite what `expand`
    /// copied.
    AsnVector & expandEmpty() {
        expanded_.clear();
        isExpanded_ = true;
        return expanded_;
    }

    /// Back to the empty path; storage is kept.
    void clear() { existingPathIs(nullptr); }

    /// The path that holds: the own copy, else the existing path, else the empty one.
    AsnVector const & asns() const {
        if (isExpanded_) {
            return expanded_;
        }
        return existing_ != nullptr ? existing_->asns() : AsnVector::none();
    }

    /// The text of the path that holds.
    String toString() const { return asns().toString(); }

private:
    /// Not owned; null for the empty path.
    AsPath const * existing_ = nullptr;
    /// Whether the copy below holds; its content is stale otherwise, its storage good.
    bool isExpanded_ = false;
    /// Keeps its storage from path to path.
    AsnVector expanded_;
};

/// Over the path that holds; an unchanged path answers with its cached length.
inline U32 pathLength(AspathContainerFromExisting const & path) {
    if (AsnVector const * const expanded = path.expanded()) {
        return pathLength(*expanded);
    }
    return path.existingPath() != nullptr ? path.existingPath()->length() : 0;
}
/// Over the path that holds.
inline U32 originAs(AspathContainerFromExisting const & path, U32 localAs, bool & known) {
    return originAs(path.asns(), localAs, known);
}
/// Over the path that holds.
inline U32 lastAs(AspathContainerFromExisting const & path) { return lastAs(path.asns()); }

/// Appends a path as text: segments joined by one blank, AS numbers in plain decimal. A sequence is
/// `1 2`, a set `{1,2}`, a confederation sequence `(1 2)`, a confederation set `[1 2]`.
void appendAsPathText(String & out, AsnVector const & path);

/// The same with both kinds of confederation segments as `(1 2)`: the text that AS-path patterns
/// are matched against.
void appendAsPathPatternText(String & out, AsnVector const & path);

/// Reads a path from such a text. AS numbers reach to 4294967295 and may be in asdot form ("1.10").
/// Blanks, tabs and line ends separate and may stand anywhere but inside a number; inside brackets
/// one comma may separate as well. Adjacent plain numbers make one sequence; more than 255 in a
/// segment make several. An empty pair of brackets is an error, an empty text the empty path.
std::optional<AsnVector> parseAsPath(std::string_view text);

/// The path of a route that came over a session with 16-bit AS numbers, from its AS_PATH and its
/// AS4_PATH (RFC 6793 4.2.3): AS4_PATH after as many leading AS numbers of AS_PATH as it is
/// shorter. Confederation segments in AS4_PATH are passed over; an AS4_PATH longer than AS_PATH is
/// ignored. `out` is overwritten, reusing its storage, and must be neither of the inputs.
void mergeAs4Path(AsnVector const & asPath, AsnVector const & as4Path, AsnVector & out);

/// Writes the text of `appendAsPathText`.
std::ostream & operator<<(std::ostream & out, AsnVector const & path);

} // namespace Routing::Bgp
