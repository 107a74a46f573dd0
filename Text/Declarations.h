#pragma once

#include "Text/BodyParser.h"
#include "Text/ListReader.h"

#include <set>

namespace Qcf::Text {

/// A function as a text declares it.
struct FunctionDeclaration {
    String name;
    Span nameSpan;
    Span span;
    String documentation = {};
    Parameters parameters = {};
    /// `...`: arguments that only a built-in body reads.
    bool takesAnything = false;
    /// The draft of its node, fields of annotations in place; null where its body has errors, and
    /// then nothing more is said of it.
    Draft * draft = nullptr;
    std::optional<U64> key = {};
    BodyUses uses = {};
};

/// One `route` of a test.
struct RouteDeclaration {
    Span span;
    /// A line of the routes format, as its reader takes it; empty where `file` is given.
    String json = {};
    /// A recorded route: its file, relative to the text, and its number from 0 on.
    String file = {};
    U64 number = 0;
};

/// What a test expects of each of its routes.
struct Expectation {
    Span span = {};
    Eval::TriStateBoolValue verdict = Eval::TriStateBoolValue::unknown;
    bool exits = false; ///< that it ends by `exit` is expected; false: either
    String reason = {}; ///< empty: any
    bool unchanged = false;
    bool nextHopSelf = false;
    /// Language names; nothing where the test does not say.
    std::optional<std::vector<String>> changesOnly = {};
    /// Conditions over the route after write-back.
    std::vector<Draft *> conditions = {};
};

/// A test of a text, parsed and checked. Running it is for others.
struct TestDeclaration {
    String title;
    Span span;
    String documentation = {};
    CallDraft call = {}; ///< of the function under test; its `call` is null
    std::vector<ListDeclaration> lists = {};
    std::vector<RouteDeclaration> routes = {};
    Expectation expectation = {};
    /// Lists that the conditions name.
    BodyUses uses = {};
};

/// Everything that texts declare, those of imported texts before those of the importing one.
struct Declarations {
    DraftTree tree;
    std::vector<FunctionDeclaration> functions;
    std::vector<ListDeclaration> lists;
    std::vector<TestDeclaration> tests;
    /// Names of constants and where they are declared: no list is called so.
    std::vector<std::pair<String, Span>> constants = {};
    /// Names of lists of which errors hide what they are.
    std::set<String, std::less<>> faultyLists = {};
    /// The text that was asked for, which the others are imported into.
    std::optional<U32> mainFile = {};
};

} // namespace Qcf::Text
