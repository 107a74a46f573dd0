#include "tests/support/RandomDocument.h"

#include "Documents/ClassRules.h"
#include "tests/support/NodeMaker.h"

#include <algorithm>

namespace Qcf::test {

using namespace Qcf::Eval;
using Documents::ArgumentKind;
using Documents::ClassRules;

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
constexpr char const * integers[] = {"0",     "1",     "2",          "100",
                                     "65535", "65536", "4294967295", "18446744073709551615"};

std::size_t kindIndex(ArgumentKind kind) {
    return static_cast<std::size_t>(
        std::find(std::begin(passedKinds), std::end(passedKinds), kind) - std::begin(passedKinds));
}

String member(std::string_view name, String const & value) {
    return ",\"" + String(name) + "\":" + value;
}
String quoted(std::string_view text) { return '"' + String(text) + '"'; }

bool isExpression(NodeClass const & nodeClass) {
    return std::string_view(nodeClass.base) == "Expression";
}

} // namespace

RandomDocument::RandomDocument(U32 seed, Options options) : options_(options), random_(seed) {}

String RandomDocument::functions(U32 count) {
    String text = R"({"qcf":"aet/1","functions":[)";
    callees_.clear();
    if (options_.calls) {
        for (BuiltIn const & each : builtIns) {
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
    String const last = callee.builtIn != nullptr ? "{\"class\":" + quoted(callee.builtIn) + "}"
                                                  : R"({"class":"ReturnExpression","expr":)" +
                                                        String(oneIn(3) ? "false" : "true") + "}";
    return text + member("body", block(scope, callee.builtIn == nullptr ? 4 : 0, last)) + "}";
}

String RandomDocument::block(Scope const & scope, U32 statements, String const & last) {
    String text;
    NodeClass const & link = *findNodeClass("ExpressionList");
    for (U32 i = 0; i < statements; ++i) {
        text += child(link.fields[0], scope) + ",";
    }
    return R"({"class":"Block","stmts":[)" + text + last + "]}";
}

// Lists and operators that a function's own tree must not hold, or not here.
bool RandomDocument::fits(NodeClass const & nodeClass, Scope const & scope) const {
    ClassRules const & rules = ClassRules::of(nodeClass);
    std::string_view const name = nodeClass.name;
    if (rules.variable) {
        return scope.variables && scope.arguments.at(kindIndex(rules.argument)) > 0;
    }
    if (name == "FunctionCallExpression") {
        return !callees_.empty() && scope.depth > 0;
    }
    bool const builtIn = rules.integers > 0 || rules.nodeArguments;
    bool const returns = rules.returns && !scope.returns;
    bool const deep = scope.depth == 0 && isExpression(nodeClass) &&
                      std::any_of(nodeClass.fields.begin(), nodeClass.fields.end(), [](auto & f) {
                          return std::string_view(f.wants).find("Expression") == 0 ||
                                 std::string_view(f.wants) == "Block";
                      });
    return !builtIn && !returns && !deep && name != "Function";
}

std::vector<NodeClass const *> const & RandomDocument::accepted(FieldInfo const & field) {
    auto & classes = accepted_[field.wants];
    if (!classes.empty()) {
        return classes;
    }
    for (NodeClass const & nodeClass : nodeClasses()) {
        if (field.accepts(*Eval::test::NodeMaker::node(nodeClass))) {
            classes.push_back(&nodeClass);
        }
    }
    return classes;
}

NodeClass const & RandomDocument::pick(FieldInfo const & field, Scope const & scope) {
    std::vector<NodeClass const *> fitting;
    for (NodeClass const * const nodeClass : accepted(field)) {
        if (fits(*nodeClass, scope)) {
            // Attributes outnumber all else, control flow what it joins.
            bool const rare = nodeClass->attribute != nullptr && !oneIn(3);
            if (!rare || Documents::wantsModifiable(field)) {
                fitting.push_back(nodeClass);
            }
            if (std::string_view(nodeClass->name) == "IfExpression" ||
                std::string_view(nodeClass->name) == "LogicalOperatorExpression") {
                fitting.insert(fitting.end(), 20, nodeClass);
            }
        }
    }
    return fitting.empty() ? *accepted(field).front() : *oneOf(fitting);
}

String RandomDocument::child(FieldInfo const & field, Scope scope) {
    if (field.optional && oneIn(4)) {
        return "null";
    }
    scope.returns = scope.returns && Documents::passesReturn(field);
    // Passed by reference, such a value would read the callee's frame.
    scope.variables = scope.variables && std::string_view(field.wants) != "StorageType";
    if (auto const * link = findNodeClass(field.wants); link && ClassRules::of(*link).link) {
        U32 const count = below(4);
        return count == 0 && field.optional ? "[]" : entries(*link, scope, count + 1);
    }
    bool const expression = std::string_view(field.wants) == "Expression";
    if (expression && options_.references && !shareable_.empty() && oneIn(6)) {
        return "{\"ref\":" + std::to_string(oneOf(shareable_)) + "}";
    }
    String const text = oneIn(2) ? literal(field.wants) : String();
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
        {"Int", {"0", "5", "-5", "100", "4294967296", "18446744073709551615"}},
        {"Bandwidth", {"0.0", "8000.0", "1e9", "-0.5"}},
        {"TriStateBool", {"true", "false", "\"unknown\""}},
        {"Expression", {"true", "false", "\"unknown\""}},
        {"IpAddress", {"\"\"", "\"10.0.0.1\"", "\"2001:db8::1\""}},
        {"IpPrefix", {"\"\"", "\"10.0.0.0/8\"", "\"2001:db8::/32\""}},
        {"MacAddress", {"\"00:1c:73:00:00:01\""}},
        {"Esi", {"null", "\"00:11:22:33:44:55:66:77:88:99\""}},
        {"Interface", {"\"eth0\""}},
        {"CommunityValue", {"\"65000:1:2\"", "\"rt:65000:5\"", "{\"value\":7,\"type\":9}"}},
        {"IntSet", {"[]", "[1,\"65000:1\",\"no-export\"]", "[2,1,-1,4294967296]"}},
        {"IntListImmediate", {"[]", "[65001]", "[65001,65001,65002]"}},
        {"CommunitySet", {"[]", "[\"65000:1:2\",\"0x4004fde8447a0000\"]"}}};
    auto const found = texts.find(wants);
    return found == texts.end() ? String() : String(oneOf(found->second));
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
        values.emplace_back("\"community\"");
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
    ClassRules const & rules = ClassRules::of(owner);
    std::string_view const type = field.type;
    if (rules.slot != nullptr && std::string_view(field.name) == rules.slot->slotField) {
        return {};
    }
    if (rules.variable && type == "U8") {
        return std::to_string(below(scope.arguments.at(kindIndex(rules.argument))));
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
