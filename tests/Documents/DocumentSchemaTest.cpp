#include "Documents/DocumentSchema.h"

#include "Documents/ExampleNode.h"
#include "Platform/Render/JsonDocument.h"
#include "Platform/Render/JsonSchema.h"
#include "tests/Documents/DocumentTools.h"

#include <gtest/gtest.h>

/// The schema is held against the reader; validators are asked in schema_test.sh.
namespace Qcf::Documents::test {
namespace {

using Eval::NodeClass;

/// The example of a class as JSON, as an object also where it has a shorter form.
String objectOf(NodeClass const & nodeClass) {
    String text;
    RendererV2 renderer(text);
    writeNested(*exampleNode(nodeClass), renderer);
    return nodeClass.attribute == nullptr ? text : R"({"class":")" + String(nodeClass.name) + "\"}";
}

/// A document with that node, and with the function that examples call, unless it is that one.
String documentWith(String const & node) {
    bool const isCallee = node.find(R"("funcName":"example")") != String::npos;
    String const callee = R"({"name":"example","argumentsExpected":true,"body":{"class":"Block"}})";
    return R"({"qcf":"aet/1","nodes":[)" + node + R"(],"functions":[)" + (isCallee ? "" : callee) +
           "]}";
}

/// The object without one of its members.
String without(JsonValue const & object, std::string_view member, String const & text) {
    String json;
    RendererV2 renderer(json);
    String const quoted = '"' + String(member) + "\":";
    std::size_t const at = text.find(quoted);
    // Values of examples are cut by the member that follows, or by the end.
    std::optional<String> next;
    bool isBehind = false;
    for (JsonValue const each : object) {
        if (isBehind && !next) {
            next = '"' + String(each.key()) + "\":";
        }
        isBehind = isBehind || each.key() == member;
    }
    std::size_t const end = next ? text.find(*next, at + 1) : text.size() - 1;
    String rest = text.substr(0, at) + text.substr(end);
    if (!next) {
        rest.erase(rest.find_last_of(','), 1);
    }
    return rest;
}

std::vector<String> requiredOf(JsonValue const & definition) {
    std::vector<String> names;
    for (JsonValue const name : definition.find("required")->expectArray()) {
        names.emplace_back(name.asString());
    }
    return names;
}

} // namespace

TEST(DocumentSchema, WhatAClassMayLeaveOutIsWhatItsReaderTakesAsLeftOut) {
    auto const schema = JsonDocument::parse(documentSchema(), "schema");
    std::size_t left = 0;
    for (NodeClass const & nodeClass : Eval::nodeClasses()) {
        String const text = objectOf(nodeClass);
        SCOPED_TRACE(text);
        EXPECT_EQ(errorOf(documentWith(text)), "");
        auto const definition =
            schema.root().find("$defs")->find("class." + String(nodeClass.name)).value();
        auto const required = requiredOf(definition);
        auto const example = JsonDocument::parse(text, "example");
        for (JsonValue const member : example.root()) {
            if (member.key() == "class") {
                continue;
            }
            String const rest = without(example.root(), member.key(), text);
            bool const isRequired =
                std::find(required.begin(), required.end(), member.key()) != required.end();
            // Ranges have both bounds or none, and an operator stands between two operands.
            String const error = errorOf(documentWith(rest));
            bool const isMissing = error.find("found none") != String::npos;
            EXPECT_EQ(isMissing, isRequired) << rest << "\n" << error;
            ++left;
        }
    }
    EXPECT_GT(left, 150U);
}

TEST(DocumentSchema, LaysOutWithoutChangingAValue) {
    String const text =
        R"({"a":[],"b":{"c":18446744073709551615,"d":[-1.5e38,"x,y:{\"}"]},"e":{}})";
    String const laidOut = JsonSchema::laidOut(text);
    EXPECT_EQ(laidOut,
              "{\n  \"a\": [],\n  \"b\": {\n    \"c\": 18446744073709551615,\n    \"d\": [\n"
              "      -1.5e38,\n      \"x,y:{\\\"}\"\n    ]\n  },\n  \"e\": {}\n}\n");
}

} // namespace Qcf::Documents::test
