#include "Mirror/Redis/StreamReader.h"

#include <charconv>

/// Anything may stand in a stream: pieces that a writer gave up, a batch in the middle, entries of
/// others. Batches are put together from what fits; a batch counts by its end line, and all else is
/// told.
namespace Qcf::Mirror {

std::optional<StreamPosition> StreamPosition::parse(std::string_view text) {
    StreamPosition position;
    char const * const end = text.data() + text.size();
    auto const time = std::from_chars(text.data(), end, position.time);
    if (time.ec != std::errc() || time.ptr == end || *time.ptr != '-') {
        return std::nullopt;
    }
    auto const count = std::from_chars(time.ptr + 1, end, position.count);
    bool const whole = count.ec == std::errc() && count.ptr == end;
    return whole ? std::optional(position) : std::nullopt;
}

bool StreamReader::take(RedisReply const & entries) {
    bool applied = false;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        auto const entry = entries.at(i);
        String const place("changes " + String(entry.at(0).text()));
        applied = takeEntry(place, entry.at(1)) || applied;
        // Also behind an entry that was of no use: it would be of none the next time.
        position_ = StreamPosition::parse(entry.at(0).text()).value_or(position_);
    }
    return applied;
}

bool StreamReader::takeEntry(String const & place, RedisReply const & fields) {
    auto const members = fields.pairs();
    auto const member = [&](std::string_view key) {
        auto const found = members.find(key);
        return found == members.end() ? String() : found->second;
    };
    auto const number = fields.at(3).number();
    String const id = member("b");
    // Four pairs in the order in which the script writes them.
    if (fields.size() != 8 || fields.at(2).text() != "n" || !number || id.empty()) {
        report_(place + ": an entry that is none of ours, passed over");
        doubt_ = true;
        return false;
    }
    try {
        return takePiece(place, member("k"), *number, member("d"), id);
    } catch (MirrorError const & error) {
        lose(error.what());
        return false;
    }
}

bool StreamReader::takePiece(String const & place, std::string_view kind, U64 number, String piece,
                             std::string_view id) {
    if (kind == "start" && number == 0) {
        start(place, std::move(piece), id);
        return false;
    }
    bool const expected = batchOpen() && open_->start().id == id && number == nextPiece_;
    if (!expected) {
        bool const known = batchOpen() && open_->start().id == id;
        // Told once: the other pieces of a batch that is not followed are all out of place.
        if (known || !lost_) {
            lose(place + ": a piece out of place");
        }
        return false;
    }
    ++nextPiece_;
    if (kind == "end") {
        return finish(std::move(piece));
    }
    open_->add(std::move(piece));
    return false;
}

// A batch that was left open was given up by its writer; nothing of it has been applied.
void StreamReader::start(String const & place, String piece, std::string_view id) {
    if (batchOpen()) {
        report_(place + ": the batch of version " + std::to_string(open_->start().version) +
                " was given up by its writer");
    }
    open_.reset();
    StagedBatch batch(place, std::move(piece));
    // The entry's id decides which pieces follow, the one in the line what the batch is: they must
    // agree.
    if (batch.start().id != id) {
        throw MirrorError(place + ": the start of another batch than it says");
    }
    open_ = std::move(batch);
    nextPiece_ = 1;
}

bool StreamReader::finish(String piece) {
    open_->finish(std::move(piece));
    if (open_->version().id == replica_->version().id) {
        open_.reset(); // seen before, as after a snapshot that holds it
        return false;
    }
    replica_->apply(*open_);
    open_.reset();
    // A batch that fits the present version, or needs none, proves that nothing is missing.
    lost_ = false;
    return true;
}

void StreamReader::lose(String const & why) {
    report_(why);
    // What was open can no longer become whole.
    open_.reset();
    lost_ = true;
}

} // namespace Qcf::Mirror
