#include "Text/Policy.h"

#include <gtest/gtest.h>

/// Texts that are made to take long: they are refused at once, by the first thing that is too much.
namespace {

using namespace Qcf::Text; // NOLINT(google-build-using-namespace): what is under test

String repeated(std::string_view piece, std::size_t times) {
    String text;
    text.reserve(piece.size() * times);
    for (std::size_t i = 0; i < times; ++i) {
        text += piece;
    }
    return text;
}

std::vector<Message> messagesOf(String text) {
    Sources sources;
    Messages messages;
    readPolicyText(std::move(text), "text.qcf", sources, messages);
    return messages.all();
}

constexpr std::size_t million = 1'000'000;

/// "int p0, int p1, ..."
String manyParameters(std::size_t count) {
    String text;
    for (std::size_t i = 0; i < count; ++i) {
        text += (i == 0 ? "" : ", ") + String("int p") + std::to_string(i);
    }
    return text;
}

} // namespace

TEST(Bounds, DeepTextsAreRefusedAtOnce) {
    struct Row {
        char const * title;
        String text;
    };
    String const open = "function f() { ";
    for (Row const & row : {
             Row{"blocks", open + repeated("{", million)},
             Row{"not", open + "return " + repeated("not ", million)},
             Row{"parentheses", open + "return " + repeated("(", million)},
             Row{"a set's brackets", open + "as_path = " + repeated("[", million)},
             Row{"sets", open + "return med in " + repeated("{", million)},
             Row{"if", open + repeated("if med is 5 {\n", 100'000)},
             Row{"blocks as conditions", open + repeated("return block {", 100'000)},
             Row{"raw nodes", open + "return " + repeated("@NotExpression(expr: ", 100'000)},
             Row{"merge", open + "ext_community add { " + repeated("merge(", 100'000)},
         }) {
        auto const messages = messagesOf(row.text);
        ASSERT_FALSE(messages.empty()) << row.title;
        bool const isTold = std::ranges::any_of(messages, [](Message const & each) {
            return each.text.starts_with("nested deeper than ");
        });
        EXPECT_TRUE(isTold) << row.title << ": " << messages.front().text;
        EXPECT_LE(messages.size(), 2U) << row.title;
    }
}

// Those of a chain that ends in an error count no longer.
TEST(Bounds, ElseIfsAreCountedInEachChain) {
    auto const toldOf = [](String const & statements) {
        return messagesOf("function f() {\n" + statements + "return true }\n");
    };
    auto const chain = [](std::size_t links) {
        return repeated("if med is 5 {} else ", links) + "if mdd is 5 {}\n";
    };
    for (Message const & message : toldOf(chain(600) + chain(600) + chain(600))) {
        EXPECT_EQ(message.text, "unknown name 'mdd'");
    }
    auto const messages = toldOf(chain(100'000));
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages.front().text, "nested deeper than 1024 'else if'");
}

// Where no nesting is, the first of them is one too many.
TEST(Bounds, OpenBracketsOfOtherPlacesAreRefusedAtOnce) {
    for (char const * const begin :
         {"", "const A = ", "const A = {", "list tag_set T ", "list tag_set T {",
          "list community_list C { permit ", "test \"t\" f() ", "test \"t\" f() { route ",
          "test \"t\" f() { bind ", "function f", "function f()", "@slots(", "import "}) {
        for (char const * const piece : {"{", "(", "[", "\"", "@", "not ", "{ list tag_set T "}) {
            auto const messages = messagesOf(begin + repeated(piece, 10'000));
            EXPECT_FALSE(messages.empty()) << begin << piece;
            EXPECT_LE(messages.size(), Messages::mostErrors) << begin << piece;
        }
    }
}

TEST(Bounds, SetsOfSetsDoNotGrowWithoutEnd) {
    String text = "const A0 = { 1, 2 }\n";
    for (int i = 1; i < 60; ++i) {
        String const before = "A" + std::to_string(i - 1);
        text += "const A" + std::to_string(i) + " = { " + before + ", " + before + " }\n";
    }
    auto const messages = messagesOf(text + "list tag_set T { A18 A18 }\n");
    ASSERT_FALSE(messages.empty());
    EXPECT_STREQ(messages.front().code, "constants");
}

TEST(Bounds, AHundredErrorsAreTold) {
    for (String const & text :
         {"function f() {\n" + repeated("  mdd = 5\n", 1000) + "}\n",
          repeated("function f() { return mdd is 5 }\n", 1000),
          "list tag_set T {\n" + repeated("  seven\n", 1000) + "}\n",
          "function f() { return true }\n" + repeated("function f() { return true }\n", 1000),
          repeated("const A = med\n", 1000)}) {
        EXPECT_EQ(messagesOf(text).size(), 100U) << text.substr(0, 60);
    }
}

TEST(Bounds, AFunctionHas256ParametersOfAType) {
    auto const textOf = [](std::size_t count) {
        return "function f(" + manyParameters(count) + ", prefix_list nets) { return p0 is 5 }";
    };
    auto const isRefused = [](Message const & each) {
        return each.text == "at most 256 parameters of a type";
    };
    EXPECT_TRUE(std::ranges::none_of(messagesOf(textOf(256)), isRefused));
    auto const messages = messagesOf(textOf(257));
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_TRUE(isRefused(messages.front())) << messages.front().text;
}
