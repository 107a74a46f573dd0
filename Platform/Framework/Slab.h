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
///
/// What passes through is counted as well, so that tests of leaks hold in every build.
class SlabCore;

/// Counts of the objects of one class. Exact when no other thread is allocating or freeing just
/// now. Counting costs a store a call and shares no cache line between threads.
///
///     U64 const before = nodes.live();
///     ... work ...
///     EXPECT_EQ(nodes.live(), before); // nothing leaked
class MemAllocationTracker {
public:
    /// Of that slab, which must outlive it, as all of them do.
    explicit constexpr MemAllocationTracker(SlabCore const & core) noexcept : core_(core) {}

    U64 allocated() const; ///< objects made since the process started
    U64 freed() const;     ///< objects freed since
    /// Objects that there are.
    U64 live() const { return allocated() - freed(); }

private:
    SlabCore const & core_;
};

namespace slabDetail {

/// What a free object holds. The first object of a batch in the depot also tells of the batch: so
/// no memory is needed beside the objects. It lies in the very memory of the object, which is why
/// slabs have none smaller.
struct FreeObject {
    /// Within the batch or the magazine; null at the end.
    FreeObject * next;
    /// Of the first object of a batch alone.
    FreeObject * nextBatch;
    /// Objects in the batch, this one included.
    U64 batchSize;
};

/// The free objects one thread keeps of one slab, and what it allocated and freed. Only the owning
/// thread writes; the counts are atomic because trackers read them. It is made with the thread and
/// costs nothing before it is used.
struct Magazine {
    /// Freed last, used first: its memory is likely to be in the cache still.
    FreeObject * head = nullptr;
    U32 count = 0;
    /// 0 sends every call to the slow path, which is how first uses are seen without a test of
    /// their own.
    U32 limit = 0; ///< objects to keep at most
    /// Objects that this thread made and freed.
    std::atomic<U64> allocated{0};
    std::atomic<U64> freed{0};
    /// The slab that the magazine belongs to.
    SlabCore * core = nullptr; ///< null until first used, and again after the thread's end
    /// The magazines of one thread, and those of one slab, are linked.
    Magazine * nextOfThread = nullptr;
    Magazine * nextOfCore = nullptr;
    Magazine * previousOfCore = nullptr;

    /// Counts by plain load and store: only this thread writes.
    static void bump(std::atomic<U64> & counter) noexcept {
        counter.store(counter.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }
};

} // namespace slabDetail

/// The untyped core of one slab. Never destroyed: objects may be freed after static destruction.
/// Its functions take the calling thread's magazine; everything else is behind the mutex.
class SlabCore {
public:
    /// For objects of that size and alignment; a free one must have room for FreeObject. Constant,
    /// so that a slab is ready before any code runs.
    constexpr SlabCore(std::size_t size, std::size_t alignment) noexcept
        : alignment_(alignment < alignof(FreeObject) ? alignof(FreeObject) : alignment),
          stride_(roundUp(size < sizeof(FreeObject) ? sizeof(FreeObject) : size, alignment_)),
          batch_(batchFor(stride_)) {}
    SlabCore(SlabCore const &) = delete;
    SlabCore & operator=(SlabCore const &) = delete;

    /// Memory for one object. Throws std::bad_alloc.
    void * allocate(slabDetail::Magazine & magazine) {
        FreeObject * object = magazine.head;
        // The one test of the common path: a magazine that was never used is empty, too.
        if (object == nullptr) [[unlikely]] {
            return allocateSlow(magazine);
        }
        magazine.head = object->next;
        --magazine.count;
        slabDetail::Magazine::bump(magazine.allocated);
        return object;
    }

    /// Takes the memory of an object back, in whatever thread.
    void deallocate(slabDetail::Magazine & magazine, void * memory) noexcept {
        // True of a magazine that was never used, whose limit is 0.
        if (magazine.count >= magazine.limit) [[unlikely]] {
            deallocateSlow(magazine, memory);
            return;
        }
        push(magazine, memory);
        slabDetail::Magazine::bump(magazine.freed);
    }

    /// The counts of this slab.
    MemAllocationTracker const & tracker() const noexcept { return tracker_; }

private:
    using FreeObject = slabDetail::FreeObject;
    using Magazine = slabDetail::Magazine;
    friend class MemAllocationTracker;
    friend class SlabThread;

    /// The next multiple.
    static constexpr std::size_t roundUp(std::size_t n, std::size_t to) noexcept {
        return (n + to - 1) / to * to;
    }
    /// About 8 KiB of objects a batch, between 8 and 64 of them.
    static constexpr U32 batchFor(std::size_t stride) noexcept {
        std::size_t const fitting = 8192 / stride;
        return static_cast<U32>(fitting < 8 ? 8 : (fitting > 64 ? 64 : fitting));
    }
    /// Puts a free object into the magazine.
    static void push(Magazine & magazine, void * memory) noexcept {
        auto * object = ::new (memory) FreeObject; // only `next` matters within a magazine
        object->next = magazine.head;
        magazine.head = object;
        ++magazine.count;
    }

    /// The magazine is empty: gets a batch from the depot, or new memory.
    void * allocateSlow(Magazine & magazine);
    /// The magazine is full: gives a batch to the depot.
    void deallocateSlow(Magazine & magazine, void * memory) noexcept;
    /// Without a magazine: late in the end of a thread, when it has none any more.
    void * allocateUncached();
    void deallocateUncached(void * memory) noexcept;
    /// From and to the general allocator, where objects pass through.
    void * systemAllocate() const;
    void systemDeallocate(void * memory) const noexcept;

    /// Makes a thread's magazine known; false where the thread can no longer have one.
    bool adopt(Magazine & magazine) noexcept;
    /// Takes the magazine of a thread that ends out, with its objects and counts.
    void abandon(Magazine & magazine) noexcept;
    /// Gives the batch that was freed last to the depot.
    void shed(Magazine & magazine) noexcept;
    /// A batch from the depot; newly cut objects where it has none.
    FreeObject * takeBatch(U32 wanted);
    /// Puts a batch into the depot.
    void giveBatch(FreeObject * first, U64 size) noexcept;
    /// Cuts objects from the current chunk.
    FreeObject * carve(U32 wanted);
    /// Gets more memory from the system.
    void newChunk();
    /// A count over all threads, those that ended included.
    U64 sum(U64 const & base, std::atomic<U64> Magazine::*counter) const;

    /// Of each object.
    std::size_t alignment_;
    /// Bytes from one object to the next.
    std::size_t stride_;
    /// Objects that magazines and depot exchange at once.
    U32 batch_;

    mutable std::mutex mutex_; // guards what follows
    /// The depot: full and broken batches, linked by their first objects.
    FreeObject * batches_ = nullptr;
    /// All memory that was taken from the system, so that leak checkers find it.
    void * chunks_ = nullptr;
    /// Where the current chunk goes on, and how many objects are left of it.
    char * carveAt_ = nullptr;
    std::size_t carveLeft_ = 0; // objects
    std::size_t chunkBytes_ = 4096;
    /// Those of all threads that use the slab.
    Magazine * magazines_ = nullptr;
    /// So that no count is lost with its thread.
    U64 allocatedBefore_ = 0; // by threads that ended
    U64 freedBefore_ = 0;

    /// Made with the core and as long-lived.
    MemAllocationTracker tracker_{*this};
};

/// The slab of class T: a typed name for a core and this thread's magazine. T must be complete
/// where its functions are used, which the bodies of T's own members are.
///
/// A class names it in its `operator new` and `operator delete` (see above) and is used as any
/// other from then on. Common paths take some instructions and no lock.
template <class T>
class Slab {
public:
    /// Memory for one T, and its return. Uninitialised: the object is made in it by whoever asked.
    static void * allocate() { return core_.allocate(magazine_); }
    /// In any thread; not twice, and only what this slab handed out.
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

    /// How many objects of the class there were and are.
    static MemAllocationTracker const & tracker() noexcept { return core_.tracker(); }

private:
    /// Ready before any code runs, and never destroyed.
    inline static constinit SlabCore core_{sizeof(T), alignof(T)};
    /// Given back when the thread ends. Each class has its own in each thread, and each thread
    /// reaches it without a search.
    inline static constinit thread_local slabDetail::Magazine magazine_{};
};
