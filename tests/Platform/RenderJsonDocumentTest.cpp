#include "Platform/Render/JsonDocument.h"
#include "Platform/Render/JsonObjectReader.h"

#include <chrono>
#include <cmath>
#include <limits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::HasSubstr;

/// The message that `body` fails with; empty when it does not.
template <class F>
String messageOf(F && body) {
    try {
        body();
    } catch (DocumentError const & e) {
        return e.what();
    }
    return {};
}

String parseError(String const & text) {
    return messageOf([&] { JsonDocument::parse(text, "f.json"); });
}

String repeated(std::string_view piece, std::size_t times) {
    String out;
    for (std::size_t i = 0; i < times; ++i) {
        out += piece;
    }
    return out;
}

struct Refusal {
    String text;
    String message;
};

} // namespace

// Read under the address sanitizer: what stands behind the text is not the text's.
TEST(JsonDocument, EndsInsideACharacter) {
    for (char const * const begun : {"\xc3", "\xe2", "\xe2\x82", "\xed", "\xf0", "\xf0\x9f\x98"}) {
        for (char const * const before : {"\"text of some length ", "{\"key of some length "}) {
            String const text = String(before) + begun;
            String const place = "f.json:1:" + std::to_string(String(before).size() + 1);
            EXPECT_THAT(parseError(text), HasSubstr(place + ": syntax error: Invalid encoding"));
        }
    }
}

TEST(JsonDocument, GivesKindsContentAndOrder) {
    auto const document = JsonDocument::parse(
        R"( {"null":null,"yes":true,"no":false,"text":"a\"\u00e9\n\ud83d\ude00","n":-1.50e+2,)"
        R"("list":[1,[2,{"x":3}],[],{}],"":{"a/b~c":["deep"]}} )",
        "f.json");
    JsonValue const root = document.root();
    ASSERT_TRUE(root.isObject());
    EXPECT_EQ(root.size(), 7U);
    EXPECT_TRUE(root.find("null")->isNull());
    EXPECT_TRUE(root.find("yes")->asBool());
    EXPECT_FALSE(root.find("no")->asBool());
    EXPECT_EQ(root.find("text")->asString(), "a\"\xc3\xa9\n\xf0\x9f\x98\x80");
    EXPECT_EQ(root.find("n")->numberText(), "-1.50e+2");
    EXPECT_FALSE(root.find("nul").has_value());

    JsonValue const list = *root.find("list");
    ASSERT_EQ(list.size(), 4U);
    EXPECT_EQ(list.at(0).asU64(), 1U);
    EXPECT_EQ(list.at(1).at(1).find("x")->asU64(), 3U);
    EXPECT_EQ(list.at(2).size() + list.at(3).size(), 0U);
    EXPECT_EQ(list.at(2).begin(), list.at(2).end());
    String keys;
    for (JsonValue const member : root) {
        keys += member.key();
        keys += ',';
    }
    EXPECT_EQ(keys, "null,yes,no,text,n,list,,");
    EXPECT_DEATH(static_cast<void>(list.at(4)), "array has no such element");
}

TEST(JsonDocument, PointersNameThePlace) {
    auto const document = JsonDocument::parse(
        R"({"functions":[{"a/b~c":[[0],1]},[1,2,3]],"":{"line\nbreak":1}})", "f.json");
    JsonValue const root = document.root();
    JsonValue const functions = *root.find("functions");
    EXPECT_EQ(root.pointer(), "");
    EXPECT_EQ(functions.at(0).find("a/b~c")->at(0).at(0).pointer(), "/functions/0/a~1b~0c/0/0");
    EXPECT_EQ(functions.at(1).at(2).pointer(), "/functions/1/2");
    JsonValue const odd = *root.find("")->find("line\nbreak");
    EXPECT_EQ(odd.pointer(), "//line\nbreak");
    // A message stays one line, whatever the keys are.
    EXPECT_EQ(messageOf([&] { odd.fail("Afi"); }),
              "f.json://line\\nbreak: wants Afi, found number 1");
    EXPECT_EQ(messageOf([&] { functions.at(1).fail("IntAssign.lhs", "IntModifiable", "Afi"); }),
              "f.json:/functions/1: IntAssign.lhs wants IntModifiable, found Afi");
}

TEST(JsonDocument, DescribesWhatWasFound) {
    auto const document =
        JsonDocument::parse(R"([null,true,-0.5,"afi","a\tb\"",[],[1],{},{"a":1}])", "f.json");
    std::vector<String> found;
    for (JsonValue const value : document.root()) {
        found.push_back(describe(value));
    }
    EXPECT_THAT(found,
                ::testing::ElementsAre("null", "true", "number -0.5", "\"afi\"", "\"a\\tb\\\"\"",
                                       "empty array", "array", "empty object", "object"));
    auto const lengthy = JsonDocument::parse('"' + repeated("\xc3\xa9", 500) + '"', "f.json");
    EXPECT_LT(describe(lengthy.root()).size(), 80U);
}

TEST(JsonDocument, NumbersKeepTheirExactText) {
    struct Case {
        std::string_view text;
        std::optional<U64> asU64;
        std::optional<std::pair<U64, bool>> asSigned;
        std::optional<F32> asFloat;
    };
    constexpr U64 top = ~U64{0};
    F32 const topAsFloat = 0x1p64F;
    std::vector<Case> const cases{
        {"0", 0, std::pair(U64{0}, false), 0.0F},
        {"-0", {}, std::pair(U64{0}, true), -0.0F},
        {"9007199254740993", 9007199254740993, std::pair(U64{9007199254740993}, false), 0x1p53F},
        {"18446744073709551615", top, std::pair(top, false), topAsFloat},
        {"-18446744073709551615", {}, std::pair(top, true), -topAsFloat},
        {"18446744073709551616", {}, {}, 0x1p64F},
        {"1.0", {}, {}, 1.0F},
        {"1e2", {}, {}, 100.0F},
        {"0.1", {}, {}, 0.1F},
        {"9e38", {}, {}, {}},
        {"-179769313486231580793e289", {}, {}, {}},
        {"1e-400", {}, {}, 0.0F},
        {"-0.000001e-4294967297", {}, {}, -0.0F},
        {"1.4012984643248170e-45", {}, {}, 0x1p-149F},
    };
    for (Case const & c : cases) {
        auto const document = JsonDocument::parse(String(c.text), "f.json");
        JsonValue const root = document.root();
        EXPECT_EQ(root.numberText(), c.text);
        EXPECT_EQ(root.asU64(), c.asU64) << c.text;
        EXPECT_EQ(root.asSigned(), c.asSigned) << c.text;
        EXPECT_EQ(root.asFloat(), c.asFloat) << c.text;
        if (c.asFloat) {
            EXPECT_EQ(std::signbit(*root.asFloat()), std::signbit(*c.asFloat)) << c.text;
        }
    }
    auto const floats = JsonDocument::parse("[3.5e38, 3.4028235e38, 1e-60, 16777217, 0.1]", "f");
    EXPECT_EQ(floats.root().at(0).asFloat(), std::nullopt);
    EXPECT_EQ(floats.root().at(1).asFloat(), std::numeric_limits<F32>::max());
    EXPECT_EQ(floats.root().at(2).asFloat(), 0.0F);
    EXPECT_EQ(floats.root().at(3).asFloat(), 16777216.0F);
    EXPECT_EQ(floats.root().at(4).asFloat(), 0.1F);
}

TEST(JsonDocument, SyntaxErrorsNameLineAndColumn) {
    std::vector<Refusal> const refusals{
        {"", "f.json:1:1: syntax error: The document is empty."},
        {"{\"a\":1,\n \"b\":}", "f.json:2:6: syntax error: Invalid value."},
        {"[1,2", "f.json:1:5: syntax error"},
        {"[1,]", "f.json:1:4: syntax error"},
        {"[1] 2", "f.json:1:5: syntax error"},
        {"[\"\xc3\xa9\xc3\xa9\", x]", "f.json:1:8: syntax error"}, // columns count characters
        {"[\"a\nb\"]", "f.json:1:4: syntax error"},
        {"[\"\\n\\q\"]", "f.json:1:5: syntax error: Invalid escape"},
        {"[\"\\u12g4\"]", "f.json:1:3: syntax error"},
        {"[\"\xff\"]", "f.json:1:3: syntax error: Invalid encoding"},
        {"[\"\xed\xa0\x80\"]", "f.json:1:3: syntax error: Invalid encoding"},
        {"[\"\xc0\xaf\"]", "f.json:1:3: syntax error: Invalid encoding"},
        {"[\"\\ud800x\"]", "f.json:1:3: syntax error: The surrogate pair"},
        {"[01]", "f.json:1:3: syntax error"},
        {"[1.]", "f.json:1:4: syntax error"},
        {"[NaN]", "f.json:1:2: syntax error"},
        {"[// no\n1]", "f.json:1:2: syntax error"},
        {"{'a':1}", "f.json:1:2: syntax error: Missing a name"},
        {"[1e999]", "f.json:1:2: syntax error: Number too big"},
        {String("[1,\n\0 2]", 8), "f.json:2:1: wants JSON text, found a NUL byte"},
        {String("[\"\0\"]", 5), "f.json:1:3: wants JSON text, found a NUL byte"},
    };
    for (Refusal const & r : refusals) {
        EXPECT_THAT(parseError(r.text), ::testing::StartsWith(r.message)) << r.text;
    }
}

TEST(JsonDocument, RefusesWhatSyntaxAllows) {
    String wide = "{\"big\":{";
    for (int i = 0; i < 100; ++i) {
        wide += "\"k" + std::to_string(i) + "\":[],";
    }
    std::vector<Refusal> const refusals{
        {R"({"a":1,"b":[{"x":1,"\u0078":2}]})",
         "f.json:/b/0/x: wants each key once, found \"x\" again"},
        {wide + R"("new":0,"k7":1,"k3":1}})", "f.json:/big/k7: wants each key once, found \"k7\""},
        {R"([0,["a","b\u0000"]])",
         "f.json:/1/1: wants string without NUL characters, found \\u0000"},
        {R"({"a":{"\u0000":1}})", "f.json:/a: wants key without NUL characters"},
        {R"(["\udc00"])", "f.json:/0: wants string of Unicode characters, found half of"},
    };
    for (Refusal const & r : refusals) {
        EXPECT_THAT(parseError(r.text), ::testing::StartsWith(r.message)) << r.text;
    }
    EXPECT_EQ(parseError(wide + "\"new\":0}}"), "");
    EXPECT_EQ(parseError("\xef\xbb\xbf[]"), "");
}

TEST(JsonDocument, LimitsHold) {
    EXPECT_EQ(parseError(repeated("[", 512) + repeated("]", 512)), "");
    EXPECT_EQ(parseError(repeated("{\"a\":", 512) + '1' + repeated("}", 512)), "");
    EXPECT_THAT(parseError(repeated("[", 513)),
                HasSubstr("/0/0: wants arrays and objects nested at most 512 deep, found deeper"));
    EXPECT_THAT(parseError("{\"a\":" + repeated("[", 1000000)), HasSubstr("f.json:/a/0/0"));
    EXPECT_EQ(messageOf([] { JsonDocument::parse("[1,2,3]", "f", {.bytes = 6}); }),
              "f: wants at most 6 bytes, found 7");
    EXPECT_EQ(messageOf([] { JsonDocument::parse("[1,2,3]", "f", {.values = 3}); }),
              "f:: wants a document of at most 3 values, found more");
}

// Members of large objects are found through an index, and none is lost on the way.
TEST(JsonDocument, LargeObjectsAreSearchedByKey) {
    for (std::size_t const count : {16U, 17U, 5000U}) {
        String text = "{";
        for (std::size_t i = 0; i < count; ++i) {
            text += (i == 0 ? "\"key" : ",\"key") + std::to_string(i) + "\":" + std::to_string(i);
        }
        auto const document = JsonDocument::parse(text + '}', "f.json");
        for (std::size_t i = 0; i < count; ++i) {
            auto const member = document.root().find("key" + std::to_string(i));
            ASSERT_TRUE(member.has_value()) << i;
            ASSERT_EQ(member->asU64(), i);
        }
        EXPECT_FALSE(document.root().find("key").has_value());
        EXPECT_FALSE(document.root().find("key" + std::to_string(count)).has_value());
    }
}

// A quadratic search for duplicates would take minutes here.
TEST(JsonDocument, ManyMembersTakeReasonableTime) {
    String text = "{";
    String const stem(40, 'k');
    for (int i = 0; i < 200000; ++i) {
        text += (i == 0 ? "\"" : ",\"") + stem + std::to_string(i) + "\":[[]]";
    }
    auto const start = std::chrono::steady_clock::now();
    auto const document = JsonDocument::parse(text + '}', "f.json");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_EQ(document.root().size(), 200000U);
    EXPECT_EQ(document.root().find(stem + "77")->at(0).pointer(), '/' + stem + "77/0");
}

TEST(JsonDocument, LinesReuseTheDocument) {
    JsonDocument line("routes.jsonl");
    EXPECT_TRUE(line.root().isNull());
    line.parseLine(R"({"med": 5, "as": ["x\u0041"]})", 1);
    EXPECT_EQ(line.root().find("as")->at(0).asString(), "xA");
    EXPECT_EQ(messageOf([&] { line.parseLine(R"({"med": )", 17); }),
              "routes.jsonl:17:9: syntax error: Invalid value.");
    EXPECT_TRUE(line.root().isNull());
    line.parseLine(R"({"med": "6"})", 18);
    EXPECT_EQ(line.root().size(), 1U);
    EXPECT_EQ(messageOf([&] { static_cast<void>(line.root().find("med")->expectU64(0, 255)); }),
              "routes.jsonl:18:/med: wants integer from 0 to 255, found \"6\"");
    JsonDocument moved = std::move(line);
    EXPECT_EQ(moved.root().find("med")->asString(), "6");
}

TEST(JsonValue, ExpectationsNameWhatWasWanted) {
    auto const document = JsonDocument::parse(R"([{}, [], "s", true, 7, 300])", "f");
    JsonValue const root = document.root();
    EXPECT_EQ(root.at(0).expectObject().size(), 0U);
    EXPECT_EQ(root.at(1).expectArray().size(), 0U);
    EXPECT_EQ(root.at(2).expectString(), "s");
    EXPECT_TRUE(root.at(3).expectBool());
    EXPECT_EQ(root.at(4).expectU64(7, 7), 7U);
    EXPECT_EQ(messageOf([&] { static_cast<void>(root.at(1).expectObject()); }),
              "f:/1: wants object, found empty array");
    EXPECT_EQ(messageOf([&] { static_cast<void>(root.at(0).expectArray()); }),
              "f:/0: wants array, found empty object");
    EXPECT_EQ(messageOf([&] { static_cast<void>(root.at(3).expectString("a name")); }),
              "f:/3: wants a name, found true");
    EXPECT_EQ(messageOf([&] { static_cast<void>(root.at(2).expectBool()); }),
              "f:/2: wants true or false, found \"s\"");
    EXPECT_EQ(messageOf([&] { static_cast<void>(root.at(5).expectU64(1, 255)); }),
              "f:/5: wants integer from 1 to 255, found number 300");
}

TEST(JsonObjectReader, NamesMissingAndUnknownKeys) {
    auto const document = JsonDocument::parse(R"({"class":"Block","stmts":[],"more":1})", "f");
    JsonValue const root = document.root();
    {
        JsonObjectReader reader(root);
        EXPECT_EQ(reader.require("class").asString(), "Block");
        EXPECT_EQ(reader.require("class").asString(), "Block"); // asking twice is no second member
        EXPECT_TRUE(reader.optional("stmts").has_value());
        EXPECT_FALSE(reader.optional("key").has_value());
        EXPECT_EQ(messageOf([&] { reader.done(); }),
                  "f:/more: wants only keys class, stmts, key, found unknown key \"more\"");
        EXPECT_TRUE(reader.optional("more").has_value());
        reader.done();
    }
    JsonObjectReader reader(root, "Block");
    EXPECT_EQ(messageOf([&] { reader.require("body"); }),
              "f:: Block wants key \"body\", found none");
    EXPECT_EQ(messageOf([&] { JsonObjectReader const list(*root.find("stmts"), "Block"); }),
              "f:/stmts: Block wants object, found empty array");
}
