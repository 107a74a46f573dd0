#include "tests/Documents/DocumentTools.h"

#include <gtest/gtest.h>

namespace Qcf::Documents::test {

namespace {

String textOf(FunctionMetadata const & metadata) {
    String text;
    FunctionMetadata::eachKind(metadata, [&](String const & kind, SlotMap const & slots) {
        for (auto const & [name, slot] : slots) {
            text += (text.empty() ? "" : " ") + kind.substr(0, kind.find("Used")) + ":" + name +
                    "=" + std::to_string(slot);
        }
    });
    return text;
}

String matches(char const * name, char const * index = "") {
    return String(R"({"class":"IntSetMatchCommList","lhs":"community","listName":")") + name +
           "\"" + index + "}";
}

String function(char const * name, String const & statements, char const * members = "") {
    return String(R"({"name":")") + name + R"(","body":{"class":"Block","stmts":[)" + statements +
           "]}" + members + "}";
}

String functions(String const & list) { return R"({"qcf":"aet/1","functions":[)" + list + "]}"; }

String metadataOf(Program const & program, char const * name) {
    return textOf(program.find(name)->metadata());
}

} // namespace

TEST(Metadata, KindsFollowFromClasses) {
    struct {
        char const * node;
        char const * metadata;
    } const cases[] = {
        {R"({"class":"IntSetAddCommList","lhs":"community","listName":"L"})", "commLists:L=1"},
        {R"({"class":"CommunitySetMatchExtCommList","lhs":"ext_community","listName":"L"})",
         "extCommLists:L=1"},
        {R"({"class":"CommunitySetRetainLargeCommList","lhs":"large_community","listName":"L"})",
         "largeCommLists:L=1"},
        {R"({"class":"IntMatchTagSet","lhs":"igp.tag","tagSetName":"L"})", "tagSets:L=1"},
        {R"({"class":"AsPathMatchAsPathAccessList","lhs":"as_path","listName":"L"})",
         "asPathAccessLists:L=1"},
        {R"({"class":"IpPrefixMatchPrefixList","lhs":"prefix","rhs":
            {"class":"PrefixListImmediate","name":"L","isV4":true}})",
         "V4PrefixLists:L=1"},
        {R"({"class":"IpPrefixMatchPrefixList","lhs":"prefix","rhs":
            {"class":"PrefixListImmediate","name":"L","isV4":false}})",
         "V6PrefixLists:L=1"},
        {R"({"class":"IpPrefixMatchPrefixList","lhs":"prefix","rhs":
            {"class":"DynamicPrefixListImmediate","name":"L"}})",
         "DynPrefixLists:L=1"},
        {R"({"class":"IntIs","lhs":1,"rhs":{"class":"RoaTableImmediate","number":4,"name":"L"}})",
         "roaTables:L=4"},
    };
    for (auto const & each : cases) {
        auto const program = read(documentOf(each.node));
        EXPECT_EQ(metadataOf(program, "f"), each.metadata);
        EXPECT_TRUE(program.functions[0]->verifySanity(program.functions[0]->metadata()));
    }
}

TEST(Metadata, SlotsAreCountedOverTheDocumentPastThoseThatAreTaken) {
    struct {
        char const * name;
        String document;
        char const * f;
        char const * g;
        char const * all;
    } const cases[] = {
        {"in the order of first use",
         functions(function("f", matches("B")) + "," +
                   function("g", matches("A") + "," + matches("B"))),
         "commLists:B=1", "commLists:A=2 commLists:B=1", "commLists:A=2 commLists:B=1"},
        {"metadata of a later function goes first",
         functions(function("f", matches("A") + "," + matches("B")) + "," +
                   function("g", matches("A"), R"(,"metadata":{"commListsUsed":{"A":7,"Z":1}})")),
         "commLists:A=7 commLists:B=2", "commLists:A=7 commLists:Z=1",
         "commLists:A=7 commLists:B=2 commLists:Z=1"},
        {"then what a node gives",
         functions(function("f", matches("A") + "," + matches("B", ",\"index\":1")) + "," +
                   function("g", matches("C"))),
         "commLists:A=2 commLists:B=1", "commLists:C=3",
         "commLists:A=2 commLists:B=1 commLists:C=3"},
        {"a callee's names are its own",
         functions(function("f", matches("A")) + "," +
                   function("g", R"({"class":"FunctionCallExpression","calleeName":"f"})")),
         "commLists:A=1", "", "commLists:A=1"},
        {"given metadata is kept as it is",
         functions(function("f", matches("A"), R"(,"metadata":{})") + "," +
                   function("g", "", R"(,"metadata":{"dynPrefixListsUsed":{"P":3}})")),
         "", "DynPrefixLists:P=3", "commLists:A=1 DynPrefixLists:P=3"},
    };
    for (auto const & each : cases) {
        SCOPED_TRACE(each.name);
        auto const program = read(each.document);
        EXPECT_EQ(metadataOf(program, "f"), each.f);
        EXPECT_EQ(metadataOf(program, "g"), each.g);
        EXPECT_EQ(textOf(program.slots), each.all);
    }
}

TEST(Metadata, AContradictingIndexIsKeptAndCalledInsane) {
    for (char const * const index : {",\"index\":0", ",\"index\":9"}) {
        auto const program = read(functions(
            function("f", matches("A", index), R"(,"metadata":{"commListsUsed":{"A":1}})")));
        auto const & f = *program.functions[0];
        EXPECT_FALSE(f.verifySanity(f.metadata())) << index;
    }
}

TEST(Metadata, ListsTellWhereTheyAreUsedFirst) {
    auto const program = read(documentOf(matches("B") + "," + matches("A") + "," + matches("B")));
    ASSERT_EQ(program.lists.size(), 2U);
    EXPECT_EQ(program.lists[0].kind, "commListsUsed");
    EXPECT_EQ(program.lists[0].name, "B");
    EXPECT_EQ(program.lists[0].slot, 1);
    EXPECT_EQ(program.lists[0].pointer, "/functions/0/body/stmts/0");
    EXPECT_EQ(program.lists[1].pointer, "/functions/0/body/stmts/1");
}

TEST(Metadata, AccessedAttributesFollowFromTheFunctionsOwnTree) {
    struct {
        char const * statements;
        char const * accessed;
    } const cases[] = {
        {R"({"class":"IntAssign","lhs":"med","rhs":5})", "med = write\n"},
        {R"({"class":"IntAssign","lhs":"med","rhs":"med"})", "med = read/write\n"},
        {R"({"class":"IntAssign","lhs":"med","rhs":"input.med"})", "med = read/write\n"},
        {R"({"class":"IntPlusEq","lhs":"med","rhs":5})", "med = read/write\n"},
        {R"({"class":"IntLessThan","lhs":"as_path.length","rhs":5})", "as_path = read\n"},
        {R"({"class":"AsPathPrepend","lhs":"as_path","rhs":[1]})", "as_path = read/write\n"},
        {R"({"class":"AsPathAssign","lhs":"as_path","rhs":["med"]})",
         "as_path = write\nmed = read\n"},
        {R"({"class":"IntSetAssignCommList","lhs":"community","listName":"C"})",
         "community = write\n"},
        {R"({"class":"IntSetRetainCommList","lhs":"community","listName":"C"})",
         "community = read/write\n"},
        {R"({"class":"ExtCommunitySetAddImmediate","lhs":"ext_community","rhs":"large_community"})",
         "ext_community = read/write\nlarge_community = read\n"},
        {R"({"class":"SetNextHopSelfImplExpr"})", "next_hop = write\n"},
        {R"({"class":"EvpnIpPrefixRouteSetOverlayIndexImplExpr"})", ""},
        {R"({"class":"CommunityValueIs","lhs":"_internal.admin_as","rhs":"1:2:3"})", ""},
        {R"({"class":"FunctionCallExpression","calleeName":"g","argListHead":["weight"]})",
         "weight = read\n"},
    };
    for (auto const & each : cases) {
        auto const program =
            read(functions(function("g", R"({"class":"IntAssign","lhs":"origin","rhs":1})") + "," +
                           function("f", each.statements)));
        EXPECT_EQ(program.find("f")->accessedAttributes().toStrep(), each.accessed)
            << each.statements;
    }
    for (char const * const body : {"AsPathReplaceImplExpr", "AsPathRemoveImplExpr"}) {
        auto const program = read(documentOf(String(R"({"class":")") + body + "\"}"));
        EXPECT_EQ(program.functions[0]->accessedAttributes().toStrep(), "as_path = read/write\n");
    }
}

TEST(Metadata, FaultsThatReadingLetsPassAreTold) {
    auto const reads = R"({"class":"IntIs","rhs":1,
                           "lhs":{"class":"IntVariable","name":"x","argVectorIndex":0}})";
    auto const chain = [](char const * operands) {
        return String(R"({"class":"LogicalOperatorExpression","operatorList":["and"],
                          "expressionList":)") +
               operands + "}";
    };
    struct {
        String document;
        char const * eval;
        char const * dump;
    } const cases[] = {
        {functions(function("f", reads)),
         "function \"f\" reads arguments, which only a call gives it", ""},
        {functions(function("f", reads, R"(,"argumentsExpected":true)")), "", ""},
        {documentOf(chain("[true,true]")), "", ""},
        {documentOf(chain("[]")), "",
         "function \"f\" has a logical chain whose operators do not stand between its operands"},
        {documentOf(R"({"class":"NotExpression","expr":)" + chain("[true]") + "}"), "",
         "function \"f\" has a logical chain whose operators do not stand between its operands"},
        {documentOf(chain("[true,true,true]")), "",
         "function \"f\" has a logical chain whose operators do not stand between its operands"},
    };
    for (auto const & each : cases) {
        auto const program = read(each.document);
        EXPECT_EQ(program.faultOf(*program.functions[0]).eval, each.eval) << each.document;
        EXPECT_EQ(program.faultOf(*program.functions[0]).dump, each.dump) << each.document;
    }
}

// A class whose fields look like those of a list's slot must say of which kind the list is.
TEST(ClassFacts, EveryFieldForASlotBelongsToAKind) {
    for (Eval::NodeClass const & nodeClass : Eval::nodeClasses()) {
        bool hasSlot = false;
        for (Eval::FieldInfo const & field : nodeClass.fields) {
            hasSlot = hasSlot || std::string_view(field.name) == "index" ||
                      std::string_view(field.name) == "indexInAet";
        }
        bool const isTable = std::string_view(nodeClass.name) == "RoaTableImmediate";
        EXPECT_EQ(nodeClass.facts.list.has_value(), hasSlot || isTable) << nodeClass.name;
    }
}

TEST(ClassFacts, AValueIsPassedInTheContainerOfItsType) {
    struct {
        char const * className;
        Eval::ArgumentKind kind;
    } const cases[] = {
        {"Med", Eval::ArgumentKind::integer},
        {"MedInput", Eval::ArgumentKind::integer},
        {"IntImmediate", Eval::ArgumentKind::integer},
        {"AggregateLinkBandwidth", Eval::ArgumentKind::bandwidth},
        {"Aggregate", Eval::ArgumentKind::triStateBool},
        {"PrefixListVariable", Eval::ArgumentKind::prefixList},
        {"Community", Eval::ArgumentKind::node},
        {"IntSetImmediate", Eval::ArgumentKind::node},
        {"IntIs", Eval::ArgumentKind::none},
        {"AndOperator", Eval::ArgumentKind::none},
        {"FunctionArgumentList", Eval::ArgumentKind::none},
        {"Function", Eval::ArgumentKind::none},
    };
    for (auto const & each : cases) {
        EXPECT_EQ(Eval::findNodeClass(each.className)->facts.argument, each.kind) << each.className;
    }
}

} // namespace Qcf::Documents::test
