#include "tests/Documents/DocumentTools.h"

#include <gtest/gtest.h>

namespace Qcf::Documents::test {

namespace {

/// The text of a function's only statement.
String dumpOf(String const & statement) {
    auto const program = read(documentOf(statement));
    auto const dump = makePtr<DumpContext>();
    program.functions[0]->body()->dumpState(PtrConst<DumpContext>(dump), 0);
    return dump->text();
}

struct LiteralCase {
    char const * className;
    char const * lhs;
    char const * rhs;
    char const * dump;
};

} // namespace

TEST(Literals, ByWantedType) {
    LiteralCase const cases[] = {
        {"IntIs", "\"med\"", "18446744073709551615", "  med Is18446744073709551615\n"},
        {"IntIs", "5", "\"input.med\"", "  5 Isinput.med\n"},
        {"BandwidthIs", "8000.0", "8000", "  8000 Is8000\n"},
        {"TriStateBoolIs", "true", "\"unknown\"", "  true Isunknown\n"},
        {"IpAddressIs", "\"next_hop\"", "\"2001:db8::1\"", "  next_hop Is2001:db8::1\n"},
        {"IpAddressIs", "\"next_hop\"", "\"\"", "  next_hop Is\n"},
        {"IpPrefixIs", "\"prefix\"", "\"10.0.0.0/8\"", "  prefix Is10.0.0.0/8\n"},
        {"MacAddressIs", "\"00:1c:73:00:00:01\"", "\"evpn.mac_ip_route.mac_address\"",
         "  00:1c:73:00:00:01 Isevpn.mac_ip_route.mac_address\n"},
        {"EsiIs", "null", "\"00:11:22:33:44:55:66:77:88:99\"",
         "   Is00:11:22:33:44:55:66:77:88:99\n"},
        {"InterfaceIs", "\"connected.interface\"", "\"eth0\"", "  connected.interface Iseth0\n"},
        {"CommunityValueIs", "\"65000:1:2\"", "\"lbw:65000:1000\"",
         "  65000:1:2 Is0x4004fde8447a0000\n"},
        {"CommunityValueIs", "{\"value\":1,\"type\":0}", "\"0x0000000000000002\"",
         "  0x0000000000000001 Is0x0000000000000002\n"},
        {"IntSetIsImmediate", "\"community\"", "[1,\"65000:1\",\"no-export\",\"med\"]",
         "  community IsImmediate{ 1, 4259840001, 4294967041, med }\n"},
        {"IntSetIsImmediate", "\"community\"", "[]", "  community IsImmediate{  }\n"},
        {"AsPathAssign", "\"as_path\"", "[3,1,3]", "  as_path Assign[ 3, 1, 3 ]\n"},
        {"CommunitySetIsImmediate", "\"large_community\"", "[\"65000:1:2\",\"_internal.admin_as\"]",
         "  large_community IsImmediate{ 65000:1:2, _internal.admin_as }\n"},
    };
    for (auto const & each : cases) {
        String const statement = String(R"({"class":")") + each.className + R"(","lhs":)" +
                                 each.lhs + R"(,"rhs":)" + each.rhs + "}";
        EXPECT_EQ(dumpOf(statement), each.dump) << statement;
    }
    EXPECT_EQ(dumpOf("\"unknown\""), "  unknown\n");
}

TEST(Literals, SetsAreCachableWhenAllElementsAreConstants) {
    struct {
        char const * set;
        bool cachable;
        bool cached;
    } const cases[] = {
        {"[1,2]", true, true},
        {"[]", true, false},
        {"[1,\"med\"]", false, false},
        {R"([{"class":"RoaTableImmediate","number":1,"name":"R"}])", true, true},
        {R"([1,{"class":"IntVariable","name":"x","argVectorIndex":0}])", false, false},
        {R"({"class":"IntSetImmediate","head":[1]})", true, true},
        {R"({"class":"IntSetImmediate","head":["med"]})", false, false},
        {R"({"class":"IntSetImmediate","head":[1],"cachable":false})", false, false},
        // It says so itself, and is built from the route at each evaluation all the same.
        {R"({"class":"IntSetImmediate","head":["med"],"cachable":true})", true, false},
    };
    for (auto const & each : cases) {
        auto const program = read(documentOf(
            String(R"({"class":"IntSetIsImmediate","lhs":"community","rhs":)") + each.set + "}"));
        auto const at =
            std::find_if(program.nodes.begin(), program.nodes.end(), [](auto const & node) {
                return node->typeData().name == String("IntSetImmediate");
            });
        auto const & set = static_cast<Eval::IntSetImmediate const &>(**at);
        EXPECT_EQ(set.cachable(), each.cachable) << each.set;
        EXPECT_EQ(set.cachedGetVal() != nullptr, each.cached) << each.set;
    }
}

TEST(Literals, OptionalChildrenMayBeNullOrLeftOut) {
    for (char const * const elseBlock : {"", R"(,"elseBlock":null)"}) {
        auto const program = read(documentOf(
            String(R"({"class":"IfExpression","condition":true,"thenBlock":{"class":"Block"})") +
            elseBlock + "}"));
        EXPECT_EQ(keysOf(program), "1:TriStateBoolImmediate 2:TriStateBoolExpression 3:Block "
                                   "4:IfExpression 5:ExpressionList 6:Block 7:Function");
    }
}

TEST(Literals, ACallFindsItsCalleeByName) {
    String const g = R"({"name":"g","key":100,"body":{"class":"Block"}})";
    String const call = R"({"class":"FunctionCallExpression","key":200,"calleeName":)";
    auto const document = [&](String const & nodes, String const & statement) {
        return R"({"qcf":"aet/1","nodes":[)" + nodes + R"(],"functions":[)" + g +
               R"(,{"name":"f","body":{"class":"Block","stmts":[)" + statement + "]}}]}";
    };
    String const texts[] = {
        document("", call + R"("g"})"),
        document("", call + R"("other","calleePtr":{"ref":100},"functionCallId":7})"),
        // Entries of `nodes` wait for the function that they call.
        document(call + R"("g"})", R"({"ref":200})"),
        document(
            R"({"class":"ExpressionList","key":300,"entry":)" + call +
                R"("x","calleePtr":{"ref":100}}},{"class":"Block","key":400,"stmts":{"ref":300}})",
            R"({"ref":400})"),
        document(R"({"class":"Function","key":9,"funcName":"h","body":{"class":"Block"}},)" + call +
                     R"("h"})",
                 R"({"ref":200})"),
    };
    for (String const & text : texts) {
        auto const program = read(text);
        ASSERT_EQ(countOf(program, "FunctionCallExpression"), 1U) << text;
        // Calls are written by name, or where the names differ by reference: either reads back.
        EXPECT_EQ(written(read(written(program))), written(program)) << text;
    }
}

} // namespace Qcf::Documents::test
