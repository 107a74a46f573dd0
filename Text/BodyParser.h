#pragma once

#include "Text/Cursor.h"
#include "Text/OperatorTable.h"
#include "Text/Scope.h"

namespace Qcf::Text {

/// A call as it stands in a text. Which function it calls is settled once all texts are read.
struct CallDraft {
    Draft * call;
    String name;
    Span nameSpan;
    std::vector<Draft *> arguments;
    /// It stands as a statement: its answer is dropped.
    bool isStatement = false;
};

/// A list that a construct names, at its place.
struct ListUse {
    SlotKind kind;
    String name;
    Span span;
    Draft * draft;
    /// The kind or family was not written: the declaration has it.
    bool isOpen;
};

/// What was met while a body was read, for who settles it later.
struct BodyUses {
    std::vector<CallDraft> calls;
    std::vector<ListUse> lists;
    /// Calls that are written as raw nodes.
    std::vector<CallDraft> rawCalls;
};

/// Reads what stands in functions: statements, conditions, values. What is read are drafts of
/// nodes, one construct one node; types are told by the shapes of literals and the names of
/// attributes, so that operators are chosen while reading.
///
///     BodyParser parser(cursor, tree, scope, uses);
///     Draft * const block = parser.block();
///
/// Errors are told to the cursor's messages. One within a statement ends that statement alone;
/// others are thrown on as Recovery. For one body; each of its parts has a source (Body*.cpp).
class BodyParser {
public:
    /// What is read: a function's body, or an assertion, which changes nothing and leaves nothing.
    enum class Purpose : U8 { body, assertion };

    /// All must outlive it.
    BodyParser(Cursor & cursor, DraftTree & tree, Scope const & scope, BodyUses & uses,
               Purpose purpose = Purpose::body)
        : cursor_(cursor), tree_(tree), scope_(scope), uses_(uses), purpose_(purpose) {}

    /// Whether no statement was passed over for an error.
    bool isWhole() const { return isWhole_; }

    // Statements.
    /// `{ ... }`, a Block.
    Draft * block();

    // Conditions: drafts of expressions.
    /// A whole condition: a chain or less.
    Draft * condition();

    // Values: drafts of value nodes.
    /// What is wanted of a value, for the empty set, value names and messages.
    struct Want {
        /// The attribute whose value names may stand there; null for none.
        Eval::AttributeInfo const * names = nullptr;
        /// An empty set is one of communities, and texts of communities are theirs.
        bool communities = false;
        /// A bare name may be a prefix list.
        bool prefixLists = false;
        /// A bare name lacks the word of ROA tables.
        bool roaTable = false;
        /// What stands before it: a side and its operator. Names are suggested that suit them.
        Eval::NodeClass const * left = nullptr;
        std::string_view words = {};
        /// It is an element of a set.
        bool element = false;
    };
    Draft * value(Want const & want);
    /// What stands in the parentheses of a call of that function.
    std::vector<Draft *> arguments(std::string_view callee);

private:
    // BodyStatements.cpp
    Draft * statement();
    Draft * plainStatement();
    Draft * ifExpression();
    Draft * ifLink();
    Draft * leave();
    void endStatement(Draft const & statement);
    void skipStatement(U32 level, bool hasBegun);
    bool startsDeclaration() const;
    [[noreturn]] void failOpenBlock(Token const & open);

    // BodyConditions.cpp
    Draft * unary();
    Draft * restOfChain(Draft * first) { return restOfChain(first, first->span); }
    /// `begin` is the first operand's with the parentheses around it.
    Draft * restOfChain(Draft * first, Span const & begin);
    Draft * parenthesised();
    Draft * builtIn();
    bool startsCall() const;
    bool startsCondition() const;
    Draft * call();

    // BodyTests.cpp
    Draft * valueOrTest(bool mayChange);
    Draft * restOfTest(Draft * left);
    Draft * isTest(Draft * left);
    Draft * membership(Draft * left);
    Draft * positiveMembership(Draft * left);
    Draft * compared(Draft * left, std::string_view words, Token const & at);
    Draft * negated(Draft * test, Token const & first);
    Draft * make(Draft * left, std::string_view words, Draft * right, Token const & at);
    Draft * predicate(Draft * value);
    bool startsTest() const;
    Want wantOf(Draft const & left) const;
    Want wantBehind(Draft const & left, std::string_view words) const;

    // BodyChanges.cpp
    bool startsChange() const;
    Draft * change(Draft * left);
    bool isListName() const;
    [[noreturn]] void failReadOnly(Draft const & left);

    // BodyItems.cpp
    struct Items {
        std::vector<Draft *> singles;
        std::vector<Draft *> lows; ///< of ranges, in parallel with the upper ends
        std::vector<Draft *> highs;
    };
    Draft * itemsTest(Draft * left, Token const & at);
    Draft * rangesTest(Draft * left, Items const & items, Span const & span, Token const & at);
    void readItems(Want const & want, Items & items);
    void item(Want const & want, Items & items);
    bool takeSetConstant(Items & items);
    void checkRange(Draft const & low, Draft const & high);

    // BodySets.cpp
    Draft * setOf(Want const & want);
    Draft * intList();
    Draft * setLiteral(std::vector<Draft *> const & members, Span const & span, bool communities);
    void elements(Want const & want, std::string_view end, std::vector<Draft *> & elements);
    void constantElements(Constant const & constant, Span const & span,
                          std::vector<Draft *> & elements);

    // BodyLists.cpp
    Draft * matchTest(Draft * left);
    Draft * makeList(Draft * left, std::string_view words, Token const & at);
    std::optional<SlotKind> writtenListKind(Draft const & left, std::string_view words,
                                            Token const & at);
    SlotKind listKindOf(Draft const & left, std::string_view words, Token const & at);
    Draft * prefixList(SlotKind kind);
    Draft * roaTable();
    Draft * openPrefixList(Token const & name);
    void refuseCommunityName(String const & name, Token const & at, String const & kindText);
    std::optional<U64> slot();
    void noteList(SlotKind kind, String const & name, Span const & span, Draft * draft,
                  bool isOpen = false);

    // BodyValues.cpp
    Draft * word(Want const & want);
    Draft * text(Want const & want);
    Draft * keywordValue();
    Draft * attributeValue(Eval::NodeClass const & attribute);
    Draft * constantValue(Constant const & constant, Want const & want);
    Draft * literalAt(Literal const & literal, Span const & span);
    Draft * variable(Parameter const & parameter, Span const & span);
    U64 number(char const * what, U64 most);
    /// A name, plain or in quotes.
    String name(char const * what);

    // BodyMadeValues.cpp
    Draft * merge();
    Draft * bandwidthBits();
    Draft * linkBandwidth();
    Draft * lbw();
    Draft * interface();
    Draft * ribs();
    Routing::Rib::ResolutionRibEntry rib();

    // BodySlips.cpp: what is meant where something else stands. Those called refuse... return
    // where nothing of the kind does.
    void refuseForeignStatement();
    void refuseInAssertion(Span const & span);
    void refuseListName(Draft const & left, std::string_view words, Token const & at);
    void refusePattern(Draft const & left, SlotKind kind);
    void refuseRange(Draft const & low, char const * before);
    bool startsArithmetic() const;
    [[noreturn]] void failArithmetic(String const & changed);
    [[noreturn]] void failForeignSign(String const & wanted);
    [[noreturn]] void failBehind(String const & wanted);
    [[noreturn]] void failNoTest(Draft * left);
    [[noreturn]] void failUnknown(Token const & token, Want const & want);
    void refuseUnseen(Token const & token);
    void warnOfNumber(Draft const & argument, std::size_t position);
    void warnOfCommunityKind(Draft const & set, Draft const & value);
    static String suggestOperator(Draft const & left, std::string_view word);
    Fits fitting(Want const & want) const;
    String suggestValue(std::string_view text, Want const & want) const;

    // BodyOperands.cpp: operators and what does not suit them.
    [[noreturn]] void failOperator(Draft * left, std::string_view words, Draft * right,
                                   Token const & at);
    void refuseSetOperand(Draft const & left, std::string_view words, Draft const & right,
                          Token const & at);
    void refuseElement(Draft const & right, Eval::FieldInfo const & wanted);
    [[noreturn]] void failNoOperator(Draft const & left, std::string_view words, Token const & at);
    void wantKind(Draft const & draft, Eval::NodeKind kind, char const * type);
    [[noreturn]] void failType(String const & wanted, Draft const & found, String note = {});
    String described(Draft const & draft) const;
    String textOf(Draft const & draft) const;

    // BodyRaw.cpp
    Draft * raw();
    void rawMember(Draft & draft);
    DraftField rawField(Eval::NodeClass const & nodeClass, Eval::FieldInfo const & field);
    Draft * rawNode(Eval::NodeClass const & nodeClass, Eval::FieldInfo const & field);
    Draft * rawExpression();
    Draft * rawOperator();
    DraftField rawChain(Eval::NodeClass const & link);
    DraftField rawScalar(Eval::FieldInfo const & field);
    String json();
    void noteRaw(Draft & draft, Token const & first);

    Cursor & cursor_;
    DraftTree & tree_;
    Scope const & scope_;
    BodyUses & uses_;
    /// `else if` that stand around what is read. Trees are not as deep as lists are long.
    static constexpr U32 mostElseIfs = 1024;
    U32 elseIfs_ = 0;
    Purpose purpose_;
    bool isWhole_ = true;
};

/// What messages call the type of a value: "IntSet 'community'".
String describeDraft(Draft const & draft, Sources const & sources);
/// "Int", "CommunitySet": the type that operators go by.
char const * typeName(Draft const & draft);

} // namespace Qcf::Text
