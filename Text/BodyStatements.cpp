#include "QcfLib/QcfEval.h"
#include "Text/BodyParser.h"
#include "Text/Words.h"

#include <algorithm>

/// Statements: blocks, `if`, `return`, `exit`, changes and conditions. An error ends its statement
/// alone, so that a text's other errors are told as well.
namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

/// Where the block has been left without its `}`.
constexpr std::string_view declarationStarts[] = {"function", "list", "test", "const", "import"};

} // namespace

/// No statement begins with such a word, but for a call of a function that has it as its name.
bool BodyParser::startsDeclaration() const {
    return cursor_.now().startsLine && !cursor_.isAhead("(") &&
           std::ranges::any_of(declarationStarts, [&](auto word) { return cursor_.is(word); });
}

Draft * BodyParser::block() {
    Token const open = cursor_.expect("{");
    Cursor::Level const nesting(cursor_);
    U32 const level = cursor_.openBraces();
    DraftChain entries;
    bool isWhole = true;
    while (!cursor_.is("}")) {
        if (cursor_.atEnd() || startsDeclaration()) {
            if (!isWhole) {
                throw Recovery{};
            }
            LinePlace const place = cursor_.sources()[cursor_.file()].placeOf(open.begin);
            cursor_.fail(cursor_.here(), "brace", "wants '}', found " + cursor_.found(), {},
                         "the block begins in line " + std::to_string(place.line) + ", column " +
                             std::to_string(place.column));
        }
        U32 const begin = cursor_.now().begin;
        try {
            entries.push_back(statement());
            endStatement();
        } catch (Recovery const &) {
            isWhole = false;
            if (cursor_.messages().isFull()) {
                throw;
            }
            skipStatement(level, cursor_.now().begin != begin);
        }
    }
    cursor_.take();
    DraftField const chain = entries.empty() ? DraftField() : DraftField(std::move(entries));
    return tree_.add<Block>(cursor_.since(open), {chain});
}

// To the next line that begins a statement on the block's own level. That may be the line at hand
// where some of the statement was read before.
void BodyParser::skipStatement(U32 level, bool hasBegun) {
    while (!cursor_.atEnd()) {
        bool const isOwn = cursor_.openBraces() <= level;
        if (isOwn && cursor_.is("}")) {
            return;
        }
        bool const continues = cursor_.is("{") || cursor_.is("and") || cursor_.is("or") ||
                               cursor_.is("??") || cursor_.is("else");
        if (isOwn && hasBegun && cursor_.now().startsLine && !continues) {
            return;
        }
        // A declaration in the first column: braces are what is wrong.
        if (startsDeclaration()) {
            return;
        }
        bool const ends = isOwn && cursor_.is(";");
        cursor_.take();
        hasBegun = true;
        if (ends) {
            return;
        }
    }
}

// `}`, `;` or the line's end.
void BodyParser::endStatement() {
    if (cursor_.accept(";") || cursor_.is("}") || cursor_.now().startsLine || cursor_.atEnd()) {
        return;
    }
    if (cursor_.is("then")) {
        cursor_.fail(cursor_.here(), "foreign",
                     "a condition is followed by '{'; there is no 'then'", "{");
    }
    if (cursor_.now().kind == TokenKind::foreign) {
        failForeignOperator(nullptr);
    }
    cursor_.failWanted("';' or a new line behind the statement");
}

Draft * BodyParser::statement() {
    if (cursor_.is("{")) {
        return block();
    }
    if (cursor_.is("if")) {
        return ifExpression();
    }
    if (cursor_.is("return") || cursor_.is("exit")) {
        return leave();
    }
    failForeignStatement();
    return plainStatement();
}

/// What other languages begin statements with.
void BodyParser::failForeignStatement() {
    struct Slip {
        std::string_view word;
        char const * text;
        char const * ours;
    };
    static constexpr Slip slips[] = {
        {"elif", "'elif' is written 'else if', behind the block's '}'", "else if"},
        {"elsif", "'elsif' is written 'else if', behind the block's '}'", "else if"},
        {"elseif", "'elseif' is written 'else if', behind the block's '}'", "else if"},
        {"then", "a condition is followed by '{'; there is no 'then'", "{"},
        {"else", "'else' stands behind the '}' of an 'if'", ""},
        {"set", "nothing stands before the attribute: 'local_preference = 200'", ""},
        {"let", "there are no variables; 'const' names a value above the functions", "const"},
        {"var", "there are no variables; 'const' names a value above the functions", "const"},
        {"case", "there is no 'case'; write 'if ... else if ...'", "if"},
        {"switch", "there is no 'switch'; write 'if ... else if ...'", "if"},
        {"for", "there are no loops; sets are asked with 'has any', 'has all'", ""},
        {"while", "there are no loops; sets are asked with 'has any', 'has all'", ""},
        {"accept", "write 'return true' (this function) or 'exit true' (the whole evaluation)", ""},
        {"reject", "write 'return false' (this function) or 'exit false' (the whole evaluation)",
         ""},
        {"pass", "write 'return true' (this function) or 'exit true' (the whole evaluation)", ""},
        {"drop", "write 'return false' (this function) or 'exit false' (the whole evaluation)", ""},
        {"permit", "write 'return true' (this function) or 'exit true' (the whole evaluation)", ""},
        {"deny", "write 'return false' (this function) or 'exit false' (the whole evaluation)", ""},
    };
    if (!cursor_.isWord() || startsCall()) {
        return;
    }
    for (Slip const & slip : slips) {
        if (cursor_.is(slip.word) && scope_.findParameter(slip.word) == nullptr) {
            bool const isVerdict = String(slip.text).starts_with("write 'return");
            cursor_.fail(cursor_.here(), isVerdict ? "verdict" : "foreign", slip.text, slip.ours);
        }
    }
}

Draft * BodyParser::plainStatement() {
    bool const isCondition = cursor_.is("not") || cursor_.is("(") || cursor_.is("block") ||
                             cursor_.is("builtin") || startsCall();
    if (isCondition) {
        bool const isCall = startsCall();
        std::size_t const before = uses_.calls.size();
        Draft * const made = condition();
        bool const isLone = isCall && made->nodeClass == &nodeClassOf<FunctionCallExpression>();
        if (isLone) {
            uses_.calls[before].isStatement = true;
        }
        if (cursor_.is("=") || startsChange()) {
            cursor_.fail(cursor_.here(), "syntax", "only an attribute can be changed");
        }
        return made;
    }
    if (cursor_.isWord() && cursor_.isAhead("(") && cursor_.ahead().afterGap &&
        isPlainName(cursor_.text()) && scope_.findParameter(cursor_.text()) == nullptr &&
        scope_.findConstant(cursor_.text()) == nullptr) {
        cursor_.fail(cursor_.spanOf(cursor_.ahead()), "call-gap",
                     "the ( follows without a blank: '" + String(cursor_.text()) + "('");
    }
    return restOfChain(valueOrTest(true));
}

Draft * BodyParser::ifExpression() {
    Cursor::Level const level(cursor_);
    Token const first = cursor_.take();
    Draft * const test = condition();
    if (cursor_.is("then") || cursor_.is(":")) {
        cursor_.fail(cursor_.here(), "foreign",
                     "a condition is followed by '{'; there is no '" + String(cursor_.text()) + "'",
                     "{");
    }
    if (!cursor_.is("{")) {
        if (cursor_.now().kind == TokenKind::foreign || cursor_.text().starts_with('-')) {
            failForeignOperator(nullptr);
        }
        cursor_.failWanted("'{' behind the condition");
    }
    Draft * const thenBlock = block();
    DraftField otherwise;
    if (cursor_.accept("else")) {
        otherwise = cursor_.is("if") ? ifExpression() : block();
    }
    return tree_.add<IfExpression>(cursor_.since(first), {test, thenBlock, otherwise});
}

// The operand stands in the line of its word: a `return` alone would take the next statement.
Draft * BodyParser::leave() {
    Token const first = cursor_.take();
    String const text(cursor_.text(first));
    bool const isAlone = cursor_.now().startsLine || cursor_.is("}") || cursor_.is(";") ||
                         cursor_.atEnd() || cursor_.is("because");
    if (isAlone) {
        cursor_.fail(cursor_.spanOf(first), "lone-return",
                     "'" + text + "' wants its answer on the same line: '" + text + " true' or '" +
                         text + " false'");
    }
    if (cursor_.is("accept") || cursor_.is("reject")) {
        cursor_.fail(cursor_.here(), "verdict",
                     "wants true, false or a condition, found " + cursor_.found(),
                     cursor_.is("accept") ? "true" : "false");
    }
    Draft * const operand = condition();
    DraftField const field(operand);
    String reason;
    if (cursor_.accept("because")) {
        if (!cursor_.isWord()) {
            cursor_.failWanted("a word behind 'because'");
        }
        reason = String(cursor_.text(cursor_.take()));
    }
    NodeClass const & nodeClass = text == nodeClassOf<ReturnExpression>().facts.words
                                      ? nodeClassOf<ReturnExpression>()
                                      : nodeClassOf<ExitExpression>();
    Draft * const made = tree_.add(nodeClass, cursor_.since(first), {field});
    made->reason = std::move(reason);
    return made;
}

} // namespace Qcf::Text
