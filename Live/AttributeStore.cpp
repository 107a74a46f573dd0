#include "Live/AttributeStore.h"

#include "Platform/Framework/Assert.h"
#include "Platform/Framework/Hash.h"

#include <algorithm>
#include <cstring>
#include <random>

namespace Qcf::Live {

AttributeStore::AttributeStore() : seed_(std::random_device()()) {}

AttributeStore::Head AttributeStore::head(U32 number) const {
    Head head;
    std::memcpy(&head, at(number), Head::bytes);
    return head;
}

void AttributeStore::headIs(U32 number, Head const & head) {
    std::memcpy(at(number), &head, Head::bytes);
}

U32 AttributeStore::unitsFor(std::size_t size) {
    return static_cast<U32>((Head::bytes + size + unit - 1) / unit);
}

U32 AttributeStore::hashOf(std::span<U8 const> bytes) const {
    Hash hash(seed_);
    hash.hashMixBytes(bytes.data(), bytes.size());
    return hash.result();
}

std::span<U8 const> AttributeStore::bytes(U32 number) const {
    return {at(number) + Head::bytes, head(number).size};
}

U32 AttributeStore::add(std::span<U8 const> bytes) {
    QCF_ASSERT(bytes.size() <= 0xffff);
    U32 const hash = hashOf(bytes);
    U32 number = index_.find(hash, [&](U32 one) {
        Head const known = head(one);
        return known.hash == hash && known.size == bytes.size() &&
               std::equal(bytes.begin(), bytes.end(), at(one) + Head::bytes);
    });
    if (number != none) {
        Head known = head(number);
        ++known.uses;
        headIs(number, known);
        return number;
    }
    number = take(unitsFor(bytes.size()));
    headIs(number, {1, hash, static_cast<U16>(bytes.size())});
    std::copy(bytes.begin(), bytes.end(), at(number) + Head::bytes);
    index_.insert(hash, number, Keys{*this});
    ++used_;
    return number;
}

void AttributeStore::release(U32 number) {
    Head known = head(number);
    QCF_ASSERT(known.uses > 0);
    if (--known.uses > 0) {
        headIs(number, known);
        return;
    }
    index_.remove(known.hash, number);
    --used_;
    U32 const units = unitsFor(known.size);
    if (free_.size() <= units) {
        free_.resize(units + 1U, none);
    }
    // What is free has no head, but the next one that is.
    std::memcpy(at(number), &free_[units], sizeof(U32));
    free_[units] = number;
}

// What each of them needs lies anywhere: it is fetched before it is waited for.
void AttributeStore::release(std::span<U32 const> numbers) {
    for (U32 const number : numbers) {
        __builtin_prefetch(at(number));
    }
    for (U32 const number : numbers) {
        index_.prefetch(head(number).hash);
    }
    for (U32 const number : numbers) {
        release(number);
    }
}

/// A place of so many units: one that was released, or a new one.
U32 AttributeStore::take(U32 units) {
    if (units < free_.size() && free_[units] != none) {
        U32 const number = free_[units];
        std::memcpy(&free_[units], at(number), sizeof(U32));
        return number;
    }
    // A place does not reach over the end of a chunk: what is left there stays empty.
    U32 const left = static_cast<U32>(chunks_.size()) * unitsInChunk - end_;
    if (left < units) {
        end_ = static_cast<U32>(chunks_.size()) * unitsInChunk;
        // Numbers end before the one that means none.
        QCF_ASSERT_TEXT(chunks_.size() + 1 < NumberIndex::end / unitsInChunk,
                        "attributes for 32 GiB");
        // What is not used yet is not touched, and takes no memory.
        chunks_.push_back(std::make_unique_for_overwrite<U8[]>(unit * unitsInChunk));
    }
    U32 const number = end_;
    end_ += units;
    return number;
}

U64 AttributeStore::memory() const {
    return chunks_.size() * unit * unitsInChunk + index_.memory() + free_.size() * sizeof(U32);
}

} // namespace Qcf::Live
