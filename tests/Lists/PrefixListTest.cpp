#include "Lists/ListsDocument.h"

#include <algorithm>
#include <numeric>
#include <random>
#include <sstream>

#include <gtest/gtest.h>

namespace Qcf::Lists {
namespace {

IpGenPrefix prefix(std::string_view text) { return IpGenPrefix::parse(text).value(); }

String answerText(std::optional<bool> answer) {
    return !answer ? "unknown" : *answer ? "true" : "false";
}

PtrConst<PrefixListTrie> listOf(String const & body) {
    String const text = R"({"qcf": "lists/1", "prefixLists": {"L": )" + body + "}}";
    return readLists(text, "lists.json")->prefixLists.at("L");
}

TEST(PrefixList, Documents) {
    struct Case {
        char const * list;
        /// Candidates and their answers, by blanks.
        char const * answers;
    };
    constexpr Case cases[] = {
        {R"({"family": "v4", "entries": []})", "10.0.0.0/8 unknown 2001:db8::/32 unknown"},
        {R"({"family": "v4", "entries": [
            {"seq": 10, "action": "permit", "prefix": "10.0.0.0/8"}]})",
         "10.0.0.0/8 true 10.0.0.0/9 false 0.0.0.0/0 false 11.0.0.0/8 false ::/0 false"},
        {R"({"family": "v4", "entries": [
            {"seq": 10, "action": "permit", "prefix": "10.0.0.0/8", "ge": 24}]})",
         "10.0.0.0/8 false 10.1.1.0/24 true 10.1.1.1/32 true 10.1.0.0/23 false"},
        {R"({"family": "v4", "entries": [
            {"seq": 10, "action": "permit", "prefix": "10.0.0.0/8", "le": 9}]})",
         "10.0.0.0/8 true 10.128.0.0/9 true 10.64.0.0/10 false"},
        {R"({"family": "v4", "entries": [
            {"seq": 10, "action": "permit", "prefix": "0.0.0.0/0", "ge": 0, "le": 32}]})",
         "0.0.0.0/0 true 255.255.255.255/32 true ::/0 false"},
        // A more specific entry that fails its range does not hide the one around it.
        {R"({"family": "v4", "entries": [
            {"seq": 10, "action": "deny", "prefix": "10.1.0.0/16", "ge": 30},
            {"seq": 20, "action": "permit", "prefix": "10.0.0.0/8", "ge": 20, "le": 28}]})",
         "10.1.1.0/24 true 10.1.1.0/30 false 10.2.0.0/20 true 10.1.0.0/16 false"},
        // The sequence decides, not the order in the document nor the length of the prefix.
        {R"({"family": "v4", "entries": [
            {"seq": 30, "action": "permit", "prefix": "10.1.0.0/16", "le": 32},
            {"seq": 20, "action": "deny", "prefix": "10.0.0.0/8", "ge": 24, "le": 24},
            {"seq": 5, "action": "permit", "prefix": "10.1.1.0/24"}]})",
         "10.1.1.0/24 true 10.1.2.0/24 false 10.1.2.0/25 true 10.1.0.0/16 true"},
        {R"({"family": "v6", "entries": [
            {"seq": 1, "action": "deny", "prefix": "2001:db8:8000::/33", "ge": 64},
            {"seq": 2, "action": "permit", "prefix": "2001:db8::/32", "ge": 48, "le": 128}]})",
         "2001:db8::/32 false 2001:db8:1::/48 true 2001:db8:8000::/48 true "
         "2001:db8:8000::/64 false 2001:db8:8000::1/128 false 2001:db8::1/128 true 10.0.0.0/8 "
         "false"},
        {R"({"family": "v4", "covered": true, "entries": [
            {"seq": 1, "action": "deny", "prefix": "10.1.0.0/16", "ge": 24, "le": 24},
            {"seq": 2, "action": "permit", "prefix": "10.0.0.0/8"}]})",
         "10.0.0.0/8 true 10.1.1.0/25 false 10.2.3.4/32 true 0.0.0.0/0 false"},
    };
    for (Case const & c : cases) {
        auto const list = listOf(c.list);
        std::istringstream answers(c.answers);
        for (String candidate, expected; answers >> candidate >> expected;) {
            EXPECT_EQ(answerText(list->match(prefix(candidate))), expected)
                << candidate << " in " << c.list;
        }
    }
}

TEST(PrefixList, CandidateWithoutFamilyIsInNoList) {
    auto const list = listOf(
        R"({"family": "v4", "entries": [{"seq": 1, "action": "permit", "prefix": "0.0.0.0/0"}]})");
    EXPECT_EQ(answerText(list->match(IpGenPrefix())), "false");
}

/// Random lists whose entries nest, overlap and repeat, and candidates near them.
class Generator {
public:
    Generator(U32 seed, AddressFamily family) : random_(seed), family_(family) {}

    std::vector<PrefixListEntry> entries(U32 count) {
        std::vector<PrefixListEntry> entries(count);
        std::vector<U32> seqs(count);
        std::iota(seqs.begin(), seqs.end(), 1);
        std::ranges::shuffle(seqs, random_);
        for (U32 i = 0; i < count; ++i) {
            PrefixListEntry & entry = entries[i];
            entry.seq = seqs[i];
            entry.action = below(3) == 0 ? ListAction::deny : ListAction::permit;
            entry.prefix = near(i == 0 ? IpGenPrefix() : entries[below(i)].prefix);
            entry.minLength = entry.prefix.len() + below(width() + 1 - entry.prefix.len());
            entry.maxLength = entry.minLength + below(width() + 1 - entry.minLength);
        }
        return entries;
    }

    IpGenPrefix candidate(std::vector<PrefixListEntry> const & entries) {
        return near(entries.empty() ? IpGenPrefix() : entries[below(entries.size())].prefix);
    }

private:
    U8 width() const { return addressWidth(family_); }
    U8 below(std::size_t bound) { return static_cast<U8>(random_() % bound); }

    /// One around, in, equal to or beside another; or anything.
    IpGenPrefix near(IpGenPrefix const & other) {
        U32 const kind = other.af() == AddressFamily::none ? 0 : below(5);
        U8 const length = kind == 0   ? below(width() + 1)
                          : kind == 1 ? below(other.len() + 1)
                          : kind == 2 ? other.len()
                                      : other.len() + below(width() + 1 - other.len());
        std::array<U8, 16> octets{};
        for (U32 bit = 0; bit < length; ++bit) {
            bool const isSet = kind != 0 && bit < other.len()
                                   ? (other.addr().bytes()[bit / 8] >> (7 - bit % 8) & 1) != 0
                                   : below(2) != 0;
            octets[bit / 8] |= static_cast<U8>(isSet << (7 - bit % 8));
        }
        if (kind == 4 && length > 0) {
            octets[(length - 1) / 8] ^= static_cast<U8>(1 << (7 - (length - 1) % 8));
        }
        return family_ == AddressFamily::ipv6
                   ? IpGenPrefix(IpGenAddr::v6(octets), length)
                   : IpGenPrefix(IpGenAddr::v4(U32{octets[0]} << 24 | U32{octets[1]} << 16 |
                                               U32{octets[2]} << 8 | octets[3]),
                                 length);
    }

    std::mt19937 random_;
    AddressFamily family_;
};

/// The rule as it is told: try one entry after the other.
bool firstMatchPermits(std::vector<PrefixListEntry> const & bySeq, IpGenPrefix const & candidate) {
    for (PrefixListEntry const & entry : bySeq) {
        if (entry.prefix.contains(candidate) && candidate.len() >= entry.minLength &&
            candidate.len() <= entry.maxLength) {
            return entry.action == ListAction::permit;
        }
    }
    return false;
}

TEST(PrefixList, AgreesWithTryingOneEntryAfterTheOther) {
    for (auto const family : {AddressFamily::ipv4, AddressFamily::ipv6}) {
        U32 permitted = 0;
        constexpr U32 lists = 500;
        constexpr U32 candidates = 200;
        for (U32 seed = 0; seed < lists; ++seed) {
            Generator generator(seed, family);
            auto entries = generator.entries(1 + seed % 60);
            PrefixListTrie const list(family, entries);
            std::ranges::sort(entries, {}, &PrefixListEntry::seq);
            for (U32 i = 0; i < candidates; ++i) {
                auto const candidate = generator.candidate(entries);
                bool const expected = firstMatchPermits(entries, candidate);
                ASSERT_EQ(list.match(candidate), expected) << "seed " << seed << " " << candidate;
                permitted += expected ? 1 : 0;
            }
        }
        EXPECT_GT(permitted, lists * candidates / 10);
        EXPECT_LT(permitted, lists * candidates * 9 / 10);
    }
}

TEST(PrefixList, LongChainsAndLongListsOfEqualPrefixes) {
    // Every length of one address, each inside the one before; the outermost comes first.
    std::vector<PrefixListEntry> nested;
    auto const address = IpGenAddr::parse("2001:db8::1").value();
    for (U8 length = 0; length <= 128; ++length) {
        auto const action = length % 2 == 0 ? ListAction::permit : ListAction::deny;
        nested.push_back({length, action, IpGenPrefix(address, length), length, length});
    }
    PrefixListTrie const chain(AddressFamily::ipv6, nested);
    for (U8 length = 0; length <= 128; ++length) {
        EXPECT_EQ(chain.match(IpGenPrefix(address, length)), length % 2 == 0);
    }
    // Ten thousand entries of one prefix: only the first for each length counts.
    std::vector<PrefixListEntry> equal;
    for (U32 seq = 0; seq < 10'000; ++seq) {
        U8 const length = static_cast<U8>(8 + seq % 25);
        auto const action = seq < 12 ? ListAction::permit : ListAction::deny;
        equal.push_back({seq, action, prefix("10.0.0.0/8"), length, length});
    }
    PrefixListTrie const flat(AddressFamily::ipv4, equal);
    EXPECT_EQ(flat.match(prefix("10.0.0.0/8")), true);
    EXPECT_EQ(flat.match(prefix("10.0.0.0/19")), true);
    EXPECT_EQ(flat.match(prefix("10.0.0.0/20")), false);
}

} // namespace
} // namespace Qcf::Lists
