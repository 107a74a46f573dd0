#pragma once

#include "Platform/Framework/Types.h"

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace Qcf::Lists {

/// Private to this folder: threads that decompress blocks of bzip2 data, each as a part of its own.
class Bzip2Blocks {
public:
    struct Block {
        String compressed;
        std::unique_ptr<U8[]> bytes;
        std::size_t size = 0;
        bool isSound = false; ///< it was decompressed to its end, and its checksum is right
        bool isDone = false;  ///< guarded; what stands before is the thread's until then
    };

    /// No thread is started before the first block.
    explicit Bzip2Blocks(U32 threads) : most_(threads) {}
    Bzip2Blocks(Bzip2Blocks const &) = delete;
    Bzip2Blocks & operator=(Bzip2Blocks const &) = delete;
    /// Ends the threads after the blocks that they are at.
    ~Bzip2Blocks();

    /// Hands a block to the threads.
    std::shared_ptr<Block> start(String compressed);
    /// Waits until the block is done; whether it is sound.
    bool await(Block const & block);

private:
    void work();
    std::shared_ptr<Block> nextBlock();

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::shared_ptr<Block>> waiting_;
    bool stopped_ = false;
    std::size_t most_;
    std::vector<std::thread> threads_;
};

} // namespace Qcf::Lists
