#pragma once

#include "Live/NumberIndex.h"

#include <memory>
#include <span>
#include <vector>

namespace Qcf::Live {

/// Path attributes of routes as bytes, each content once, with how often it is used.
///
///     U32 const number = store.add(bytes);   // used once more
///     store.bytes(number);
///     store.release(number);                 // once less; gone with the last use
///
/// A content costs its bytes, 10 more, what rounds them up to 8, and about 8 bytes to find it.
/// Numbers are given anew once released. What was taken is kept for further contents and given back
/// with the store. Belongs to one thread.
class AttributeStore {
public:
    AttributeStore();

    /// Whether so much is kept that nothing should be added.
    bool isFull() const { return chunks_.size() * unit * unitsInChunk >= (U64{16} << 30); }
    /// Keeps a copy of up to 64 KiB and answers its number, which is the same for equal bytes.
    U32 add(std::span<U8 const> bytes);
    /// Counts one use less of a number that is in use.
    void release(U32 number);
    /// The same of each of many, which is faster.
    void release(std::span<U32 const> numbers);

    /// Valid until it is released.
    std::span<U8 const> bytes(U32 number) const;
    /// Contents that are in use.
    U64 size() const { return used_; }
    /// Memory taken, in bytes.
    U64 memory() const;

private:
    /// Before the bytes of a content. Behind its last use only `next` counts.
    struct Head {
        U32 uses;
        U32 hash;
        U16 size;

        /// In memory: without what would round it up.
        static constexpr std::size_t bytes = 10;
    };
    /// What the index asks of numbers.
    struct Keys {
        AttributeStore const & store;
        void const * placeOf(U32 number) const { return store.at(number); }
        U32 hashOf(U32 number) const { return store.head(number).hash; }
    };
    static constexpr U32 none = NumberIndex::none;
    /// Numbers count these bytes, so that 32 bits reach over 32 GiB.
    static constexpr std::size_t unit = 8;
    static constexpr U32 unitsInChunk = U32{1} << 17;

    U8 * at(U32 number) const {
        return chunks_[number / unitsInChunk].get() + unit * (number % unitsInChunk);
    }
    Head head(U32 number) const;
    void headIs(U32 number, Head const & head);
    static U32 unitsFor(std::size_t size);
    U32 hashOf(std::span<U8 const> bytes) const;

    U32 take(U32 units);

    std::vector<std::unique_ptr<U8[]>> chunks_;
    U32 end_ = 0; ///< of what was ever used in the last chunk, as a number
    /// By their units: the first number that is free, and behind it others, each in the bytes of
    /// the one before.
    std::vector<U32> free_;
    NumberIndex index_;
    U64 used_ = 0;
    U32 seed_; ///< so that nobody outside can choose what collides
};

} // namespace Qcf::Live
