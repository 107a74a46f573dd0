#include "Live/AttributeStore.h"

#include "Platform/Framework/Assert.h"
#include "Platform/Framework/Hash.h"

#include <algorithm>
#include <cstring>
#include <random>

namespace Qcf::Live {

AttributeStore::AttributeStore() : slots_(64, none), seed_(std::random_device()()) {}

AttributeStore::Head AttributeStore::head(U32 number) const {
    Head head;
    std::memcpy(&head, at(number), sizeof head);
    return head;
}

void AttributeStore::headIs(U32 number, Head const & head) {
    std::memcpy(at(number), &head, sizeof head);
}

U32 AttributeStore::unitsFor(std::size_t size) {
    return static_cast<U32>((sizeof(Head) + size + unit - 1) / unit);
}

U32 AttributeStore::hashOf(std::span<U8 const> bytes) const {
    Hash hash(seed_);
    hash.hashMixBytes(bytes.data(), bytes.size());
    return hash.result();
}

std::span<U8 const> AttributeStore::bytes(U32 number) const {
    return {at(number) + sizeof(Head), head(number).size};
}

U32 AttributeStore::add(std::span<U8 const> bytes) {
    QCF_ASSERT(bytes.size() <= 0xffff);
    U32 const hash = hashOf(bytes);
    std::size_t slot = slotOf(bytes, hash);
    if (U32 const number = slots_[slot]; number != none) {
        Head known = head(number);
        ++known.uses;
        headIs(number, known);
        return number;
    }
    if (4 * (used_ + 1) > 3 * slots_.size()) {
        grow();
        slot = slotOf(bytes, hash);
    }
    U32 const number = take(unitsFor(bytes.size()));
    headIs(number, {1, hash, static_cast<U32>(bytes.size())});
    std::copy(bytes.begin(), bytes.end(), at(number) + sizeof(Head));
    slots_[slot] = number;
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
    vacate(slotOf(bytes(number), known.hash));
    --used_;
    U32 const units = unitsFor(known.size);
    if (free_.size() <= units) {
        free_.resize(units + 1U, none);
    }
    // What is free has no head, but the next one that is.
    std::memcpy(at(number), &free_[units], sizeof(U32));
    free_[units] = number;
}

std::size_t AttributeStore::slotOf(std::span<U8 const> bytes, U32 hash) const {
    std::size_t const mask = slots_.size() - 1;
    for (std::size_t slot = hash & mask;; slot = (slot + 1) & mask) {
        U32 const number = slots_[slot];
        if (number == none) {
            return slot;
        }
        Head const known = head(number);
        if (known.hash == hash && known.size == bytes.size() &&
            std::equal(bytes.begin(), bytes.end(), at(number) + sizeof(Head))) {
            return slot;
        }
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
        QCF_ASSERT_TEXT(chunks_.size() + 1 < none / unitsInChunk, "attributes for 32 GiB");
        chunks_.push_back(std::make_unique<U8[]>(unit * unitsInChunk));
    }
    U32 const number = end_;
    end_ += units;
    return number;
}

void AttributeStore::grow() {
    std::vector<U32> const old = std::move(slots_);
    slots_.assign(2 * old.size(), none);
    std::size_t const mask = slots_.size() - 1;
    for (U32 const number : old) {
        if (number == none) {
            continue;
        }
        std::size_t slot = head(number).hash & mask;
        while (slots_[slot] != none) {
            slot = (slot + 1) & mask;
        }
        slots_[slot] = number;
    }
}

/// Empties a slot; those behind it move up, so that none is cut off from its hash.
void AttributeStore::vacate(std::size_t slot) {
    std::size_t const mask = slots_.size() - 1;
    for (std::size_t next = (slot + 1) & mask; slots_[next] != none; next = (next + 1) & mask) {
        std::size_t const home = head(slots_[next]).hash & mask;
        if (((next - home) & mask) >= ((next - slot) & mask)) {
            slots_[slot] = slots_[next];
            slot = next;
        }
    }
    slots_[slot] = none;
}

U64 AttributeStore::memory() const {
    return chunks_.size() * unit * unitsInChunk + slots_.size() * sizeof(U32) +
           free_.size() * sizeof(U32);
}

} // namespace Qcf::Live
