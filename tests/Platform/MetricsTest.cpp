#include "Platform/Metrics/Metrics.h"

#include "Platform/Metrics/MetricsFile.h"
#include "Platform/Metrics/MetricsServer.h"
#include "Platform/Metrics/MetricsTarget.h"

#include <array>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

/// A folder that is gone at the end.
class Folder {
public:
    Folder() { EXPECT_NE(::mkdtemp(path_.data()), nullptr); }
    ~Folder() { std::filesystem::remove_all(path_); }
    Folder(Folder const &) = delete;
    Folder & operator=(Folder const &) = delete;

    String file(char const * name) const { return path_ + '/' + name; }
    std::size_t size() const {
        auto const begin = std::filesystem::directory_iterator(path_);
        return static_cast<std::size_t>(std::distance(begin, end(begin)));
    }

private:
    String path_ = testing::TempDir() + "metrics.XXXXXX";
};

String contentOf(String const & path) {
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

String textOf(Metrics & metrics) { return metricsText(metrics.read()); }

TEST(MetricsTest, familiesStandInTheOrderInWhichTheyWereMade) {
    Metrics metrics(MetricLabels{{"name", "edge"}});
    Metric & routes = metrics.gauge("routes", "Routes in the table");
    Metric & bytes = metrics.counter("bytes_total", "Bytes read");
    metrics.gauge("silent", "Without values, and therefore not shown");
    bytes.add({}, 1500);
    bytes.add({}, 48);
    routes.valueIs({{"router", "r1"}, {"family", "ipv6"}}, 7);
    routes.valueIs({{"family", "ipv4"}, {"router", "r1"}}, 7);
    routes.valueIs({{"router", "r1"}, {"family", "ipv4"}}, 8);
    EXPECT_EQ(textOf(metrics), "# HELP routes Routes in the table\n"
                               "# TYPE routes gauge\n"
                               "routes{family=\"ipv4\",name=\"edge\",router=\"r1\"} 8\n"
                               "routes{family=\"ipv6\",name=\"edge\",router=\"r1\"} 7\n"
                               "# HELP bytes_total Bytes read\n"
                               "# TYPE bytes_total counter\n"
                               "bytes_total{name=\"edge\"} 1548\n");
}

TEST(MetricsTest, samplesTakeThePlaceOfAllBefore) {
    Metrics metrics;
    Metric & peers = metrics.gauge("peers", "Peers");
    peers.valueIs({{"peer", "gone"}}, 1);
    peers.samplesAre({{{{"peer", "a"}}, 1}, {{{"peer", "b"}}, 2}, {{{"peer", "a"}}, 3}});
    EXPECT_THAT(textOf(metrics), EndsWith("gauge\npeers{peer=\"a\"} 3\npeers{peer=\"b\"} 2\n"));
    peers.samplesAre({});
    EXPECT_EQ(textOf(metrics), "");
}

TEST(MetricsTest, valuesAreWrittenAsTheyAre) {
    constexpr F64 endless = std::numeric_limits<F64>::infinity();
    std::pair<F64, char const *> const rows[] = {
        {0, "0"},
        {-3, "-3"},
        {1e6, "1000000"},
        {9007199254740991, "9007199254740991"},
        {0.1, "0.1"},
        {1e300, "1e+300"},
        {endless, "+Inf"},
        {-endless, "-Inf"},
        {std::numeric_limits<F64>::quiet_NaN(), "NaN"},
    };
    for (auto const & [value, text] : rows) {
        Metrics metrics;
        metrics.gauge("g", "A value").valueIs(value);
        EXPECT_THAT(textOf(metrics), EndsWith(String("\ng ") + text + '\n'));
    }
}

TEST(MetricsTest, labelsHoldAnyText) {
    std::pair<std::string_view, char const *> const rows[] = {
        {"say \"no\"", R"(say \"no\")"},
        {"C:\\x", R"(C:\\x)"},
        {"two\nlines", R"(two\\nlines)"},
        {std::string_view("nul\0 esc\x1b", 9), R"(nul\\u0000 esc\\u001b)"},
        {"\xff grün", "\xef\xbf\xbd grün"},
    };
    for (auto const & [value, text] : rows) {
        Metrics metrics;
        metrics.gauge("g", "A value").valueIs({{"of", String(value)}}, 1);
        EXPECT_THAT(textOf(metrics), EndsWith(String("g{of=\"") + text + "\"} 1\n"));
    }
}

TEST(MetricsTest, whoeverReadsSeesWhatIsWorkedOutThen) {
    Metrics metrics;
    Metric & calls = metrics.gauge("calls", "Readings");
    metrics.refreshIs([&, n = 0]() mutable { calls.valueIs(++n); });
    EXPECT_THAT(textOf(metrics), EndsWith("calls 1\n"));
    EXPECT_THAT(textOf(metrics), EndsWith("calls 2\n"));
    metrics.refreshIs(nullptr);
    EXPECT_THAT(textOf(metrics), EndsWith("calls 2\n"));
}

TEST(MetricsDeathTest, namesThatNobodyCouldReadAreFaultsOfTheProgram) {
    Metrics metrics;
    Metric & counter = metrics.counter("good_total", "Good");
    EXPECT_DEATH(metrics.gauge("a-b", "Bad"), "letters, digits and underscores");
    EXPECT_DEATH(metrics.gauge("9a", "Bad"), "letters, digits and underscores");
    EXPECT_DEATH(metrics.counter("a", "Bad"), "ends in _total");
    EXPECT_DEATH(metrics.gauge("good_total", "Twice"), "is there");
    EXPECT_DEATH(metrics.gauge("lines", "Two\nlines"), "one line");
    EXPECT_DEATH(counter.add({{"a.b", ""}}, 1), "letters, digits and underscores");
    EXPECT_DEATH(counter.add({{"a", ""}, {"a", "x"}}, 1), "twice");
    EXPECT_DEATH(counter.add({}, -1), "only rises");
}

TEST(MetricsTargetTest, fileOrAddress) {
    EXPECT_EQ(MetricsTarget::parse("/run/qcf/a:1.prom").file, "/run/qcf/a:1.prom");
    std::tuple<char const *, char const *, U16, bool> const rows[] = {
        {"127.0.0.1:9273", "127.0.0.1", 9273, true},   {"localhost:0", "127.0.0.1", 0, true},
        {"127.9.9.9:65535", "127.9.9.9", 65535, true}, {"0.0.0.0:80", "0.0.0.0", 80, false},
        {"192.0.2.1:80", "192.0.2.1", 80, false},
    };
    for (auto const & [text, address, port, isLocal] : rows) {
        MetricsTarget const target = MetricsTarget::parse(text);
        EXPECT_EQ(target.address, address);
        EXPECT_EQ(target.port, port);
        EXPECT_EQ(target.isLocal(), isLocal) << text;
        EXPECT_EQ(target.file, "");
    }
    for (char const * const text :
         {"", "9273", ":9273", "127.0.0.1", "127.0.0.1:", "127.0.0.1:65536", "127.0.0.1:+1",
          "127.1:80", "127.0.0.1:80,0.0.0.0:81", "example.net:80", "[::1]:80", "qcf.prom.txt",
          "127.0.0.1:80r", "127.0.0.1:80s"}) {
        EXPECT_THROW(MetricsTarget::parse(text), std::runtime_error) << text;
    }
}

// A reader at any moment finds a whole file: the first family and the last, of one writing.
TEST(MetricsFileTest, readersSeeWholeFiles) {
    Folder const folder;
    String const path = folder.file("qcf.prom");
    Metrics metrics;
    Metric & first = metrics.gauge("first", "Of a writing");
    Metric & filling = metrics.gauge("filling", "To make it long");
    Metric & last = metrics.gauge("last", "Of a writing");
    std::vector<MetricSample> samples;
    for (int i = 0; i < 2000; ++i) {
        samples.push_back({{{"of", std::to_string(i)}}, 1});
    }
    filling.samplesAre(samples);
    metrics.refreshIs([&, n = 0]() mutable {
        first.valueIs(++n);
        last.valueIs(n);
    });
    MetricsFile const file(
        metrics, path, [](String const & text) { ADD_FAILURE() << text; }, 1ms);
    String number;
    for (int i = 0, changes = 0; i < 20'000 && changes < 20; ++i) {
        String const text = contentOf(path);
        String const begin = "# HELP first Of a writing\n# TYPE first gauge\nfirst ";
        ASSERT_THAT(text, StartsWith(begin));
        String const found =
            text.substr(begin.size(), text.find('\n', begin.size()) - begin.size());
        ASSERT_THAT(text, EndsWith("\nlast " + found + '\n'));
        changes += found != number ? 1 : 0;
        number = found;
    }
    EXPECT_GT(std::stoi(number), 10);
    struct stat is {};
    ASSERT_EQ(::stat(path.c_str(), &is), 0);
    EXPECT_EQ(is.st_mode & 07777U, 0644U);
}

TEST(MetricsFileTest, theLastStateStays) {
    Folder const folder;
    Metrics metrics;
    Metric & gauge = metrics.gauge("g", "A value");
    gauge.valueIs(1);
    {
        MetricsFile const file(metrics, folder.file("a.prom"), nullptr, 1h);
        EXPECT_THAT(contentOf(folder.file("a.prom")), EndsWith("g 1\n"));
        gauge.valueIs(2);
    }
    EXPECT_THAT(contentOf(folder.file("a.prom")), EndsWith("g 2\n"));
    EXPECT_EQ(folder.size(), 1U) << "what was made beside the file is gone";
}

TEST(MetricsFileTest, faultsAreToldOnceAndTriedOver) {
    Folder const folder;
    Metrics metrics;
    metrics.gauge("g", "A value").valueIs(1);
    String const missing = folder.file("none") + "/a.prom";
    EXPECT_THROW(MetricsFile(metrics, missing, nullptr), std::runtime_error);

    std::filesystem::create_directory(folder.file("later"));
    std::atomic<int> reports = 0;
    String const path = folder.file("later") + "/a.prom";
    MetricsFile const file(
        metrics, path,
        [&](String const & text) {
            EXPECT_THAT(text, HasSubstr("/a.prom: "));
            ++reports;
        },
        1ms);
    std::filesystem::remove_all(folder.file("later"));
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(reports, 1);
    std::filesystem::create_directory(folder.file("later"));
    for (int i = 0; i < 1000 && !std::filesystem::exists(path); ++i) {
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_THAT(contentOf(path), EndsWith("g 1\n"));
}

/// What the server at that address says to a request.
String answerTo(String const & request, String const & url) {
    sockaddr_in at{};
    at.sin_family = AF_INET;
    at.sin_port = htons(static_cast<U16>(std::stoi(url.substr(url.rfind(':') + 1))));
    at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int const socket = ::socket(AF_INET, SOCK_STREAM, 0);
    EXPECT_EQ(::connect(socket, reinterpret_cast<sockaddr const *>(&at), sizeof at), 0);
    EXPECT_EQ(::send(socket, request.data(), request.size(), 0), ssize_t(request.size()));
    String answer;
    std::array<char, 4096> piece{};
    for (ssize_t n = 0; (n = ::recv(socket, piece.data(), piece.size(), 0)) > 0;) {
        answer.append(piece.data(), static_cast<std::size_t>(n));
    }
    ::close(socket);
    return answer;
}

TEST(MetricsServerTest, servesWhatIsThere) {
    if (!MetricsServer::isBuiltIn()) {
        GTEST_SKIP() << "built without a server of metrics (package prometheus-cpp-dev)";
    }
    Metrics metrics(MetricLabels{{"name", "say \"edge\""}});
    Metric & bytes = metrics.counter("bytes_total", "Bytes read");
    metrics.refreshIs([&] { bytes.add({}, 1e10); });
    MetricsServer const server(metrics, "127.0.0.1", 0);
    EXPECT_THAT(server.url(), StartsWith("http://127.0.0.1:"));
    String const get = "GET /metrics HTTP/1.1\r\nHost: a\r\nConnection: close\r\n\r\n";
    EXPECT_THAT(answerTo(get, server.url()),
                HasSubstr("# HELP bytes_total Bytes read\n# TYPE bytes_total counter\n"
                          "bytes_total{name=\"say \\\"edge\\\"\"} 10000000000\n"));
    EXPECT_THAT(answerTo(get, server.url()), HasSubstr("} 20000000000\n"));
    EXPECT_THAT(answerTo("GET /etc/passwd HTTP/1.0\r\n\r\n", server.url()), HasSubstr(" 404 "));
    EXPECT_THAT(answerTo("\x16\x03garbage\r\n\r\n", server.url()), Not(HasSubstr("bytes_total")));
    U16 const port = static_cast<U16>(std::stoi(server.url().substr(17)));
    try {
        MetricsServer const second(metrics, "127.0.0.1", port);
        ADD_FAILURE() << "two servers at one port";
    } catch (std::runtime_error const & error) {
        EXPECT_EQ(error.what(), "127.0.0.1:" + std::to_string(port) + ": Address already in use");
    }
}

} // namespace
