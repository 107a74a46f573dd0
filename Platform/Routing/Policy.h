#pragma once

#include "Platform/Framework/Ptr.h"
#include "Platform/Framework/Types.h"
#include "Platform/Routing/IpPrefix.h"

#include <functional>
#include <initializer_list>
#include <set>
#include <string_view>
#include <utility>

/// A boolean that may be unset, as hosts hand it over. `value` counts only while `isSet` is not
/// zero; all unset ones are equal.
struct TristateBoolean {
    U8 value = 0;
    U8 isSet = 0;

    /// No answer.
    static constexpr TristateBoolean unset() { return {}; }
    /// An answer.
    static constexpr TristateBoolean of(bool value) { return {static_cast<U8>(value), 1}; }

    constexpr bool operator==(TristateBoolean const & other) const {
        return isSet != 0 ? other.isSet != 0 && value == other.value : other.isSet == 0;
    }
};

namespace Routing::Policy {

/// The candidate that a prefix list is asked about. Cheap to build for every question.
struct MatchInput_ {
    IpGenPrefix prefix; ///< an address is asked about as its host prefix
};

/// What a host wants its prefix-list matchers to know beside the candidate. It derives from this;
/// the engine only passes it on.
class PolicyEvalContext : public PtrInterface {
public:
    ~PolicyEvalContext() override = default;
};

/// The record of a policy's outcome that a host hands to an evaluation context. It derives from
/// this; the engine only keeps the pointer for it and neither reads nor owns the record.
struct Result_ {};

/// A prefix list as the engine asks it. Objects are shared between evaluating threads: questions
/// must not change them.
///
///     class OwnList final : public Routing::Policy::PrefixListMatcher {
///     public:
///         AddressFamily af() const override { return AddressFamily::ipv4; }
///         TristateBoolean matchWithTristate(MatchInput_ const & input,
///                                           Ptr<PolicyEvalContext> const &) const override {
///             return TristateBoolean::of(permits(input.prefix));
///         }
///     };
class PrefixListMatcher : public PtrInterface {
public:
    /// By the last pointer, in whatever thread holds it.
    ~PrefixListMatcher() override = default;

    /// Family of the prefixes in the list. It does not change.
    virtual AddressFamily af() const = 0;

    /// Whether the list permits the candidate; unset when the list has no answer. The context may
    /// be null.
    virtual TristateBoolean matchWithTristate(MatchInput_ const & input,
                                              Ptr<PolicyEvalContext> const & context) const = 0;
};

/// Names of the features that a policy function makes use of, each once and in order. A host may
/// look there before it takes a function; the engine keeps them and reads nothing into them.
class RouteMapFeatures {
public:
    RouteMapFeatures() = default;
    RouteMapFeatures(std::initializer_list<String> features) : features_(features) {}

    /// The names, in the order of their bytes.
    std::set<String, std::less<>> const & features() const { return features_; }

    /// Adds a name; one that is there already changes nothing.
    void featureIs(String feature) { features_.insert(std::move(feature)); }

    /// The same names.
    bool operator==(RouteMapFeatures const &) const = default;

    /// The names joined by ",", without blanks. Empty where there are none.
    String toStrep() const;

private:
    /// Searched by views as well, without a copy.
    std::set<String, std::less<>> features_;
};

} // namespace Routing::Policy
