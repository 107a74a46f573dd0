#include "QcfLib/QcfAllAetEntities.h"
#include "QcfLib/QcfEval.h"
#include "QcfLib/QcfLib.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Qcf {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Ptr<Eval::Function> function(U64 key, String const & name) {
    return Eval::functionFactory(key, name, {}, {"a", "b"}, {}, false,
                                 Eval::blockFactory(key - 1, nullptr));
}

/// What a status publishes, as "added aet f" or "changed aetNodes ".
class Heard {
public:
    explicit Heard(AllFunctionStatus const & status) {
        status.publisher().subscribe([this](Notification const & n) {
            constexpr char const * kinds[] = {"changed ", "added ", "removed "};
            lines.push_back(kinds[static_cast<int>(n.kind)] + String(n.attribute) + " " + n.name);
        });
    }
    std::vector<String> take() { return std::exchange(lines, {}); }
    std::vector<String> lines;
};

TEST(FunctionStatus, startsEmptyWithAStoreOfItsOwn) {
    auto const status = allFunctionStatusFactory("bgp");
    EXPECT_EQ(status->name(), "bgp");
    EXPECT_TRUE(status->aet().empty());
    ASSERT_NE(status->aetNodes(), nullptr);
    EXPECT_EQ(status->aetNodes()->parent(), status.get());
    EXPECT_EQ(status->nodes().size(), 0U);
    EXPECT_FALSE(status->dedupedFunctionsPresent());
    EXPECT_FALSE(status->dedupedFunctionUpdatesInProgress());
    EXPECT_NE(AllFunctionStatus::AllFunctionStatusIs("x")->aetNodes(), status->aetNodes());
}

TEST(FunctionStatus, publishesEffectiveChangesOfFunctions) {
    auto const status = allFunctionStatusFactory("bgp");
    Heard heard(*status);
    auto const first = function(2, "f");
    auto const second = function(4, "f");
    status->aetIs("f", first);
    status->aetIs("f", first);
    EXPECT_THAT(heard.take(), ElementsAre("added aet f"));
    status->aetIs("f", second);
    EXPECT_EQ(status->aet("f"), second);
    EXPECT_THAT(heard.take(), ElementsAre("changed aet f"));
    status->aetIs("e", first);
    status->aetIs("missing", nullptr);
    status->aetDel("missing");
    EXPECT_THAT(heard.take(), ElementsAre("added aet e"));
    status->aetIs("e", nullptr);
    EXPECT_EQ(status->aet("e"), nullptr);
    status->aetIs("a", first);
    EXPECT_THAT(heard.take(), ElementsAre("removed aet e", "added aet a"));
    status->aetDelAll();
    EXPECT_THAT(heard.take(), ElementsAre("removed aet a", "removed aet f"));
    status->aetDelAll();
    EXPECT_THAT(heard.take(), IsEmpty());
}

TEST(FunctionStatus, publishesEffectiveChangesOfFields) {
    auto const status = allFunctionStatusFactory("bgp");
    Heard heard(*status);
    for (int i = 0; i < 2; ++i) {
        status->dedupedFunctionsPresentIs(true);
        status->startOfDedupedFunctionUpdatesMarkerIs(6);
        status->endOfDedupedFunctionUpdatesMarkerIs(5);
    }
    EXPECT_THAT(heard.take(), ElementsAre("changed dedupedFunctionsPresent ",
                                          "changed startOfDedupedFunctionUpdatesMarker ",
                                          "changed endOfDedupedFunctionUpdatesMarker "));
    status->aetNodesIs();
    EXPECT_THAT(heard.take(), IsEmpty());
    status->aetNodesDel();
    status->aetNodesDel();
    EXPECT_THAT(heard.take(), ElementsAre("changed aetNodes "));
    EXPECT_EQ(status->aetNodes(), nullptr);
    status->aetNodesIs();
    EXPECT_THAT(heard.take(), ElementsAre("changed aetNodes "));
    EXPECT_EQ(status->aetNodes()->parent(), status.get());
}

TEST(FunctionStatus, updatesAreInProgressWhileTheStartIsAheadOfTheEnd) {
    struct Case {
        U32 start;
        U32 end;
        bool inProgress;
    };
    for (auto const & c : {Case{0, 0, false}, Case{5, 5, false}, Case{6, 5, true},
                           Case{5, 6, false}, Case{0xffffffffU, 1, true}}) {
        auto const status = allFunctionStatusFactory("bgp");
        status->startOfDedupedFunctionUpdatesMarkerIs(c.start);
        status->endOfDedupedFunctionUpdatesMarkerIs(c.end);
        EXPECT_EQ(status->dedupedFunctionUpdatesInProgress(), c.inProgress) << c.start;
    }
}

TEST(FunctionStatus, resetLeavesTheMarkersAndAFreshStore) {
    auto const status = allFunctionStatusFactory("bgp");
    auto const before = status->aetNodes();
    before->blockCollIs(1, nullptr);
    status->aetIs("f", function(4, "f"));
    status->startOfDedupedFunctionUpdatesMarkerIs(6);
    status->endOfDedupedFunctionUpdatesMarkerIs(5);
    Heard heard(*status);
    status->reset();
    EXPECT_THAT(heard.take(),
                ElementsAre("removed aet f", "changed aetNodes ", "changed aetNodes "));
    EXPECT_TRUE(status->aet().empty());
    EXPECT_EQ(status->nodes().size(), 0U);
    EXPECT_NE(status->aetNodes(), before);
    EXPECT_EQ(before->parent(), nullptr);
    EXPECT_TRUE(status->dedupedFunctionUpdatesInProgress());
    EXPECT_EQ(status->startOfDedupedFunctionUpdatesMarker(), 6U);
}

TEST(FunctionStatus, dumpPrintsAFunctionOnce) {
    auto const status = allFunctionStatusFactory("bgp");
    auto const f = function(2, "f");
    status->aetIs("g", f);
    status->aetIs("f", f);
    status->endOfDedupedFunctionUpdatesMarkerIs(3);
    char address[32];
    std::snprintf(address, sizeof address, "f@%p", static_cast<void const *>(f.get()));
    auto const dumped = [&](U32 indent) {
        auto const dump = makePtr<DumpContext>();
        status->dumpState(dump, indent);
        return dump->text();
    };
    String const at = address;
    EXPECT_EQ(dumped(0), "Total QCF AETs: 2\n"
                         "Qcf AET for function f\n"
                         "QCF Function f, features=<a,b>\n"
                         "function " +
                             at +
                             "() {\n"
                             "}\n"
                             "Qcf AET for function g\n"
                             "function " +
                             at +
                             ", as above\n"
                             "dedupedFunctionsPresent 0\n"
                             "startOfDedupedFunctionUpdatesMarker 0\n"
                             "endOfDedupedFunctionUpdatesMarker 3\n");
    EXPECT_EQ(dumped(2).substr(0, 21), "  Total QCF AETs: 2\n ");
}

} // namespace
} // namespace Qcf
