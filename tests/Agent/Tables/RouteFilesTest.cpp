#include "Agent/Tables/RouteFiles.h"

#include "Agent/Evaluation/AgentContext.h"
#include "Agent/Evaluation/ParallelEvaluation.h"
#include "Lists/ByteStream.h"
#include "QcfLib/QcfEval.h"
#include "tests/Agent/Mrt/MrtTools.h"
#include "tests/support/Compressed.h"

#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace Qcf::Agent::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Files of a test, removed at its end.
class Folder {
public:
    Folder()
        : path_(std::filesystem::temp_directory_path() / ("files" + std::to_string(getpid()))) {
        std::filesystem::create_directories(path_);
    }
    Folder(Folder const &) = delete;
    Folder & operator=(Folder const &) = delete;
    ~Folder() { std::filesystem::remove_all(path_); }

    String write(String const & name, String const & content) const {
        std::ofstream(path_ / name, std::ios::binary) << content;
        return (path_ / name).string();
    }
    String path(String const & name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

/// `count` routes whose MED is their number, from `first` on.
String lines(U32 first, U32 count) {
    String text;
    for (U32 i = 0; i < count; ++i) {
        text += "{\"prefix\": \"10.0.0.0/8\", \"med\": " + std::to_string(first + i) + "}\n";
    }
    return text;
}

/// Records of one route, whose path begins with their number.
String records(U32 first, U32 count) {
    String file = peerTable();
    for (U32 i = 0; i < count; ++i) {
        file += rib(2, "10.1.0.0/16", {entry(0, plainAttributes({first + i}))});
    }
    return file;
}

/// `return true`
PtrConst<Eval::Function> accept() {
    auto const statement = Eval::returnExpressionFactory(
        3, Eval::triStateBoolExpressionFactory(
               2, Eval::triStateBoolImmediateFactory(1, Eval::QcfTrue())));
    auto const statements = Eval::expressionListFactory(4, statement, nullptr);
    return Eval::functionFactory(6, "accept", FunctionMetadata(),
                                 Routing::Policy::RouteMapFeatures(), Eval::AccessibleAttributes(),
                                 false, Eval::blockFactory(5, statements));
}

struct Read {
    std::vector<String> routes; ///< with the name of their file
    std::vector<String> reports;
    String error;
    ReadStatistics statistics;

    bool operator==(Read const &) const = default;
};

/// Notes what is delivered.
class NotingSink final : public EvaluationSink {
public:
    NotingSink(RouteFiles const & files, Read & read) : files_(files), read_(read) {}
    void take(Evaluated const & evaluated) override {
        auto const file = std::filesystem::path(files_.fileOf(evaluated.number)).filename();
        routes_.push_back(file.string() + " " + std::to_string(evaluated.number) + " " +
                          routeText(evaluated.route));
    }
    void deliver() override {
        read_.routes.insert(read_.routes.end(), routes_.begin(), routes_.end());
        routes_.clear();
    }

private:
    RouteFiles const & files_;
    Read & read_;
    std::vector<String> routes_;
};

Read readFiles(std::vector<String> const & paths, U32 threads, U64 limit = ~U64{0}) {
    Read read;
    RouteFiles files(
        paths, [&](String const & line) { read.reports.push_back(line); }, threads);
    TableRun run;
    run.function = accept();
    run.makeContext = [] { return makePtr<AgentContext>(nullptr); };
    run.makeSink = [&] { return std::make_unique<NotingSink>(files, read); };
    run.threads = threads;
    run.limit = limit;
    try {
        evaluateTable(files, run);
    } catch (std::exception const & error) {
        read.error = error.what();
    }
    read.statistics = files.statistics();
    return read;
}

TEST(RouteFiles, AreOneTable) {
    Folder const folder;
    std::vector<String> const paths = {
        folder.write("a.mrt", records(0, 700)),
        folder.write("none.mrt", ""),
        folder.write("b.jsonl.gz", Qcf::test::gzipped(lines(0, 500))),
        folder.write("none.gz", Qcf::test::gzipped("")),
        folder.write("c.mrt.bz2", Qcf::test::bzipped(records(700, 40'000))),
        folder.write("d.jsonl", lines(500, 3))};
    Read const all = readFiles(paths, 1);
    EXPECT_EQ(all.error, "");
    EXPECT_THAT(all.reports, IsEmpty());
    ASSERT_EQ(all.routes.size(), 41'203);
    EXPECT_EQ(all.statistics.routes, 41'203);
    struct Case {
        std::size_t number;
        char const * file;
        char const * text;
    };
    constexpr Case cases[] = {{0, "a.mrt 0 ", "path[0]"},
                              {699, "a.mrt 699 ", "path[699]"},
                              {700, "b.jsonl.gz 700 ", "med 0"},
                              {1199, "b.jsonl.gz 1199 ", "med 499"},
                              {1200, "c.mrt.bz2 1200 ", "path[700]"},
                              {41'199, "c.mrt.bz2 41199 ", "path[40699]"},
                              {41'200, "d.jsonl 41200 ", "med 500"},
                              {41'202, "d.jsonl 41202 ", "med 502"}};
    for (Case const & c : cases) {
        EXPECT_TRUE(all.routes[c.number].starts_with(c.file)) << all.routes[c.number];
        EXPECT_THAT(all.routes[c.number], HasSubstr(c.text));
    }
    for (U32 const threads : {2U, 3U, 7U}) {
        EXPECT_EQ(readFiles(paths, threads), all) << threads;
        Read const some = readFiles(paths, threads, 1300);
        EXPECT_EQ(some.routes, std::vector<String>(all.routes.begin(), all.routes.begin() + 1300));
    }
}

TEST(RouteFiles, TellDamageInTheirOrder) {
    Folder const folder;
    String const file = records(0, 100);
    String const damaged = file + record(13, 2, "short") + records(100, 300);
    std::vector<String> const paths = {
        folder.write("a.mrt", damaged), folder.write("b.gz", Qcf::test::gzipped(damaged) + "tail"),
        folder.write("c.mrt", damaged.substr(0, damaged.size() - 5))};
    Read const all = readFiles(paths, 1);
    EXPECT_THAT(all.reports, ElementsAre(HasSubstr("a.mrt: offset"), HasSubstr("b.gz: offset"),
                                         HasSubstr("b.gz: gzip data end at byte"),
                                         HasSubstr("c.mrt: offset"), HasSubstr("c.mrt: offset")));
    EXPECT_EQ(all.statistics.damagedRecords, 4);
    EXPECT_TRUE(all.statistics.cut);
    EXPECT_EQ(all.statistics.bytes, 3 * damaged.size() - 5);
    for (U32 const threads : {2U, 5U}) {
        EXPECT_EQ(readFiles(paths, threads), all) << threads;
    }
}

TEST(RouteFiles, EndWithTheFirstThatCannotBeRead) {
    Folder const folder;
    String const good = folder.write("a.jsonl", lines(0, 300));
    String const bad = folder.write("b.jsonl", lines(300, 20) + "{\n" + lines(0, 5));
    String const noise = folder.write("c.mrt", String(100, '\x01'));
    for (U32 const threads : {1U, 4U}) {
        Read const broken = readFiles({good, bad, good}, threads);
        EXPECT_EQ(broken.routes.size(), 320) << threads;
        EXPECT_THAT(broken.error, HasSubstr("b.jsonl:21:"));
        Read const neither = readFiles({good, noise, good}, threads);
        EXPECT_EQ(neither.routes.size(), 300) << threads;
        EXPECT_EQ(neither.error, noise + ": wants MRT or JSON lines, found neither");
    }
    // Before any route of the others.
    EXPECT_THROW(RouteFiles({good, folder.path("none")}, {}, 1), Lists::FileError);
}

} // namespace
} // namespace Qcf::Agent::test
