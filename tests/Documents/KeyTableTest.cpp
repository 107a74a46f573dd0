#include "Documents/KeyTable.h"

#include <limits>
#include <map>
#include <random>

#include <gtest/gtest.h>

namespace Qcf::Documents {
namespace {

void expectSame(std::vector<U64> const & keys) {
    KeyTable table;
    std::map<U64, U32> numbers;
    for (U64 const key : keys) {
        if (auto const number = static_cast<U32>(numbers.size());
            numbers.emplace(key, number).second) {
            table.insert(key, number);
        }
    }
    for (U64 const key : keys) {
        for (U64 const near : {key - 1, key, key + 1}) {
            auto const wanted = numbers.find(near);
            auto const found = table.find(near);
            ASSERT_EQ(found.has_value(), wanted != numbers.end()) << near;
            ASSERT_TRUE(!found || *found == wanted->second) << near;
        }
    }
}

TEST(KeyTable, findsKeysWhateverTheirGaps) {
    constexpr U64 last = std::numeric_limits<U64>::max();
    EXPECT_EQ(KeyTable().find(0), std::nullopt);
    expectSame({7});
    expectSame({0, last});
    expectSame({last - 2, last - 1, last});
    expectSame({1, 2, 3, 4, last / 2, last - 3, last - 2});
    std::mt19937_64 random(11);
    for (int round = 0; round < 200; ++round) {
        // Runs without gaps, gaps of all magnitudes, and some keys that come late.
        std::vector<U64> keys{random() % 5};
        while (keys.size() < 300 && keys.back() < last / 2) {
            keys.push_back(keys.back() + 1 + (random() % 3 == 0 ? random() >> (random() % 64) : 0));
        }
        for (std::size_t strays = random() % 4; strays > 0; --strays) {
            std::swap(keys[random() % keys.size()], keys[random() % keys.size()]);
        }
        expectSame(keys);
    }
}

} // namespace
} // namespace Qcf::Documents
