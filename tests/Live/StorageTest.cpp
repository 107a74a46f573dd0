#include "Live/AttributeBytes.h"
#include "Live/AttributeStore.h"
#include "Live/NumberIndex.h"
#include "tests/Live/LiveTools.h"

#include <map>
#include <random>

#include <gtest/gtest.h>

namespace Qcf::Live::test {
namespace {

std::span<U8 const> bytesOf(String const & text) {
    return {reinterpret_cast<U8 const *>(text.data()), text.size()};
}
String textOf(std::span<U8 const> bytes) { return {bytes.begin(), bytes.end()}; }

TEST(AttributeStore, IsACountedSetOfContents) {
    std::mt19937 random(7);
    AttributeStore store;
    struct Use {
        U32 number;
        U32 uses = 0;
    };
    std::map<String, Use> model;
    for (U32 step = 0; step < 50'000; ++step) {
        // Few contents of many sizes, so that places are used again in every way.
        String const content(random() % 60, static_cast<char>('a' + random() % 4));
        if (random() % 5 < 3 - (step / 10'000) % 2) {
            U32 const number = store.add(bytesOf(content));
            auto const [at, isNew] = model.try_emplace(content, Use{number});
            ASSERT_EQ(at->second.number, number);
            ++at->second.uses;
        } else if (auto const at = model.find(content); at != model.end()) {
            store.release(at->second.number);
            if (--at->second.uses == 0) {
                model.erase(at);
            }
        }
        ASSERT_EQ(store.size(), model.size());
    }
    ASSERT_GT(model.size(), 50);
    for (auto const & [content, use] : model) {
        EXPECT_EQ(textOf(store.bytes(use.number)), content);
    }
}

TEST(AttributeStore, WhatIsReleasedIsUsedAgain) {
    AttributeStore store;
    U64 before = 0;
    for (U32 round = 0; round < 20; ++round) {
        std::vector<U32> numbers;
        for (U32 i = 0; i < 40'000; ++i) {
            numbers.push_back(
                store.add(bytesOf("attributes " + std::to_string(round * 40'000 + i))));
        }
        for (U32 const number : numbers) {
            store.release(number);
        }
        EXPECT_EQ(store.size(), 0);
        before = round == 1 ? store.memory() : before;
    }
    EXPECT_LT(store.memory(), before + before / 8);
}

U32 mixed(U32 number) {
    number = (number ^ number >> 16) * 0x45d9f3b;
    return (number ^ number >> 16) * 0x45d9f3b;
}

/// Numbers that stand for themselves, and how many of them moved.
struct NumberKeys {
    U32 (*hash)(U32 number);
    U32 & moved;

    void const * placeOf(U32 /*number*/) const { return this; }
    U32 hashOf(U32 number) const {
        ++moved;
        return hash(number);
    }
};

// Numbers that come and go in their order, over so many that segments of slots are split.
TEST(NumberIndex, FindsWhatIsThereAndMovesFewAtATime) {
    constexpr U32 count = 60'000;
    NumberIndex index;
    U32 moved = 0;
    U32 mostMoved = 0;
    auto const found = [&](U32 n) {
        return index.find(mixed(n), [&](U32 one) { return one == n; }) == n;
    };
    for (U32 n = 0; n < count; ++n) {
        moved = 0;
        index.insert(mixed(n), n, NumberKeys{mixed, moved});
        mostMoved = std::max(mostMoved, moved);
        if (n >= 40'000) {
            index.remove(mixed(n - 40'000), n - 40'000);
        }
        ASSERT_TRUE(found(n));
    }
    EXPECT_GT(mostMoved, 1000) << "it grew";
    EXPECT_LT(mostMoved, 8000);
    EXPECT_LT(index.memory(), 40'000 * 14);
    for (U32 n = 0; n < count; ++n) {
        ASSERT_EQ(found(n), n >= count - 40'000) << n;
    }
}

TEST(NumberIndex, HoldsNumbersThatNoHashTellsApart) {
    constexpr U32 count = 5000;
    NumberIndex index;
    U32 moved = 0;
    for (U32 n = 0; n < count; ++n) {
        index.insert(0xffffffff, n, NumberKeys{[](U32 /*n*/) { return 0xffffffffU; }, moved});
    }
    EXPECT_EQ(index.find(0xffffffff, [](U32 one) { return one == count - 1; }), count - 1);
    index.replace(0xffffffff, 7, count);
    EXPECT_EQ(index.find(0xffffffff, [](U32 one) { return one == 7; }), NumberIndex::none);
    EXPECT_EQ(index.find(0xffffffff, [](U32 one) { return one == count; }), count);
    EXPECT_EQ(index.find(0, [](U32 /*one*/) { return true; }), NumberIndex::none);
}

Agent::UpdatePrefix keyOf(U32 n) {
    U8 const length = n % 2 == 0 ? 24 : 32;
    return {{IpGenAddr::v4((n / 4) << 8), length}, n % 4 < 2 ? 0 : 1 + n % 3};
}

TEST(RibTable, IsAMapByPrefixAndIdentifier) {
    std::mt19937 random(11);
    RibTable table;
    std::map<std::pair<IpGenPrefix, U32>, U32> model;
    for (U32 step = 0; step < 60'000; ++step) {
        auto const key = keyOf(static_cast<U32>(random() % (step < 30'000 ? 700 : 9000)));
        auto const named = std::pair(key.prefix, key.pathId);
        RibRoute * const found = table.find(key);
        ASSERT_EQ(found != nullptr, model.contains(named));
        if (found != nullptr) {
            ASSERT_EQ(found->attributes, model.at(named));
            ASSERT_TRUE(found->isOf(key));
        }
        if (random() % 2 == 0) {
            auto const [route, isNew] = table.insert(key);
            ASSERT_EQ(isNew, found == nullptr);
            route->attributes = step;
            model[named] = step;
        } else if (found != nullptr) {
            table.erase(*found);
            model.erase(named);
        }
        if (step % 997 == 0) {
            // Odd ones go, each asked for at least once and erased once.
            std::size_t gone = 0;
            table.eraseIf([&](RibRoute const & route) {
                gone += route.attributes % 2;
                return route.attributes % 2 == 1;
            });
            EXPECT_EQ(std::erase_if(model, [](auto const & one) { return one.second % 2 == 1; }),
                      gone);
        }
        ASSERT_EQ(table.size(), model.size());
    }
    std::vector<std::pair<IpGenPrefix, U32>> keys;
    for (RibRoute const * const route : table.sorted()) {
        keys.emplace_back(route->prefix(), route->pathId);
    }
    std::vector<std::pair<IpGenPrefix, U32>> wanted;
    for (auto const & [key, value] : model) {
        wanted.push_back(key);
    }
    EXPECT_EQ(keys, wanted);
}

TEST(KeptAttributes, AreTheSameForEachPlaceWhateverElseTheMessageHas) {
    String const common = attribute(1, u8(0)) + attribute(2, segment(2, {65001}, 4));
    String const reach = attribute(14, u16(2) + u8(1) + u8(16) + address("2001:db8::1") + u8(0) +
                                           prefix("2001:db8::/32"));
    String const unreach = attribute(15, u16(2) + u8(1) + prefix("2001:db8:1::/48"));
    String const hop = attribute(3, address("192.0.2.1"));
    auto const kept = [](String const & message, PrefixPlace place) {
        KeptAttributes attributes;
        attributes.assign(bytesOf(message), place);
        return textOf(attributes.bytes);
    };
    String const field = kept(common + hop, PrefixPlace::field);
    EXPECT_EQ(kept(common + reach + hop + unreach, PrefixPlace::field), field);
    String const ofReach = kept(common + reach, PrefixPlace::attribute);
    EXPECT_EQ(kept(common + reach + hop + unreach, PrefixPlace::attribute), ofReach);
    EXPECT_NE(field, ofReach);

    Agent::Route route;
    Agent::PathAttributes attributes;
    attributes.decode(bytesOf(ofReach), {.as4 = true, .rib = true}, route);
    EXPECT_EQ(attributes.reach().nextHop.toString(), "2001:db8::1");
    EXPECT_EQ(route.asPath.toString(), "65001");
}

} // namespace
} // namespace Qcf::Live::test
