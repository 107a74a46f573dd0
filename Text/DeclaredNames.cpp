#include "Text/DeclaredNames.h"

#include "Text/Lexer.h"
#include "Text/ListReader.h"

namespace Qcf::Text {

bool DeclaredNames::has(std::string_view word, std::string_view name) const {
    if (!isFound_) {
        find();
    }
    return names_.contains({word, String(name)});
}

// By their words alone, which mean nothing else: what stands around them may be wrong.
void DeclaredNames::find() const {
    isFound_ = true;
    Lexer lexer(text_);
    std::string_view declares;
    for (Token token = lexer.next(); token.kind != TokenKind::end; token = lexer.next()) {
        std::string_view const text = text_.substr(token.begin, token.end - token.begin);
        if (declares == "list" && kindOfWord(text)) {
            continue;
        }
        bool const isName = token.kind == TokenKind::word || token.kind == TokenKind::string;
        if (!declares.empty() && isName) {
            names_.emplace(declares,
                           token.kind == TokenKind::string ? unquoted(text) : String(text));
        }
        bool const isDeclaration = text == "function" || text == "const" || text == "list";
        declares = isDeclaration ? text : std::string_view();
    }
}

} // namespace Qcf::Text
