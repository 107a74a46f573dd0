#include "Mirror/ChangeBatch.h"

#include "Documents/Program.h"

#include <numeric>
#include <random>

namespace Qcf::Mirror {

String newBatchId() {
    std::random_device device;
    String id;
    for (int i = 0; i < 4; ++i) {
        constexpr char const * digits = "0123456789abcdef";
        for (U32 bits = device(), k = 0; k < 8; ++k, bits >>= 4) {
            id += digits[bits & 15];
        }
    }
    return id;
}

std::size_t Batch::bytes() const {
    return std::accumulate(
        pieces.begin(), pieces.end(), std::size_t{0},
        [](std::size_t sum, String const & piece) { return sum + piece.size(); });
}

BatchWriter::BatchWriter(BatchStart start, std::size_t pieceSize) : pieceSize_(pieceSize) {
    batch_.start = std::move(start);
    line_.beginObject();
    line_.key("start");
    line_.beginObject();
    line_.key("version");
    line_.value(batch_.start.version);
    line_.key("id");
    line_.value(batch_.start.id);
    line_.key("base");
    line_.value(batch_.start.base);
    line_.endObject();
    endLine();
    endPiece();
}

void BatchWriter::remove(std::vector<U64> const & keys) {
    constexpr std::size_t mostInALine = 100;
    for (std::size_t i = 0; i < keys.size();) {
        line_.beginObject();
        line_.key("remove");
        line_.beginArray();
        for (std::size_t const end = std::min(keys.size(), i + mostInALine); i < end; ++i) {
            line_.value(keys[i]);
        }
        line_.endArray();
        endLine();
    }
}

void BatchWriter::node(Eval::AetNodeBase const & node) {
    Documents::writeNode(node, line_);
    line_.endDocument();
    ++lines_;
    ++batch_.movedNodes;
    if (piece_.size() >= pieceSize_) {
        endPiece();
    }
}

void BatchWriter::openFunction(String const & name) {
    line_.beginObject();
    line_.key("function");
    line_.value(name);
    line_.key("ref");
}

void BatchWriter::function(String const & name, U64 key) {
    openFunction(name);
    line_.value(key);
    endLine();
}

void BatchWriter::functionDel(String const & name) {
    openFunction(name);
    line_.nullValue();
    endLine();
}

Batch BatchWriter::finish(Digest const & digest, U64 functions, U64 nodes) {
    endPiece();
    batch_.digest = digest;
    batch_.functions = functions;
    batch_.nodes = nodes;
    line_.beginObject();
    line_.key("end");
    line_.beginObject();
    line_.key("version");
    line_.value(batch_.start.version);
    line_.key("digest");
    line_.value(digest.toString());
    line_.key("functions");
    line_.value(functions);
    line_.key("nodes");
    line_.value(nodes);
    line_.key("lines");
    line_.value(lines_);
    line_.key("sum");
    line_.value(sum_.finish().toString());
    line_.endObject();
    line_.endObject();
    line_.endDocument();
    batch_.pieces.push_back(std::exchange(piece_, String()));
    return std::move(batch_);
}

void BatchWriter::endLine() {
    line_.endObject();
    line_.endDocument();
    ++lines_;
    if (piece_.size() >= pieceSize_) {
        endPiece();
    }
}

void BatchWriter::endPiece() {
    if (!piece_.empty()) {
        sum_.add(piece_);
        batch_.pieces.push_back(piece_);
        piece_.clear();
    }
}

} // namespace Qcf::Mirror
