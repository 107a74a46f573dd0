#include "Text/Words.h"

#include "QcfLib/NodeClass.h"
#include "Text/Lexer.h"
#include "Text/Literal.h"

#include <algorithm>

namespace Qcf::Text {

namespace {

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool isNameCharacter(char c) { return isLetter(c) || (c >= '0' && c <= '9'); }

} // namespace

bool hasNameShape(std::string_view word) {
    if (word.empty() || !isLetter(word.front()) || !isNameCharacter(word.back())) {
        return false;
    }
    char before = '-';
    for (char const c : word) {
        if (!isNameCharacter(c) && !(c == '-' && before != '-')) {
            return false;
        }
        before = c;
    }
    return true;
}

bool isPlainName(std::string_view word) {
    return hasNameShape(word) && !std::ranges::binary_search(keywords(), word) &&
           Eval::findAttribute(word) == nullptr && !parseLiteral(word);
}

String nameWord(std::string_view name) { return isPlainName(name) ? String(name) : quoted(name); }

} // namespace Qcf::Text
