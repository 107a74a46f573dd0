#include "tests/Live/LiveTools.h"

#include <gtest/gtest.h>

namespace Qcf::Live::test {
namespace {

/// The body of an UPDATE.
struct Body {
    String text;
    ByteCursor cursor() const {
        return {reinterpret_cast<U8 const *>(text.data()), text.size(), "UPDATE message"};
    }
};

/// One that announces prefix number `i`.
Body announcing(U32 i, bool ids, U32 width, bool v6 = false) {
    String const id = ids ? u32(i + 1) : String();
    String const text =
        v6 ? "2001:db8:" + std::to_string(i) + "::/48" : "10." + std::to_string(i) + ".0.0/16";
    String const path = attribute(2, segment(2, {65001, 65002, 65003}, width));
    String const reach =
        attribute(14, u16(2) + u8(1) + u8(16) + address("2001:db8::1") + u8(0) + id + prefix(text));
    String const whole = v6 ? update("", path + reach, "") : update("", path, id + prefix(text));
    return {whole.substr(19)};
}

struct Case {
    char const * what;
    Agent::UpdateForm declared;
    bool as2; ///< what messages say
    bool sentIds;
    U32 sentWidth;
};

TEST(TableForm, IsThatInWhichMostMessagesCanBeRead) {
    Case const cases[] = {
        {"as declared", {true, false, false}, false, false, 4},
        {"as declared, with identifiers", {true, true, true}, false, true, 4},
        {"identifiers are promised and missing", {true, true, true}, false, false, 4},
        {"identifiers come unannounced", {true, false, false}, false, true, 4},
        {"two bytes under a flag for four", {true, false, false}, false, false, 2},
        {"four bytes under a flag for two", {true, false, false}, true, false, 4},
        {"two bytes as the flag says", {true, false, false}, true, false, 2},
    };
    for (Case const & c : cases) {
        SCOPED_TRACE(c.what);
        TableForm form(c.declared, false);
        for (U32 i = 0; i < TableForm::enough; ++i) {
            Body const body = announcing(i, c.sentIds, c.sentWidth);
            auto const needs = form.vote(body.cursor(), c.as2);
            EXPECT_EQ(form.isDecided(needs), i + 1 == TableForm::enough) << i;
        }
        EXPECT_EQ(form.form(c.as2).as4, c.sentWidth == 4);
        EXPECT_EQ(form.form(c.as2).ids4, c.sentIds);
        EXPECT_EQ(form.form(c.as2).ids6, c.sentIds) << "goes with the family that voted";
        EXPECT_EQ(form.idsAgainst(), c.sentIds != c.declared.ids4);
        EXPECT_EQ(form.lacksIds(), c.declared.ids4 && !c.sentIds);
        EXPECT_EQ(form.widthAgainst(c.as2), (c.sentWidth == 4) == c.as2);

        TableForm trusted(c.declared, true);
        EXPECT_TRUE(
            trusted.isDecided(trusted.vote(announcing(0, c.sentIds, c.sentWidth).cursor(), c.as2)));
        EXPECT_EQ(trusted.form(c.as2).as4, !c.as2);
        EXPECT_EQ(trusted.form(c.as2).ids4, c.declared.ids4);
    }
}

TEST(TableForm, FamiliesDecideForThemselves) {
    // Identifiers were negotiated for IPv4 alone, and IPv6 has none.
    TableForm form({true, true, false}, false);
    for (U32 i = 0; i < 10; ++i) {
        form.vote(announcing(i, true, 4).cursor(), false);
        form.vote(announcing(i, false, 4, true).cursor(), false);
    }
    EXPECT_TRUE(form.form(false).ids4);
    EXPECT_FALSE(form.form(false).ids6);
    EXPECT_FALSE(form.idsAgainst());
}

TEST(TableForm, WithdrawalsSayNothingOfWidths) {
    TableForm form({true, false, false}, false);
    Body const withdrawal{update(prefix("10.1.0.0/16"), "", "").substr(19)};
    for (U32 i = 0; i < 2 * TableForm::enough; ++i) {
        form.vote(withdrawal.cursor(), false);
    }
    EXPECT_TRUE(form.isDecided({.ids = true}));
    EXPECT_FALSE(form.isDecided({.width = true}));
    EXPECT_FALSE(form.isDecided(form.vote(announcing(1, false, 2).cursor(), false)));
    form.close();
    EXPECT_FALSE(form.form(false).as4) << "one vote decides when no more come";
}

} // namespace
} // namespace Qcf::Live::test
