#include "QcfLib/QcfEval.h"
#include "Text/BodyParser.h"
#include "Text/Words.h"

#include <algorithm>

/// What newcomers write, met with what they want. The words of other languages are in Slips.cpp;
/// here is where they are looked for.
namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

/// No name of a list is likely to have one of them.
constexpr char const * patternSigns = "^$.*[](|\\";

constexpr char const * noArithmetic = "no arithmetic: values are changed by '+=', '-=' and '*='";

/// The digits of "AS65000"; empty for all other words.
String digitsOfAs(std::string_view word) {
    bool const isAs = word.size() > 2 && (word.starts_with("AS") || word.starts_with("as"));
    std::string_view const digits = word.substr(isAs ? 2 : 0);
    return isAs && digits.find_first_not_of("0123456789") == std::string_view::npos ? String(digits)
                                                                                    : "";
}

/// A reserved word or a literal that is the same but for the case: "return" for "RETURN", "10Gbps"
/// for "10gbps". Empty for all others.
String otherCase(std::string_view word) {
    String lower(word);
    std::ranges::transform(lower, lower.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    if (std::ranges::binary_search(keywords(), lower) || parseLiteral(lower)) {
        return lower;
    }
    constexpr std::size_t unit = 4; // "Gbps"
    if (lower.size() > unit) {
        char & multiple = lower[lower.size() - unit];
        multiple =
            multiple >= 'a' && multiple <= 'z' ? static_cast<char>(multiple - 'a' + 'A') : multiple;
    }
    return parseLiteral(lower) ? lower : String();
}

} // namespace

// Parameters, constants and functions may be called as such a word is.
void BodyParser::refuseForeignStatement() {
    if (!cursor_.isWord() || startsCall() || scope_.isTaken(cursor_.text())) {
        return;
    }
    if (Slip const * const slip = findStatementSlip(cursor_.text())) {
        cursor_.fail(cursor_.here(), *slip);
    }
}

void BodyParser::refuseInAssertion(Span const & span) {
    if (purpose_ == Purpose::assertion) {
        cursor_.fail(span, "assertions", "an assertion asks and changes nothing");
    }
}

// The name of a list behind an operator that takes none; what is near to a known name is that name
// misspelt.
void BodyParser::refuseListName(Draft const & left, std::string_view words, Token const & at) {
    std::string_view const text = cursor_.text();
    bool const isUnknown = cursor_.isWord() && isPlainName(text) && !scope_.isTaken(text) &&
                           !scope_.declared.hasConstant(text) && !scope_.declared.hasFunction(text);
    Want const want = wantBehind(left, words);
    bool const isValueName =
        want.names != nullptr &&
        std::ranges::find(want.names->valueNames, text) != want.names->valueNames.end();
    if (!isUnknown || isValueName) {
        return;
    }
    bool const asksOne = words == "is" || words.starts_with('<') || words.starts_with('>');
    bool const isMeant =
        scope_.declared.hasList(text) || (!asksOne && suggestValue(text, want).empty());
    if (isMeant) {
        String const ours = words == "covered by" ? "matches covered" : "matches";
        cursor_.fail(cursor_.spanOf(at), "list-wanted", "a list is asked with '" + ours + "'");
    }
}

// A pattern in the place of a list's name. Nothing else is meant by a text behind a path.
void BodyParser::refusePattern(Draft const & left, SlotKind kind) {
    if (!cursor_.isString()) {
        return;
    }
    String const text = unquoted(cursor_.text());
    bool const isPattern =
        left.isKind(NodeKind::asPath) || text.find_first_of(patternSigns) != String::npos;
    if (!isPattern || scope_.findParameter(text) != nullptr || scope_.declared.hasList(text)) {
        return;
    }
    bool const ofPrefixes = kind == SlotKind::v4PrefixList;
    String const list = String(listKindWord(kind)) + " NAME" + (ofPrefixes ? " v4" : "");
    String const entry = ofPrefixes ? "10.0.0.0/8 le 24" : String(cursor_.text());
    cursor_.fail(cursor_.here(), "pattern",
                 String(ofPrefixes ? "prefixes have no patterns" : "a pattern stands in a list") +
                     ": 'list " + list + " { permit " + entry + " }', then 'matches NAME'");
}

void BodyParser::refuseRange(Draft const & low, char const * before) {
    if (!cursor_.is("..")) {
        return;
    }
    String const high = cursor_.ahead().kind == TokenKind::word
                            ? String(cursor_.text(cursor_.ahead()))
                            : String("9");
    cursor_.fail(cursor_.here(), "range",
                 String("a range stands in a set: '") + before + "{ " + textOf(low) + ".." + high +
                     " }'");
}

// `med - 5`, `med -5`, `med++`.
bool BodyParser::startsArithmetic() const {
    if (cursor_.now().startsLine || cursor_.isString()) {
        return false;
    }
    bool const isNegative = cursor_.isWord() && cursor_.text().starts_with('-');
    return isNegative || changeOfSign(cursor_.text()) != nullptr;
}

// `changed` is the attribute of a change that would do the same; empty where there is none.
void BodyParser::failArithmetic(String const & changed) {
    std::string_view const found = cursor_.text();
    String const sign(cursor_.isWord() ? found.substr(0, 1) : found);
    String const change = changeOfSign(sign);
    if (changed.empty() || change.empty()) {
        cursor_.fail(cursor_.here(), "arithmetic", noArithmetic);
    }
    Token const & next = cursor_.ahead();
    bool const isOperand = next.kind == TokenKind::word && !next.startsLine;
    String const operand = cursor_.isWord() ? String(found.substr(1))
                           : isOperand      ? String(cursor_.text(next))
                                            : String("1");
    cursor_.fail(cursor_.here(), "arithmetic",
                 "no arithmetic; '" + changed + ' ' + change + ' ' + operand + "'");
}

void BodyParser::failForeignSign(String const & wanted) {
    bool const isForeign = cursor_.now().kind == TokenKind::foreign;
    if (!isForeign || cursor_.text().starts_with('"')) {
        cursor_.failWanted(wanted);
    }
    if (Slip const * const slip = findSignSlip(cursor_.text())) {
        cursor_.fail(cursor_.here(), *slip);
    }
    cursor_.fail(cursor_.here(), "foreign", cursor_.found() + " is not of this language");
}

// What stands behind a whole statement or condition and belongs to neither.
void BodyParser::failBehind(String const & wanted) {
    if (cursor_.now().startsLine) {
        cursor_.failWanted(wanted);
    }
    if (startsTest()) {
        cursor_.fail(cursor_.here(), "operator",
                     "a comparison has two sides: join two comparisons by 'and'");
    }
    if (startsArithmetic()) {
        failArithmetic({});
    }
    Slip const * const slip =
        cursor_.isWord() ? findStatementSlip(cursor_.text()) : findSignSlip(cursor_.text());
    if (slip != nullptr && std::string_view(slip->code) == "foreign") {
        cursor_.fail(cursor_.here(), *slip);
    }
    failForeignSign(wanted);
}

void BodyParser::failNoTest(Draft * left) {
    bool const wordFollows = cursor_.isWord() && !cursor_.now().startsLine &&
                             !std::ranges::binary_search(keywords(), cursor_.text());
    if (wordFollows) {
        cursor_.fail(cursor_.here(), "operator",
                     "wants an operator behind " + described(*left) + ", found " + cursor_.found(),
                     suggestOperator(*left, cursor_.text()));
    }
    cursor_.fail(left->span, "no-test", "wants a test, found " + described(*left) + " alone");
}

// Of what others call it, the one that the left side has.
String BodyParser::suggestOperator(Draft const & left, std::string_view word) {
    auto const suits = [&](std::string_view words) {
        return !operatorsFor(words, *left.nodeClass).empty();
    };
    auto const known = operatorsOfForeignWord(word);
    auto const ours = std::ranges::find_if(known, suits);
    if (ours != known.end()) {
        return String(*ours);
    }
    return known.empty() ? nearest(word, operatorWords()) : String(known.front());
}

String BodyParser::suggestValue(std::string_view text, Want const & want) const {
    String named = want.names == nullptr ? String() : nearest(text, want.names->valueNames);
    if (!named.empty()) {
        return named;
    }
    String found = digitsOfAs(text);
    found = found.empty() ? suggestName(text, scope_, fitting(want)) : found;
    return found.empty() ? otherCase(text) : found;
}

// What may stand in the place of the word at the cursor: it is on the right of an operator, an
// element, or before what follows.
Fits BodyParser::fitting(Want const & want) const {
    if (want.element) {
        return [](NodeClass const & each) {
            return each.isKind(NodeKind::int_) || each.isKind(NodeKind::communityValue);
        };
    }
    if (want.left != nullptr) {
        return [rows = operatorsFor(want.words, *want.left)](NodeClass const & each) {
            return std::ranges::any_of(rows, [&](Operator const * row) {
                return row->right != nullptr && mayStand(each, *row->right);
            });
        };
    }
    std::vector<Operator const *> rows;
    for (Operator const & row : operatorTable()) {
        bool const follows = cursor_.isAhead(row.words.substr(0, row.words.find(' ')));
        if (follows) {
            rows.push_back(&row);
        }
    }
    return [rows = std::move(rows)](NodeClass const & each) {
        return rows.empty() || std::ranges::any_of(rows, [&](Operator const * row) {
                   return mayStand(each, *row->left);
               });
    };
}

// Names that are known, but mean nothing in this place.
void BodyParser::refuseUnseen(Token const & token) {
    String const text(cursor_.text(token));
    Span const span = cursor_.spanOf(token);
    if (cursor_.isAhead("(") && !cursor_.ahead().startsLine && isPlainName(text)) {
        if (cursor_.ahead().afterGap) {
            cursor_.fail(cursor_.spanOf(cursor_.ahead()), "call-gap",
                         "the ( follows without a blank: '" + text + "('");
        }
        cursor_.fail(span, "call-as-value",
                     "a call answers true, false or unknown; it is no value");
    }
    if (scope_.declared.hasFunction(text)) {
        cursor_.fail(span, "call-as-value", "'" + text + "' is a function: '" + text + "()'");
    }
    if (findBuiltIn(text) != nullptr) {
        cursor_.fail(span, "call-as-value",
                     "'" + text + "' is a built-in function: '" + text + "(...)'");
    }
    if (scope_.declared.hasConstant(text)) {
        cursor_.fail(span, "unknown-name", "'" + text + "' is used above its declaration");
    }
}

void BodyParser::failUnknown(Token const & token, Want const & want) {
    std::string_view const text = cursor_.text(token);
    Span const span = cursor_.spanOf(token);
    Slip const * const slip = findStatementSlip(text);
    if (slip != nullptr && std::string_view(slip->code) == "verdict") {
        cursor_.fail(span, *slip);
    }
    if (String const why = whyNoLiteral(text); !why.empty()) {
        cursor_.fail(span, "literal", "'" + String(text) + "': " + why);
    }
    if (text.find('*') != std::string_view::npos) {
        cursor_.fail(span, "list-template", "a template stands in a list's entry alone");
    }
    refuseUnseen(token);
    if (std::ranges::binary_search(keywords(), text)) {
        cursor_.fail(span, "syntax", "wants a value, found '" + String(text) + "'");
    }
    bool const isTable = want.roaTable && isPlainName(text);
    cursor_.fail(span, "unknown-name", "unknown name '" + String(text) + "'",
                 isTable ? "roa_table " + String(text) : suggestValue(text, want));
}

} // namespace Qcf::Text
