#include "Command/Command.h"
#include "Command/Output.h"
#include "Command/Readiness.h"
#include "Command/RedisArguments.h"
#include "Command/TimeText.h"
#include "Mirror/Redis/LoadedStore.h"
#include "Platform/Render/DocumentError.h"
#include "Platform/Render/RendererV2.h"
#include "Platform/Render/Utf8.h"

#include <memory>

/// One state in two forms. The table says what numbers mean (in step, under way); JSON has the
/// numbers themselves, all of them each time, so that a program finds every member.
namespace {

using Qcf::Mirror::ReaderState;
using Qcf::Mirror::RedisStatus;

struct Options {
    RedisArguments redis;
    String format = "table";
    bool check = false;
};

/// What is to be told.
struct Shown {
    String name;
    RedisStatus status;
    /// Whether what is published was signed by the key; nothing where no key is given.
    std::optional<bool> isSigned;
};

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

// Content may come back in a later version: a reader is at a version that has the number, too.
bool isInStep(ReaderState const & reader, RedisStatus const & status) {
    return reader.version == status.state.version.number &&
           reader.digest == status.state.version.digest.toString();
}

/// Readers tell every five seconds that they are there.
bool isLive(ReaderState const & reader) {
    constexpr U64 longSilence = 15;
    return reader.silentSeconds <= longSilence;
}

// What readers say of themselves comes from the server.
String readerLine(ReaderState const & reader, RedisStatus const & status) {
    String line = "  " + reader.name + "  version " + std::to_string(reader.version) +
                  "  position " + reader.position + "  ";
    line += isInStep(reader, status) ? "in step" : "not in step";
    if (!isLive(reader)) {
        line += ", silent for " + std::to_string(reader.silentSeconds) + " s";
    }
    return visibleText(line) + '\n';
}

/// Whether every live reader is at the version; tells which are not.
bool readersAgree(RedisStatus const & status, String const & name) {
    bool agree = true;
    for (ReaderState const & reader : status.readers) {
        if (isLive(reader) && !isInStep(reader, status)) {
            agree = false;
            tellLine(name + ": reader " + reader.name + " is at version " +
                     std::to_string(reader.version) + ", published is version " +
                     std::to_string(status.state.version.number));
        }
    }
    return agree;
}

void writeTable(Shown const & shown) {
    auto const & [name, status, isSigned] = shown;
    auto const row = [](char const * key, String const & value) {
        String text = key;
        // The longest name and two blanks.
        text.resize(11, ' ');
        standardOutput().write(text + visibleText(value) + '\n');
    };
    auto const & state = status.state;
    row("name", name);
    row("version", std::to_string(state.version.number));
    row("digest", state.version.digest.toString());
    row("published", timeText(state.published));
    row("batch", batchText(status));
    row("functions", std::to_string(state.functions));
    row("nodes", std::to_string(state.nodes));
    row("lists", std::to_string(state.lists));
    row("stream",
        std::to_string(status.streamEntries) + " entries, state at " + state.position.toString());
    // A name may be published for long before its first snapshot is due.
    row("snapshot", status.snapshot.id.empty()
                        ? String("none")
                        : "version " + std::to_string(status.snapshot.version) + " at " +
                              status.snapshot.position.toString());
    if (isSigned) {
        row("signature", *isSigned ? "by the key" : "not by the key, or not whole");
    }
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

void writeJson(Shown const & shown) {
    auto const & [name, status, isSigned] = shown;
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
    member("lists", state.lists);
    member("position", state.position.toString());
    member("streamEntries", status.streamEntries);
    member("snapshotVersion", status.snapshot.version);
    member("snapshotPosition", status.snapshot.position.toString());
    out.key("signed");
    isSigned ? out.value(*isSigned) : out.nullValue();
    member("writer", status.writer);
    member("epoch", status.epoch);
    writeReaders(out, status);
    out.endObject();
    out.endDocument();
    // What JSON leaves as it is, and a terminal does not.
    standardOutput().write(visibleLines(text));
}

int status(Options const & options) {
    auto const redis = options.redis.options();
    Qcf::Mirror::RedisConnection connection(redis);
    Qcf::Mirror::RedisKeys const keys(options.redis.name);
    auto const signer = options.redis.signer();
    Shown shown{options.redis.name, readStatus(connection, keys), {}};
    // Most likely the name is misspelt: a failure, and not a state with nothing in it.
    if (!shown.status.state.exists()) {
        throw DocumentError("nothing is published under " + options.redis.name);
    }
    if (signer) {
        shown.isSigned = loadStore(connection, keys, signer, tellLine).whole;
    }
    options.format == "json" ? writeJson(shown) : writeTable(shown);
    bool const isGood = readersAgree(shown.status, shown.name) && shown.isSigned.value_or(true);
    return !options.check || isGood ? 0 : 1;
}

} // namespace

void addStatusCommand(Commands & commands) {
    auto const options = std::make_shared<Options>();
    auto & command = commands.add(
        "status", "Tell what is published under a name in Redis, and who follows it",
        "Shows version, digest, batch markers, functions, nodes and lists of what is published, "
        "the\n"
        "snapshot and the stream, the last writer, and each reader with its position. With "
        "--check\n"
        "the exit code is 1 when a reader that was heard of in the last 15 seconds is not at the\n"
        "published version, as it is when nothing is published. With --sign-key-file all of it is\n"
        "read and its signature compared; with --check the exit code is then 1 where it is not by\n"
        "that key.",
        "qcf status --redis redis://localhost --name edge", [options] { return status(*options); });
    options->redis.addTo(command);
    command.add_option("--format", options->format, "table or json")
        ->check(CLI::IsMember({"table", "json"}))
        ->capture_default_str();
    command.add_flag("--check", options->check,
                     "Exit with 1 unless every live reader is at the published version");
}
