#include "Platform/Service/LogLines.h"

#include "Platform/Render/JsonDocument.h"
#include "Platform/Service/ServiceManager.h"

#include <array>
#include <cstdlib>
#include <regex>
#include <sstream>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

std::vector<String> written(LogFormat format, LogLevel level, std::string_view lines) {
    std::ostringstream out;
    LogLines(format, out).write(level, lines);
    std::istringstream in(out.str());
    std::vector<String> result;
    for (String line; std::getline(in, line);) {
        result.push_back(line);
    }
    return result;
}

constexpr std::pair<LogLevel, char const *> levels[] = {
    {LogLevel::info, "info"}, {LogLevel::warning, "warning"}, {LogLevel::error, "error"}};

TEST(LogLinesTest, timeAndLevelStandInFront) {
    for (auto const & [level, name] : levels) {
        auto const lines = written(LogFormat::text, level, "first {} %v\nsecond");
        ASSERT_EQ(lines.size(), 2U);
        std::regex const form(R"(20\d\d-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z )" + String(name) +
                              R"( (first \{\} %v|second))");
        EXPECT_TRUE(std::regex_match(lines[0], form)) << lines[0];
        EXPECT_TRUE(std::regex_match(lines[1], form)) << lines[1];
    }
    EXPECT_EQ(written(LogFormat::plain, LogLevel::error, "as it is\n\n"),
              (std::vector<String>{"as it is", ""}));
    EXPECT_TRUE(written(LogFormat::json, LogLevel::error, "").empty());
}

// In UTC whatever the machine's zone is: lines of several machines are put side by side.
TEST(LogLinesTest, timeIsUtc) {
    ::setenv("TZ", "Asia/Tokyo", 1);
    ::tzset();
    std::time_t const now = std::time(nullptr);
    auto const line = written(LogFormat::text, LogLevel::info, "x").at(0);
    ::unsetenv("TZ");
    ::tzset();
    std::array<char, 32> hour{};
    std::tm parts{};
    std::strftime(hour.data(), hour.size(), "%Y-%m-%dT%H:", ::gmtime_r(&now, &parts));
    bool const sameHour = line.starts_with(hour.data());
    std::time_t const later = now + 1;
    std::strftime(hour.data(), hour.size(), "%Y-%m-%dT%H:", ::gmtime_r(&later, &parts));
    EXPECT_TRUE(sameHour || line.starts_with(hour.data())) << line;
}

// Every line is one object that our own reader takes, whatever the message holds, and nothing in it
// acts on a terminal.
// NOLINTBEGIN(misc-misleading-bidirectional): that is what is tried
TEST(LogLinesTest, jsonHoldsAnyMessage) {
    std::pair<std::string_view, std::string_view> const rows[] = {
        {"plain", "plain"},
        {"quotes \" and \\ backslashes", "quotes \" and \\ backslashes"},
        {"esc \x1b[31m tab \t cr \r", "esc \x1b[31m tab \t cr \r"},
        {"c1 \xc2\x9b del \x7f bidi \xe2\x80\xae", "c1 \xc2\x9b del \x7f bidi \xe2\x80\xae"},
        {"no utf-8: \xff", "no utf-8: \xef\xbf\xbd"},
        {"%v {} {0}", "%v {} {0}"},
    };
    for (auto const & [message, read] : rows) {
        for (auto const & [level, name] : levels) {
            auto const lines = written(LogFormat::json, level, message);
            ASSERT_EQ(lines.size(), 1U);
            auto const isQuiet = [](char c) { return static_cast<U8>(c) >= 0x20 && c != 0x7f; };
            EXPECT_TRUE(std::ranges::all_of(lines[0], isQuiet)) << lines[0];
            EXPECT_EQ(lines[0].find("\xe2\x80\xae"), String::npos);
            EXPECT_EQ(lines[0].find("\xc2\x9b"), String::npos);
            JsonDocument const document = JsonDocument::parse(lines[0], "line");
            JsonValue const line = document.root();
            EXPECT_EQ(line.size(), 3U);
            EXPECT_EQ(line.find("level")->asString(), name);
            EXPECT_EQ(line.find("message")->asString(), read);
            EXPECT_EQ(line.find("time")->asString().size(),
                      String("2026-03-01T12:00:00.000Z").size());
        }
    }
}
// NOLINTEND(misc-misleading-bidirectional)

TEST(LogLinesTest, linesOfThreadsStayApart) {
    std::ostringstream out;
    {
        LogLines log(LogFormat::json, out);
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                for (int n = 0; n < 200; ++n) {
                    log.write(LogLevel::info, "first\nsecond");
                }
            });
        }
    }
    std::istringstream in(out.str());
    int count = 0;
    for (String line; std::getline(in, line); ++count) {
        ASSERT_THAT(line, testing::EndsWith(count % 2 == 0 ? "\"first\"}" : "\"second\"}"));
    }
    EXPECT_EQ(count, 1600);
}

TEST(ServiceManagerTest, isToldWhereItListens) {
    ::unsetenv("NOTIFY_SOCKET");
    notifyServiceManager("READY=1"); // nobody asked
    for (String const & place : {testing::TempDir() + "notify" + std::to_string(::getpid()),
                                 "@qcf-" + std::to_string(::getpid())}) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        place.copy(address.sun_path, sizeof address.sun_path - 1);
        if (place.front() == '@') {
            address.sun_path[0] = '\0';
        }
        int const socket = ::socket(AF_UNIX, SOCK_DGRAM, 0);
        auto const size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + place.size());
        ASSERT_EQ(::bind(socket, reinterpret_cast<sockaddr const *>(&address), size), 0);
        ::setenv("NOTIFY_SOCKET", place.c_str(), 1);
        notifyServiceManager("READY=1\nSTATUS=edge version 3");
        ::unsetenv("NOTIFY_SOCKET");
        std::array<char, 64> message{};
        ssize_t const length = ::recv(socket, message.data(), message.size(), MSG_DONTWAIT);
        EXPECT_EQ(String(message.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))),
                  "READY=1\nSTATUS=edge version 3");
        ::close(socket);
        ::unlink(place.c_str());
    }
}

} // namespace
