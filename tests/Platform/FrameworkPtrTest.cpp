#include "Platform/Framework/Entity.h"
#include "Platform/Framework/Ptr.h"

#include <array>
#include <thread>
#include <unordered_set>
#include <vector>

#include <gtest/gtest.h>

namespace {

/// Tells a counter outside when it dies.
class Shape : public PtrInterface {
public:
    explicit Shape(int * gone = nullptr) : gone_(gone) {}
    ~Shape() override {
        if (gone_ != nullptr) {
            ++*gone_;
        }
    }

private:
    int * gone_;
};

class Square final : public Shape {
public:
    using Shape::Shape;
    int side = 3;
};

/// Comes back to a list instead of being deleted.
class Pooled final : public PtrInterface {
public:
    explicit Pooled(std::vector<Pooled const *> & pool) : pool_(pool) {}

private:
    void lastUserGone() const override { pool_.push_back(this); }
    std::vector<Pooled const *> & pool_;
};

U32 countSeen(Ptr<Square const> const & p) { return p->refCount(); }
U32 countSeenOfBase(Ptr<Shape const> const & p) { return p->refCount(); }

// What must not compile.
static_assert(!std::is_convertible_v<Ptr<Square const>, Ptr<Square>>);
static_assert(!std::is_convertible_v<Ptr<Shape const>, Ptr<Shape>>);
static_assert(!std::is_convertible_v<Ptr<Shape>, Ptr<Square>>);
static_assert(!std::is_convertible_v<Square *, Ptr<Square>>);
static_assert(!std::is_copy_constructible_v<Square>);
static_assert(sizeof(Ptr<Square>) == sizeof(void *));
static_assert(sizeof(Entity) <= sizeof(PtrInterface) + 16);

} // namespace

TEST(Ptr, CountsEachUserOnce) {
    int gone = 0;
    {
        Ptr<Square> const a = makePtr<Square>(&gone);
        EXPECT_EQ(a->refCount(), 1U);
        Ptr<Square> b = a;
        EXPECT_EQ(a->refCount(), 2U);
        Ptr<Square> const c = std::move(b);
        EXPECT_EQ(a->refCount(), 2U);
        EXPECT_FALSE(b); // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
        Ptr<Shape const> d = c;
        EXPECT_EQ(a->refCount(), 3U);
        d = nullptr;
        EXPECT_EQ(a->refCount(), 2U);
        EXPECT_EQ(gone, 0);
    }
    EXPECT_EQ(gone, 1);
}

TEST(Ptr, LendsItselfAsPointerToConst) {
    Ptr<Square> const p = makePtr<Square>();
    Ptr<Square const> const & lent = p;
    EXPECT_EQ(countSeen(p), 1U);
    EXPECT_EQ(countSeen(lent), 1U);
    EXPECT_EQ(countSeenOfBase(p), 2U); // derived to base is a pointer of its own
    EXPECT_EQ(countSeen(makePtr<Square>()), 1U);
    EXPECT_EQ(countSeenOfBase(makePtr<Square>()), 1U); // a temporary hands its use on
}

TEST(Ptr, AssignmentsSurviveAliases) {
    int gone = 0;
    Ptr<Square> p = makePtr<Square>(&gone);
    auto & same = p;
    p = same;
    p = std::move(same);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->refCount(), 1U);

    Ptr<Square const> constant = p;
    constant = p; // lent, then copied
    constant = makePtr<Square>(&gone);
    EXPECT_EQ(p->refCount(), 1U);
    EXPECT_NE(constant, p);
    std::vector<Ptr<Shape const>> shapes{p, constant};
    // Overloads for both kinds of references must not be ambiguous.
    shapes.push_back(makePtr<Square>(&gone)); // NOLINT(modernize-use-emplace)
    shapes.push_back(p);                      // NOLINT(modernize-use-emplace)
    EXPECT_EQ(p->refCount(), 3U);
    shapes.clear();
    EXPECT_EQ(gone, 1);
    EXPECT_EQ(p->refCount(), 1U);
}

TEST(Ptr, CastsAndHandsOver) {
    Ptr<Shape const> shape = makePtr<Square>();
    Ptr<Square const> square = ptrCast<Square const>(shape);
    EXPECT_EQ(square->side, 3);
    EXPECT_EQ(square->refCount(), 2U);
    square = nullptr;
    square = ptrCast<Square const>(std::move(shape));
    EXPECT_EQ(square->refCount(), 1U);
    Ptr<Square> const writable = constCast(square);
    writable->side = 4;
    EXPECT_EQ(square->side, 4);

    Square const * raw = square.release();
    EXPECT_EQ(raw->refCount(), 2U);
    square = Ptr<Square const>::adopt(raw);
    EXPECT_EQ(raw->refCount(), 2U);
    EXPECT_TRUE(square == writable && square == raw && square != nullptr);
    std::unordered_set<Ptr<Square const>> const set{square, writable};
    EXPECT_EQ(set.size(), 1U);
}

TEST(Ptr, LastUserGoneMayKeepTheObject) {
    std::vector<Pooled const *> pool;
    for (int round = 1; round <= 2; ++round) {
        Ptr<Pooled const> p(pool.empty() ? new Pooled(pool) : pool.back());
        pool.clear();
        p = nullptr;
        ASSERT_EQ(pool.size(), 1U);
        EXPECT_EQ(pool.back()->refCount(), 0U);
    }
    delete pool.back();
}

TEST(Ptr, BorrowedOnesAreNotCountedButTheirCopiesAre) {
    int gone = 0;
    Ptr<Square const> kept;
    {
        auto const owner = makePtr<Square>(&gone);
        {
            BorrowedPtr<Square const> const borrowed(owner.get());
            EXPECT_EQ(owner->refCount(), 1U);
            EXPECT_EQ(countSeen(borrowed), 1U);
            kept = borrowed;
            EXPECT_EQ(owner->refCount(), 2U);
        }
        EXPECT_EQ(owner->refCount(), 2U);
    }
    EXPECT_EQ(gone, 0);
    EXPECT_EQ(kept->refCount(), 1U);
    kept = nullptr;
    EXPECT_EQ(gone, 1);
    BorrowedPtr<Square const> const none(nullptr);
    EXPECT_FALSE(static_cast<Ptr<Square const> const &>(none));
}

TEST(Ptr, CountsAreExactAcrossThreadsAndWithoutThem) {
    int gone = 0;
    for (bool const threadSafe : {true, false}) {
        ThreadSafePtrs::enabledIs(threadSafe);
        Ptr<Square const> p = makePtr<Square>(&gone);
        auto const work = [p] {
            for (int i = 0; i < 20000; ++i) {
                std::array<Ptr<Square const>, 2> const squares{p, p};
                Ptr<Shape const> const shape = squares[1];
            }
        };
        if (threadSafe) {
            std::array<std::thread, 4> threads;
            for (auto & t : threads) {
                t = std::thread(work);
            }
            for (auto & t : threads) {
                t.join();
            }
        } else {
            work();
        }
        EXPECT_EQ(p->refCount(), 2U); // p and the copy in `work`
    }
    ThreadSafePtrs::enabledIs(true);
    EXPECT_EQ(gone, 2);
}

TEST(Ptr, TheLastOfManyThreadsFreesOnce) {
    for (int round = 0; round < 200; ++round) {
        int gone = 0; // written by whichever thread drops last; join orders it before the read
        Ptr<Square const> p = makePtr<Square>(&gone);
        std::thread other([q = p]() mutable { q = nullptr; });
        p = nullptr;
        other.join();
        ASSERT_EQ(gone, 1);
    }
}
