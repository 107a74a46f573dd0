#include "Lists/Bzip2Blocks.h"

#include <exception>
#include <utility>

#include <bzlib.h>

namespace Qcf::Lists {

namespace {

using Block = Bzip2Blocks::Block;

/// Room for the bytes of a block. One holds 900,000 at most, but runs count as few of them: a block
/// of nothing else yields fifty times as much, and is left to whoever hands it out in pieces.
constexpr std::size_t mostBytes = std::size_t{4} << 20;

/// A block that is not sound has no bytes.
void decompress(Block & block) {
    block.bytes = std::make_unique_for_overwrite<U8[]>(mostBytes);
    auto size = static_cast<unsigned>(mostBytes);
    bz_stream stream{};
    if (BZ2_bzDecompressInit(&stream, 0, 0) != BZ_OK) {
        return;
    }
    stream.next_in = block.compressed.data();
    stream.avail_in = static_cast<unsigned>(block.compressed.size());
    stream.next_out = reinterpret_cast<char *>(block.bytes.get());
    stream.avail_out = size;
    int const code = BZ2_bzDecompress(&stream);
    // An end in the midst would be one that a mark in the block made up.
    block.isSound = code == BZ_STREAM_END && stream.avail_in == 0;
    block.size = size - stream.avail_out;
    BZ2_bzDecompressEnd(&stream);
    block.compressed = String();
}

} // namespace

Bzip2Blocks::~Bzip2Blocks() {
    {
        std::lock_guard const lock(mutex_);
        stopped_ = true;
    }
    changed_.notify_all();
    for (std::thread & thread : threads_) {
        thread.join();
    }
}

std::shared_ptr<Block> Bzip2Blocks::start(String compressed) {
    auto block = std::make_shared<Block>();
    block->compressed = std::move(compressed);
    {
        std::lock_guard const lock(mutex_);
        waiting_.push_back(block);
    }
    changed_.notify_all();
    if (threads_.size() < most_) {
        threads_.emplace_back([this] { work(); });
    }
    return block;
}

bool Bzip2Blocks::await(Block const & block) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&block] { return block.isDone; });
    return block.isSound;
}

void Bzip2Blocks::work() {
    while (auto const block = nextBlock()) {
        try {
            decompress(*block);
        } catch (std::exception const &) {
            // Without memory the block is not sound, and whoever reads it alone runs out of it,
            // too.
            block->isSound = false;
        }
        std::lock_guard const lock(mutex_);
        block->isDone = true;
        changed_.notify_all();
    }
}

std::shared_ptr<Block> Bzip2Blocks::nextBlock() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return stopped_ || !waiting_.empty(); });
    if (stopped_) {
        return nullptr;
    }
    auto block = std::move(waiting_.front());
    waiting_.pop_front();
    return block;
}

} // namespace Qcf::Lists
