#include "Agent/Mrt/BgpUpdate.h"

#include "tests/Agent/Mrt/MrtTools.h"

#include <gmock/gmock.h>

namespace Qcf::Agent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// "ID PREFIX via NEXT_HOP" for each prefix of some places.
std::vector<String> textsOf(BgpUpdate::Places places) {
    std::vector<String> texts;
    for (auto & place : places) {
        for (UpdatePrefix one; place.next(one);) {
            texts.push_back(std::to_string(one.pathId) + ' ' + one.prefix.toString() + " via " +
                            place.nextHop().toString());
        }
    }
    return texts;
}

ByteCursor bodyOf(String const & message) {
    constexpr std::size_t headSize = 19;
    return {reinterpret_cast<U8 const *>(message.data()) + headSize, message.size() - headSize,
            "UPDATE message"};
}

String reach(String const & prefixes) {
    return attribute(14, u16(2) + u8(1) + u8(16) + address("2001:db8::1") + u8(0) + prefixes);
}
String unreach(String const & prefixes) { return attribute(15, u16(2) + u8(1) + prefixes); }

TEST(BgpUpdate, EachFamilyHasItsOwnIdentifiers) {
    for (bool const ids4 : {false, true}) {
        for (bool const ids6 : {false, true}) {
            String const id4 = ids4 ? u32(4) : String();
            String const id6 = ids6 ? u32(6) : String();
            String const bytes =
                update(id4 + prefix("10.3.0.0/16"),
                       plainAttributes({65001}) + reach(id6 + prefix("2001:db8::/32")) +
                           unreach(id6 + prefix("2001:db8:1::/48")),
                       id4 + prefix("10.1.0.0/16"));
            UpdateForm const form{.as4 = true, .ids4 = ids4, .ids6 = ids6};
            BgpUpdate update;
            Route shared;
            update.decode(bodyOf(bytes), form, shared);
            String const n4 = ids4 ? "4 " : "0 ";
            String const n6 = ids6 ? "6 " : "0 ";
            EXPECT_THAT(textsOf(update.announced()),
                        ElementsAre(n4 + "10.1.0.0/16 via 192.0.2.1",
                                    n6 + "2001:db8::/32 via 2001:db8::1"));
            EXPECT_THAT(textsOf(update.withdrawn()),
                        ElementsAre(n4 + "10.3.0.0/16 via ", n6 + "2001:db8:1::/48 via "));
            EXPECT_EQ(update.announcements(), 2);
            EXPECT_EQ(update.withdrawals(), 2);
            EXPECT_EQ(shared.asPath.toString(), "65001");
            // The check sees the same prefixes.
            update.check(bodyOf(bytes), form);
            EXPECT_EQ(textsOf(update.announced()).size(), 2);
            EXPECT_THAT(textsOf(update.withdrawn()).size(), 2);
        }
    }
}

TEST(BgpUpdate, OfDamageNothingComesOut) {
    BgpUpdate update;
    Route shared;
    String const good = test::update("", plainAttributes({65001}), prefix("10.1.0.0/16"));
    update.decode(bodyOf(good), {.as4 = true}, shared);
    String const bad = test::update(prefix("10.3.0.0/16"), unreach(u8(129) + String(17, '\1')),
                                    prefix("10.1.0.0/16"));
    EXPECT_THROW(update.check(bodyOf(bad), {.as4 = true}), Damage);
    EXPECT_THAT(textsOf(update.announced()), IsEmpty());
    EXPECT_THAT(textsOf(update.withdrawn()), IsEmpty());
    EXPECT_EQ(update.withdrawals(), 0);
}

TEST(BgpUpdate, KnowsTheEndOfATable) {
    struct Case {
        String message;
        AddressFamily family;
    };
    using enum AddressFamily;
    Case const cases[] = {
        {update("", "", ""), ipv4},
        {update("", unreach(""), ""), ipv6},
        {update("", attribute(15, u16(1) + u8(1)), ""), ipv4},
        {update("", attribute(15, u16(25) + u8(70)), ""), none},
        {update(prefix("10.1.0.0/16"), "", ""), none},
        {update("", unreach(prefix("2001:db8::/32")), ""), none},
        {update("", plainAttributes({65001}), prefix("10.1.0.0/16")), none},
        {update("", reach("") + unreach(""), ""), none},
    };
    for (Case const & c : cases) {
        BgpUpdate update;
        update.check(bodyOf(c.message), {.as4 = true});
        EXPECT_EQ(update.endOfRib(), c.family) << &c - cases;
    }
}

} // namespace
} // namespace Qcf::Agent::test
