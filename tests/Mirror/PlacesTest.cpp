#include "Mirror/LocalChannel.h"
#include "Mirror/MirrorError.h"
#include "Mirror/ProgramPublication.h"
#include "QcfLib/NodeWalk.h"
#include "QcfLib/QcfAllAetEntities.h"
#include "tests/Mirror/ListTools.h"
#include "tests/Mirror/MirrorTools.h"

#include <gtest/gtest.h>

/// Places of texts, as they travel with versions, and lists within a process.
namespace Qcf::Mirror {
namespace {

using test::alike;
using test::policy;
using test::staged;
using test::TestFunction;

/// What has places of a function, in the order of its tree.
std::vector<Eval::AetNodeBase const *> nodesOf(Eval::Function const & function) {
    std::vector<Eval::AetNodeBase const *> nodes;
    Eval::walkTree(
        function,
        [&](Eval::WalkedNode const & at) {
            bool const isOther = &at.node != &function && Eval::is<Eval::Function>(at.node);
            bool const isWanted = !isOther && !at.node.typeData().facts.isShared;
            if (isWanted) {
                nodes.push_back(&at.node);
            }
            return isWanted;
        },
        [](Eval::AetNodeBase const &) {});
    return nodes;
}

/// A text with a hundred lines a function, and a node a line.
struct Text {
    Text(Documents::Program const & program, U32 firstLine, String name = "edge.qcf")
        : file(std::move(name)) {
        for (auto const & function : program.functions) {
            U32 line = firstLine;
            for (auto const * const node : nodesOf(*function)) {
                lines.emplace(node, line++);
            }
            firstLine += 100;
        }
    }

    PlaceOfNode places() const {
        return [this](Eval::AetNodeBase const & node) -> std::optional<TextPlace> {
            auto const line = lines.find(&node);
            if (line == lines.end()) {
                return std::nullopt;
            }
            char const * const reason = Eval::is<Eval::ReturnExpression>(node) ? "because" : "";
            return TextPlace{file, line->second, 3, line->second + 1, 9, reason};
        };
    }

    String file;
    std::map<Eval::AetNodeBase const *, U32> lines;
};

/// A publisher of texts without a server, and a reader that gets its batches.
struct Pair {
    Pair() : source(writer.status()) {}

    Batch publish(std::vector<TestFunction> const & functions, U32 firstLine, bool isText = true,
                  String const & file = "edge.qcf") {
        Documents::Program const program = policy(functions);
        VersionPlaces const before = writer.places();
        publishProgram(program, *writer.status(), writer.digests(), static_cast<U32>(++number));
        Text const text(program, firstLine, file);
        writer.placesIs(isText ? placesOf(program, *writer.status(), text.places(), before)
                               : VersionPlaces());
        Batch batch = source.takeBatch({number, newBatchId(), writer.version().id}, writer.digest(),
                                       {}, {before, writer.places()});
        reader.apply(staged(batch));
        writer.versionIs(batch.version());
        return batch;
    }

    /// What is wrong with the reader's places of the program; empty for nothing.
    String wrongPlaces(std::vector<TestFunction> const & functions, U32 firstLine) {
        Documents::Program const program = policy(functions);
        Text const text(program, firstLine);
        auto const placeOf = text.places();
        auto const version = reader.policy();
        String wrong;
        for (auto const & function : program.functions) {
            // The same structure, so that a walk meets the same nodes in the same order.
            auto const written = nodesOf(*function);
            auto const published = nodesOf(*version->find(function->funcName()));
            for (std::size_t i = 0; i < written.size(); ++i) {
                auto const * const places = version->places().find(function->funcName());
                auto const found =
                    places == nullptr ? std::nullopt : places->find(published[i]->aetNodeKey());
                if (found != placeOf(*written[i])) {
                    wrong += function->funcName() + ' ' + written[i]->typeData().name + '\n';
                }
            }
        }
        return wrong;
    }

    U64 number = 0;
    Replica writer{"edge"};
    Replica reader{"edge"};
    ChangeSource source;
};

std::size_t linesWith(Batch const & batch, std::string_view text) {
    std::size_t count = 0;
    for (String const & piece : batch.pieces) {
        for (auto at = piece.find(text); at != String::npos; at = piece.find(text, at + 1)) {
            ++count;
        }
    }
    return count;
}

// Functions that stay keep their nodes, those that change get others: each has the places of the
// text as it is.
TEST(Places, theyAreThoseOfTheTextThroughAnyChange) {
    Pair pair;
    auto functions = alike(4, 1);
    functions[2].calls = "f0";
    auto const first = pair.publish(functions, 10);
    EXPECT_EQ(pair.wrongPlaces(functions, 10), "");
    EXPECT_EQ(linesWith(first, "\"rows\""), 4U);
    auto const digest = pair.reader.version().digest;

    // The text has moved: a line a function, and nothing of what they mean.
    auto const moved = pair.publish(functions, 11);
    EXPECT_EQ(pair.wrongPlaces(functions, 11), "");
    EXPECT_EQ(moved.movedNodes, 0U);
    EXPECT_EQ(linesWith(moved, "\"places\""), 4U);
    EXPECT_EQ(linesWith(moved, "\"rows\""), 0U);
    EXPECT_EQ(pair.reader.version().digest, digest);

    functions[1].value = 7;
    auto const changed = pair.publish(functions, 11);
    EXPECT_EQ(pair.wrongPlaces(functions, 11), "");
    EXPECT_EQ(linesWith(changed, "\"rows\""), 1U) << "of the one that changed";

    functions.erase(functions.begin() + 3);
    pair.publish(functions, 11);
    EXPECT_EQ(pair.wrongPlaces(functions, 11), "");
    EXPECT_EQ(pair.reader.places().size(), 3U);

    // What says everything says the places, too.
    Replica late("edge");
    late.apply(
        staged(pair.source.snapshot({1, pair.reader.version().id, ""}, pair.reader.version().digest,
                                    {}, pair.writer.places())));
    EXPECT_EQ(placesThatDiffer(late.places(), pair.reader.places()), 0U);

    // A document has none; what it means is the same, and as others read it.
    auto const document = pair.publish(functions, 0, false);
    EXPECT_EQ(linesWith(document, "\"gone\""), 3U);
    EXPECT_TRUE(pair.reader.places().empty());
}

TEST(Places, textsAreNamedByAnyBytes) {
    Pair pair;
    String const file("a\xff\n%\0b", 6);
    pair.publish(alike(1, 1), 1, true, file);
    EXPECT_EQ(pair.reader.places().find("f0")->file, file);
}

/// A line as text, written by the writer of batches.
void copy(JsonValue const & from, RendererV2 & out) {
    if (from.isArray()) {
        out.beginArray();
        for (JsonValue const element : from.expectArray()) {
            copy(element, out);
        }
        out.endArray();
    } else if (from.isString()) {
        out.value(from.asString());
    } else if (from.isBool()) {
        out.value(from.asBool());
    } else {
        out.value(from.expectU64());
    }
}

void writeLine(BatchWriter & writer, char const * text) {
    auto const line = JsonDocument::parse(text, "line");
    writer.line([&](RendererV2 & out) {
        for (JsonValue const member : line.root().expectObject()) {
            out.key(member.key());
            copy(member, out);
        }
    });
}

// What another writer says of places is checked before it counts.
TEST(Places, linesThatCannotBeMeantAreRefused) {
    constexpr char const * head = R"({"places":"f0","file":"x","line":1,"anew":true})";
    std::vector<char const *> const cases[] = {
        {R"({"places":"g","gone":true})"},
        {R"({"places":"g","file":"x","line":1,"anew":false})"},
        {R"({"places":"f0","file":"x","line":99999999999,"anew":true})"},
        {R"({"places":"f0","file":"x","line":1})"},
        {R"({"places":"f0","file":"x","line":1,"anew":true,"more":1})"},
        {R"({"rows":[[1,0,3,0,9]]})"},
        {head, R"({"rows":[[1,0,3,0]]})"},
        {head, R"({"rows":[[1,0,3,0,9,7]]})"},
        {head, R"({"rows":[[1,4294967295,3,0,9]]})"},
    };
    for (auto const & lines : cases) {
        SCOPED_TRACE(lines.back());
        Pair pair;
        pair.publish(alike(1, 1), 1);
        auto const before = pair.reader.version();
        BatchWriter writer({2, "next", before.id});
        for (char const * const line : lines) {
            writeLine(writer, line);
        }
        auto const status = StatusFields::of(*pair.writer.status());
        auto const nodes = pair.writer.status()->nodes().size();
        EXPECT_THROW(
            pair.reader.apply(staged(writer.finish(status, pair.writer.digest(), 1, nodes))),
            MirrorError);
        EXPECT_EQ(pair.reader.version(), before);
        EXPECT_EQ(pair.wrongPlaces(alike(1, 1), 1), "");
    }
}

TEST(LocalLists, travelWithTheFunctions) {
    auto const status = allFunctionStatusFactory("test");
    FunctionDigests digests;
    LocalChannel channel(status);
    FollowedStore mirror("test");
    FollowedStore late("test");
    auto const tags = [](FollowedStore & store) -> std::size_t {
        auto const version = store.view().current();
        return version->lists() ? version->lists()->tagSets.at("T")->tags().size() : 0;
    };
    channel.listsIs(test::listRecords(R"({"tagSets": {"T": [1]}})"));
    publishProgram(policy(alike(2, 1)), *status, digests, 1);
    channel.attach(mirror);
    EXPECT_EQ(tags(mirror), 1U);
    auto const first = mirror.version();

    // By themselves, and as often as they differ.
    channel.listsIs(test::listRecords(R"({"tagSets": {"T": [1, 2]}})"));
    EXPECT_EQ(tags(mirror), 2U);
    EXPECT_EQ(mirror.version().number, first.number + 1);
    EXPECT_NE(mirror.version().digest, first.digest);
    channel.listsIs(test::listRecords(R"({"tagSets": {"T": [1, 2]}})"));
    EXPECT_EQ(mirror.version().number, first.number + 1);

    // With functions in one step: nobody sees either alone.
    status->startOfDedupedFunctionUpdatesMarkerIs(2);
    channel.listsIs(test::listRecords(R"({"tagSets": {"T": [1, 2, 3]}})"));
    EXPECT_EQ(tags(mirror), 2U);
    status->endOfDedupedFunctionUpdatesMarkerIs(2);
    EXPECT_EQ(tags(mirror), 3U);
    channel.attach(late);
    EXPECT_EQ(tags(late), 3U);
    EXPECT_EQ(late.version(), mirror.version());
    EXPECT_THROW(channel.listsIs(test::listRecords(
                     R"({"prefixLists": {"P": {"family": "v4", "entries": [
                         {"seq": 1, "action": "permit", "prefix": "10.0.0.0/8"},
                         {"seq": 1, "action": "deny", "prefix": "10.0.0.0/8"}]}}})")),
                 std::exception);
    EXPECT_EQ(tags(mirror), 3U);
    // Places, which are no part of what a version means.
    auto const program = policy(alike(2, 1));
    Text const text(program, 7);
    channel.placesIs(placesOf(program, *status, text.places(), {}));
    EXPECT_EQ(tags(mirror), 3U);
    EXPECT_EQ(mirror.version().digest, late.version().digest);
    ASSERT_EQ(mirror.view().current()->places().size(), 2U);
    EXPECT_EQ(late.view().current()->places().inOrder().front()->value.line, 7U);
    auto const placed = mirror.version();
    channel.placesIs(placesOf(program, *status, text.places(), {}));
    EXPECT_EQ(mirror.version(), placed);
    channel.listsIs({});
    EXPECT_EQ(mirror.view().current()->lists(), nullptr);
    EXPECT_EQ(mirror.view().current()->places().size(), 2U);
    EXPECT_EQ(channel.trouble(), "");
}

} // namespace
} // namespace Qcf::Mirror
