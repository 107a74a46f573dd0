#include "Command/Columns.h"
#include "Command/Command.h"
#include "Command/Output.h"
#include "Command/RedisArguments.h"
#include "Command/TimeText.h"
#include "Mirror/MirrorError.h"
#include "Mirror/Redis/RedisHistory.h"
#include "Platform/Render/DocumentError.h"
#include "Platform/Render/RendererV2.h"
#include "Platform/Render/Utf8.h"

#include <memory>

/// The versions of a name that one can go back to.
namespace {

using Qcf::Mirror::KeptVersion;

struct Options {
    RedisArguments redis;
    String format = "table";
};

/// What is kept, and what of it is live.
struct History {
    std::vector<KeptVersion> versions;
    U64 live = 0;
    /// Whether each was signed by the key; empty where no key is given.
    std::vector<bool> isSigned;
};

/// Whether a version is there as its signatures say it. What is wrong else is told by a rollback.
bool isSignedBy(std::shared_ptr<Qcf::Mirror::BatchSigner const> const & signer,
                KeptVersion const & kept, Qcf::Mirror::RedisConnection & connection,
                Qcf::Mirror::RedisKeys const & keys) {
    try {
        loadKeptVersion(connection, keys, kept, signer, [](String const &) {});
        return true;
    } catch (Qcf::Mirror::MirrorError const &) {
        return false;
    }
}

History readHistoryOf(Options const & options) {
    Qcf::Mirror::RedisConnection connection(options.redis.options());
    Qcf::Mirror::RedisKeys const keys(options.redis.name);
    auto const state = readState(connection, keys);
    // As of the status: most likely the name is misspelt.
    if (!state.exists()) {
        throw DocumentError("nothing is published under " + options.redis.name);
    }
    History history{readHistory(connection, keys), state.version.number, {}};
    if (auto const signer = options.redis.signer()) {
        for (KeptVersion const & kept : history.versions) {
            history.isSigned.push_back(isSignedBy(signer, kept, connection, keys));
        }
    }
    return history;
}

// Digests are cut: they are for telling versions apart here, JSON has them whole.
String tableText(History const & history) {
    constexpr std::size_t shownDigits = 12;
    std::vector<std::vector<String>> rows{
        {"VERSION", "PUBLISHED", "FUNCTIONS", "NODES", "LISTS", "DIGEST", "WRITER", "NOTE"}};
    bool const isChecked = !history.isSigned.empty();
    if (isChecked) {
        rows.front().insert(rows.front().end() - 2, "SIGNED");
    }
    for (std::size_t i = 0; i < history.versions.size(); ++i) {
        KeptVersion const & kept = history.versions[i];
        bool const isLive = kept.version.number == history.live;
        String const note =
            (isLive ? String("live") : String()) + (isLive && !kept.note.empty() ? ", " : "");
        auto & row = rows.emplace_back(std::vector<String>{
            std::to_string(kept.version.number), timeText(kept.published),
            std::to_string(kept.functions), std::to_string(kept.nodes), std::to_string(kept.lists),
            kept.version.digest.toString().substr(0, shownDigits), kept.writer, note + kept.note});
        if (isChecked) {
            row.insert(row.end() - 2, history.isSigned[i] ? "yes" : "no");
        }
    }
    return columnsText(rows);
}

String jsonText(History const & history) {
    String text;
    RendererV2 out(text, RendererV2::Style::pretty);
    auto const member = [&](char const * key, auto const & value) {
        out.key(key);
        out.value(value);
    };
    out.beginArray();
    for (std::size_t i = 0; i < history.versions.size(); ++i) {
        KeptVersion const & kept = history.versions[i];
        out.beginObject();
        member("version", kept.version.number);
        member("digest", kept.version.digest.toString());
        member("published", timeText(kept.published));
        member("functions", kept.functions);
        member("nodes", kept.nodes);
        member("lists", kept.lists);
        member("writer", kept.writer);
        member("note", kept.note);
        member("live", kept.version.number == history.live);
        out.key("signed");
        history.isSigned.empty() ? out.nullValue() : out.value(bool{history.isSigned[i]});
        out.endObject();
    }
    out.endArray();
    out.endDocument();
    // What JSON leaves as it is, and a terminal does not.
    return visibleLines(text);
}

} // namespace

void addHistoryCommand(Commands & commands) {
    auto const options = std::make_shared<Options>();
    auto & command = commands.add(
        "history", "List the versions of a name in Redis that one can go back to",
        "A line a version that is kept on the server, the oldest first: when it was published and\n"
        "by whom, what it has, and which one is live. qcf publish --keep says how many stay. With\n"
        "--sign-key-file each is read whole, and it is told whether it was signed by that key.",
        "qcf history --redis redis://localhost --name edge", [options] {
            auto const history = readHistoryOf(*options);
            standardOutput().write(options->format == "json" ? jsonText(history)
                                                             : tableText(history));
            return 0;
        });
    options->redis.addTo(command);
    command.add_option("--format", options->format, "table or json")
        ->check(CLI::IsMember({"table", "json"}))
        ->capture_default_str();
}
