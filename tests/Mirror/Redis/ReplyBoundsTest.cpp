#include "Mirror/Redis/ReplyBounds.h"

#include <gtest/gtest.h>

namespace Qcf::Mirror {
namespace {

constexpr ReplyLimits small{.line = 24, .text = 100, .bytes = 1000, .parts = 10};

struct Case {
    String answer;
    char const * why; ///< "" when it is within the limits
};

/// What is found in the answer, given in pieces of that size.
String found(String const & answer, std::size_t size) {
    ReplyBounds bounds(small);
    bounds.begin();
    for (std::size_t at = 0; at < answer.size(); at += size) {
        if (String why = bounds.take(std::string_view(answer).substr(at, size)); !why.empty()) {
            return why;
        }
    }
    return {};
}

TEST(ReplyBounds, whatIsBeyondThemIsFoundBeforeItComes) {
    String const text(100, 'x');
    Case const cases[] = {
        {"+OK\r\n", ""},
        {"$100\r\n" + text + "\r\n", ""},
        {"$101\r\n", "more than 100 bytes in one text"},
        {"$18446744073709551615\r\n", "bytes in one text"},
        {"$99999999999999999999999\r\n", "bytes in a line"},
        {"$999999999999999999\r\n", "bytes in one text"},
        {"$-1\r\n+OK\r\n", ""},
        {"*10\r\n", ""},
        {"*11\r\n", "more than 10 parts"},
        {"*2147483647\r\n", "parts"},
        {"*5\r\n*5\r\n*1\r\n", "parts"},
        {"*-1\r\n$5\r\nhello\r\n", ""},
        // Of a text nothing is taken for a length, not even its own lines.
        {"$8\r\n\n*99\r\n$9\r\n+\r\n", ""},
        {"-" + String(30, 'e'), "bytes in a line"},
        {"*9\r\n" + String(990, '\n'), ""},
        {"*9\r\n" + String(999, '\n'), "more than 1000 bytes"},
    };
    for (Case const & each : cases) {
        for (std::size_t const size : {std::size_t{1}, std::size_t{7}, std::size_t{5000}}) {
            String const why = found(each.answer, size);
            EXPECT_EQ(why.empty(), *each.why == '\0') << each.answer << ": " << why;
            EXPECT_NE(why.find(each.why), String::npos) << each.answer << ": " << why;
        }
    }
}

TEST(ReplyBounds, eachAnswerCountsForItself) {
    ReplyBounds bounds(small);
    for (int i = 0; i < 100; ++i) {
        bounds.begin();
        EXPECT_EQ(bounds.take("*9\r\n+OK\r\n"), "");
    }
}

} // namespace
} // namespace Qcf::Mirror
