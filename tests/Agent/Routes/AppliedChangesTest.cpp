#include "Agent/Routes/AppliedChanges.h"

#include <gmock/gmock.h>

namespace Qcf::Agent {
namespace {

using testing::ElementsAreArray;

/// A value that no default is.
template <typename Value>
Value otherValue() {
    static U64 const number[] = {7};
    static Acl::CommunityValue const community[] = {{7, 1}};
    if constexpr (std::is_same_v<Value, std::span<U64 const>>) {
        return number;
    } else if constexpr (std::is_same_v<Value, std::span<Acl::CommunityValue const>>) {
        return community;
    } else if constexpr (std::is_same_v<Value, Routing::Bgp::AsnVector>) {
        return *Routing::Bgp::parseAsPath("7 8");
    } else if constexpr (std::is_same_v<Value, IpGenAddr>) {
        return *IpGenAddr::parse("7.7.7.7");
    } else if constexpr (std::is_same_v<Value, Routing::Rib::ResolutionRibProfileConfig>) {
        return Routing::Rib::ResolutionRibProfileConfig(true);
    } else {
        return Value{7};
    }
}

template <auto... members>
void changeAll(RouteChanges & changes, MemberList<members...> /*all*/) {
    U8 number = 0;
    (
        [&] {
            using Value = std::decay_t<decltype(changes.*members)>;
            changes.*members = otherValue<Value>();
            changes.mark(RouteChanges::Attribute{number++});
        }(),
        ...);
}

} // namespace

// Each change arrives at its own attribute, and nothing else does.
TEST(AppliedChanges, GoWhereTheyBelong) {
    Route route;
    route.session.vrfId = 3;
    RouteChanges all;
    changeAll(all, ChangeMembers());
    for (std::size_t i = 0; i < modifiableAttributeNames().size(); ++i) {
        RouteChanges one = all;
        one.clear();
        one.mark(RouteChanges::Attribute{static_cast<U8>(i)});
        auto const found = differences(route, appliedTo(route, one));
        ASSERT_EQ(found.size(), 1U) << modifiableAttributeNames()[i];
        EXPECT_EQ(found[0].name, modifiableAttributeNames()[i]);
        EXPECT_NE(found[0].before, found[0].after);
    }
    Route const after = appliedTo(route, all);
    EXPECT_EQ(after.session.vrfId, 3U);
    EXPECT_EQ(attributeText(after, "as_path"), "\"7 8\"");
    EXPECT_EQ(attributeText(after, "med"), "7");
    std::vector<std::string_view> names;
    for (auto const & difference : differences(route, after)) {
        names.push_back(difference.name);
    }
    EXPECT_THAT(names, ElementsAreArray(modifiableAttributeNames()));
    EXPECT_TRUE(differences(route, appliedTo(route, RouteChanges())).empty());
}

} // namespace Qcf::Agent
