#include "Text/Lexer.h"
#include "Text/Literal.h"
#include "Text/Words.h"

#include <gmock/gmock.h>

using namespace Qcf::Text; // NOLINT(google-build-using-namespace): what is under test

namespace {

using testing::ElementsAre;

std::vector<String> tokens(std::string_view text) {
    std::vector<String> all;
    Lexer lexer(text);
    for (Token token = lexer.next(); token.kind != TokenKind::end; token = lexer.next()) {
        String const piece(text.substr(token.begin, token.end - token.begin));
        all.push_back(token.kind == TokenKind::foreign ? "?" + piece : piece);
    }
    return all;
}

} // namespace

TEST(Lexer, KeepsLiteralsOfRoutingWhole) {
    for (char const * word : {"65000:1:2",
                              "10.0.0.0/8",
                              "2001:db8::/32",
                              "::/0",
                              "::",
                              "100::1",
                              "2a00::",
                              "rt:65000:1",
                              "soo:192.0.2.1:7",
                              "lbw:65000:1.5e+09",
                              "-5",
                              "10Gbps",
                              "1.5e9",
                              "-1.5e+09",
                              "00:1c:73:00:00:01",
                              "no-export",
                              "_internal.admin_as",
                              "65000:*",
                              "*:*",
                              "*:666",
                              "64500:9234:*",
                              "0x0002fde800000001",
                              "AS13335",
                              "system-tunnel-rib:1"}) {
        EXPECT_THAT(tokens(word), ElementsAre(word));
    }
}

TEST(Lexer, EndsWordsWhereNothingOfThemFollows) {
    EXPECT_THAT(tokens("24..32"), ElementsAre("24", "..", "32"));
    EXPECT_THAT(tokens("65000:900..999"), ElementsAre("65000:900", "..", "999"));
    EXPECT_THAT(tokens("lhs: 5"), ElementsAre("lhs", ":", "5"));
    EXPECT_THAT(tokens("lhs: ::, 5"), ElementsAre("lhs", ":", "::", ",", "5"));
    EXPECT_THAT(tokens("me+5"), ElementsAre("me", "?+", "5"));
    EXPECT_THAT(tokens("med-=5"), ElementsAre("med", "-=", "5"));
    EXPECT_THAT(tokens("med*=-2"), ElementsAre("med", "*=", "-2"));
    EXPECT_THAT(tokens("f(1)@7"), ElementsAre("f", "(", "1", ")", "@", "7"));
    EXPECT_THAT(tokens("(...)"), ElementsAre("(", "...", ")"));
    EXPECT_THAT(tokens("a==b // !c"), ElementsAre("a", "?==", "b", "?//", "?!", "c"));
    EXPECT_THAT(tokens("\"a\\\"b\" \"x"), ElementsAre("\"a\\\"b\"", "?\"x"));
    EXPECT_THAT(tokens("a # b\r\nc"), ElementsAre("a", "# b", "c"));
}

TEST(Lexer, QuotesWhateverReadsBack) {
    for (char const * text :
         {"", "a b", "\\d", "\\", "a\\\\", "\\\"", "\n", "x\\\ny", "^1299_\\."}) {
        String const token = quoted(text);
        EXPECT_THAT(tokens(token), ElementsAre(token));
        EXPECT_EQ(unquoted(token), text);
    }
    EXPECT_EQ(quoted("\\d"), "\"\\d\"");
}

TEST(Literal, ReadsBackWhatItWrites) {
    for (char const * word :
         {"5", "-5", "18446744073709551615", "8000.0", "1.5e+09", "true", "unknown", "65000:1:2",
          "0x0002fde800000001", "10.0.0.0/8", "no_prefix", "::1", "no_address", "00:1c:73:00:00:01",
          "no_esi", "00:11:22:33:44:55:66:77:88:99"}) {
        auto const literal = parseLiteral(word);
        ASSERT_TRUE(literal) << word;
        EXPECT_EQ(toWord(*literal), word);
    }
    EXPECT_EQ(parseLiteral("65000:1"), Literal(Integer{65000ULL * 65536 + 1, false}));
    EXPECT_EQ(parseLiteral("no-export"), Literal(Integer{0xffffff01, false}));
    EXPECT_EQ(parseLiteral("10Gbps"), Literal(1e10F));
    EXPECT_EQ(parseLiteral("-0.5"), Literal(-0.5F));
}

TEST(Literal, RefusesWhatOnlyLooksLikeOne) {
    for (char const * word : {"65536:1", "1:2:4294967296", "10.0.0.1/8", "0x12", "rt:1", "1.2.3",
                              "18446744073709551616"}) {
        EXPECT_FALSE(parseLiteral(word)) << word;
        EXPECT_NE(whyNoLiteral(word), "") << word;
    }
    for (char const * word : {"NO_EXPORT", "community", "e5", "Gbps"}) {
        EXPECT_FALSE(parseLiteral(word)) << word;
        EXPECT_EQ(whyNoLiteral(word), "") << word;
    }
}

TEST(Words, EachConstantIsALiteral) {
    for (std::string_view const word : constantWords()) {
        EXPECT_TRUE(parseLiteral(word)) << word;
    }
}
