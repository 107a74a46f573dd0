#include "tests/support/RandomDocument.h"

#include "tests/support/NodeMaker.h"

#include <algorithm>
#include <map>

namespace Qcf::test {

using namespace Qcf::Eval;

namespace {

constexpr ArgumentKind passedKinds[] = {ArgumentKind::integer, ArgumentKind::bandwidth,
                                        ArgumentKind::triStateBool, ArgumentKind::prefixList};
constexpr char const * passedIn[] = {"IntIs", "BandwidthIs", "TriStateBoolIs",
                                     "IpPrefixMatchPrefixList"};

/// Bodies of built-in functions that read arguments; `arguments` is how many integers.
struct BuiltIn {
    char const * body;
    U8 arguments;
};
constexpr BuiltIn builtIns[] = {{"MatchOriginAsValidityImplExpr", 2},
                                {"AsPathReplaceImplExpr", 1},
                                {"AsPathRemoveImplExpr", 0}};

constexpr char const * names[] = {"A", "B", "C"};
// Ends of attributes' ranges, and their neighbours.
constexpr char const * integers[] = {"0",          "1",
                                     "2",          "3",
                                     "4",          "100",
                                     "255",        "256",
                                     "65535",      "65536",
                                     "1048575",    "16777215",
                                     "65001",      "1048576",
                                     "16777216",   "4294967295",
                                     "4294967296", "18446744073709551614",
                                     "5",          "7",
                                     "128",        "18446744073709551615"};

/// Expressions that are to come up more often than each of the hundred others.
struct Weight {
    char const * name;
    std::size_t weight;
};
constexpr Weight weights[] = {{"IfExpression", 20},
                              {"LogicalOperatorExpression", 20},
                              {"FunctionCallExpression", 6},
                              {"NotExpression", 4},
                              {"ExitExpression", 2}};

std::size_t kindIndex(ArgumentKind kind) {
    return static_cast<std::size_t>(
        std::find(std::begin(passedKinds), std::end(passedKinds), kind) - std::begin(passedKinds));
}

String member(std::string_view name, String const & value) {
    return ",\"" + String(name) + "\":" + value;
}
String quoted(std::string_view text) { return '"' + String(text) + '"'; }

std::size_t weightOf(NodeClass const & nodeClass) {
    for (Weight const & each : weights) {
        if (std::string_view(nodeClass.name) == each.name) {
            return each.weight;
        }
    }
    return 1;
}

bool isExpression(NodeClass const & nodeClass) {
    return std::string_view(nodeClass.base) == "Expression";
}

} // namespace

/// Tests of one kind of value against constants, and what changes such a value.
struct RandomDocument::TestFamily {
    std::vector<char const *> tests; ///< the frequent ones more than once
    std::vector<char const *> changes;
};

RandomDocument::RandomDocument(U32 seed, Options options)
    : options_(options), random_(seed), familiar_(static_cast<U32>(random_())) {}

String RandomDocument::functions(U32 count) {
    String text = R"({"qcf":"aet/1","functions":[)";
    callees_.clear();
    if (options_.calls) {
        for (BuiltIn const & each : builtIns) {
            if (oneIn(2)) {
                continue;
            }
            Callee const callee{each.body, {each.arguments}, each.body};
            text += function(callee) + ",\n";
            callees_.push_back(callee);
        }
    }
    for (U32 i = 1; i < count; ++i) {
        Callee callee{"f" + std::to_string(i), {}};
        for (U8 & argument : callee.arguments) {
            argument = static_cast<U8>(below(3));
        }
        text += function(callee) + ",\n";
        callees_.push_back(callee);
    }
    return text + function({"main", {}}) + "]}";
}

String RandomDocument::function(Callee const & callee) {
    shareable_.clear();
    Scope const scope{callee.arguments, true, true, options_.depth};
    bool const called = callee.name != "main";
    String text = "{\"name\":" + quoted(callee.name);
    text += member("argumentsExpected", called && oneIn(2) ? "true" : "false");
    String body = block(scope, callee.builtIn == nullptr ? 4 : 0, "");
    String const last = callee.builtIn != nullptr ? "{\"class\":" + quoted(callee.builtIn) + "}"
                                                  : lastStatement(scope);
    if (!last.empty()) {
        body.insert(body.size() - 2, (callee.builtIn == nullptr ? "," : "") + last);
    }
    return text + member("body", body) + "}";
}

String RandomDocument::block(Scope const & scope, U32 statements, String const & last) {
    NodeClass const & link = *findNodeClass("ExpressionList");
    String text = statements == 0 ? "[]" : entries(link, scope, statements);
    if (!last.empty()) {
        text.insert(text.size() - 1, (statements == 0 ? "" : ",") + last);
    }
    return R"({"class":"Block","stmts":)" + text + "}";
}

String RandomDocument::lastStatement(Scope const & scope) {
    U32 const choice = below(12);
    if (choice == 0) {
        return {}; // falls through
    }
    FieldInfo const & operand = findNodeClass("ReturnExpression")->fields[0];
    String const value = choice < 4 ? child(operand, scope) : choice < 6 ? "false" : "true";
    return R"({"class":"ReturnExpression","expr":)" + value + "}";
}

// Lists and operators that a function's own tree must not hold, or not here.
bool RandomDocument::fits(NodeClass const & nodeClass, Scope const & scope) const {
    ClassFacts const & facts = nodeClass.facts;
    std::string_view const name = nodeClass.name;
    if (nodeClass.fieldOf(FieldRole::argumentIndex) != nullptr) {
        return scope.variables && scope.arguments.at(kindIndex(facts.argument)) > 0;
    }
    if (name == "FunctionCallExpression") {
        return !callees_.empty() && scope.depth > 0;
    }
    bool const builtIn = facts.integerArguments > 0 || facts.readsNodeArguments;
    bool const returns = facts.returns && !scope.returns;
    bool const deep = scope.depth == 0 && isExpression(nodeClass) &&
                      std::any_of(nodeClass.fields.begin(), nodeClass.fields.end(), [](auto & f) {
                          return std::string_view(f.wants).find("Expression") == 0 ||
                                 std::string_view(f.wants) == "Block";
                      });
    return !builtIn && !returns && !deep && name != "Function";
}

std::vector<NodeClass const *> const & RandomDocument::accepted(FieldInfo const & field) {
    static std::map<std::string_view, std::vector<NodeClass const *>> byWantedType;
    auto & classes = byWantedType[field.wants];
    if (!classes.empty()) {
        return classes;
    }
    for (NodeClass const & nodeClass : nodeClasses()) {
        if (field.accepts(*Eval::test::NodeMaker::node(nodeClass))) {
            classes.insert(classes.end(), weightOf(nodeClass), &nodeClass);
        }
    }
    return classes;
}

bool RandomDocument::isFamiliar(NodeClass const & attribute) {
    auto const mixed = static_cast<U32>(attribute.number() + 1) * 2654435761U ^ familiar_;
    return (mixed >> 20) % 4 == 0 || oneIn(12);
}

NodeClass const & RandomDocument::pick(FieldInfo const & field, Scope const & scope) {
    auto const & classes = accepted(field);
    for (std::size_t tries = 0; tries < 8 * classes.size(); ++tries) {
        NodeClass const & nodeClass = *oneOf(classes);
        bool const familiar = nodeClass.attribute == nullptr || isFamiliar(nodeClass);
        if (familiar && fits(nodeClass, scope)) {
            return nodeClass;
        }
    }
    return *classes.front();
}

String RandomDocument::child(FieldInfo const & field, Scope scope) {
    if (field.optional && oneIn(4)) {
        return "null";
    }
    scope.returns = scope.returns && plays(field, FieldRole::branch);
    // Passed by reference, such a value would read the callee's frame.
    scope.variables = scope.variables && std::string_view(field.wants) != "StorageType";
    if (auto const * link = classWanted(field); link != nullptr && link->facts.isLink) {
        U32 const count = below(4);
        return count == 0 && field.optional ? "[]" : entries(*link, scope, count + 1);
    }
    bool const expression = std::string_view(field.wants) == "Expression";
    if (expression && options_.references && !shareable_.empty() && oneIn(6)) {
        return "{\"ref\":" + std::to_string(oneOf(shareable_)) + "}";
    }
    String text = oneIn(expression ? 5 : 2) ? literal(field.wants) : String();
    if (!text.empty()) {
        return text;
    }
    scope.depth -= scope.depth > 0 ? 1 : 0;
    NodeClass const & nodeClass = pick(field, scope);
    if (nodeClass.attribute != nullptr && oneIn(2)) {
        return quoted(nodeClass.attribute->languageName);
    }
    String made = object(nodeClass, scope);
    if (expression && options_.references && !scope.returns && oneIn(3)) {
        nextKey_ += 10'000; // more than a function has nodes without keys
        made.insert(made.size() - 1, member("key", std::to_string(nextKey_)));
        shareable_.push_back(nextKey_);
    }
    return made;
}

String RandomDocument::literal(std::string_view wants) {
    using Texts = std::vector<char const *>;
    static std::map<std::string_view, Texts> const texts{
        {"Bandwidth", {"0.0", "8000.0", "1e9", "-0.5"}},
        {"TriStateBool", {"true", "false", "\"unknown\""}},
        {"Expression", {"true", "false", "\"unknown\""}},
        {"IpAddress", {"\"\"", "\"10.0.0.1\"", "\"2001:db8::1\""}},
        {"IpPrefix", {"\"\"", "\"10.0.0.0/8\"", "\"2001:db8::/32\""}},
        {"MacAddress", {"\"00:1c:73:00:00:01\""}},
        {"Esi", {"null", "\"00:11:22:33:44:55:66:77:88:99\""}},
        {"Interface", {"\"eth0\""}},
        {"CommunityValue", {"\"65000:1:2\"", "\"rt:65000:5\"", "{\"value\":7,\"type\":9}"}},
        {"IntListImmediate", {"[]", "[65001]", "[65001,65001,65002]"}}};
    if (wants == "Int") {
        return oneIn(8) ? "-" + std::to_string(1 + below(300)) : String(oneOf(integers));
    }
    if (wants == "IntSet" || wants == "CommunitySet") {
        return setLiteral(wants == "CommunitySet");
    }
    auto const found = texts.find(wants);
    return found == texts.end() ? String() : String(oneOf(found->second));
}

// Few constants, or so many that they fill what a set holds in place, or more.
String RandomDocument::setLiteral(bool communities) {
    constexpr U32 sizes[] = {8, 9, 64, 65, 128, 129, 200};
    constexpr char const * others[] = {"\"0x4004fde8447a0000\"", "\"0x4004fde8447a0001\"",
                                       "\"rt:65000:5\"", "\"1:2:3\""};
    bool const large = oneIn(24);
    U32 const first = below(6);
    U32 const count = large ? oneOf(sizes) : below(5);
    String text;
    for (U32 i = 0; i < count; ++i) {
        String const value = std::to_string(large ? first + i : below(8));
        text += i == 0 ? "" : ",";
        if (communities) {
            text += oneIn(4) ? others[below(4)] : "\"65000:1:" + value + "\"";
        } else {
            text += oneIn(4) ? literal("Int") : oneIn(4) ? "\"65000:" + value + "\"" : value;
        }
    }
    return "[" + text + "]";
}

String RandomDocument::entries(NodeClass const & linkClass, Scope const & scope, U32 count) {
    String text;
    for (U32 i = 0; i < count; ++i) {
        text += (i == 0 ? "" : ",") + child(linkClass.fields[0], scope);
    }
    return "[" + text + "]";
}

String RandomDocument::object(NodeClass const & nodeClass, Scope const & scope) {
    std::string_view const name = nodeClass.name;
    String text = "{\"class\":" + quoted(name);
    if (name == "LogicalOperatorExpression") {
        return text + logicalChain(scope) + "}";
    }
    if (name == "IfExpression" && oneIn(3)) {
        return testChain(scope);
    }
    if (name == "IntInImmediateSetWithRanges") {
        return text + ranges(scope) + "}";
    }
    if (name == "FunctionCallExpression") {
        return text + call(scope) + "}";
    }
    for (FieldInfo const & field : nodeClass.fields) {
        String const value = field.isNode() ? child(field, scope) : scalar(nodeClass, field, scope);
        text += value.empty() ? "" : member(field.name, value);
    }
    return text + "}";
}

String RandomDocument::logicalChain(Scope const & scope) {
    constexpr char const * kinds[] = {"\"and\"", "\"or\"", "\"??\""};
    U32 const operands = 2 + below(3);
    String const kind = oneOf(kinds);
    String operators = kind;
    for (U32 i = 2; i < operands; ++i) {
        operators += "," + kind;
    }
    Scope operand = scope;
    operand.returns = false;
    return member("expressionList", entries(*findNodeClass("ExpressionList"), operand, operands)) +
           member("operatorList", "[" + operators + "]");
}

NodeClass const & RandomDocument::testedAttribute(TestFamily const & family, bool anyOne) {
    auto const & classes = accepted(findNodeClass(family.tests[0])->fields[0]);
    for (;;) {
        NodeClass const & nodeClass = *oneOf(classes);
        if (nodeClass.attribute != nullptr && (anyOne || isFamiliar(nodeClass))) {
            return nodeClass;
        }
    }
}

String RandomDocument::onAttribute(char const * className, NodeClass const & attribute) {
    return "{\"class\":" + quoted(className) +
           member("lhs", quoted(attribute.attribute->languageName)) +
           member("rhs", literal(findNodeClass(className)->fields[1].wants)) + "}";
}

String RandomDocument::chainCondition(TestFamily const & family, NodeClass const & attribute,
                                      bool plain, Scope const & scope) {
    String test = onAttribute(oneOf(family.tests), attribute);
    switch (plain ? 2 + below(22) : below(24)) {
    case 0:
        return child(findNodeClass("NotExpression")->fields[0], scope);
    case 1: // a change goes on to the next test
        return R"({"class":"NotExpression","expr":)" +
               (attribute.attribute->modifiable ? onAttribute(oneOf(family.changes), attribute)
                                                : test) +
               "}";
    case 2:
        return R"({"class":"NotExpression","expr":)" + test + "}";
    case 3:
    case 4:
    case 5:
        return R"({"class":"LogicalOperatorExpression","operatorList":[")" +
               String(oneIn(2) ? "and" : "or") + R"("],"expressionList":[)" + test + "," +
               onAttribute(oneOf(family.tests), attribute) + "]}";
    default:
        return test;
    }
}

// `else if`s that test one attribute, or many, against constants; what follows on a test may change
// the attribute.
String RandomDocument::testChain(Scope const & scope) {
    static TestFamily const families[] = {
        {{"IntIs", "IntLessThan", "IntLessThanEq", "IntGreaterThan", "IntGreaterThanEq",
          "IntInImmediateSet", "IntInImmediateSet", "IntInImmediateSet"},
         {"IntAssign", "IntPlusEq", "IntMinusEq", "IntMultEq"}},
        {{"IntSetHasAnyImmediate", "IntSetHasAnyImmediate", "IntSetHasAnyImmediate",
          "IntSetHasAllImmediate", "IntSetHasNoneImmediate", "IntSetAllInImmediate"},
         {"IntSetAssignImmediate", "IntSetAddImmediate", "IntSetRemoveImmediate",
          "IntSetRetainImmediate"}},
        {{"CommunitySetHasAnyImmediate", "CommunitySetHasAnyImmediate",
          "CommunitySetHasAnyImmediate", "CommunitySetHasAllImmediate",
          "CommunitySetHasNoneImmediate", "CommunitySetIsImmediate"},
         {"CommunitySetAssignImmediate", "CommunitySetAddImmediate", "CommunitySetRemoveImmediate",
          "CommunitySetRetainImmediate", "ExtCommunitySetAddImmediate"}}};
    TestFamily family = oneOf(families);
    if (oneIn(3)) {
        family.tests = {oneOf(family.tests)};
    }
    bool const plain = oneIn(2); // nothing but tests
    NodeClass const * attribute = &testedAttribute(family, false);
    bool const many = oneIn(8);
    U32 const clauses = oneIn(many || family.tests.size() == 1 ? 12 : 60) ? 70 : 2 + below(7);
    String text;
    for (U32 i = 0; i < clauses; ++i) {
        attribute = many ? &testedAttribute(family, true) : attribute;
        String change;
        for (U32 n = attribute->attribute->modifiable && oneIn(3) ? 1 + below(4) : 0; n > 0; --n) {
            change += (change.empty() ? "" : ",") + onAttribute(oneOf(family.changes), *attribute);
        }
        if (scope.returns && oneIn(4)) {
            change += String(change.empty() ? "" : ",") + R"({"class":"ReturnExpression","expr":)" +
                      onAttribute(oneOf(family.tests), *attribute) + "}";
        }
        U32 const others = change.empty() ? (clauses < 10 ? 1 : 0) : below(2);
        text += (i == 0 ? "{" : R"(,"elseBlock":{)") + String(R"("class":"IfExpression")") +
                member("condition", chainCondition(family, *attribute, plain, scope));
        text += member("thenBlock", block(scope, others, change));
    }
    text += oneIn(2) ? String() : member("elseBlock", block(scope, 1, ""));
    return text + String(clauses, '}');
}

String RandomDocument::ranges(Scope const & scope) {
    NodeClass const & nodeClass = *findNodeClass("IntInImmediateSetWithRanges");
    NodeClass const & link = *findNodeClass("IntLinkedList");
    String text = member("lhs", child(nodeClass.fields[0], scope)) +
                  member("singletons", child(nodeClass.fields[1], scope));
    U32 const count = below(4);
    for (char const * const bounds : {"lowerBounds", "upperBounds"}) {
        text += count == 0 ? "" : member(bounds, entries(link, scope, count));
    }
    return text;
}

String RandomDocument::call(Scope const & scope) {
    Callee const & callee = oneOf(callees_);
    return member("calleeName", quoted(callee.name)) +
           member("argListHead", arguments(callee, scope)) +
           (oneIn(2) ? "" : member("functionCallId", std::to_string(below(9))));
}

String RandomDocument::arguments(Callee const & callee, Scope const & scope) {
    std::vector<String> values;
    for (std::size_t kind = 0; kind < callee.arguments.size(); ++kind) {
        FieldInfo const & field = findNodeClass(passedIn[kind])->fields[1];
        for (U8 i = 0; i < callee.arguments.at(kind); ++i) {
            values.push_back(callee.builtIn != nullptr ? std::to_string(below(3))
                                                       : object(pick(field, scope), scope));
        }
    }
    if (callee.builtIn != nullptr && callee.name.starts_with("AsPath")) {
        values.emplace_back(R"({"class":"IntSetImmediate","head":[65001,65002]})");
        if (oneIn(2)) {
            for (char const * const bound : {"64512", "65535"}) {
                values.push_back(String(R"({"class":"IntListImmediate","head":[)") + bound + "]}");
            }
        }
    } else if (oneIn(2)) {
        values.emplace_back(oneIn(2) ? "\"community\"" : "\"as_path\"");
    }
    String text;
    for (String const & value : values) {
        text += (text.empty() ? "" : ",") + value;
    }
    return "[" + text + "]";
}

String RandomDocument::scalar(NodeClass const & owner, FieldInfo const & field,
                              Scope const & scope) {
    using Texts = std::vector<char const *>;
    static std::map<std::string_view, Texts> const texts{
        {"F32", {"0.0", "-0.0", "8000.0", "1e30", "0.1"}},
        {"bool", {"true", "false"}},
        {"TriStateBoolValue", {"\"true\"", "\"false\"", "\"unknown\"", "true"}},
        {"IpGenAddr", {"\"\"", "\"192.0.2.1\"", "\"::1\""}},
        {"IpGenPrefix", {"\"\"", "\"0.0.0.0/0\"", "\"::/0\"", "\"192.0.2.0/24\""}},
        {"EthAddr", {"\"00:00:00:00:00:00\"", "\"ff:ff:ff:ff:ff:ff\""}},
        {"IntfId", {"\"\"", "\"a/b.1\"", "\"\\u00e9\""}},
        {"optional<Evpn::Esid>", {"null", "\"00:00:00:00:00:00:00:00:00:00\""}},
        {"Acl::CommunityValue",
         {"\"0x4004fde8447a0000\"", "\"1:2:3\"", "{\"value\":1,\"type\":0}"}},
        {"Routing::Rib::ResolutionRibProfileConfig",
         {R"({"entries":[],"useDefault":true})",
          R"({"entries":[{"name":"a","kind":1},{"name":"","kind":0},{"name":"b,c","kind":255}],)"
          R"("useDefault":false})"}}};
    std::string_view const type = field.type;
    if (plays(field, FieldRole::listSlot)) {
        return {};
    }
    if (plays(field, FieldRole::argumentIndex)) {
        return std::to_string(below(scope.arguments.at(kindIndex(owner.facts.argument))));
    }
    if (auto const found = texts.find(type); found != texts.end()) {
        return oneOf(found->second);
    }
    if (type == "String") {
        return quoted(oneOf(names));
    }
    return type == "U64" ? String(oneOf(integers)) : std::to_string(below(type == "U8" ? 200 : 9));
}

String RandomDocument::everyClass() {
    Scope const scope{{3, 3, 3, 3}, true, true, 2};
    callees_ = {{"callee", {}}};
    String text = R"({"class":"Function","funcName":"callee","body":{"class":"Block"}})";
    for (NodeClass const & nodeClass : nodeClasses()) {
        if (nodeClass.number() != 0) {
            text += ",\n" + object(nodeClass, scope);
        }
    }
    return R"({"qcf":"aet/1","nodes":[)" + text + R"(],"functions":[]})";
}

} // namespace Qcf::test
