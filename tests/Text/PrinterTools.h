#pragma once

#include "Documents/Program.h"
#include "Text/Lexer.h"
#include "Text/Printer.h"

#include <cctype>

#include <gtest/gtest.h>

/// What every text that was printed must be.
namespace Qcf::Text::test {

/// The tokens of the text are of the language, its brackets match, no line that could be broken is
/// too long, and it is the same when it is printed again.
inline void expectWellFormed(Documents::Program const & program, String const & text) {
    String open;
    Lexer lexer(text);
    for (Token token = lexer.next(); token.kind != TokenKind::end; token = lexer.next()) {
        ASSERT_NE(token.kind, TokenKind::foreign) << text.substr(token.begin, 60);
        ASSERT_NE(token.kind, TokenKind::comment) << text.substr(token.begin, 60);
        std::string_view const bracket = "(){}[]";
        auto const at = token.kind == TokenKind::sign ? bracket.find(text[token.begin])
                                                      : std::string_view::npos;
        if (at == std::string_view::npos || token.end != token.begin + 1) {
            continue;
        }
        if (at % 2 == 0) {
            open += bracket[at + 1];
        } else {
            ASSERT_FALSE(open.empty()) << text.substr(0, token.end);
            ASSERT_EQ(open.back(), text[token.begin]) << text.substr(0, token.end);
            open.pop_back();
        }
    }
    EXPECT_EQ(open, "");
    EXPECT_EQ(printPolicy(program), text);
}

/// Prints the program, and says whether that text is what it has to be.
inline String expectRoundTrip(Documents::Program const & program) {
    String text = printPolicy(program);
    expectWellFormed(program, text);
    return text;
}

} // namespace Qcf::Text::test
