#include "Mirror/Redis/LoadedStore.h"
#include "Mirror/Redis/RedisWriter.h"
#include "tests/Mirror/Redis/RedisReader.h"
#include "tests/Mirror/Redis/RedisServer.h"

#include <gtest/gtest.h>

/// What a build of the fourth format left on a server: `function f() { return true }`.
namespace Qcf::Mirror {
namespace {

using test::Lines;
using test::RedisReader;
using test::RedisServer;

constexpr char const * storedId = "854a3efaa6744aad7e438f4105839396";
constexpr char const * storedDigest =
    "658ebf61930e235989753a3a437b6d69cf2c17c732c18d8f8525096d2e8df9ac";
constexpr char const * storedPosition = "1795466346462-2";

String const storedStart =
    String(R"({"start":{"format":4,"version":1,"id":")") + storedId + R"(","base":""}})" + '\n';
constexpr char const * storedLines = R"({"class":"TriStateBoolImmediate","key":1,"value":"true"}
{"class":"TriStateBoolExpression","key":2,"expr":{"ref":1}}
{"class":"ReturnExpression","key":3,"expr":{"ref":2}}
{"class":"ExpressionList","key":4,"entry":{"ref":3}}
{"class":"Block","key":5,"stmts":{"ref":4}}
{"class":"Function","key":6,"funcName":"f","metadata":{},"features":[],"accessedAttributes":{"read":[],"write":[]},"argumentsExpected":false,"body":{"ref":5}}
{"function":"f","ref":6}
{"places":"f","file":"min.qcf","line":1,"anew":true}
{"rows":[[2,1,10,1,14],[3,1,3,1,14],[4,1,3,1,14],[5,0,14,2,2],[6,0,1,2,2]]}
{"status":{"dedupedFunctionsPresent":true,"start":1,"end":1,"store":true}}
)";
String const storedEnd = String(R"({"end":{"version":1,"digest":")") + storedDigest +
                         R"(","functions":1,"nodes":6,"lists":0,"lines":11,"sum":")" +
                         "a9aed27ed86130415d0e25ed1197ba388110014bb601fe8208739ef40ad5fcd8\"}}\n";

void putEarlierStore(RedisServer const & server) {
    server.command({"HSET",      "qcf:{edge}:state",
                    "version",   "1",
                    "id",        storedId,
                    "digest",    storedDigest,
                    "position",  storedPosition,
                    "functions", "1",
                    "nodes",     "6",
                    "lists",     "0",
                    "start",     "1",
                    "end",       "1",
                    "bytes",     "0",
                    "published", "1795466346"});
    server.command({"HSET",     "qcf:{edge}:snapshot",
                    "version",  "1",
                    "id",       storedId,
                    "digest",   storedDigest,
                    "position", storedPosition,
                    "bytes",    "957",
                    "pieces",   "3",
                    "piece 0",  storedStart,
                    "piece 1",  storedLines,
                    "piece 2",  storedEnd});
}

String const sameDocument =
    R"({"qcf": "aet/1", "functions": [{"name": "f", "body": {"class": "Block",
    "stmts": [{"class": "ReturnExpression", "expr": true}]}}]})";

TEST(EarlierFormat, isReadAndThenPublishedAnew) {
    QCF_NEEDS_REDIS();
    RedisServer const server;
    putEarlierStore(server);
    RedisReader reader(server.options());
    ASSERT_TRUE(reader.reaches({1, storedId, *Digest::parse(storedDigest)})) << reader.lines.all();
    EXPECT_NE(reader.mirror.view().current()->find("f"), nullptr);
    EXPECT_EQ(reader.mirror.view().current()->places().find("f")->file, "min.qcf");

    // The same functions, in today's format: for those who come, it is all there is to know.
    Lines told;
    RedisWriter writer(server.options(), "edge", told.sink());
    auto const program = Documents::readProgram(sameDocument, "document");
    auto const outcome = writer.publish(program);
    EXPECT_TRUE(told.tell("version 1 of edge is of an earlier format; everything is published"))
        << told.all();
    EXPECT_EQ(outcome.version.number, 2U);
    EXPECT_EQ(outcome.counts.functionsSet, 0U);
    ASSERT_TRUE(reader.reaches(outcome.version)) << reader.lines.all();
    EXPECT_FALSE(writer.publish(program).changed);

    RedisReader late(server.options());
    EXPECT_TRUE(late.reaches(outcome.version)) << late.lines.all();
    Lines others;
    EXPECT_FALSE(RedisWriter(server.options(), "edge", others.sink()).publish(program).changed);
    EXPECT_EQ(others.all(), "");
}

} // namespace
} // namespace Qcf::Mirror
