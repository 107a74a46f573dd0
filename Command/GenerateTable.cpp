#include "Agent/Mrt/MrtWriter.h"
#include "Agent/Routes/JsonLinesWriter.h"
#include "Agent/Tables/TableGenerator.h"
#include "Command/Command.h"
#include "Command/Output.h"
#include "Command/Progress.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>

/// Tables may be larger than memory: whatever their form, they are written route by route as they
/// are made.
namespace {

using Qcf::Agent::JsonLinesWriter;
using Qcf::Agent::MrtWriter;
using Qcf::Agent::Route;
using Qcf::Agent::TableGenerator;

struct Options {
    U64 routes = 0;
    U64 seed = 1;
    String sharing = "none";
    String out;
};

/// A file that is written; failures are exceptions that name it. Streams tell that something
/// failed, the system call below them why; hence errno is cleared before and read after.
class OutputFile {
public:
    explicit OutputFile(String path) : path_(std::move(path)) {
        errno = 0;
        file_.open(path_, std::ios::binary | std::ios::trunc);
        check();
    }

    std::ostream & stream() { return file_; }
    void write(String const & text) {
        file_.write(text.data(), static_cast<std::streamsize>(text.size()));
        check();
    }
    // Not left to the destructor: what a disk has no room for may show only now.
    void close() {
        errno = 0;
        file_.close();
        check();
    }
    void check() const {
        if (!file_) {
            throw std::runtime_error(path_ + ": " +
                                     (errno != 0 ? std::strerror(errno) : "cannot be written"));
        }
    }

private:
    String path_;
    std::ofstream file_;
};

void writeMrt(TableGenerator & table, String const & path) {
    OutputFile file(path);
    Progress progress("routes");
    MrtWriter writer(file.stream(), table.peers(), TableGenerator::time);
    Route route;
    for (U64 written = 0; table.next(route); progress.done(++written)) {
        writer.add(route);
        // A full disk is told soon, and not after millions of routes.
        file.check();
    }
    writer.finish();
    file.close();
}

/// Hands the table to `write` as JSON lines, in pieces.
template <typename Write>
void writeJsonLines(TableGenerator & table, Write && write) {
    // In pieces: neither is a write made for each route, nor is the whole table held.
    constexpr std::size_t piece = std::size_t{1} << 16;
    Progress progress("routes");
    String text;
    JsonLinesWriter writer(text);
    Route route;
    for (U64 written = 0; table.next(route); progress.done(++written)) {
        writer.add(route);
        if (text.size() >= piece) {
            write(text);
            text.clear();
        }
    }
    write(text);
}

int generateTable(Options const & options) {
    auto const sharing =
        options.sharing == "real" ? TableGenerator::Sharing::real : TableGenerator::Sharing::none;
    TableGenerator table(options.routes, options.seed, sharing);
    if (options.out.ends_with(".mrt")) {
        writeMrt(table, options.out);
    } else if (options.out == "-") {
        writeJsonLines(table, [](String const & text) { standardOutput().write(text); });
    } else {
        OutputFile file(options.out);
        writeJsonLines(table, [&file](String const & text) { file.write(text); });
        file.close();
    }
    return 0;
}

} // namespace

void addGenerateTableCommand(Commands & commands) {
    auto const options = std::make_shared<Options>();
    auto & command = commands.add(
        "generate-table", "Write a synthetic routing table",
        "Shaped like the table of the Internet; the same routes for the same seed on every "
        "machine.\n"
        "The table is written as MRT when the file's name ends in .mrt, else as JSON lines (- is\n"
        "standard output).",
        "qcf generate-table --routes 200000 --seed 1 --out table.mrt",
        [options] { return generateTable(*options); });
    addNumber(command, "--routes", options->routes, "How many routes").required();
    addNumber(command, "--seed", options->seed, "Number that the routes follow from")
        .default_str("1");
    command
        .add_option("--sharing", options->sharing,
                    "How routes share attributes: none, or real, as the tables of routers do")
        ->check(CLI::IsMember({"none", "real"}))
        ->default_str("none")
        ->type_name("HOW");
    command.add_option("--out", options->out, "File to write")->required();
}
