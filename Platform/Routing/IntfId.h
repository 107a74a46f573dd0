#pragma once

#include "Platform/Framework/Hash.h"
#include "Platform/Framework/Types.h"

#include <compare>
#include <iosfwd>
#include <optional>
#include <string_view>
#include <utility>

/// Identifies an interface by its name; the empty name is no interface. Names of up to 15
/// characters are held in place and copied without an allocation.
class IntfId {
public:
    IntfId() = default;
    explicit IntfId(String name) : name_(std::move(name)) {}

    String const & name() const { return name_; }

    bool operator==(IntfId const &) const = default;
    auto operator<=>(IntfId const &) const = default;

    U32 hash(U32 seed) const;

    /// The name.
    String const & toString() const { return name_; }

    /// Any text without NUL is a name.
    static std::optional<IntfId> parse(std::string_view text);

private:
    String name_;
};

std::ostream & operator<<(std::ostream & out, IntfId const & intf);

template <>
struct std::hash<IntfId> : HashOfValue<IntfId> {};
