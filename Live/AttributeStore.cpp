#include "Live/AttributeStore.h"

#include "Platform/Framework/Assert.h"
#include "Platform/Framework/Hash.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <utility>

namespace Qcf::Live {

AttributeStore::AttributeStore() : slots_(64, none), seed_(std::random_device()()) {}

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
    std::size_t slot = slotOf(bytes, hash);
    if (isUsed(slot)) {
        U32 const number = slots_[slot];
        Head known = head(number);
        ++known.uses;
        headIs(number, known);
        return number;
    }
    if (4 * (used_ + gone_ + 1) > 3 * slots_.size()) {
        listAnew();
        slot = slotOf(bytes, hash);
    }
    U32 const number = take(unitsFor(bytes.size()));
    headIs(number, {1, hash, static_cast<U16>(bytes.size())});
    std::copy(bytes.begin(), bytes.end(), at(number) + Head::bytes);
    gone_ -= slots_[slot] == gone ? 1 : 0;
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
    // Found by its number: no other content is looked at.
    std::size_t const mask = slots_.size() - 1;
    std::size_t slot = known.hash & mask;
    while (slots_[slot] != number) {
        slot = (slot + 1) & mask;
    }
    slots_[slot] = gone;
    ++gone_;
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
        __builtin_prefetch(&slots_[head(number).hash & (slots_.size() - 1)]);
    }
    for (U32 const number : numbers) {
        release(number);
    }
}

std::size_t AttributeStore::slotOf(std::span<U8 const> bytes, U32 hash) const {
    std::size_t const mask = slots_.size() - 1;
    std::size_t usable = slots_.size();
    for (std::size_t slot = hash & mask;; slot = (slot + 1) & mask) {
        U32 const number = slots_[slot];
        if (!isUsed(slot)) {
            usable = usable == slots_.size() ? slot : usable;
            if (number == none) {
                return usable;
            }
            continue;
        }
        Head const known = head(number);
        if (known.hash == hash && known.size == bytes.size() &&
            std::equal(bytes.begin(), bytes.end(), at(number) + Head::bytes)) {
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
        QCF_ASSERT_TEXT(chunks_.size() + 1 < gone / unitsInChunk, "attributes for 32 GiB");
        chunks_.push_back(std::make_unique<U8[]>(unit * unitsInChunk));
    }
    U32 const number = end_;
    end_ += units;
    return number;
}

/// In so many slots that they are not full again soon.
void AttributeStore::listAnew() {
    std::size_t size = slots_.size();
    while (8 * (used_ + 1) > 5 * size) {
        size *= 2;
    }
    std::vector<U32> const old = std::exchange(slots_, std::vector<U32>(size, none));
    std::size_t const mask = size - 1;
    // Heads lie anywhere: they are fetched some time before.
    constexpr std::size_t ahead = 16;
    for (std::size_t i = 0; i < old.size(); ++i) {
        if (U32 const later = i + ahead < old.size() ? old[i + ahead] : none; later < gone) {
            __builtin_prefetch(at(later));
        }
        U32 const number = old[i];
        if (number >= gone) {
            continue;
        }
        std::size_t slot = head(number).hash & mask;
        while (slots_[slot] != none) {
            slot = (slot + 1) & mask;
        }
        slots_[slot] = number;
    }
    gone_ = 0;
}

U64 AttributeStore::memory() const {
    return chunks_.size() * unit * unitsInChunk + slots_.size() * sizeof(U32) +
           free_.size() * sizeof(U32);
}

} // namespace Qcf::Live
