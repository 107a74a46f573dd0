#include "Mirror/StagedBatch.h"

#include "Platform/Framework/Assert.h"
#include "Platform/Render/DocumentError.h"
#include "Platform/Render/JsonObjectReader.h"

#include <algorithm>

/// Collects the text of a batch. Of the lines in between none is parsed before the end line was
/// right: what is damaged is told as damaged, and not as whatever it happens to say.
namespace Qcf::Mirror {

namespace {

String readString(JsonObjectReader & reader, char const * key) {
    return String(reader.require(key).expectString());
}

/// What the member `key` of a line's object holds, the one member that it has.
JsonValue onlyMember(JsonDocument const & line, char const * key) {
    JsonObjectReader reader(line.root());
    JsonValue const member = reader.require(key);
    reader.done();
    return member;
}

/// Calls `visit(text, number)` for each line of a piece, numbered from `number` on.
template <typename Visit>
void eachTextLine(std::string_view piece, U64 number, Visit && visit) {
    while (!piece.empty()) {
        std::size_t const end = std::min(piece.find('\n'), piece.size());
        visit(piece.substr(0, end), number++);
        piece.remove_prefix(std::min(end + 1, piece.size()));
    }
}

/// Before anything else in the start line: other formats may say more, or it differently.
U64 readFormat(JsonObjectReader & start) {
    auto const format = start.optional("format");
    // The first format did not name itself.
    U64 const number = format ? format->expectU64() : 1;
    if (number < oldestFormat || number > newestFormat) {
        start.object().fail("",
                            "batch of format " + std::to_string(oldestFormat) + " to " +
                                std::to_string(newestFormat),
                            "one of format " + std::to_string(number));
    }
    return number;
}

U64 lineCount(std::string_view piece) {
    return static_cast<U64>(std::count(piece.begin(), piece.end(), '\n'));
}

/// Faults of the text are told as faults of what was received.
template <typename Work>
void asMirrorErrors(Work && work) {
    try {
        work();
    } catch (DocumentError const & error) {
        throw MirrorError(error.what());
    }
}

} // namespace

StagedBatch::StagedBatch(String place, String firstPiece) : place_(std::move(place)) {
    asMirrorErrors([&] {
        JsonDocument line(place_);
        line.parseLine(firstPiece, 1);
        JsonObjectReader reader(onlyMember(line, "start"), "start");
        batch_.start.format = readFormat(reader);
        batch_.start.version = reader.require("version").expectU64(1);
        batch_.start.id = readString(reader, "id");
        batch_.start.base = readString(reader, "base");
        reader.done();
        // A batch that builds on itself could be applied again and again.
        if (batch_.start.id.empty() || batch_.start.id == batch_.start.base) {
            throw MirrorError(place_ + ": a batch without an id of its own");
        }
    });
    take(std::move(firstPiece));
}

void StagedBatch::take(String piece) {
    QCF_ASSERT_TEXT(!complete_, "nothing comes behind the end of a batch");
    bytes_ += piece.size();
    if (bytes_ > mostBytes) {
        throw MirrorError(place_ + ": a batch of more than " + std::to_string(mostBytes) +
                          " bytes");
    }
    sum_.add(piece);
    lines_ += lineCount(piece);
    batch_.pieces.push_back(std::move(piece));
}

void StagedBatch::add(String piece) { take(std::move(piece)); }

// The end line does not count in the sum and in the number of lines that it tells.
void StagedBatch::finish(String piece) {
    asMirrorErrors([&] { parseEnd(piece); });
    batch_.pieces.push_back(std::move(piece));
    complete_ = true;
}

void StagedBatch::parseEnd(std::string_view text) {
    JsonDocument line(place_);
    line.parseLine(text, lines_ + 1);
    JsonObjectReader reader(onlyMember(line, "end"), "end");
    U64 const version = reader.require("version").expectU64();
    String const digest = readString(reader, "digest");
    batch_.functions = reader.require("functions").expectU64();
    batch_.nodes = reader.require("nodes").expectU64();
    if (batch_.start.format >= listsFormat) {
        batch_.lists = reader.require("lists").expectU64();
    }
    U64 const lines = reader.require("lines").expectU64();
    batch_.sum = readString(reader, "sum");
    if (auto const signature = reader.optional("signature")) {
        batch_.signature = signature->expectString();
    }
    reader.done();
    // A piece that is lost, doubled or of another batch shows in one of the three.
    if (version != batch_.start.version || lines != lines_ ||
        batch_.sum != sum_.finish().toString()) {
        throw MirrorError(place_ + ": the batch of version " +
                          std::to_string(batch_.start.version) + " is damaged");
    }
    auto const read = Digest::parse(digest);
    if (!read) {
        throw MirrorError(place_ + ": no digest at the end of the batch");
    }
    batch_.digest = *read;
}

void StagedBatch::eachLine(std::function<void(JsonValue const &)> const & visit) const {
    QCF_ASSERT_TEXT(complete_, "the batch is complete");
    // One document for all lines: memory is that of the longest.
    JsonDocument line(place_);
    // The start line, in a piece of its own, is the first.
    U64 number = 2;
    for (std::size_t i = 1; i + 1 < batch_.pieces.size(); ++i) {
        eachTextLine(batch_.pieces[i], number, [&](std::string_view text, U64 at) {
            line.parseLine(text, at);
            visit(line.root());
        });
        number += lineCount(batch_.pieces[i]);
    }
}

} // namespace Qcf::Mirror
