#pragma once

#include "Platform/Framework/Hash.h"
#include "Platform/Framework/Types.h"

#include <array>
#include <compare>
#include <cstddef>
#include <iosfwd>

namespace Routing::Rib {

/// One RIB in which a next hop may be resolved. An entry with neither name nor kind is not in use.
/// What names and kinds mean is the host's.
struct ResolutionRibEntry {
    String name;
    U8 kind = 0; ///< a code of the host's; 0 with an empty name means no entry

    /// Whether the entry is not in use.
    bool isUnset() const { return name.empty() && kind == 0; }
    /// Name and kind both.
    bool operator==(ResolutionRibEntry const &) const = default;
};

/// The RIBs, in order of preference, in which a route's next hop is resolved.
///
/// A value; names of up to 15 characters are copied without an allocation.
///
///     ResolutionRibProfileConfig profile;
///     profile.entryIs(0, {"system-connected", 1});
///     profile.entryIs(1, {"tunnel-rib", 2});
///     profile.toString(); // "system-connected:1,tunnel-rib:2"
class ResolutionRibProfileConfig {
public:
    /// A fixed number, so that a profile is copied without an array on the heap.
    static constexpr std::size_t maxEntries = 3;

    /// The empty profile: no entries, not the system's default.
    ResolutionRibProfileConfig() = default;

    /// A profile without entries that stands for the system's default, or not.
    explicit ResolutionRibProfileConfig(bool useDefault) : useDefault_(useDefault) {}

    /// All three places, those that are not in use included.
    std::array<ResolutionRibEntry, maxEntries> const & entries() const { return entries_; }

    /// Sets entry `index`, which must be below `maxEntries`. An entry with neither name nor kind
    /// takes it out of use.
    void entryIs(std::size_t index, ResolutionRibEntry entry);

    /// Number of entries up to the last one in use.
    std::size_t entryCount() const;

    /// Whether the system's default profile is meant.
    bool useDefault() const { return useDefault_; }
    /// Entries stay as they are.
    void useDefaultIs(bool useDefault) { useDefault_ = useDefault; }

    /// Entry by entry, unused ones included, and the flag.
    bool operator==(ResolutionRibProfileConfig const &) const = default;

    /// Mixes name and kind of the three entries, then the default flag as one byte.
    void hash(Hash & hash) const;
    /// The same as a number of its own.
    U32 hash(U32 seed) const;

    /// The entries as "name:kind" and "default" when that flag is set, joined by ","; "" for the
    /// empty profile.
    String toString() const;

private:
    /// In order of preference.
    std::array<ResolutionRibEntry, maxEntries> entries_;
    bool useDefault_ = false;
};

/// Writes what `toString` returns.
std::ostream & operator<<(std::ostream & out, ResolutionRibProfileConfig const & profile);

} // namespace Routing::Rib

template <>
struct std::hash<Routing::Rib::ResolutionRibProfileConfig>
    : HashOfValue<Routing::Rib::ResolutionRibProfileConfig> {};
