#pragma once

#include "Platform/Framework/Hash.h"
#include "Platform/Framework/Types.h"

#include <compare>
#include <iosfwd>
#include <optional>
#include <string_view>
#include <utility>

/// Identifies an interface by its name; the empty name is no interface. Names of up to 15
/// characters are held in place and copied without an allocation. What an interface is called is
/// the host's business: names are compared and shown, and mean nothing else here.
class IntfId {
public:
    /// No interface. It equals itself and stands before every name.
    IntfId() = default;
    /// The interface of that name, which need not exist.
    explicit IntfId(String name) : name_(std::move(name)) {}

    /// The name as it was given; empty for no interface.
    String const & name() const { return name_; }

    /// By name, byte by byte: "Ethernet10" stands before "Ethernet9". Two names are two interfaces,
    /// whatever they stand for.
    bool operator==(IntfId const &) const = default;
    auto operator<=>(IntfId const &) const = default;

    /// Equal names have equal hashes for equal seeds.
    U32 hash(U32 seed) const;

    /// The name. Of the object, not a copy.
    String const & toString() const { return name_; }

    /// Any text without NUL is a name. The empty text is read as no interface.
    static std::optional<IntfId> parse(std::string_view text);

private:
    /// As it was given: no case is folded and no blank taken off.
    String name_;
};

/// Writes the name.
std::ostream & operator<<(std::ostream & out, IntfId const & intf);

template <>
struct std::hash<IntfId> : HashOfValue<IntfId> {};
