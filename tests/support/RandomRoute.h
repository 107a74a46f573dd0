#pragma once

#include "QcfLib/AetNode.h"
#include "tests/support/ListContext.h"

#include <algorithm>
#include <limits>
#include <random>

namespace Qcf::Eval::test {

/// Routes of values that the constants of random documents are made of too: ends of ranges,
/// defaults, unknown, empty sets and sets that fill their place exactly, or are one larger. The
/// same seed gives the same route.
class RandomRoute {
public:
    explicit RandomRoute(U64 seed) : random_(seed) {}

    U32 below(U32 bound) { return static_cast<U32>(random_() % bound); }
    template <typename Choices>
    auto const & oneOf(Choices const & choices) {
        return choices[below(static_cast<U32>(std::size(choices)))];
    }

    void fill(ListContext & context) {
#define QCF_TEST_FILL(Type, stem, initial)                                                         \
    {                                                                                              \
        static AttributeInfo const & info = attributeOf(#stem);                                    \
        value(context.stem, info);                                                                 \
    }
        QCF_TEST_INPUTS(QCF_TEST_FILL)
#undef QCF_TEST_FILL
        static constexpr char const * paths[] = {"", "65001", "65001 65002 65001",
                                                 "65002 {65001,3}", "(1 2) 65001 65003 4294967295"};
        context.asPath.asnsIs(*Routing::Bgp::parseAsPath(oneOf(paths)));
        set(context.community, [](U64 i) { return i < 8 ? i : U64{65000} * 65536 + i - 8; });
        set(context.isisLevel, [](U64 i) { return i; });
        set(context.extCommunity, [](U64 i) {
            return i < 2 ? Acl::CommunityValue(0x4004fde8447a0000U + i, 0)
                         : Acl::CommunityValue(0x4005000000000000U + i, 0);
        });
        set(context.largeCommunity,
            [](U64 i) { return Acl::CommunityValue((U64{65000} << 32) + 1, static_cast<U32>(i)); });
        context.lends = below(2) == 0;
        context.outbound = below(2) == 0;
        context.localAsValue = below(2) == 0 ? 0 : 65001;
        context.vrf = below(2) == 0 ? 1 : EvalContext::noVrf;
        context.matchAnswer = below(2) == 0;
    }

private:
    static AttributeInfo const & attributeOf(String stem) {
        stem[0] = static_cast<char>(stem[0] - 'a' + 'A');
        return *findNodeClass(stem)->attribute;
    }

    template <typename Values, typename Nth>
    void set(Values & values, Nth nth) {
        static constexpr U64 large[] = {65, 127, 128, 129, 200};
        values.clear();
        U64 const count = below(16) == 0 ? oneOf(large) : 0;
        for (U64 i = 0; i < std::max<U64>(count, 12); ++i) {
            if (i < count || below(4) == 0) {
                values.push_back(nth(i));
            }
        }
        std::sort(values.begin(), values.end());
    }

    void value(U64 & value, AttributeInfo const & info) {
        static constexpr U64 integers[] = {0,     1,     2,         3,          4,          5,
                                           7,     100,   128,       255,        256,        65001,
                                           65535, 65536, 1'048'575, 0xffffffff, 0x100000000};
        U64 const max = info.max.value_or(std::numeric_limits<U64>::max());
        value = below(16) == 0 ? max : oneOf(integers);
        if (value > max) {
            value = info.defaultValue.value_or(*info.min);
        }
    }
    void value(F32 & value, AttributeInfo const & /*info*/) {
        static constexpr F32 bandwidths[] = {0,     8000,  1e9F,
                                             1e30F, -0.5F, std::numeric_limits<F32>::quiet_NaN()};
        value = oneOf(bandwidths);
    }
    void value(TriStateBoolValue & value, AttributeInfo const & /*info*/) {
        value = static_cast<TriStateBoolValue>(below(3));
    }
    void value(Acl::CommunityValue & value, AttributeInfo const & /*info*/) {
        static constexpr Acl::CommunityValue communities[] = {
            {}, {(U64{65000} << 32) + 1, 2}, {0x4004fde8447a0000U, 0}, {7, 9}};
        value = oneOf(communities);
    }
    /// Any type that is read from texts.
    template <typename Value>
    void value(Value & value, AttributeInfo const & /*info*/) {
        static std::vector<Value> const values =
            parsed<Value>({"10.0.0.1", "192.0.2.1", "0.0.0.0", "::1", "2001:db8::1", "10.0.0.0/8",
                           "10.1.0.0/16", "0.0.0.0/0", "::/0", "2001:db8::/32", "192.0.2.0/24",
                           "00:1c:73:00:00:01", "00:11:22:33:44:55:66:77:88:99", "eth0"});
        value = oneOf(values);
    }
    void value(std::optional<Evpn::Esid> & value, AttributeInfo const & info) {
        value.emplace();
        this->value(*value, info);
        if (*value == Evpn::Esid() && below(2) == 0) {
            value.reset();
        }
    }
    void value(Routing::Rib::ResolutionRibProfileConfig & value, AttributeInfo const & /*info*/) {
        value = Routing::Rib::ResolutionRibProfileConfig(below(2) == 0);
        if (below(2) == 0) {
            value.entryIs(0, {"a", 1});
        }
    }
    /// The texts that are one of that type, and the default.
    template <typename Value>
    static std::vector<Value> parsed(std::initializer_list<char const *> texts) {
        std::vector<Value> values(1);
        for (char const * const text : texts) {
            if (auto const value = Value::parse(text)) {
                values.push_back(*value);
            }
        }
        return values;
    }

    std::mt19937_64 random_;
};

} // namespace Qcf::Eval::test
