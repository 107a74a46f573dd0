#include "Lists/ListsDocument.h"
#include "tests/support/Mutator.h"

#include <gtest/gtest.h>

namespace Qcf::Lists {
namespace {

constexpr char const * seeds[] = {
    R"({"qcf": "lists/1", "prefixLists": {
        "A": {"family": "v4", "covered": false, "entries": [
            {"seq": 10, "action": "permit", "prefix": "10.0.0.0/8", "ge": 9, "le": 24},
            {"seq": 20, "action": "deny", "prefix": "0.0.0.0/0"}]},
        "B": {"family": "v6", "covered": true, "entries": [
            {"seq": 1, "action": "permit", "prefix": "2001:db8::/32"}]}},
      "dynamicPrefixLists": {"D": {"v4": [{"seq": 1, "action": "permit", "prefix": "10.0.0.0/8"}],
        "v6": [], "vrfs": {"1": true, "16777215": false}}}})",
    R"({"qcf": "lists/1", "communityLists": {"C": [
        {"action": "permit", "communities": ["65000:1", "no-export", 7]},
        {"action": "deny", "regex": "^65000:9[0-9]{2,3}(a|b)*"}]},
      "extCommunityLists": {"E": [{"action": "permit", "communities":
        ["rt:65000:5", "soo:1.2.3.4:6", "lbw:65000:1e6", "0x4004fde8447a0000"]}]},
      "largeCommunityLists": {"L": [{"action": "permit", "communities":
        ["1:2:3", {"value": 18446744073709551615, "type": 4294967295}]}]}})",
    R"({"qcf": "lists/1", "asPathAccessLists": {"P": [
        {"action": "permit", "regex": "_(65001|65002)_[^_]+_\\Q_\\E", "origin": "igp"}]},
      "tagSets": {"T": [1, 2, 3, 4294967295]},
      "roaTables": {"R": [{"prefix": "10.0.0.0/8", "maxLength": 24, "asn": "AS65001"},
        {"prefix": "::/0", "maxLength": 128, "asn": 4294967295}]}})",
};

/// Strings, numbers and words of a text, as they stand there.
std::vector<std::string_view> tokens(std::string_view text) {
    constexpr std::string_view between = " \n:,{}[]";
    std::vector<std::string_view> found;
    for (std::size_t at = 0; at < text.size();) {
        if (between.find(text[at]) != std::string_view::npos) {
            ++at;
            continue;
        }
        std::size_t const end =
            text[at] == '"' ? text.find('"', at + 1) + 1 : text.find_first_of(between, at);
        found.push_back(text.substr(at, end - at));
        at = end;
    }
    return found;
}

/// Puts a token of any seed in the place of one of the same kind: the text stays JSON, mostly.
String withOtherToken(String text, U32 seed) {
    std::mt19937 random(seed);
    auto const own = tokens(text);
    auto const replaced = own[random() % own.size()];
    auto others = tokens(seeds[random() % std::size(seeds)]);
    std::erase_if(others, [&](std::string_view token) {
        return (token.front() == '"') != (replaced.front() == '"');
    });
    auto const at = static_cast<std::size_t>(replaced.data() - text.data());
    return text.replace(at, replaced.size(), others[random() % others.size()]);
}

TEST(ListsMutation, DocumentsAreReadOrRefusedWithTheirPlace) {
    constexpr U32 rounds = 10'000;
    std::vector<String> const all(std::begin(seeds), std::end(seeds));
    U32 read = 0;
    for (U32 round = 0; round < rounds; ++round) {
        String const & seed = all[round % all.size()];
        String const text =
            round % 2 == 0 ? Mutator(round).mutate(seed, all) : withOtherToken(seed, round);
        try {
            readLists(text, "mutated.json");
            ++read;
        } catch (DocumentError const & error) {
            String const line = error.what();
            EXPECT_TRUE(line.starts_with("mutated.json:")) << line;
            EXPECT_EQ(line.find('\n'), String::npos) << line;
        }
    }
    EXPECT_GT(read, rounds / 50);
    EXPECT_LT(read, rounds / 2);
}

} // namespace
} // namespace Qcf::Lists
