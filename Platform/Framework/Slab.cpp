#include "Platform/Framework/Slab.h"

#include <algorithm>

namespace {

// A constant and no #if in each function: both ways are compiled in every build.
constexpr bool passesThrough = QCF_SLAB_PASSES_THROUGH != 0;
// Chunks double up to this: a class with few objects takes little, one with many asks seldom.
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

// Under the mutex, so that no thread's counts move to those of the threads that ended while they
// are added up, and count twice or not at all.
U64 SlabCore::sum(U64 const & base, std::atomic<U64> Magazine::*counter) const {
    std::lock_guard const lock(mutex_);
    U64 total = base;
    for (Magazine const * m = magazines_; m != nullptr; m = m->nextOfCore) {
        total += (m->*counter).load(std::memory_order_relaxed);
    }
    return total;
}

// A magazine starts without a core and with limit 0, so that its first use is on the slow path, in
// either direction.
bool SlabCore::adopt(Magazine & magazine) noexcept {
    if (threadGone) {
        return false;
    }
    slabThread.add(magazine);
    magazine.core = this;
    // Two batches: one to keep and one to give away. With 0 every call stays on the slow path.
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

// The batch may be of any size: the depot notes it.
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
    // As never used: what the thread still frees takes the slow path and finds that the thread is
    // gone.
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
        // The first object of the batch is the one that was asked for.
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

// Destructors of other thread-local objects run behind ours and may allocate and free.
void * SlabCore::allocateUncached() {
    std::lock_guard const lock(mutex_);
    void * memory = nullptr;
    if (passesThrough) {
        memory = systemAllocate();
    } else {
        FreeObject * const first = takeBatch(1);
        if (first->batchSize > 1) {
            // The depot hands out whole batches alone.
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

// What was freed is used before new memory is cut, so that a class keeps to what it needed at most.
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
    // The rest of a chunk is used up as a smaller batch before there is another chunk.
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
    // Eight objects at least: large ones would not fit the first chunks.
    std::size_t const bytes = std::max(chunkBytes_, header + 8 * stride_);
    auto * chunk = static_cast<char *>(::operator new(bytes, std::align_val_t(alignment_)));
    ::new (chunk) void *(chunks_);
    chunks_ = chunk;
    // Objects begin behind the link, aligned as the chunk is.
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
