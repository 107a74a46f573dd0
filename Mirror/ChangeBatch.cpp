#include "Mirror/ChangeBatch.h"

#include "Mirror/WireText.h"
#include "QcfLib/QcfLib.h"

#include <numeric>
#include <random>

/// The lines of a batch as text. Their number and their sum are kept along the way, so that the end
/// line can prove all that stands before it.
namespace Qcf::Mirror {

StatusFields StatusFields::of(AllFunctionStatus const & status) {
    return {status.dedupedFunctionsPresent(), status.startOfDedupedFunctionUpdatesMarker(),
            status.endOfDedupedFunctionUpdatesMarker(), static_cast<bool>(status.aetNodes())};
}

AetCollections * storeOf(AllFunctionStatus const & status) {
    return status.aetNodes() ? &status.nodes() : nullptr;
}

// 128 random bits: nobody has to be asked whether an id is free.
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
        [](std::size_t total, String const & piece) { return total + piece.size(); });
}

// None of the parts before the ids can hold the mark between them, and the first id says where it
// ends.
String Batch::signedText() const {
    return std::to_string(start.format) + '\n' + std::to_string(start.version) + '\n' +
           digest.toString() + '\n' + sum + '\n' + std::to_string(start.id.size()) + '\n' +
           start.id + '\n' + start.base;
}

BatchWriter::BatchWriter(BatchStart start, std::size_t pieceSize) : pieceSize_(pieceSize) {
    batch_.start = std::move(start);
    line_.beginObject();
    line_.key("start");
    line_.beginObject();
    line_.key("format");
    line_.value(batch_.start.format);
    line_.key("version");
    line_.value(batch_.start.version);
    line_.key("id");
    line_.value(batch_.start.id);
    line_.key("base");
    line_.value(batch_.start.base);
    line_.endObject();
    endLine();
    // A piece of its own: by the start line a reader sees whether the rest fits.
    endPiece();
}

void BatchWriter::remove(std::vector<CollKey> const & members) {
    // Lines stay short however much goes: readers parse one at a time.
    constexpr std::size_t mostInALine = 100;
    for (std::size_t i = 0; i < members.size();) {
        U16 const collection = members[i].collection;
        line_.beginObject();
        line_.key("remove");
        line_.value(Eval::nodeClasses()[collection].name);
        line_.key("keys");
        line_.beginArray();
        // A line is of one class; another class starts another line.
        std::size_t const end = std::min(members.size(), i + mostInALine);
        for (; i < end && members[i].collection == collection; ++i) {
            line_.value(members[i].key);
        }
        line_.endArray();
        endLine();
    }
}

void BatchWriter::node(Eval::AetNodeBase const & node, WireStyle const & style) {
    line_.beginObject();
    Documents::writeNodeMembers(node, style, line_);
    endLine();
    ++batch_.movedNodes;
}

void BatchWriter::looseNode(U64 number, Eval::AetNodeBase const & node, WireStyle const & style) {
    line_.beginObject();
    line_.key("loose");
    line_.value(number);
    Documents::writeNodeMembers(node, style, line_);
    endLine();
    ++batch_.movedNodes;
}

void BatchWriter::openFunction(String const & name) {
    line_.beginObject();
    line_.key("function");
    line_.value(wireText(name));
}

void BatchWriter::function(String const & name, NodeReference const & function) {
    openFunction(name);
    line_.key(function.loose ? "loose" : "ref");
    line_.value(function.number);
    endLine();
}

void BatchWriter::functionDel(String const & name) {
    openFunction(name);
    line_.key("ref");
    line_.nullValue();
    endLine();
}

void BatchWriter::writeStatus(StatusFields const & status) {
    line_.beginObject();
    line_.key("status");
    line_.beginObject();
    line_.key("dedupedFunctionsPresent");
    line_.value(status.dedupedFunctionsPresent);
    line_.key("start");
    line_.value(status.startMarker);
    line_.key("end");
    line_.value(status.endMarker);
    line_.key("store");
    line_.value(status.store);
    line_.endObject();
    endLine();
}

void BatchWriter::writeEnd(Digest const & digest) {
    line_.beginObject();
    line_.key("end");
    line_.beginObject();
    line_.key("version");
    line_.value(batch_.start.version);
    line_.key("digest");
    line_.value(digest.toString());
    line_.key("functions");
    line_.value(batch_.functions);
    line_.key("nodes");
    line_.value(batch_.nodes);
    if (batch_.start.format >= listsFormat) {
        line_.key("lists");
        line_.value(batch_.lists);
    }
    line_.key("lines");
    line_.value(lines_);
    line_.key("sum");
    batch_.sum = sum_.finish().toString();
    line_.value(batch_.sum);
    if (signer_ != nullptr) {
        batch_.signature = signer_->sign(batch_.signedText());
        line_.key("signature");
        line_.value(batch_.signature);
    }
    line_.endObject();
    line_.endObject();
    // Without endLine: the end line is not counted, either.
    line_.endDocument();
}

Batch BatchWriter::finish(StatusFields const & status, Digest const & digest, U64 functions,
                          U64 nodes) {
    writeStatus(status);
    // The end line stands alone in the last piece, since it is not part of the sum that it tells.
    endPiece();
    batch_.digest = digest;
    batch_.functions = functions;
    batch_.nodes = nodes;
    writeEnd(digest);
    batch_.pieces.push_back(std::exchange(piece_, String()));
    return std::move(batch_);
}

void BatchWriter::endLine() {
    line_.endObject();
    line_.endDocument();
    ++lines_;
    // Pieces end between lines, so that each can be parsed by itself.
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
