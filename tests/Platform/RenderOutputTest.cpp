#include "Platform/Render/JsonDocument.h"
#include "Platform/Render/NonBlockingCliTxnBuffer.h"
#include "Platform/Render/ReadFile.h"
#include "Platform/Render/RendererV2.h"
#include "Platform/Render/Utf8.h"

#include <array>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

/// Both ends of a pipe or a socket pair; the writing end does not block.
class Channel {
public:
    explicit Channel(bool isSocket) {
        if (isSocket) {
            EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends_.data()), 0);
        } else {
            EXPECT_EQ(::pipe(ends_.data()), 0);
        }
        EXPECT_EQ(::fcntl(ends_[1], F_SETFL, O_NONBLOCK), 0);
    }
    Channel(Channel const &) = delete;
    Channel & operator=(Channel const &) = delete;
    ~Channel() {
        closeReader();
        closeWriter();
    }
    int writer() const { return ends_[1]; }
    void closeReader() { close(ends_[0]); }
    void closeWriter() { close(ends_[1]); }
    /// Everything up to the end, in small bites.
    String readAll() const {
        String all;
        std::array<char, 1000> bite{};
        for (ssize_t got = 0; (got = ::read(ends_[0], bite.data(), bite.size())) > 0;) {
            all.append(bite.data(), static_cast<std::size_t>(got));
        }
        return all;
    }

private:
    static void close(int & fd) {
        if (fd >= 0) {
            ::close(std::exchange(fd, -1));
        }
    }
    std::array<int, 2> ends_{-1, -1};
};

String numbered(std::size_t lines) {
    String text;
    for (std::size_t i = 0; i < lines; ++i) {
        text += std::to_string(i) + '\n';
    }
    return text;
}

int errorOf(NonBlockingCliTxnBuffer & buffer, int fd) {
    try {
        buffer.flush(fd);
    } catch (std::system_error const & e) {
        return e.code().value();
    }
    return 0;
}

/// What a renderer writes for one value.
template <class T>
String rendered(T const & value) {
    String out;
    RendererV2 renderer(out);
    renderer.value(value);
    return out;
}

} // namespace

TEST(RendererV2, WritesInCallOrder) {
    for (auto const style : {RendererV2::Style::compact, RendererV2::Style::pretty}) {
        String out;
        RendererV2 renderer(out, style);
        renderer.beginObject();
        renderer.key("entries");
        renderer.beginArray();
        renderer.beginObject();
        renderer.key("aetNodeKey");
        renderer.value(~U64{0});
        renderer.key("result");
        renderer.value("true");
        renderer.endObject();
        renderer.nullValue();
        renderer.value(false);
        renderer.endArray();
        renderer.key("empty");
        renderer.beginObject();
        renderer.endObject();
        renderer.endObject();
        renderer.endDocument();
        renderer.value(U8{7});
        renderer.endDocument();
        EXPECT_EQ(out,
                  style == RendererV2::Style::compact
                      ? "{\"entries\":[{\"aetNodeKey\":18446744073709551615,\"result\":\"true\"},"
                        "null,false],\"empty\":{}}\n7\n"
                      : "{\n  \"entries\": [\n    {\n      \"aetNodeKey\": "
                        "18446744073709551615,\n      \"result\": \"true\"\n    },\n    null,\n"
                        "    false\n  ],\n  \"empty\": {}\n}\n7\n");
    }
}

TEST(RendererV2, NumbersReadBackExactly) {
    EXPECT_EQ(rendered(std::numeric_limits<S64>::min()), "-9223372036854775808");
    EXPECT_EQ(rendered(0.1), "0.1");
    EXPECT_EQ(rendered(0.1F), "0.1");
    EXPECT_EQ(rendered(8000.0F), "8000.0");
    EXPECT_EQ(rendered(-0.0), "-0.0");
    EXPECT_EQ(rendered(std::nan("")), "null");
    EXPECT_EQ(rendered(-INFINITY), "null");
    U64 bits = 88172645463325252;
    for (int i = 0; i < 20000; ++i) {
        bits ^= bits << 13; // xorshift: all kinds of exponents
        bits ^= bits >> 7;
        bits ^= bits << 17;
        auto const wide = std::bit_cast<F64>(bits);
        auto const narrow = std::bit_cast<F32>(static_cast<U32>(bits));
        if (std::isfinite(wide)) {
            ASSERT_EQ(std::strtod(rendered(wide).c_str(), nullptr), wide);
        }
        if (std::isfinite(narrow)) {
            ASSERT_EQ(JsonDocument::parse(rendered(narrow), "f").root().asFloat(), narrow);
        }
    }
}

TEST(RendererV2, StringsAreAlwaysValid) {
    for (int i = 0; i < 256 * 256; ++i) {
        String const text{'a', static_cast<char>(i >> 8), static_cast<char>(i & 0xff), 'z'};
        if (text.find('\0') != String::npos) {
            continue;
        }
        auto const document = JsonDocument::parse(rendered(text), "f");
        ASSERT_EQ(document.root().asString(), isUtf8(text) ? text : replaceInvalidUtf8(text)) << i;
    }
    EXPECT_EQ(rendered(String("\0\x1f\"\\/", 5)), "\"\\u0000\\u001F\\\"\\\\/\"");
    String out;
    RendererV2 renderer(out);
    renderer.beginObject();
    renderer.key("\xff");
    renderer.value("\xe2\x82");
    renderer.endObject();
    EXPECT_EQ(out, "{\"\xef\xbf\xbd\":\"\xef\xbf\xbd\xef\xbf\xbd\"}");
}

TEST(RendererV2, MisuseIsAnAssertion) {
    String out;
    RendererV2 renderer(out);
    renderer.beginObject();
    EXPECT_DEATH(renderer.value(true), "object wants a key");
    EXPECT_DEATH(renderer.value("text"), "object wants a key");
    EXPECT_DEATH(renderer.beginArray(), "object wants a key");
    EXPECT_DEATH(renderer.endArray(), "assertion failed");
    EXPECT_DEATH(renderer.endDocument(), "document is not complete");
    renderer.key("a");
    EXPECT_DEATH(renderer.key("b"), "key or end of object out of place");
    EXPECT_DEATH(renderer.endObject(), "key or end of object out of place");
    renderer.beginArray();
    EXPECT_DEATH(renderer.key("b"), "key or end of object out of place");
    EXPECT_DEATH(renderer.endObject(), "key or end of object out of place");
}

TEST(RendererV2, DeepNestingNeedsNoStack) {
    NonBlockingCliTxnBuffer buffer;
    RendererV2 renderer(buffer);
    constexpr std::size_t depth = 300000;
    for (std::size_t i = 0; i < depth; ++i) {
        renderer.beginArray();
    }
    for (std::size_t i = 0; i < depth; ++i) {
        renderer.endArray();
    }
    EXPECT_EQ(buffer.size(), 2 * depth);
}

TEST(Utf8, KnowsWellFormedSequences) {
    struct Case {
        std::string_view text;
        std::size_t length;
    };
    std::array<Case, 15> const cases{{{"a", 1},
                                      {"\xc2\x80", 2},
                                      {"\xe0\xa0\x80", 3},
                                      {"\xed\x9f\xbf", 3},
                                      {"\xef\xbf\xbf", 3},
                                      {"\xf0\x90\x80\x80", 4},
                                      {"\xf4\x8f\xbf\xbf", 4},
                                      {"\x80", 0},
                                      {"\xc1\xbf", 0},
                                      {"\xe0\x9f\xbf", 0},
                                      {"\xed\xa0\x80", 0},
                                      {"\xf0\x8f\xbf\xbf", 0},
                                      {"\xf4\x90\x80\x80", 0},
                                      {"\xf5\x80\x80\x80", 0},
                                      {"\xe2\x82", 0}}};
    for (Case const & c : cases) {
        EXPECT_EQ(utf8SequenceLength(c.text), c.length);
        for (std::size_t before = 0; before < 20; ++before) { // across the word-wise scan
            EXPECT_EQ(isUtf8(String(before, 'x') + String(c.text) + "yz"), c.length != 0);
        }
    }
    EXPECT_EQ(oneLine("a\nb\x01\"\xff", 100), "a\\nb\\u0001\\\"\xef\xbf\xbd");
    EXPECT_EQ(oneLine(String(100, 'x'), 10), "xxxxxxxxxx...");
}

TEST(VisibleText, EscapesWhatActsOnATerminalAndNothingElse) {
    struct Case {
        char const * text;
        char const * line;
        char const * lines;
    };
    constexpr Case cases[] = {
        {"a\tb\r\n", "a\\tb\\r\\n", "a\tb\\r\n"},
        {"\x1b[2J\x7f", "\\u001b[2J\\u007f", "\\u001b[2J\\u007f"},
        {"\xc2\x80\xc2\x9f\xc2\xa0", "\\u0080\\u009f\xc2\xa0", "\\u0080\\u009f\xc2\xa0"},
        {"\xe2\x80\xa9\xe2\x80\xaa\xe2\x80\xae\xe2\x80\xaf",
         "\xe2\x80\xa9\\u202a\\u202e\xe2\x80\xaf", "\xe2\x80\xa9\\u202a\\u202e\xe2\x80\xaf"},
        {"\xe2\x81\xa5\xe2\x81\xa6\xe2\x81\xa9\xe2\x81\xaa",
         "\xe2\x81\xa5\\u2066\\u2069\xe2\x81\xaa", "\xe2\x81\xa5\\u2066\\u2069\xe2\x81\xaa"},
        {"\"\\\xf0\x9f\x98\x80\xff", "\"\\\xf0\x9f\x98\x80\xef\xbf\xbd",
         "\"\\\xf0\x9f\x98\x80\xef\xbf\xbd"},
    };
    for (Case const & c : cases) {
        EXPECT_EQ(visibleText(c.text), c.line);
        EXPECT_EQ(visibleLines(c.text), c.lines);
    }
    EXPECT_EQ(visibleText(std::string_view("\0", 1)), "\\u0000");
    EXPECT_EQ(oneLine("\xe2\x80\xae\xc2\x9b", 100), "\\u202e\\u009b");
}

TEST(NonBlockingCliTxnBuffer, DrainsThroughDescriptorsThatBlock) {
    String const text = numbered(100000);
    for (bool const isSocket : {false, true}) {
        for (std::size_t const chunk : {1U, 7U, 4096U}) {
            Channel channel(isSocket);
            NonBlockingCliTxnBuffer buffer(chunk);
            std::string_view const part =
                std::string_view(text).substr(0, chunk == 1 ? 90000 : ~0U);
            buffer.append(part.substr(0, 5000));
            buffer.append(part.substr(5000));
            EXPECT_EQ(buffer.size(), part.size());
            String received;
            std::thread reader([&] { received = channel.readAll(); });
            buffer.flush(channel.writer());
            channel.closeWriter();
            reader.join();
            EXPECT_TRUE(buffer.empty());
            EXPECT_TRUE(received == part) << chunk;
        }
    }
}

TEST(NonBlockingCliTxnBuffer, IsReusableBetweenFlushes) {
    Channel channel(false);
    NonBlockingCliTxnBuffer buffer(8);
    String wanted;
    for (std::size_t size = 0; size < 40; ++size) {
        String const piece(size, static_cast<char>('a' + size % 26));
        buffer.append(piece);
        wanted += piece;
        EXPECT_FALSE(buffer.writeSome(channel.writer()));
        EXPECT_EQ(buffer.size(), 0U);
    }
    channel.closeWriter();
    EXPECT_EQ(channel.readAll(), wanted);
}

TEST(NonBlockingCliTxnBuffer, FailuresAreRaisedAndNeverSignalled) {
    NonBlockingCliTxnBuffer buffer;
    buffer.append("text");
    EXPECT_EQ(errorOf(buffer, -1), EBADF);
    int const readOnly = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(errorOf(buffer, readOnly), EBADF);
    ::close(readOnly);
    int const full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    if (full >= 0) {
        EXPECT_EQ(errorOf(buffer, full), ENOSPC);
        ::close(full);
    }
    for (bool const isSocket : {false, true}) {
        Channel channel(isSocket);
        channel.closeReader();
        EXPECT_EQ(errorOf(buffer, channel.writer()), EPIPE);
    }
    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    EXPECT_EQ(sigismember(&blocked, SIGPIPE), 0);
    EXPECT_EQ(buffer.size(), 4U); // what was not written is still there
}

// The reader goes away while the writer waits for room.
TEST(NonBlockingCliTxnBuffer, AReaderThatLeavesEndsTheWait) {
    for (bool const isSocket : {false, true}) {
        Channel channel(isSocket);
        NonBlockingCliTxnBuffer buffer;
        buffer.append(numbered(200000));
        std::thread leaver([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            channel.closeReader();
        });
        int const error = errorOf(buffer, channel.writer());
        leaver.join();
        EXPECT_TRUE(error == EPIPE || error == ECONNRESET) << error;
    }
}

TEST(ReadFile, ReadsFilesPipesAndNamesFaults) {
    auto const directory = std::filesystem::temp_directory_path();
    String const path = directory / ("qcf-read-" + std::to_string(::getpid()));
    auto const failure = [](String const & name, U64 limit) -> String {
        try {
            readFile(name, limit);
        } catch (DocumentError const & e) {
            return e.what();
        }
        return {};
    };
    for (std::size_t const size : {0U, 1U, 100000U}) {
        String const content(size, 'q');
        std::ofstream(path, std::ios::binary) << content;
        EXPECT_EQ(readFile(path), content);
        EXPECT_EQ(readFile(path, size), content);
        if (size > 0) {
            EXPECT_EQ(failure(path, size - 1),
                      path + ": wants at most " + std::to_string(size - 1) + " bytes, found more");
        }
    }
    std::filesystem::remove(path);
    EXPECT_EQ(failure(path, 10),
              path + ": wants a readable file, found \"No such file or directory\"");
    EXPECT_EQ(failure(directory.string(), 10),
              directory.string() + ": wants a readable file, found \"Is a directory\"");
    EXPECT_EQ(failure("/dev/zero", 1000), "/dev/zero: wants at most 1000 bytes, found more");
}
