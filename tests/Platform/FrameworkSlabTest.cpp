#include "Platform/Framework/Ptr.h"
#include "Platform/Framework/Slab.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

template <std::size_t size, std::size_t alignment>
struct alignas(alignment) Bytes {
    std::array<unsigned char, size> bytes;
};

// Allocates many, checks alignment and that no two overlap, frees in another order.
template <class T>
void exercise() {
    auto const & tracker = Slab<T>::tracker();
    U64 const before = tracker.live();
    std::vector<unsigned char *> all;
    for (int i = 0; i < 1000; ++i) {
        auto * p = static_cast<unsigned char *>(Slab<T>::allocate());
        ASSERT_EQ(reinterpret_cast<std::uintptr_t>(p) % alignof(T), 0U);
        std::memset(p, i & 0xff, sizeof(T));
        all.push_back(p);
    }
    EXPECT_EQ(tracker.live(), before + 1000);
    for (int i = 0; i < 1000; ++i) {
        unsigned char const expected = static_cast<unsigned char>(i & 0xff);
        unsigned char const * p = all[static_cast<std::size_t>(i)];
        ASSERT_TRUE(std::all_of(p, p + sizeof(T), [&](unsigned char c) { return c == expected; }));
    }
    for (std::size_t i = 0; i < 1000; ++i) {
        Slab<T>::deallocate(all[i * 7 % 1000]);
    }
    EXPECT_EQ(tracker.live(), before);
}

struct Payload {
    std::array<U64, 5> words{};
};
struct Traded {
    std::array<U64, 5> words{};
};
struct Late {
    U64 word = 0;
};

class Throwing : public PtrInterface {
public:
    Throwing() { throw std::runtime_error("no"); }
    static void * operator new(std::size_t size) { return Slab<Throwing>::allocate(size); }
    static void operator delete(void * memory, std::size_t size) noexcept {
        Slab<Throwing>::deallocate(memory, size);
    }
};

class Wide : public PtrInterface {
public:
    static void * operator new(std::size_t size) { return Slab<Wide>::allocate(size); }
    static void operator delete(void * memory, std::size_t size) noexcept {
        Slab<Wide>::deallocate(memory, size);
    }
};
class Wider final : public Wide {
public:
    std::array<U64, 100> more{};
};

// Frees what it holds when its thread ends, after the thread's magazines were given back.
struct HolderOfLate {
    void * held = nullptr;
    ~HolderOfLate() {
        if (held != nullptr) {
            Slab<Late>::deallocate(held);
            Slab<Late>::deallocate(Slab<Late>::allocate());
        }
    }
};

} // namespace

TEST(Slab, ObjectsAreApartAndAligned) {
    exercise<Bytes<1, 1>>();
    exercise<Bytes<24, 8>>();
    exercise<Bytes<40, 8>>();
    exercise<Bytes<48, 16>>();
    exercise<Bytes<1040, 8>>();
    exercise<Bytes<128, 64>>();
    exercise<Bytes<20000, 32>>();
}

TEST(Slab, ReusesWhatWasFreed) {
#if QCF_SLAB_PASSES_THROUGH
    GTEST_SKIP() << "slabs pass through to malloc under AddressSanitizer";
#else
    std::set<void *> seen;
    for (int i = 0; i < 100; ++i) {
        std::vector<void *> some;
        for (int j = 0; j < 300; ++j) {
            some.push_back(Slab<Payload>::allocate());
        }
        seen.insert(some.begin(), some.end());
        for (void * p : some) {
            Slab<Payload>::deallocate(p);
        }
    }
    EXPECT_LT(seen.size(), 700U); // 300, and what batches leave over
#endif
}

// Producers allocate, the main thread frees: memory crosses threads, threads end, counts stay
// exact.
TEST(Slab, ObjectsMayBeFreedElsewhere) {
    auto const & tracker = Slab<Traded>::tracker();
    for (int round = 0; round < 5; ++round) {
        std::array<std::vector<Traded *>, 3> made;
        std::vector<std::thread> threads;
        threads.reserve(made.size());
        for (auto & mine : made) {
            threads.emplace_back([&mine] {
                for (U64 i = 0; i < 2000; ++i) {
                    mine.push_back(::new (Slab<Traded>::allocate()) Traded{{i, i, i, i, i}});
                    if (i % 3 == 0) {
                        Slab<Traded>::deallocate(mine.back());
                        mine.pop_back();
                    }
                }
            });
        }
        for (auto & t : threads) {
            t.join();
        }
        EXPECT_EQ(tracker.live(), 3U * 1333);
        std::set<Traded *> distinct;
        for (auto & mine : made) {
            for (Traded * t : mine) {
                ASSERT_EQ(t->words[0], t->words[4]);
                ASSERT_TRUE(distinct.insert(t).second);
                Slab<Traded>::deallocate(t);
            }
        }
    }
    EXPECT_EQ(tracker.allocated(), 5U * 3 * 2000);
    EXPECT_EQ(tracker.live(), 0U);
}

TEST(Slab, ServesDestructorsThatRunAfterAThreadsMagazinesWentBack) {
    std::thread([] {
        thread_local HolderOfLate holder; // made before the slab's own, so destroyed after it
        holder.held = nullptr;
        holder.held = Slab<Late>::allocate();
    }).join();
    EXPECT_EQ(Slab<Late>::tracker().allocated(), 2U);
    EXPECT_EQ(Slab<Late>::tracker().live(), 0U);
}

TEST(Slab, ConstructorsThatThrowLeaveNothingBehind) {
    EXPECT_THROW(makePtr<Throwing>(), std::runtime_error);
    EXPECT_EQ(Slab<Throwing>::tracker().live(), 0U);
    EXPECT_EQ(Slab<Throwing>::tracker().allocated(), 1U);
}

TEST(Slab, DerivedObjectsOfAnotherSizeAreNotMixedIn) {
    Ptr<Wide> wide = makePtr<Wide>();
    Ptr<Wide> wider = makePtr<Wider>();
    EXPECT_EQ(Slab<Wide>::tracker().live(), 1U);
    wider = nullptr;
    EXPECT_EQ(Slab<Wide>::tracker().live(), 1U);
    wide = nullptr;
    EXPECT_EQ(Slab<Wide>::tracker().live(), 0U);
}
