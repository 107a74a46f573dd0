#include "Command/Command.h"
#include "Command/Output.h"
#include "Command/RedisArguments.h"
#include "Mirror/Redis/RedisStore.h"
#include "Platform/Render/DocumentError.h"
#include "Platform/Render/RendererV2.h"

#include <ctime>
#include <memory>

/// One state in two forms. The table says what numbers mean (in step, under way); JSON has the
/// numbers themselves, all of them each time, so that a program finds every member.
namespace {

using Qcf::Mirror::ReaderState;
using Qcf::Mirror::RedisStatus;

struct Options {
    RedisArguments redis;
    String format = "table";
};

// In UTC, since writer, server and whoever looks may stand in different zones. The form is that of
// RFC 3339.
String timeText(U64 seconds) {
    auto const time = static_cast<std::time_t>(seconds);
    std::tm parts{};
    ::gmtime_r(&time, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
}

// The start marker goes ahead when a batch begins, the end marker follows when it is complete.
bool batchIsOpen(RedisStatus const & status) {
    return status.state.startMarker > status.state.endMarker;
}

// From outside a writer that is slow and one that is gone look alike.
String batchText(RedisStatus const & status) {
    String const markers = " (start " + std::to_string(status.state.startMarker) + ", end " +
                           std::to_string(status.state.endMarker) + ")";
    return (batchIsOpen(status) ? "under way, or given up by its writer" : "complete") + markers;
}

// By the digest and not by the number: what counts is what the reader holds.
String readerLine(ReaderState const & reader, RedisStatus const & status) {
    String line = "  " + reader.name + "  version " + std::to_string(reader.version) +
                  "  position " + reader.position + "  ";
    line += reader.digest == status.state.version.digest.toString() ? "in step" : "not in step";
    constexpr U64 longSilence = 15;
    if (reader.silentSeconds > longSilence) {
        line += ", silent for " + std::to_string(reader.silentSeconds) + " s";
    }
    return line + '\n';
}

void writeTable(RedisStatus const & status, String const & name) {
    auto const row = [](char const * key, String const & value) {
        String text = key;
        // The longest name and two blanks.
        text.resize(11, ' ');
        standardOutput().write(text + value + '\n');
    };
    auto const & state = status.state;
    row("name", name);
    row("version", std::to_string(state.version.number));
    row("digest", state.version.digest.toString());
    row("published", timeText(state.published));
    row("batch", batchText(status));
    row("functions", std::to_string(state.functions));
    row("nodes", std::to_string(state.nodes));
    row("stream",
        std::to_string(status.streamEntries) + " entries, state at " + state.position.toString());
    // A name may be published for long before its first snapshot is due.
    row("snapshot", status.snapshot.id.empty()
                        ? String("none")
                        : "version " + std::to_string(status.snapshot.version) + " at " +
                              status.snapshot.position.toString());
    row("writer", status.writer + " (epoch " + std::to_string(status.epoch) + ")");
    row("readers", std::to_string(status.readers.size()));
    for (ReaderState const & reader : status.readers) {
        standardOutput().write(readerLine(reader, status));
    }
}

void writeReaders(RendererV2 & out, RedisStatus const & status) {
    out.key("readers");
    out.beginArray();
    for (ReaderState const & reader : status.readers) {
        out.beginObject();
        out.key("name");
        out.value(reader.name);
        out.key("version");
        out.value(reader.version);
        out.key("digest");
        out.value(reader.digest);
        out.key("position");
        out.value(reader.position);
        out.key("silentSeconds");
        out.value(reader.silentSeconds);
        out.endObject();
    }
    out.endArray();
}

void writeJson(RedisStatus const & status, String const & name) {
    String text;
    RendererV2 out(text, RendererV2::Style::pretty);
    auto const member = [&](char const * key, auto const & value) {
        out.key(key);
        out.value(value);
    };
    auto const & state = status.state;
    out.beginObject();
    member("name", name);
    member("version", state.version.number);
    member("digest", state.version.digest.toString());
    member("published", timeText(state.published));
    member("startMarker", state.startMarker);
    member("endMarker", state.endMarker);
    member("functions", state.functions);
    member("nodes", state.nodes);
    member("position", state.position.toString());
    member("streamEntries", status.streamEntries);
    member("snapshotVersion", status.snapshot.version);
    member("snapshotPosition", status.snapshot.position.toString());
    member("writer", status.writer);
    member("epoch", status.epoch);
    writeReaders(out, status);
    out.endObject();
    out.endDocument();
    standardOutput().write(text);
}

int status(Options const & options) {
    auto const redis = options.redis.options();
    Qcf::Mirror::RedisConnection connection(redis);
    auto const status = readStatus(connection, Qcf::Mirror::RedisKeys(options.redis.name));
    // Most likely the name is misspelt: a failure, and not a state with nothing in it.
    if (!status.state.exists()) {
        throw DocumentError("nothing is published under " + options.redis.name);
    }
    options.format == "json" ? writeJson(status, options.redis.name)
                             : writeTable(status, options.redis.name);
    return 0;
}

} // namespace

void addStatusCommand(Commands & commands) {
    auto const options = std::make_shared<Options>();
    auto & command = commands.add(
        "status", "Tell what is published under a name in Redis, and who follows it",
        "Shows version, digest, batch markers, functions and nodes of the published state, the\n"
        "snapshot and the stream, the last writer, and each reader with its position.",
        "qcf status --redis redis://localhost --name edge", [options] { return status(*options); });
    options->redis.addTo(command);
    command.add_option("--format", options->format, "table or json")
        ->check(CLI::IsMember({"table", "json"}))
        ->capture_default_str();
}
