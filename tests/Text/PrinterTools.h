#pragma once

#include "Text/Lexer.h"
#include "Text/Policy.h"
#include "Text/Printer.h"

#include <sstream>

#include <gtest/gtest.h>

/// What every text that was printed must be.
namespace Qcf::Text::test {

/// The tokens of the text are of the language, its brackets match, and it is the same when it is
/// printed again.
inline void expectWellFormed(Documents::Program const & program, String const & text) {
    constexpr std::string_view brackets = "(){}[]";
    String open;
    Lexer lexer(text);
    for (Token token = lexer.next(); token.kind != TokenKind::end; token = lexer.next()) {
        ASSERT_NE(token.kind, TokenKind::foreign) << text.substr(token.begin, 60);
        ASSERT_NE(token.kind, TokenKind::comment) << text.substr(token.begin, 60);
        bool const isSign = token.kind == TokenKind::sign && token.end == token.begin + 1;
        auto const at = isSign ? brackets.find(text[token.begin]) : std::string_view::npos;
        if (at == std::string_view::npos) {
            continue;
        }
        if (at % 2 == 0) {
            open += brackets[at + 1];
        } else {
            ASSERT_FALSE(open.empty()) << text.substr(0, token.end);
            ASSERT_EQ(open.back(), text[token.begin]) << text.substr(0, token.end);
            open.pop_back();
        }
    }
    EXPECT_EQ(open, "");
    EXPECT_TRUE(printPolicy(program) == text);
}

/// What is read from a text; nothing, and a failure, where something is wrong with it.
inline std::optional<Policy> readBack(String const & text) {
    Sources sources;
    Messages messages;
    auto policy = readPolicyText(text, "printed.qcf", sources, messages);
    std::ostringstream told;
    if (!policy) {
        messages.print(sources, told);
    }
    EXPECT_TRUE(policy) << told.str();
    return policy;
}

/// Prints the program and reads the text back: to equal functions, whose text is the same.
inline String expectRoundTrip(Documents::Program const & program) {
    String text = printPolicy(program);
    expectWellFormed(program, text);
    auto const policy = readBack(text);
    if (!policy) {
        return text;
    }
    for (auto const & function : program.functions) {
        auto const again = policy->program().find(function->funcName());
        EXPECT_TRUE(again && again->compare(PtrConst<Eval::AetNodeBase>(function)))
            << function->funcName();
    }
    EXPECT_EQ(printPolicy(policy->program()), text);
    return text;
}

} // namespace Qcf::Text::test
