#include "Platform/Framework/Hash.h"

#include <bit>
#include <cmath>
#include <set>
#include <vector>

#include <gtest/gtest.h>

namespace {

template <class... Values>
U32 hashOf(U32 seed, Values const &... values) {
    Hash hash(seed);
    (hash.hashMix(values), ...);
    return hash.result();
}

// Silent conversions are what a hash over stated widths must not have.
template <class T>
concept Mixable = requires(Hash h, T v) {
    h.hashMix(v);
};
static_assert(!Mixable<char const *> && !Mixable<int> && !Mixable<void *>);
static_assert(Mixable<bool> && Mixable<U64> && Mixable<F32> && Mixable<String>);

} // namespace

TEST(Hash, TellsWidthsOrderSeedsAndBoundariesApart) {
    String const ab = "ab";
    String const c = "c";
    String const a = "a";
    String const bc = "bc";
    String const empty;
    std::vector<U32> const different{
        hashOf(0),
        hashOf(1),
        hashOf(0, U8{0}),
        hashOf(0, U16{0}),
        hashOf(0, U32{0}),
        hashOf(0, U64{0}),
        hashOf(1, U64{0}),
        hashOf(0, U32{0}, U32{0}),
        hashOf(0, U32{1}, U32{2}),
        hashOf(0, U32{2}, U32{1}),
        hashOf(0, 0.0F, 1.0F),
        hashOf(0, -0.0F, 1.0F),
        hashOf(0, ab, c),
        hashOf(0, a, bc),
        hashOf(0, empty, ab, c),
        hashOf(0, String("nine byte")),
        hashOf(0, String("nine byt\0", 9)),
        hashOf(0, String("nine byt")),
    };
    EXPECT_EQ(std::set<U32>(different.begin(), different.end()).size(), different.size());
}

TEST(Hash, EqualInputsGiveEqualResults) {
    EXPECT_EQ(hashOf(7, true, U64{9}, String("x")), hashOf(7, true, U64{9}, String("x")));
    F32 const nan = std::nanf("");
    EXPECT_EQ(hashOf(0, nan), hashOf(0, nan));
    EXPECT_EQ(hashOf(0, true), hashOf(0, U8{1}));
    // The result is the same in every run: nothing of the process goes in.
    constexpr U32 atCompileTime = [] {
        Hash hash(5);
        hash.hashMix(U64{1} << 40);
        return hash.result();
    }();
    EXPECT_EQ(atCompileTime, hashOf(5, U64{1} << 40));
}

// Each bit of the input moves about half of the bits of the result.
TEST(Hash, EveryInputBitMovesTheResult) {
    for (U32 bit = 0; bit < 64; ++bit) {
        int moved = 0;
        for (U64 i = 0; i < 200; ++i) {
            U64 const value = i * 0x9e3779b97f4a7c15U;
            U32 const a = hashOf(3, value, U32{1});
            U32 const b = hashOf(3, value ^ (U64{1} << bit), U32{1});
            moved += std::popcount(a ^ b);
        }
        EXPECT_NEAR(moved / 200.0, 16.0, 2.0) << "bit " << bit;
    }
}

// Collisions of dense inputs are as rare as chance has it: n^2 / 2^33.
TEST(Hash, DenseInputsCollideOnlyByChance) {
    std::set<U32> counters;
    std::set<U32> pairs;
    std::set<U32> seeds;
    constexpr U32 side = 400;
    for (U32 i = 0; i < side * side; ++i) {
        counters.insert(hashOf(0, U64{i}));
        pairs.insert(hashOf(0, i / side, i % side));
        seeds.insert(hashOf(i, true));
    }
    for (auto const * results : {&counters, &pairs, &seeds}) {
        EXPECT_GT(results->size(), side * side - 20); // 3 expected
    }
}
