#include "Platform/Framework/Slab.h"

#include <algorithm>

namespace {

constexpr bool passesThrough = QCF_SLAB_PASSES_THROUGH != 0;
constexpr std::size_t largestChunk = 256 * 1024;

// Set once the thread's magazines were given back: what its later destructors free goes straight to
// the depot.
constinit thread_local bool threadGone = false;

} // namespace

static_assert(std::is_trivially_destructible_v<SlabCore>, "slabs outlive static destruction");

/// The magazines that a thread has to give back when it ends.
class SlabThread {
public:
    constexpr SlabThread() = default;
    SlabThread(SlabThread const &) = delete;
    SlabThread & operator=(SlabThread const &) = delete;
    ~SlabThread() {
        threadGone = true;
        for (slabDetail::Magazine * m = first_; m != nullptr;) {
            slabDetail::Magazine * const next = m->nextOfThread;
            m->core->abandon(*m);
            m = next;
        }
    }

    void add(slabDetail::Magazine & magazine) noexcept {
        magazine.nextOfThread = first_;
        first_ = &magazine;
    }

private:
    slabDetail::Magazine * first_ = nullptr;
};

namespace {
constinit thread_local SlabThread slabThread;
} // namespace

U64 MemAllocationTracker::allocated() const {
    return core_.sum(core_.allocatedBefore_, &slabDetail::Magazine::allocated);
}

U64 MemAllocationTracker::freed() const {
    return core_.sum(core_.freedBefore_, &slabDetail::Magazine::freed);
}

U64 SlabCore::sum(U64 const & base, std::atomic<U64> Magazine::*counter) const {
    std::lock_guard const lock(mutex_);
    U64 total = base;
    for (Magazine const * m = magazines_; m != nullptr; m = m->nextOfCore) {
        total += (m->*counter).load(std::memory_order_relaxed);
    }
    return total;
}

bool SlabCore::adopt(Magazine & magazine) noexcept {
    if (threadGone) {
        return false;
    }
    slabThread.add(magazine);
    magazine.core = this;
    magazine.limit = passesThrough ? 0 : 2 * batch_;
    std::lock_guard const lock(mutex_);
    magazine.previousOfCore = nullptr;
    magazine.nextOfCore = magazines_;
    if (magazines_ != nullptr) {
        magazines_->previousOfCore = &magazine;
    }
    magazines_ = &magazine;
    return true;
}

void SlabCore::abandon(Magazine & magazine) noexcept {
    std::lock_guard const lock(mutex_);
    if (magazine.head != nullptr) {
        giveBatch(magazine.head, magazine.count);
    }
    (magazine.previousOfCore != nullptr ? magazine.previousOfCore->nextOfCore : magazines_) =
        magazine.nextOfCore;
    if (magazine.nextOfCore != nullptr) {
        magazine.nextOfCore->previousOfCore = magazine.previousOfCore;
    }
    allocatedBefore_ += magazine.allocated.load(std::memory_order_relaxed);
    freedBefore_ += magazine.freed.load(std::memory_order_relaxed);
    magazine.head = nullptr;
    magazine.count = 0;
    magazine.limit = 0;
    magazine.core = nullptr;
}

void * SlabCore::allocateSlow(Magazine & magazine) {
    if (magazine.core == nullptr && !adopt(magazine)) {
        return allocateUncached();
    }
    void * memory = nullptr;
    if (passesThrough) {
        memory = systemAllocate();
    } else {
        std::lock_guard const lock(mutex_);
        FreeObject * const first = takeBatch(batch_);
        magazine.head = first->next;
        magazine.count = static_cast<U32>(first->batchSize - 1);
        memory = first;
    }
    Magazine::bump(magazine.allocated);
    return memory;
}

void SlabCore::deallocateSlow(Magazine & magazine, void * memory) noexcept {
    if (magazine.core == nullptr && !adopt(magazine)) {
        deallocateUncached(memory);
        return;
    }
    if (passesThrough) {
        systemDeallocate(memory);
    } else {
        if (magazine.count >= magazine.limit) {
            shed(magazine);
        }
        push(magazine, memory);
    }
    Magazine::bump(magazine.freed);
}

// Gives the depot the batch that was freed last and keeps the rest, so that a thread that frees and
// allocates in turn does not come here again at once.
void SlabCore::shed(Magazine & magazine) noexcept {
    FreeObject * const first = magazine.head;
    FreeObject * last = first;
    for (U32 i = 1; i < batch_; ++i) {
        last = last->next;
    }
    magazine.head = last->next;
    magazine.count -= batch_;
    last->next = nullptr;
    std::lock_guard const lock(mutex_);
    giveBatch(first, batch_);
}

void * SlabCore::allocateUncached() {
    std::lock_guard const lock(mutex_);
    void * memory = nullptr;
    if (passesThrough) {
        memory = systemAllocate();
    } else {
        FreeObject * const first = takeBatch(1);
        if (first->batchSize > 1) {
            giveBatch(first->next, first->batchSize - 1);
        }
        memory = first;
    }
    ++allocatedBefore_;
    return memory;
}

void SlabCore::deallocateUncached(void * memory) noexcept {
    std::lock_guard const lock(mutex_);
    ++freedBefore_;
    if (passesThrough) {
        systemDeallocate(memory);
        return;
    }
    auto * object = ::new (memory) FreeObject;
    object->next = nullptr;
    giveBatch(object, 1);
}

SlabCore::FreeObject * SlabCore::takeBatch(U32 wanted) {
    if (batches_ == nullptr) {
        return carve(wanted);
    }
    FreeObject * const first = batches_;
    batches_ = first->nextBatch;
    return first;
}

void SlabCore::giveBatch(FreeObject * first, U64 size) noexcept {
    first->nextBatch = batches_;
    first->batchSize = size;
    batches_ = first;
}

SlabCore::FreeObject * SlabCore::carve(U32 wanted) {
    if (carveLeft_ == 0) {
        newChunk();
    }
    std::size_t const size = std::min<std::size_t>(wanted, carveLeft_);
    FreeObject * first = nullptr;
    for (std::size_t i = size; i > 0; --i) { // from the last, so that addresses rise along the list
        auto * object = ::new (carveAt_ + (i - 1) * stride_) FreeObject;
        object->next = first;
        first = object;
    }
    first->batchSize = size;
    carveAt_ += size * stride_;
    carveLeft_ -= size;
    return first;
}

void SlabCore::newChunk() {
    // Chunks are linked so that leak checkers see them as held.
    std::size_t const header = roundUp(sizeof(void *), alignment_);
    std::size_t const bytes = std::max(chunkBytes_, header + 8 * stride_);
    auto * chunk = static_cast<char *>(::operator new(bytes, std::align_val_t(alignment_)));
    ::new (chunk) void *(chunks_);
    chunks_ = chunk;
    carveAt_ = chunk + header;
    carveLeft_ = (bytes - header) / stride_;
    chunkBytes_ = std::min(2 * chunkBytes_, largestChunk);
}

void * SlabCore::systemAllocate() const {
    return ::operator new(stride_, std::align_val_t(alignment_));
}

void SlabCore::systemDeallocate(void * memory) const noexcept {
    ::operator delete(memory, std::align_val_t(alignment_));
}
