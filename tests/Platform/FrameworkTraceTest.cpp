#include "Platform/Framework/Assert.h"
#include "Platform/Framework/CharRange.h"
#include "Platform/Framework/DumpContext.h"
#include "Platform/Framework/Ptr.h"
#include "Platform/Framework/Trace.h"

#include <array>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

TraceFacility facility("FrameworkTraceTest");

/// Collects traced messages while it lives.
class Collected {
public:
    Collected() {
        TraceFacility::sinkIs([this](int level, String const & message) {
            lines.push_back(std::to_string(level) + ' ' + message);
        });
    }
    Collected(Collected const &) = delete;
    Collected & operator=(Collected const &) = delete;
    ~Collected() {
        TraceFacility::sinkIs({});
        facility.levelIs(0);
    }
    std::vector<String> lines;
};

} // namespace

TEST(Trace, BuildsMessagesOnlyWhenTheLevelIsOn) {
    Collected collected;
    int built = 0;
    auto const text = [&built] {
        ++built;
        return "value=";
    };
    for (int level = 0; level <= 3; ++level) {
        facility.levelIs(level);
        QCF_TRACE(facility, 1, text() << level);
        QCF_TRACE(facility, 2, text() << 'x' << level);
        EXPECT_EQ(built, std::max(0, 2 * level - 1));
    }
    std::vector<String> const wanted{"1 value=1", "1 value=2", "2 value=x2", "1 value=3",
                                     "2 value=x3"};
    EXPECT_EQ(collected.lines, wanted);
}

TEST(Trace, FacilitiesAreFoundByName) {
    EXPECT_EQ(TraceFacility::find("FrameworkTraceTest"), &facility);
    EXPECT_EQ(TraceFacility::find("FrameworkTrace"), nullptr);
    {
        TraceFacility const passing("passing");
        EXPECT_EQ(TraceFacility::find("passing"), &passing);
    }
    EXPECT_EQ(TraceFacility::find("passing"), nullptr);
    EXPECT_DEATH(TraceFacility("FrameworkTraceTest"), "trace facility name is taken");
}

TEST(Trace, GoesToStandardErrorByDefaultAndFromManyThreads) {
    facility.levelIs(1);
    ::testing::internal::CaptureStderr();
    QCF_TRACE(facility, 1, "braces {} and " << 7);
    String const printed = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(printed.find("FrameworkTraceTest 1: braces {} and 7\n"), String::npos) << printed;

    Collected collected;
    std::array<std::thread, 4> threads;
    for (std::size_t t = 0; t < threads.size(); ++t) {
        threads[t] = std::thread([t] {
            for (int i = 0; i < 100; ++i) {
                QCF_TRACE(facility, 1, t << ':' << i);
            }
        });
    }
    for (auto & t : threads) {
        t.join();
    }
    EXPECT_EQ(collected.lines.size(), 400U);
}

TEST(Assert, NamesTheExpressionOrTheGivenText) {
    int const depth = 1;
    QCF_ASSERT(depth == 1);
    EXPECT_DEATH(QCF_ASSERT(depth == 0),
                 "^assertion failed: depth == 0 \\(.*TraceTest.cpp:[0-9]+\\)");
    EXPECT_DEATH(QCF_ASSERT_TEXT(depth > 1, "There MUST be one"),
                 "^assertion failed: There MUST be one \\(");
}

TEST(DumpContext, PrintsAsPrintfDoesAtAnyLength) {
    Ptr<DumpContext const> const dump = makePtr<DumpContext>();
    dump->print("%*cif ", 2, ' ');
    dump->print("%s %u%c", "x", 7U, '\n');
    EXPECT_EQ(dump->text(), "  if x 7\n");
    for (int const length : {255, 256, 257, 5000}) {
        DumpContext context;
        String const word(static_cast<std::size_t>(length), 'w');
        context.print("%s", word.c_str());
        EXPECT_EQ(context.text(), word);
    }
}

TEST(DumpContext, HandsPiecesToASinkAndKnowsWhatWasDumped) {
    String received;
    DumpContext const dump([&received](std::string_view piece) { received += piece; });
    dump.print("%d,", 1);
    dump.print("%d", 2);
    EXPECT_EQ(received, "1,2");
    EXPECT_EQ(dump.text(), "");
    int object = 0;
    EXPECT_TRUE(dump.firstTime(&object));
    EXPECT_FALSE(dump.firstTime(&object));
    EXPECT_TRUE(dump.firstTime(&received));
}

TEST(ParseError, SaysWhatWasWantedAndFound) {
    EXPECT_STREQ(ParseError("an IPv4 address", "\"x\"").what(),
                 "wants an IPv4 address, found \"x\"");
    CharRange range(std::string_view("abc"));
    ++range.begin;
    EXPECT_EQ(range.view(), "bc");
    EXPECT_TRUE(CharRange().empty());
}
