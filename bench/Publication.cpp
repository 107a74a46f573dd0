#include "bench/Publication.h"

#include "Mirror/LocalChannel.h"
#include "Mirror/PartPublisher.h"
#include "Mirror/Redis/RedisFollower.h"
#include "Mirror/Redis/RedisWriter.h"
#include "bench/Allocations.h"
#include "bench/Process.h"
#include "tests/Mirror/Redis/RedisServer.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <sstream>

#include <sys/resource.h>

namespace Qcf::Bench {

namespace {

using Clock = std::chrono::steady_clock;
using Documents::Program;

/// Lines of what was measured, for the process that reads them.
void printStep(char const * name, double ns) { std::printf("step %s %.0f\n", name, ns); }
void printMemory(char const * name, double bytes) { std::printf("memory %s %.0f\n", name, bytes); }

template <typename Work>
void timed(char const * name, Work work) {
    auto const start = Clock::now();
    work();
    printStep(name, std::chrono::duration<double, std::nano>(Clock::now() - start).count());
}

/// The most memory that this process has had, in bytes.
double peakMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024;
}

/// Tells what to do with routes of one community.
String functionText(U64 index, U64 preference) {
    String const name = std::to_string(index);
    String const community =
        std::to_string(64512 + index / 65536) + ":" + std::to_string(index % 65536);
    String const condition = R"({"class": "IntSetHasAnyImmediate", "lhs": "community", "rhs": [")" +
                             community + R"("]})";
    String const assignment = R"({"class": "IntAssign", "lhs": "local_preference", "rhs": )" +
                              std::to_string(preference) + "}";
    return R"({"name": "f)" + name + R"(", "body": {"class": "Block", "stmts": [)" +
           R"({"class": "IfExpression", "condition": )" + condition +
           R"(, "thenBlock": {"class": "Block", "stmts": [)" + assignment + "]}}, " +
           R"({"class": "IntPlusEq", "lhs": "med", "rhs": )" + name + "}, " +
           R"({"class": "ReturnExpression", "expr": true}]}})";
}

/// Functions of a few statements, alike but for their constants; `preference` is that of the middle
/// one.
String documentText(U64 functions, U64 preference) {
    String text = R"({"qcf": "aet/1", "functions": [)";
    for (U64 i = 0; i < functions; ++i) {
        text += (i == 0 ? "" : ",\n") + functionText(i, i == functions / 2 ? preference : 200);
    }
    return text + "]}";
}

/// A document and the same with one function changed.
struct Texts {
    explicit Texts(U64 functions)
        : first(documentText(functions, 200)),
          changed(documentText(functions, 100)),
          middle(functions / 2) {}

    static Program read(String const & text) { return Documents::readProgram(text, "document"); }

    /// The function that changes, alone.
    String middleText(U64 preference) const {
        return R"({"qcf": "aet/1", "functions": [)" + functionText(middle, preference) + "]}";
    }

    String first;
    String changed;
    U64 middle;
};

/// Bytes that this thread's heap has grown by since `before`.
double heapSince(S64 before) { return static_cast<double>(HeapUse::now().bytes - before); }

/// Publishes one function as a part, back and forth: what the first one counts, the next one knows.
void changePart(char const * name, Texts const & texts, Ptr<AllFunctionStatus> const & status) {
    Mirror::PartPublisher publisher(status);
    publisher.publish(Texts::read(texts.middleText(200)), {}, 3);
    Program const part = Texts::read(texts.middleText(100));
    timed(name, [&] { publisher.publish(part, {}, 4); });
}

/// Publishes a whole program whose functions but one are the published objects themselves.
void changeShared(Texts const & texts, Ptr<AllFunctionStatus> const & status) {
    Mirror::PartPublisher publisher(status);
    Program program;
    for (auto const & [name, function] : status->aet()) {
        program.functions.push_back(ptrCast<Eval::Function const>(function));
    }
    publisher.publishWhole(program, 5);
    Program const part = Texts::read(texts.middleText(300));
    auto const at = std::ranges::find(program.functions, part.functions.front()->funcName(),
                                      [](auto const & function) { return function->funcName(); });
    *at = part.functions.front();
    timed("change-shared", [&] { publisher.publishWhole(program, 6); });
}

/// `memory` only when nothing was published in this process before.
void inProcess(Texts const & texts, bool memory) {
    double const start = peakMemory();
    S64 before = HeapUse::now().bytes;
    String text = texts.first;
    Program program;
    timed("read", [&] { program = Documents::readProgram(std::move(text), "document"); });
    if (memory) {
        std::printf("nodes %zu\nfunctions %zu\n", program.nodes.size(), program.functions.size());
        printMemory("nodes", heapSince(before));
    }
    before = HeapUse::now().bytes;
    auto const status = allFunctionStatusFactory("bench");
    Mirror::FunctionDigests digests;
    timed("publish", [&] { Mirror::publishProgram(program, *status, digests, 1); });
    if (memory) {
        printMemory("store", heapSince(before));
    }
    before = HeapUse::now().bytes;
    Mirror::LocalChannel channel(status);
    Mirror::FollowedStore reader("bench");
    timed("copy-to-reader", [&] { channel.attach(reader); });
    if (memory) {
        printMemory("reader", heapSince(before));
        printMemory("peak", peakMemory() - start);
    }
    auto const version = reader.view().current();
    timed("switch", [&] { reader.view().currentIs(version); });
    Program const changed = Texts::read(texts.changed);
    timed("change", [&] { Mirror::publishProgram(changed, *status, digests, 2); });
    changePart("change-part", texts, status);
    changeShared(texts, status);
    channel.detach(reader);
    changePart("change-part-unfollowed", texts, status);
}

double redisMemory(Mirror::test::RedisServer const & server) {
    constexpr std::string_view name = "used_memory:";
    Mirror::RedisReply const reply = server.command({"INFO", "memory"});
    String const text(reply.text());
    std::size_t const at = text.find(name);
    return at == String::npos ? 0 : std::stod(text.substr(at + name.size()));
}

/// Lets a reader follow until it has a version.
void follow(Mirror::RedisFollower & follower, Mirror::FollowedStore & mirror,
            Mirror::VersionId const & version) {
    auto const end = Clock::now() + std::chrono::seconds(60);
    while (!(mirror.version() == version) && Clock::now() < end) {
        follower.poll(std::chrono::milliseconds(0));
    }
    if (!(mirror.version() == version)) {
        throw std::runtime_error("the reader does not get the published version");
    }
}

void overRedis(Texts const & texts, bool memory) {
    auto const report = [](String const & line) { std::cerr << line << '\n'; };
    Mirror::test::RedisServer const server;
    Program const program = Texts::read(texts.first);
    Program const changed = Texts::read(texts.changed);
    double const empty = redisMemory(server);
    Mirror::RedisWriter writer(server.options(), "bench", report);
    Mirror::VersionId version;
    timed("redis-publish", [&] { version = writer.publish(program).version; });
    if (memory) {
        printMemory("redis", redisMemory(server) - empty);
    }
    Mirror::FollowedStore reader("bench");
    Mirror::RedisFollower follower(server.options(), reader, report);
    timed("redis-reader", [&] { follow(follower, reader, version); });
    timed("redis-change", [&] { version = writer.publish(changed).version; });
    timed("redis-change-reader", [&] { follow(follower, reader, version); });
    writer.publishPart(Texts::read(texts.middleText(200)), {});
    Program const part = Texts::read(texts.middleText(300));
    timed("redis-part", [&] { version = writer.publishPart(part, {}).version; });
    timed("redis-part-reader", [&] { follow(follower, reader, version); });
}

/// Takes up what the other process printed.
void readLine(String const & line, PublicationResult & result) {
    std::istringstream words(line);
    String kind;
    String name;
    double value = 0;
    words >> kind;
    if (kind == "nodes") {
        words >> result.nodes;
    } else if (kind == "functions") {
        words >> result.functions;
    } else if (kind == "document") {
        words >> result.documentBytes;
    } else if (kind == "memory" && words >> name >> value) {
        result.memory.push_back({name, value});
    } else if (kind == "step" && words >> name >> value) {
        auto & steps = result.steps;
        auto const found = std::find_if(steps.begin(), steps.end(),
                                        [&](auto const & step) { return step.name == name; });
        auto & step = found != steps.end() ? *found : steps.emplace_back();
        step.name = name;
        step.time.samples.push_back(value);
    }
}

} // namespace

Timing const * PublicationResult::find(std::string_view step) const {
    for (Step const & one : steps) {
        if (one.name == step) {
            return &one.time;
        }
    }
    return nullptr;
}

int runPublication(U64 nodes, U32 rounds) {
    U64 const few = 100;
    U64 const perFunction = Texts::read(documentText(few, 100)).nodes.size() / few;
    Texts const texts(std::max<U64>(nodes / perFunction, 1));
    std::printf("document %zu\n", texts.first.size());
    for (U32 round = 0; round < rounds; ++round) {
        inProcess(texts, round == 0);
    }
    if (!Mirror::test::RedisServer::available()) {
        std::fputs("redis-server is not installed: nothing is published over it\n", stderr);
        return 0;
    }
    for (U32 round = 0; round < rounds; ++round) {
        overRedis(texts, round == 0);
    }
    return 0;
}

std::vector<PublicationResult> measurePublication(std::vector<U64> const & sizes, U32 rounds) {
    std::vector<PublicationResult> results;
    for (U64 const size : sizes) {
        std::ostringstream command;
        command << "'" << std::filesystem::read_symlink("/proc/self/exe").string() << "' "
                << publishNodesOption << " " << size << " " << rounds;
        CommandOutput const output = outputOf(command.str());
        if (output.status != 0) {
            std::fprintf(stderr, "publishing %llu nodes failed: left out\n",
                         static_cast<unsigned long long>(size));
            continue;
        }
        std::istringstream lines(output.text);
        PublicationResult & result = results.emplace_back();
        for (String line; std::getline(lines, line);) {
            readLine(line, result);
        }
    }
    return results;
}

} // namespace Qcf::Bench
