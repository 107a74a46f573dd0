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

/// Gives a number back its value where its life ends.
class Restored {
public:
    explicit Restored(U32 & number) : number_(number), value_(number) {}
    Restored(Restored const &) = delete;
    Restored & operator=(Restored const &) = delete;
    ~Restored() { number_ = value_; }

private:
    U32 & number_;
    U32 value_;
};

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
            failOpenBlock(open);
        }
        U32 const begin = cursor_.now().begin;
        try {
            entries.push_back(statement());
            endStatement(*entries.back());
        } catch (Recovery const &) {
            isWhole = false;
            isWhole_ = false;
            skipStatement(level, cursor_.now().begin != begin);
        }
    }
    cursor_.take();
    DraftField const chain = entries.empty() ? DraftField() : DraftField(std::move(entries));
    return tree_.add<Block>(cursor_.since(open), {chain});
}

void BodyParser::failOpenBlock(Token const & open) {
    LinePlace const place = cursor_.sources()[cursor_.file()].placeOf(open.begin);
    cursor_.fail(cursor_.here(), "brace", "wants '}', found " + cursor_.found(), {},
                 "the block begins in line " + std::to_string(place.line) + ", column " +
                     std::to_string(place.column));
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

// `}`, `;` or the line's end. What ends in a block needs none of them.
void BodyParser::endStatement(Draft const & statement) {
    bool const endsInBlock = statement.nodeClass == &nodeClassOf<Block>() ||
                             statement.nodeClass == &nodeClassOf<IfExpression>();
    bool const isOver = cursor_.accept(";") || cursor_.is("}") || cursor_.now().startsLine;
    if (!isOver && !endsInBlock && !cursor_.atEnd()) {
        failBehind("';' or a new line behind the statement");
    }
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
    refuseForeignStatement();
    return plainStatement();
}

Draft * BodyParser::plainStatement() {
    if (!startsCondition()) {
        return restOfChain(valueOrTest(true));
    }
    bool const isCall = startsCall();
    std::size_t const before = uses_.calls.size();
    Draft * const made = condition();
    if (isCall && made->nodeClass == &nodeClassOf<FunctionCallExpression>()) {
        uses_.calls[before].isStatement = true;
    }
    if (startsChange()) {
        cursor_.fail(cursor_.here(), "syntax", "only an attribute can be changed");
    }
    return made;
}

// Each `else if` stands in the one before. They are read one after the other all the same, since a
// chain is longer than texts are nested.
Draft * BodyParser::ifExpression() {
    Cursor::Level const level(cursor_);
    Draft * const head = ifLink();
    Draft * last = head;
    // Also where an error ends the chain.
    Restored const count(elseIfs_);
    while (cursor_.accept("else")) {
        if (!cursor_.is("if")) {
            if (!cursor_.is("{")) {
                cursor_.failWanted("'if' or '{' behind 'else'");
            }
            last->fields.back() = block();
            break;
        }
        if (++elseIfs_ > mostElseIfs) {
            cursor_.fail(cursor_.here(), "nesting",
                         "nested deeper than " + std::to_string(mostElseIfs) + " 'else if'");
        }
        Draft * const next = ifLink();
        last->fields.back() = next;
        last = next;
    }
    head->span = cursor_.since(head->span);
    return head;
}

// Without what stands behind `else`.
Draft * BodyParser::ifLink() {
    Token const first = cursor_.take();
    Draft * const test = condition();
    if (!cursor_.is("{")) {
        failBehind("'{' behind the condition");
    }
    Draft * const thenBlock = block();
    return tree_.add<IfExpression>(cursor_.since(first), {test, thenBlock});
}

// The operand stands in the line of its word: a `return` alone would take the next statement.
Draft * BodyParser::leave() {
    Token const first = cursor_.take();
    refuseInAssertion(cursor_.spanOf(first));
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
    Draft * const made = tree_.add(nodeClass, cursor_.since(first), {operand});
    made->reason = std::move(reason);
    return made;
}

} // namespace Qcf::Text
