#include "tests/Command/CommandTools.h"

#include <gmock/gmock.h>

namespace Qcf::Command::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

String const acceptText = R"({"class": "ReturnExpression", "expr": true})";
String const listedText =
    R"({"class": "ReturnExpression", "expr":
        {"class": "IntSetMatchCommList", "lhs": "community", "listName": "CL", "index": 2}})";

TEST(Check, TellsOfEveryFunctionWhetherItIsSaneAndWhyNot) {
    Workshop const workshop;
    workshop.write("good.json",
                   document(function("a", acceptText) + "," + function("b", acceptText)));
    Outcome const good = workshop.run({"check", "good.json"});
    EXPECT_EQ(good.exitCode, 0);
    EXPECT_EQ(good.out, "a: sane\nb: sane\n");
    String const wrongSlot =
        R"({"name": "w", "metadata": {"commListsUsed": {"OTHER": 2}}, "body": )"
        R"({"class": "Block", "stmts": [)" +
        listedText + "]}}";
    workshop.write("bad.json", document(function("a", acceptText) + "," + wrongSlot));
    Outcome const bad = workshop.run({"check", "bad.json"});
    EXPECT_EQ(bad.exitCode, 1) << bad.err;
    auto const lines = linesOf(bad.out);
    ASSERT_EQ(lines.size(), 3U) << bad.out << bad.err;
    EXPECT_EQ(lines[0], "a: sane");
    EXPECT_EQ(lines[1], "w: insane: IntSetMatchCommList::verifySanity: index=2 metadataIndex=0");
    EXPECT_EQ(lines[2], "bad.json:/functions/1/body/stmts/0/expr: note: community list \"CL\" is "
                        "not compared: no --lists");
    EXPECT_EQ(bad.err, "");
    // Such a function can be evaluated all the same.
    workshop.write("r.jsonl", "{}\n");
    EXPECT_EQ(workshop
                  .run({"eval", "bad.json", "--function", "w", "--routes", "r.jsonl",
                        "--allow-undefined-lists"})
                  .exitCode,
              0);
}

TEST(Check, TellsTheFirstErrorOfEveryFunction) {
    Workshop const workshop;
    String const bad = R"({"class": "IntAssign", "lhs": "afi", "rhs": 1})";
    workshop.write("d.json", document(function("a", bad) + "," + function("b", acceptText) + "," +
                                      function("c", R"({"class": "Nothing"})")));
    Outcome const outcome = workshop.run({"check", "d.json"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.out, "a: not read\nb: sane\nc: not read\n");
    EXPECT_EQ(outcome.err,
              "d.json:/functions/0/body/stmts/0/lhs: IntAssign.lhs wants IntModifiable, found Afi "
              "(\"afi\")\n"
              "d.json:/functions/2/body/stmts/0/class: ExpressionList.entry wants name of a node "
              "class, as qcf nodes lists them, found \"Nothing\"\n");
    EXPECT_EQ(workshop.run({"dump", "d.json"}).err,
              "d.json:/functions/0/body/stmts/0/lhs: IntAssign.lhs wants IntModifiable, found Afi "
              "(\"afi\")\n");
}

// Values behind a function that could not be read are the ones that stand there.
TEST(Check, ReadsRightlyBehindAFunctionThatIsRefused) {
    Workshop const workshop;
    auto const asks = [](String const & attribute, String const & value) {
        return R"({"class": "IfExpression", "condition": {"class": "IntIs", "lhs": ")" + attribute +
               R"(", "rhs": )" + value + R"(}, "thenBlock": {"class": "Block", "stmts": []}})";
    };
    String const passesOn =
        R"({"class": "FunctionCallExpression", "calleeName": "c", "argListHead": [{"class": )"
        R"("IntSetImmediate", "head": [{"class": "IntVariable", "name": "x", "argVectorIndex": 0}]}]})";
    workshop.write(
        "d.json",
        document(function("c", acceptText) + "," + function("f", passesOn) + "," +
                 function("g", asks("med", "5000000000") + "," + asks("med", "100") + "," +
                                   asks("local_preference", "5000000000") + "," + acceptText)));
    Outcome const outcome = workshop.run({"check", "d.json"});
    EXPECT_THAT(outcome.out, testing::StartsWith("c: sane\nf: not read\ng: sane\n"));
    EXPECT_THAT(outcome.out, HasSubstr("never true: med (0 to 4294967295) and 5000000000"));
    EXPECT_THAT(outcome.out, HasSubstr("never true: local_preference (0 to 4294967295) and 5"));
}

TEST(Check, WarnsOfWhatIsHardlyMeant) {
    Workshop const workshop;
    workshop.write("d.json", document(function("f", R"({"class": "IntAssign", "lhs": "med",
        "rhs": -1}, {"class": "IfExpression", "condition": {"class": "IntLessThan", "lhs": "med",
        "rhs": 0}, "thenBlock": {"class": "Block", "stmts": [)" +
                                                        acceptText + "," + acceptText + "]}}")));
    Outcome const text = workshop.run({"check", "d.json"});
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_THAT(linesOf(text.out),
                ElementsAre("f: sane",
                            "d.json:/functions/0/body/stmts/0: warning: the constant -1 is out of "
                            "the range of med, 0 to 4294967295; it is written as 0",
                            "d.json:/functions/0/body/stmts/1/condition: warning: the comparison "
                            "is never true: med (0 to 4294967295) and 0",
                            "d.json:/functions/0/body/stmts/1/thenBlock/stmts/1: warning: the "
                            "statement is never reached, the one before it always leaves",
                            "d.json:/functions/0: warning: the function can end without return"));
    EXPECT_EQ(text.err, "");
    EXPECT_EQ(workshop.run({"check", "d.json", "--strict"}).exitCode, 1);
    workshop.write("good.json", document(function("f", acceptText)));
    EXPECT_EQ(workshop.run({"check", "good.json", "--strict"}).exitCode, 0);

    Outcome const json = workshop.run({"check", "d.json", "--format", "json"});
    EXPECT_EQ(json.exitCode, 0);
    auto const lines = linesOf(json.out);
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(lines[0], R"({"file":"d.json","pointer":"/functions/0/body/stmts/0",)"
                        R"("severity":"warning","code":"outOfRange","message":"the constant -1 is )"
                        R"(out of the range of med, 0 to 4294967295; it is written as 0",)"
                        R"("suggestion":null})");
    EXPECT_EQ(lines[4], R"({"function":"f","sane":true,"message":null})");
}

TEST(Check, TellsWhatIsWrongBetweenADocumentAndItsLists) {
    Workshop const workshop;
    workshop.write("d.json", document(function("f", listedText)));
    struct Case {
        char const * lists;
        int exitCode;
        char const * line; ///< stands in one of the lines
    };
    Case const cases[] = {
        {R"("communityLists": {"CL": [{"action": "permit", "communities": ["1:2"]}]})", 0,
         "f: sane"},
        {R"("tagSets": {})", 1,
         "d.json:/functions/0/body/stmts/0/expr: error: community list \"CL\" is not defined"},
        {R"("communityLists": {"CL": []})", 0, ": warning: "},
    };
    for (Case const & one : cases) {
        workshop.write("l.json", R"({"qcf": "lists/1", )" + String(one.lists) + "}");
        Outcome const outcome = workshop.run({"check", "d.json", "--lists", "l.json"});
        EXPECT_EQ(outcome.exitCode, one.exitCode) << outcome.out << outcome.err;
        EXPECT_THAT(outcome.out, HasSubstr(one.line));
        EXPECT_EQ(outcome.err, "");
    }
}

TEST(Check, WarnsOfEntriesThatAreHardlyMeantInTheOrderOfTheLists) {
    Workshop const workshop;
    workshop.write("d.json", document(function("f", listedText)));
    workshop.write("l.json", R"({"qcf": "lists/1", "communityLists": {
        "CL": [{"action": "permit", "regex": "^1:1"}, {"action": "permit", "communities": ["1:2"]},
               {"action": "deny", "communities": ["1:3", "1:2"]}]},
        "prefixLists": {"B/": {"family": "v4", "entries": []},
            "A": {"family": "v4", "entries": [
                {"seq": 5, "action": "permit", "prefix": "10.0.0.0/8", "le": 32},
                {"seq": 6, "action": "permit", "prefix": "10.0.0.0/9"}]}}})");
    String const lines[] = {
        R"(l.json:/prefixLists/A/entries/1: warning: prefix list "A": the entry with seq 6 never )"
        "decides, the one with seq 5 covers it",
        R"(l.json:/prefixLists/B~1: warning: prefix list "B/" is empty: it answers unknown)",
        R"(l.json:/communityLists/CL/0: warning: community list "CL": the pattern of the entry )"
        "with number 1 sees all communities of a route joined: only the first can meet ^, only the "
        "last $",
        R"(l.json:/communityLists/CL/2: warning: community list "CL": the entry with number 3 )"
        "never decides, the one with number 2 covers it",
    };
    Outcome const text = workshop.run({"check", "d.json", "--lists", "l.json"});
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_THAT(linesOf(text.out), ElementsAre("f: sane", lines[0], lines[1], lines[2], lines[3]));
    EXPECT_EQ(workshop.run({"check", "d.json", "--lists", "l.json", "--strict"}).exitCode, 1);
    Outcome const json = workshop.run({"check", "d.json", "--lists", "l.json", "--format", "json"});
    EXPECT_THAT(linesOf(json.out)[0],
                StartsWith(R"({"file":"l.json","pointer":"/prefixLists/A/entries/1",)"
                           R"("severity":"warning","code":"coveredEntry","message":)"));
    // Of the lists of a text the place is the list's.
    workshop.write("l.qcf", "list community_list CL { permit { 1:2 } deny { 1:3, 1:2 } }\n");
    EXPECT_THAT(linesOf(workshop.run({"check", "d.json", "--lists", "l.qcf"}).out),
                ElementsAre("f: sane",
                            R"(l.qcf:1:21: warning: community list "CL": the entry with number 2 )"
                            "never decides, the one with number 1 covers it"));
}

TEST(Check, TellsProgramsWhatCouldNotBeReadAsWell) {
    Workshop const workshop;
    workshop.write("bad.json", document(function("a", R"({"class": "Nothing"})") + "," +
                                        function("b", listedText)));
    workshop.write("d.json", document(function("b", listedText)));
    workshop.write("cut.json", "{\n  \"qcf\": ");
    workshop.write("l.json", R"({"qcf": "lists/1", "tagSets": {"T": [-1]}})");
    String const sane = R"({"function":"b","sane":true,"message":null})";
    struct Case {
        std::vector<String> arguments;
        std::vector<String> out;
    };
    Case const cases[] = {
        {{"bad.json"},
         {R"({"file":"bad.json","pointer":"/functions/0/body/stmts/0/class","severity":"error",)"
          R"("code":"document","message":"ExpressionList.entry wants name of a node class, as qcf nodes lists them, found )"
          R"(\"Nothing\"","suggestion":null})",
          R"({"function":"a","sane":false,"message":"not read"})", sane}},
        {{"cut.json"},
         {R"({"file":"cut.json","line":2,"column":10,"endColumn":11,"severity":"error",)"
          R"("code":"document","message":"syntax error: Invalid value.","suggestion":null})"}},
        {{"none.json"},
         {R"({"file":"none.json","pointer":"","severity":"error","code":"document","message":)"
          R"("wants a readable file, found \"No such file or directory\"","suggestion":null})"}},
        {{"d.json", "--lists", "none.json"},
         {R"({"file":"none.json","pointer":"","severity":"error","code":"lists","message":)"
          R"("wants a readable file, found \"No such file or directory\"","suggestion":null})",
          sane}},
        {{"d.json", "--lists", "l.json"},
         {R"({"file":"l.json","pointer":"/tagSets/T/0","severity":"error","code":"lists",)"
          R"("message":"wants integer from 0 to 4294967295, found number -1","suggestion":null})",
          sane}},
    };
    for (Case const & c : cases) {
        auto arguments = c.arguments;
        arguments.insert(arguments.begin(), "check");
        Outcome const text = workshop.run(arguments);
        EXPECT_EQ(text.exitCode, 1);
        EXPECT_NE(text.err, "") << "people are told as ever";
        arguments.insert(arguments.end(), {"--format", "json"});
        Outcome const json = workshop.run(arguments);
        EXPECT_EQ(json.exitCode, 1);
        EXPECT_EQ(linesOf(json.out), c.out);
    }
    // Notes are no warnings, and still not lost.
    Outcome const noted = workshop.run({"check", "d.json", "--format", "json"});
    EXPECT_EQ(noted.out, sane + '\n');
    EXPECT_EQ(noted.err,
              "d.json:/functions/0/body/stmts/0/expr: note: community list \"CL\" is not "
              "compared: no --lists\n");
}

TEST(Dump, FlatDocumentsReadBackToThemselves) {
    Workshop const workshop;
    for (char const * const name : {"accept", "prefer-customers", "import-filter"}) {
        String const policy = String(QCF_SOURCE_DIR "/examples/") + name + ".json";
        Outcome const flat = workshop.run({"dump", policy, "--format", "json"});
        EXPECT_EQ(flat.exitCode, 0);
        EXPECT_EQ(workshop.run({"dump", "-", "--format", "json"}, flat.out).out, flat.out);
        Outcome const text = workshop.run({"dump", policy});
        EXPECT_THAT(text.out, StartsWith("QCF Function "));
    }
}

TEST(Dump, OneFunctionComesWithWhatItCalls) {
    Workshop const workshop;
    String const call = R"({"class": "ReturnExpression", "expr":
                            {"class": "FunctionCallExpression", "calleeName": "callee"}})";
    workshop.write("d.json",
                   document(function("other", acceptText) + "," + function("callee", acceptText) +
                            "," + function("caller", call)));
    Outcome const flat =
        workshop.run({"dump", "d.json", "--function", "caller", "--format", "json"});
    EXPECT_EQ(flat.exitCode, 0) << flat.err;
    EXPECT_THAT(flat.out, HasSubstr("\"caller\""));
    EXPECT_THAT(flat.out, HasSubstr("\"callee\""));
    EXPECT_THAT(flat.out, testing::Not(HasSubstr("\"other\"")));
    EXPECT_EQ(workshop.run({"check", "-"}, flat.out).out, "callee: sane\ncaller: sane\n");
    Outcome const text = workshop.run({"dump", "d.json", "--function", "callee"});
    EXPECT_THAT(linesOf(text.out), ElementsAre("QCF Function callee, features=<>",
                                               "function callee() {", "    return true  ", "}"));
    Outcome const policy =
        workshop.run({"dump", "d.json", "--function", "caller", "--format", "qcf"});
    EXPECT_TRUE(policy.out.starts_with("function caller() {\n")) << policy.out << policy.err;
    EXPECT_EQ(policy.out.find("function callee"), String::npos);
    workshop.write("d.qcf", workshop.run({"dump", "d.json", "--format", "qcf"}).out);
    EXPECT_EQ(workshop.run({"dump", "d.qcf", "--format", "qcf"}).out, workshop.read("d.qcf"));
    Outcome const plan = workshop.run({"dump", "d.json", "--function", "callee", "--plan"});
    EXPECT_EQ(plan.out, "function callee: plan of 0 steps: returns true\n");
    Outcome const unknown = workshop.run({"dump", "d.json", "--function", "f"});
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_EQ(unknown.err, "d.json: has no function \"f\"; its functions: other, callee, caller\n");
}

TEST(Dump, ListsHaveAFormAsPolicyText) {
    Workshop const workshop;
    workshop.write("l.json", R"({"qcf": "lists/1", "tagSets": {"T": [7, 77]}, "prefixLists":
        {"P": {"family": "v4", "entries": [{"seq": 10, "action": "permit", "prefix": "10.0.0.0/8"}]}}})");
    Outcome const text = workshop.run({"dump", "l.json", "--format", "qcf"});
    EXPECT_EQ(text.out, "list prefix_list P v4 { permit 10.0.0.0/8 }\nlist tag_set T { 7, 77 }\n");
    EXPECT_EQ(text.exitCode, 0) << text.err;
}

TEST(PolicyTexts, ComeWithTheirListsAndPlaces) {
    Workshop const workshop;
    workshop.write("p.qcf", "list tag_set T { 7 }\n"
                            "function f() { return igp.tag matches T or igp.tag matches OUT }\n");
    workshop.write("more.qcf", "list tag_set T { 8 }\nlist tag_set OUT { 9 }\n");
    // What is compiled, and what is printed, goes with its lists.
    EXPECT_EQ(workshop
                  .run({"compile", "p.qcf", "--lists", "more.qcf", "-o", "p.json", "--lists-out",
                        "l.json", "--map-out", "p.map"})
                  .exitCode,
              0);
    EXPECT_EQ(workshop.run({"dump", "l.json", "--format", "qcf"}).out,
              "list tag_set T { 8 }\nlist tag_set OUT { 9 }\n");
    EXPECT_THAT(workshop.run({"dump", "p.qcf", "--format", "qcf"}).out,
                testing::StartsWith("list tag_set T { 7 }\n\nfunction f() {\n"));
    // With a map everything names lines.
    workshop.write("none.json", R"({"qcf": "lists/1"})");
    Outcome const mapped =
        workshop.run({"check", "p.json", "--map", "p.map", "--lists", "none.json"});
    EXPECT_THAT(mapped.out, HasSubstr("p.qcf:2:23: error: tag set \"T\" is not defined"));
    EXPECT_EQ(workshop.run({"check", "p.qcf", "--map", "p.map"}).exitCode, 2);
    // A node that is not sane has a place, and so have errors of lists.
    workshop.write("i.qcf", "function g() {\n  return igp.tag matches T@0\n}\n");
    EXPECT_THAT(workshop.run({"check", "i.qcf"}).err, HasSubstr("i.qcf:2:10: error: not sane: "));
    // A test's routes are those that readers take; recorded ones are left to who runs the test.
    workshop.write("r.qcf", "function f() { return true }\ntest \"t\" f() {\n"
                            "  route { prefix 10.0.0.0/8; med 4294967296 }\n"
                            "  route from \"none.jsonl\" 3\n  expect accept\n}\n");
    Outcome const routes = workshop.run({"check", "r.qcf"});
    EXPECT_EQ(routes.exitCode, 1);
    EXPECT_THAT(routes.err, HasSubstr("r.qcf:3:9: error: med "));
    workshop.write("bad.qcf", "list tag_set T { x }\n");
    EXPECT_THAT(workshop.run({"check", "p.qcf", "--lists", "bad.qcf", "--format", "json"}).out,
                testing::StartsWith(R"({"file":"bad.qcf","line":1,"column":18,)"));
}

TEST(Nodes, AreListedWithTheirFieldsAndAttributesWithTheirRanges) {
    Workshop const workshop;
    Outcome const json = workshop.run({"nodes", "--format", "json"});
    EXPECT_EQ(json.exitCode, 0);
    String compact = json.out;
    std::erase_if(compact, [](char c) { return c == ' ' || c == '\n'; });
    for (char const * const part : {
             R"({"class":"IfExpression","base":"Expression","collection":"ifExpressionColl",)"
             R"("description":"Takes`thenBlock`whentheconditionistrue,else`elseBlock`.",)"
             R"("fields":[{"name":"condition","type":"PtrConst<Expression>","optional":false},)"
             R"({"name":"thenBlock","type":"PtrConst<Block>","optional":false},)"
             R"({"name":"elseBlock","type":"PtrConst<Expression>","optional":true}]})",
             R"({"class":"Origin","base":"Qcf::Eval::IntModifiable","collection":"originColl",)"
             R"("description":"BGPorigin:0IGP,1EGP,2incomplete,256notset.",)"
             R"("fields":[],"languageName":"origin","modifiable":true,"min":0,"max":2,)"
             R"("default":256})",
             R"({"class":"AigpMetricInput","base":"Qcf::Eval::Int",)"
             R"("collection":"aigpMetricInputColl",)"
             R"("description":"AccumulatedIGPmetric,astheroutecame.","fields":[],)"
             R"("languageName":"input.aigp.metric","modifiable":false,"min":null,"max":null,)"
             R"("default":null})",
         }) {
        EXPECT_THAT(compact, HasSubstr(part));
    }
    Outcome const table = workshop.run({"nodes"});
    EXPECT_EQ(linesOf(table.out).size(), 219U);
    EXPECT_THAT(table.out, testing::ContainsRegex(
                               "\nAigpMetric +Qcf::Eval::IntModifiable +\"aigp.metric\" modifiable "
                               "0..18446744073709551614\n"));
}

TEST(Nodes, OfOneClassMoreIsTold) {
    Workshop const workshop;
    EXPECT_EQ(workshop.run({"nodes", "IfExpression"}).out,
              R"(IfExpression: Takes `thenBlock` when the condition is true, else `elseBlock`.
base        Expression
collection  ifExpressionColl
fields      condition: PtrConst<Expression>
            thenBlock: PtrConst<Block>
            elseBlock?: PtrConst<Expression>
text        if med is 1 {
              return true
            } else {
              return true
            }
document    {"class":"IfExpression","condition":{"class":"IntIs","lhs":"med","rhs":1},)"
              R"("thenBlock":{"class":"Block","stmts":[{"class":"ReturnExpression","expr":true}]},)"
              R"("elseBlock":{"class":"Block","stmts":[{"class":"ReturnExpression","expr":true}]}}
)");
    EXPECT_EQ(workshop.run({"nodes", "origin"}).out,
              R"(Origin: BGP origin: 0 IGP, 1 EGP, 2 incomplete, 256 not set.
base        Qcf::Eval::IntModifiable
collection  originColl
attribute   "origin" modifiable 0..2 default 256
text        origin
document    "origin"
)");
    struct Case {
        char const * nodeClass;
        char const * text;
        char const * example;
    };
    Case const cases[] = {
        {"IntAssign", "med = 1", R"({"class":"IntAssign","lhs":"med","rhs":1})"},
        {"IntSetMatchCommList", "community matches LIST",
         R"({"class":"IntSetMatchCommList","lhs":"community","listName":"LIST"})"},
        {"FunctionCallExpression", "example(1)",
         R"({"class":"FunctionCallExpression","calleeName":"example","argListHead":[1]})"},
        {"LogicalOperatorExpression", "med is 1 and med is 1",
         R"({"class":"LogicalOperatorExpression","expressionList":)"
         R"([{"class":"IntIs","lhs":"med","rhs":1},{"class":"IntIs","lhs":"med","rhs":1}],)"
         R"("operatorList":["and"]})"},
        {"AsPathPrepend", "as_path prepend [ 1 ]",
         R"({"class":"AsPathPrepend","lhs":"as_path","rhs":[1]})"},
    };
    for (Case const & c : cases) {
        EXPECT_THAT(linesOf(workshop.run({"nodes", c.nodeClass}).out),
                    testing::IsSupersetOf(
                        {"text        " + String(c.text), "document    " + String(c.example)}));
        String json = workshop.run({"nodes", c.nodeClass, "--format", "json"}).out;
        std::erase_if(json, [](char each) { return each == ' ' || each == '\n'; });
        EXPECT_THAT(json, HasSubstr(R"("example":)" + String(c.example) + '}'));
    }
    Outcome const unknown = workshop.run({"nodes", "Nothing"});
    EXPECT_EQ(unknown.exitCode, 2);
    EXPECT_EQ(unknown.err,
              "qcf nodes: has no class or attribute \"Nothing\"; qcf nodes lists them\n");
}

TEST(GenerateTable, TheSameSeedGivesTheSameRoutesInBothFormats) {
    Workshop const workshop;
    auto const generate = [&workshop](char const * seed, char const * file) {
        EXPECT_EQ(workshop.run({"generate-table", "--routes", "300", "--seed", seed, "--out", file})
                      .exitCode,
                  0);
        return workshop.read(file);
    };
    String const lines = generate("5", "t.jsonl");
    EXPECT_EQ(linesOf(lines).size(), 300U);
    EXPECT_EQ(generate("5", "u.jsonl"), lines);
    EXPECT_NE(generate("6", "u.jsonl"), lines);
    EXPECT_EQ(workshop.run({"generate-table", "--routes", "300", "--seed", "5", "--out", "-"}).out,
              lines);
    EXPECT_EQ(generate("5", "t.mrt"), generate("5", "u.mrt"));
    auto const sharing = [&workshop](char const * how) {
        return workshop.run(
            {"generate-table", "--routes", "300", "--seed", "5", "--sharing", how, "--out", "-"});
    };
    EXPECT_EQ(sharing("none").out, lines);
    EXPECT_NE(sharing("real").out, lines);
    EXPECT_EQ(linesOf(sharing("real").out).size(), 300U);
}

} // namespace
} // namespace Qcf::Command::test
