#include "Mirror/Redis/RedisWriter.h"
#include "tests/Mirror/ListTools.h"
#include "tests/Mirror/Redis/RedisReader.h"
#include "tests/Mirror/Redis/RedisServer.h"

#include <gtest/gtest.h>

namespace Qcf::Mirror {
namespace {

using test::alike;
using test::difference;
using test::Lines;
using test::policy;
using test::RedisReader;
using test::RedisServer;

/// Every function stands in that line of a text.
PlaceOfNode inLine(U32 line) {
    return [line](Eval::AetNodeBase const &) -> std::optional<TextPlace> {
        return TextPlace{"edge.qcf", line, 1, line, 9};
    };
}

struct PublishPart : testing::Test {
    void SetUp() override {
        QCF_NEEDS_REDIS();
        server.emplace();
        writer.emplace(server->options(), "edge", lines.sink());
        reader.emplace(server->options());
    }
    /// What is wrong with the reader's copy; empty for nothing.
    String fault(PublishOutcome const & outcome) {
        if (!reader->reaches(outcome.version)) {
            return "the reader does not get there: " + reader->lines.all();
        }
        return difference(writer->status(), reader->mirror.status());
    }
    U32 lineOf(char const * function) {
        auto const version = reader->mirror.view().current();
        auto const * const places = version->places().find(function);
        return places == nullptr ? 0 : places->line;
    }

    std::optional<RedisServer> server;
    Lines lines;
    std::optional<RedisWriter> writer;
    std::optional<RedisReader> reader;
};

TEST_F(PublishPart, allElseStaysAsItIs) {
    auto const tags = [] { return test::listRecords(R"({"tagSets": {"T": [1]}})"); };
    EXPECT_EQ(fault(writer->publish(policy(alike(20, 1)), tags(), inLine(10))), "");
    auto const part = writer->publishPart(policy({{"f3", 2}, {"new", 3}}), {"f4"}, inLine(20));
    EXPECT_EQ(part.counts.functionsSet, 2U);
    EXPECT_EQ(part.counts.functionsRemoved, 1U);
    EXPECT_EQ(part.placesSet, 3U);
    EXPECT_EQ(part.functions, 20U);
    EXPECT_EQ(part.lists, 1U);
    EXPECT_EQ(fault(part), "");
    EXPECT_EQ(lineOf("f2"), 10U);
    EXPECT_EQ(lineOf("f3"), 20U);
    EXPECT_EQ(lineOf("f4"), 0U);
    EXPECT_EQ(reader->mirror.view().current()->lists()->tagSets.size(), 1U);

    // What is there already is no version; what only stands elsewhere is one.
    EXPECT_FALSE(writer->publishPart(policy({{"f3", 2}}), {"f4"}, inLine(20)).changed);
    auto const moved = writer->publishPart(policy({{"f3", 2}}), {}, inLine(30));
    EXPECT_EQ(moved.counts.functionsSet, 0U);
    EXPECT_EQ(moved.version.digest, part.version.digest);
    EXPECT_EQ(fault(moved), "");
    EXPECT_EQ(lineOf("f3"), 30U);
    // A name that goes and is given again has not gone.
    EXPECT_FALSE(writer->publishPart(policy({{"f3", 2}}), {"f3"}, inLine(30)).changed);
    EXPECT_EQ(lineOf("f3"), 30U);

    // The whole, after parts and before one.
    auto whole = alike(20, 1);
    whole[3].value = 7;
    EXPECT_EQ(fault(writer->publish(policy(whole), tags())), "");
    EXPECT_EQ(fault(writer->publishPart(policy({{"f3", 1}}), {})), "");
    EXPECT_EQ(writer->publish(policy(alike(20, 1)), tags()).changed, false);
}

TEST_F(PublishPart, goesOnFromWhatAnotherOneLeft) {
    EXPECT_EQ(fault(writer->publishPart(policy(alike(3, 1)), {})), "") << "of nothing";
    RedisWriter other(server->options(), "edge", lines.sink());
    other.publish(policy(alike(3, 2)));
    EXPECT_THROW(writer->publishPart(policy({{"f1", 5}}), {}), FencedError);
    // Nor does it say that what it had published before is there still.
    EXPECT_THROW(writer->publishPart(policy({{"f1", 1}}), {}), FencedError);
    EXPECT_THROW(writer->publish(policy(alike(3, 1))), FencedError);
    auto const outcome = other.publishPart(policy({{"f1", 5}}), {"f0"});
    EXPECT_EQ(outcome.functions, 2U);
    ASSERT_TRUE(reader->reaches(outcome.version));
    EXPECT_EQ(difference(other.status(), reader->mirror.status()), "");
}

TEST_F(PublishPart, whatCallsIsGivenToo) {
    writer->publish(policy({{"a", 1}, {"b", 2, "a"}}));
    EXPECT_THROW(writer->publishPart(policy({{"a", 3}}), {}), MirrorError);
    auto const outcome = writer->publishPart(policy({{"a", 3}, {"b", 2, "a"}}), {});
    EXPECT_EQ(outcome.version.number, 2U);
    EXPECT_EQ(outcome.counts.functionsSet, 2U);
    EXPECT_EQ(fault(outcome), "");
}

} // namespace
} // namespace Qcf::Mirror
