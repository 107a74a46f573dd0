#include "Mirror/NameMap.h"

#include <random>
#include <set>

#include <gtest/gtest.h>

namespace Qcf::Mirror {
namespace {

/// The shape of what is under a node, and the names, as text.
struct Shape {
    template <typename Slots>
    explicit Shape(Slots const & slots) {
        for (auto const & slot : slots) {
            text += std::to_string(slot.place) +
                    (slot.entry ? slot.entry->name : '(' + slot.node->summary.text + ')') + ' ';
        }
    }
    String text;
};

using Map = NameMap<U32, Shape>;
using Model = std::map<String, U32>;

// Two names of one hash, and names that share its first bits with others.
String const twins[] = {"8yn0iYCKYHlIj4-BwPqk", "GReLUrM4wMqfg9yzV3KQ"};

String nameOf(U32 number) { return number < 2 ? twins[number] : "f" + std::to_string(number); }

Model modelOf(Map const & map) {
    Model model;
    map.each([&](Map::Entry const & entry) { model.emplace(entry.name, entry.value); });
    return model;
}

/// The same map made at once, from the last name to the first.
Map madeAnew(Model const & model) {
    std::vector<Map::Change> changes;
    std::for_each(model.rbegin(), model.rend(), [&](auto const & each) {
        changes.push_back({each.first, each.second});
    });
    return Map().with(std::move(changes));
}

U32 below(std::mt19937 & random, U32 bound) { return static_cast<U32>(random() % bound); }

/// A map, what it is to hold, and its random edits.
struct Pair {
    void edit(std::mt19937 & random, U32 names) {
        std::vector<Map::Change> changes;
        for (U32 count = random() % 8 == 0 ? names : 1 + below(random, 3); count != 0; --count) {
            Map::Change change{nameOf(below(random, names)), {}};
            if (random() % 3 != 0) {
                change.value = below(random, 100);
                model[change.name] = *change.value;
            } else {
                model.erase(change.name);
            }
            changes.push_back(std::move(change));
        }
        map = map.with(std::move(changes));
    }

    Map map;
    Model model;
};

TEST(NameMap, holdsWhatAMapHoldsThroughAnyChange) {
    for (U32 const names : {2U, 4U, 40U, 3000U}) {
        std::mt19937 random(names);
        Pair pair;
        for (int step = 0; step < 200; ++step) {
            pair.edit(random, names);
            ASSERT_EQ(modelOf(pair.map), pair.model);
            ASSERT_EQ(pair.map.size(), pair.model.size());
            ASSERT_EQ(pair.map.empty(), pair.model.empty());
            for (U32 i = 0; i < 10; ++i) {
                String const name = nameOf(below(random, names + 1));
                U32 const * const found = pair.map.find(name);
                auto const known = pair.model.find(name);
                ASSERT_EQ(found != nullptr, known != pair.model.end());
                ASSERT_TRUE(found == nullptr || *found == known->second);
            }
            // What it came from does not show.
            ASSERT_EQ(pair.map.summary().text, madeAnew(pair.model).summary().text);
        }
    }
}

TEST(NameMap, entriesComeInNameOrder) {
    Map const map = Map().with({{"b", 1}, {"a", 2}, {"", 3}, {"a", 4}});
    ASSERT_EQ(map.inOrder().size(), 3U);
    EXPECT_EQ(map.inOrder()[0]->name, "");
    EXPECT_EQ(map.inOrder()[1]->value, 4U) << "the last one of a name";
    EXPECT_EQ(map.inOrder()[2]->name, "b");
}

TEST(NameMap, differencesAreThoseOfAMapAndWhatIsSharedIsPassedOver) {
    std::mt19937 random(7);
    std::vector<Pair> pairs(1);
    for (int step = 0; step < 60; ++step) {
        Pair next = pairs[random() % pairs.size()];
        next.edit(random, step % 2 == 0 ? 30 : 2);
        pairs.push_back(std::move(next));
    }
    for (int i = 0; i < 500; ++i) {
        Pair const & a = pairs[random() % pairs.size()];
        Pair const & b = pairs[random() % pairs.size()];
        Model seen;
        Map::eachDifference(a.map, b.map, [&](auto const * before, auto const * after) {
            String const & name = before != nullptr ? before->name : after->name;
            ASSERT_TRUE(seen.emplace(name, 0).second) << "told twice: " << name;
            ASSERT_EQ(before != nullptr, a.model.contains(name));
            ASSERT_EQ(after != nullptr, b.model.contains(name));
        });
        for (auto const & [name, value] : a.model) {
            auto const other = b.model.find(name);
            bool const isEqual = other != b.model.end() && other->second == value;
            ASSERT_TRUE(isEqual || seen.contains(name)) << name;
        }
        for (auto const & [name, value] : b.model) {
            ASSERT_TRUE(a.model.contains(name) || seen.contains(name)) << name;
        }
    }
}

TEST(NameMap, aChangeOfOneNameSharesAllOthers) {
    Model model;
    for (U32 i = 0; i < 50'000; ++i) {
        model[nameOf(i)] = i;
    }
    Map const before = madeAnew(model);
    Map const after = before.with({{"f777", 1}, {"unknown", {}}, {twins[0], {}}});
    std::set<String> seen;
    Map::eachDifference(before, after,
                        [&](auto const * from, auto const *) { seen.insert(from->name); });
    EXPECT_EQ(seen, (std::set<String>{"f777", twins[0]}));
    EXPECT_EQ(*after.find(twins[1]), 1U);
    EXPECT_EQ(before.size(), after.size() + 1);
}

} // namespace
} // namespace Qcf::Mirror
