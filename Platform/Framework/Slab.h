#pragma once

#include "Platform/Framework/Types.h"

#include <atomic>
#include <cstddef>
#include <mutex>
#include <new>
#include <type_traits>

#if defined(__SANITIZE_ADDRESS__)
#define QCF_SLAB_PASSES_THROUGH 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QCF_SLAB_PASSES_THROUGH 1
#endif
#endif
#ifndef QCF_SLAB_PASSES_THROUGH
#define QCF_SLAB_PASSES_THROUGH 0
#endif

/// Memory for many objects of one class, without a lock on the common path.
///
/// Each thread keeps a magazine of free objects per class; full and empty magazines are exchanged
/// in batches with the class's depot, which is behind a mutex. An object may be freed in another
/// thread than it came from, and a thread that ends gives back what it kept. Memory of a slab is
/// reused for the same class and is not returned to the system. Slabs work before, during and after
/// static initialisation. Under AddressSanitizer every object comes from malloc, so that faults
/// show.
///
///     class Block {
///     public:
///         static void * operator new(std::size_t size) { return Slab<Block>::allocate(size); }
///         static void operator delete(void * p, std::size_t size) noexcept {
///             Slab<Block>::deallocate(p, size);
///         }
///     };
class SlabCore;

/// Counts of the objects of one class. Exact when no other thread is allocating or freeing just
/// now.
class MemAllocationTracker {
public:
    explicit constexpr MemAllocationTracker(SlabCore const & core) noexcept : core_(core) {}

    U64 allocated() const; ///< objects made since the process started
    U64 freed() const;     ///< objects freed since
    U64 live() const { return allocated() - freed(); }

private:
    SlabCore const & core_;
};

namespace slabDetail {

/// What a free object holds. The first object of a batch in the depot also tells of the batch.
struct FreeObject {
    FreeObject * next;
    FreeObject * nextBatch;
    U64 batchSize;
};

/// The free objects one thread keeps of one slab, and what it allocated and freed. Only the owning
/// thread writes; the counts are atomic because trackers read them.
struct Magazine {
    FreeObject * head = nullptr;
    U32 count = 0;
    U32 limit = 0; ///< objects to keep at most
    std::atomic<U64> allocated{0};
    std::atomic<U64> freed{0};
    SlabCore * core = nullptr; ///< null until first used, and again after the thread's end
    Magazine * nextOfThread = nullptr;
    Magazine * nextOfCore = nullptr;
    Magazine * previousOfCore = nullptr;

    static void bump(std::atomic<U64> & counter) noexcept {
        counter.store(counter.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }
};

} // namespace slabDetail

/// The untyped core of one slab. Never destroyed: objects may be freed after static destruction.
class SlabCore {
public:
    constexpr SlabCore(std::size_t size, std::size_t alignment) noexcept
        : alignment_(alignment < alignof(FreeObject) ? alignof(FreeObject) : alignment),
          stride_(roundUp(size < sizeof(FreeObject) ? sizeof(FreeObject) : size, alignment_)),
          batch_(batchFor(stride_)) {}
    SlabCore(SlabCore const &) = delete;
    SlabCore & operator=(SlabCore const &) = delete;

    void * allocate(slabDetail::Magazine & magazine) {
        FreeObject * object = magazine.head;
        if (object == nullptr) [[unlikely]] {
            return allocateSlow(magazine);
        }
        magazine.head = object->next;
        --magazine.count;
        slabDetail::Magazine::bump(magazine.allocated);
        return object;
    }

    void deallocate(slabDetail::Magazine & magazine, void * memory) noexcept {
        if (magazine.count >= magazine.limit) [[unlikely]] {
            deallocateSlow(magazine, memory);
            return;
        }
        push(magazine, memory);
        slabDetail::Magazine::bump(magazine.freed);
    }

    MemAllocationTracker const & tracker() const noexcept { return tracker_; }

private:
    using FreeObject = slabDetail::FreeObject;
    using Magazine = slabDetail::Magazine;
    friend class MemAllocationTracker;
    friend class SlabThread;

    static constexpr std::size_t roundUp(std::size_t n, std::size_t to) noexcept {
        return (n + to - 1) / to * to;
    }
    /// About 8 KiB of objects a batch, between 8 and 64 of them.
    static constexpr U32 batchFor(std::size_t stride) noexcept {
        std::size_t const fitting = 8192 / stride;
        return static_cast<U32>(fitting < 8 ? 8 : (fitting > 64 ? 64 : fitting));
    }
    static void push(Magazine & magazine, void * memory) noexcept {
        auto * object = ::new (memory) FreeObject; // only `next` matters within a magazine
        object->next = magazine.head;
        magazine.head = object;
        ++magazine.count;
    }

    void * allocateSlow(Magazine & magazine);
    void deallocateSlow(Magazine & magazine, void * memory) noexcept;
    void * allocateUncached();
    void deallocateUncached(void * memory) noexcept;
    void * systemAllocate() const;
    void systemDeallocate(void * memory) const noexcept;

    bool adopt(Magazine & magazine) noexcept;
    void abandon(Magazine & magazine) noexcept;
    void shed(Magazine & magazine) noexcept;
    FreeObject * takeBatch(U32 wanted);
    void giveBatch(FreeObject * first, U64 size) noexcept;
    FreeObject * carve(U32 wanted);
    void newChunk();
    U64 sum(U64 const & base, std::atomic<U64> Magazine::*counter) const;

    std::size_t alignment_;
    std::size_t stride_;
    U32 batch_;

    mutable std::mutex mutex_; // guards what follows
    FreeObject * batches_ = nullptr;
    void * chunks_ = nullptr;
    char * carveAt_ = nullptr;
    std::size_t carveLeft_ = 0; // objects
    std::size_t chunkBytes_ = 4096;
    Magazine * magazines_ = nullptr;
    U64 allocatedBefore_ = 0; // by threads that ended
    U64 freedBefore_ = 0;

    MemAllocationTracker tracker_{*this};
};

/// The slab of class T: a typed name for a core and this thread's magazine. T must be complete
/// where its functions are used, which the bodies of T's own members are.
template <class T>
class Slab {
public:
    static void * allocate() { return core_.allocate(magazine_); }
    static void deallocate(void * memory) noexcept { core_.deallocate(magazine_, memory); }

    /// For operator new and delete of a class that may be derived from: objects of another size
    /// than T's come from the general allocator and are not counted.
    static void * allocate(std::size_t size) {
        return size == sizeof(T) ? allocate() : ::operator new(size, std::align_val_t(alignof(T)));
    }
    static void deallocate(void * memory, std::size_t size) noexcept {
        if (size == sizeof(T)) {
            deallocate(memory);
        } else {
            ::operator delete(memory, std::align_val_t(alignof(T)));
        }
    }

    static MemAllocationTracker const & tracker() noexcept { return core_.tracker(); }

private:
    inline static constinit SlabCore core_{sizeof(T), alignof(T)};
    inline static constinit thread_local slabDetail::Magazine magazine_{};
};
