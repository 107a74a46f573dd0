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
/// others are thrown on as Recovery. For one body; the sources of its parts are BodyStatements.cpp,
/// BodyConditions.cpp, BodyTests.cpp, BodyValues.cpp, BodyMadeValues.cpp and BodyRaw.cpp.
class BodyParser {
public:
    /// All must outlive it.
    BodyParser(Cursor & cursor, DraftTree & tree, Scope const & scope, BodyUses & uses)
        : cursor_(cursor), tree_(tree), scope_(scope), uses_(uses) {}

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
    };
    Draft * value(Want const & want);
    /// What stands in the parentheses of a call of that function.
    std::vector<Draft *> arguments(std::string_view callee);

private:
    // BodyStatements.cpp
    Draft * statement();
    Draft * plainStatement();
    Draft * ifExpression();
    Draft * leave();
    void endStatement();
    void skipStatement(U32 level, bool hasBegun);
    bool startsDeclaration() const;
    void failForeignStatement();

    // BodyConditions.cpp
    Draft * unary();
    Draft * restOfChain(Draft * first);
    Draft * parenthesised();
    Draft * builtIn();
    bool startsCall() const;
    Draft * call();

    // BodyTests.cpp
    Draft * valueOrTest(bool mayChange);
    Draft * restOfTest(Draft * left);
    Draft * change(Draft * left);
    Draft * isTest(Draft * left);
    Draft * membership(Draft * left);
    Draft * itemsTest(Draft * left, Token const & first);
    void items(Want const & want, std::vector<Draft *> & singles, std::vector<Draft *> & lows,
               std::vector<Draft *> & highs);
    void checkRange(Draft const & low, Draft const & high);
    Draft * matchTest(Draft * left);
    bool isListName() const;
    [[noreturn]] void failReadOnly(Draft const & left);
    static String suggestOperator(std::string_view word);
    Draft * negated(Draft * test, Token const & first);
    Draft * make(Draft * left, std::string_view words, Draft * right, Span const & at);
    Draft * makeList(Draft * left, std::string_view words, Token const & first);
    Draft * predicate(Draft * value);
    bool startsChange() const;
    bool startsTest() const;
    [[noreturn]] void failNoTest(Draft * left);
    [[noreturn]] void failOperator(Draft * left, std::string_view words, Draft * right,
                                   Span const & at);
    [[noreturn]] void failForeignOperator(Draft * left);
    Want wantOf(Draft const & left) const;

    // BodyValues.cpp
    Draft * word(Want const & want);
    Draft * keywordValue();
    Draft * merge();
    Draft * bandwidthBits();
    Draft * linkBandwidth();
    Draft * lbw();
    Draft * ribs();
    Routing::Rib::ResolutionRibEntry rib();
    Draft * setOf(Want const & want);
    Draft * intList();
    Draft * setLiteral(std::vector<Draft *> const & elements, Span const & span, bool communities);
    void elements(Want const & want, std::vector<Draft *> & elements);
    void constantElements(Constant const & constant, Span const & span,
                          std::vector<Draft *> & elements);
    Draft * prefixList(SlotKind kind);
    Draft * roaTable();
    Draft * openPrefixList(Token const & name);
    Draft * literalAt(Literal const & literal, Span const & span);
    Draft * variable(Parameter const & parameter, Span const & span);
    std::optional<U64> slot();
    U64 number(char const * what, U64 most);
    [[noreturn]] void failUnknown(Token const & token, Want const & want);
    void noteList(SlotKind kind, String const & name, Span const & span, Draft * draft,
                  bool isOpen = false);
    /// A name, plain or in quotes.
    String name(char const * what);

    // BodyRaw.cpp
    Draft * raw();
    void rawMember(Draft & draft);
    DraftField rawField(Eval::NodeClass const & nodeClass, Eval::FieldInfo const & field);
    Draft * rawNode(Eval::NodeClass const & nodeClass, Eval::FieldInfo const & field);
    Draft * rawCondition();
    Draft * rawOperator();
    DraftField rawChain(Eval::NodeClass const & link);
    DraftField rawScalar(Eval::FieldInfo const & field);
    String json();
    void noteRaw(Draft & draft, Token const & first);

    Cursor & cursor_;
    DraftTree & tree_;
    Scope const & scope_;
    BodyUses & uses_;
};

/// What messages call the type of a value: "IntSet 'community'".
String describeDraft(Draft const & draft, Sources const & sources);
/// "Int", "CommunitySet": the type that operators go by.
char const * typeName(Draft const & draft);

} // namespace Qcf::Text
