#include "bench/JobFiles.h"

#include "Agent/Mrt/MrtWriter.h"
#include "Lists/ByteSource.h"
#include "bench/Process.h"
#include "bench/RealTables.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include <unistd.h>

namespace Qcf::Bench {

namespace {

namespace fs = std::filesystem;
using Agent::TableGenerator;

void writeGenerated(fs::path const & path, std::size_t routes, TableGenerator::Sharing sharing) {
    TableGenerator table(routes, 1, sharing);
    std::ofstream file(path, std::ios::binary);
    Agent::MrtWriter writer(file, table.peers(), TableGenerator::time);
    for (Agent::Route route; table.next(route);) {
        writer.add(route);
    }
    writer.finish();
}

/// A file of any form without its compression. Where it is cut, what is there.
void writeDecompressed(fs::path const & from, fs::path const & to, U64 mostBytes) {
    constexpr std::size_t piece = std::size_t{1} << 20;
    Lists::ByteSource source(Lists::openFileStream(from.string()));
    std::ofstream file(to, std::ios::binary);
    while (source.offset() < mostBytes && (source.ensure(piece) || source.available() > 0)) {
        U64 const size = std::min<U64>(source.available(), mostBytes - source.offset());
        file.write(reinterpret_cast<char const *>(source.data()),
                   static_cast<std::streamsize>(size));
        source.skip(size);
    }
}

} // namespace

JobFiles::JobFiles(std::size_t routes, U64 realBytes) {
    String pattern = (fs::temp_directory_path() / "qcf-job-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        std::perror("jobs");
        std::exit(1);
    }
    folder_ = pattern;
    for (auto const & [name, sharing] : {std::pair("generated", TableGenerator::Sharing::none),
                                         {"generated, shared", TableGenerator::Sharing::real}}) {
        fs::path const path =
            folder_ / (sharing == TableGenerator::Sharing::real ? "shared.mrt" : "generated.mrt");
        writeGenerated(path, routes, sharing);
        addForms(name, path);
    }
    auto const real = realTables();
    if (!real.empty()) {
        fs::path const path = folder_ / "real.mrt";
        writeDecompressed(real.front(), path, realBytes);
        addForms(real.front().filename().string(), path);
    }
}

JobFiles::~JobFiles() {
    std::error_code none;
    fs::remove_all(folder_, none);
}

void JobFiles::addForms(String const & table, fs::path const & path) {
    files_.push_back({table, "mrt", path.string()});
    for (auto const & [program, form] : {std::pair("gzip", "gz"), {"bzip2", "bz2"}}) {
        if (useOf({program, "-k", path.string()}).status == 0) {
            files_.push_back({table, form, path.string() + "." + form});
        } else {
            std::fprintf(stderr, "left out: %s of %s\n", form, table.c_str());
        }
    }
}

} // namespace Qcf::Bench
