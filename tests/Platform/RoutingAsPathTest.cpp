#include "Platform/Routing/AsPath.h"

#include <algorithm>
#include <deque>
#include <numeric>
#include <random>
#include <set>
#include <vector>

#include <gtest/gtest.h>

namespace Routing::Bgp {
namespace {

using namespace std::string_view_literals;

AsnVector path(std::string_view text) { return parseAsPath(text).value(); }

std::vector<Asn> numbers(Asn first, std::size_t count) {
    std::vector<Asn> asns(count);
    std::iota(asns.begin(), asns.end(), first);
    return asns;
}

std::vector<U32> segmentLengths(AsnVector const & p) {
    std::vector<U32> lengths;
    for (AsPathSegment const & segment : p.segments()) {
        lengths.push_back(segment.count);
    }
    return lengths;
}

TEST(RoutingAsPathText, readsTolerantlyAndWritesCanonically) {
    struct Case {
        std::string_view text;
        std::string_view canonical;
        std::string_view pattern; ///< empty: the same
    };
    constexpr Case cases[] = {
        {"", "", ""},
        {" \t\r\n", "", ""},
        {"0", "0", ""},
        {"65001 4294967295", "65001 4294967295", ""},
        {"1.10 0.1 65535.65535", "65546 1 4294967295", ""},
        {"65001 65002 {65003,65004} (64512 64513) [1,2]",
         "65001 65002 {65003,65004} (64512 64513) [1 2]",
         "65001 65002 {65003,65004} (64512 64513) (1 2)"},
        {"  1\t2{3 4}5 ", "1 2 {3,4} 5", ""},
        {"{ 1 , 2 ,3 }{4}", "{1,2,3} {4}", ""},
        {"(1,2)3[ 4 ]", "(1 2) 3 [4]", "(1 2) 3 (4)"},
    };
    for (Case const & c : cases) {
        auto const parsed = parseAsPath(c.text);
        ASSERT_TRUE(parsed) << c.text;
        EXPECT_EQ(parsed->toString(), c.canonical);
        EXPECT_EQ(parseAsPath(parsed->toString()), parsed) << c.text;
        String pattern;
        appendAsPathPatternText(pattern, *parsed);
        EXPECT_EQ(pattern, c.pattern.empty() ? c.canonical : c.pattern);
    }
}

TEST(RoutingAsPathText, refusesWhatIsNoPath) {
    for (std::string_view const text :
         {"4294967296", "-1",     "+1",  "a",       "1a",   "1,2",    "1 , 2",   "{",
          "}",          "{}",     "{1",  "{1,",     "{1,}", "{,1}",   "{1,,2}",  "{1)",
          "(1]",        "{1{2}}", "()",  "[ ]",     "1.",   ".1",     "1.65536", "65536.1",
          "1.2.3",      ".",      "1;2", "AS65001", "1 2}", "(1 (2))"}) {
        EXPECT_FALSE(parseAsPath(text)) << text;
    }
    EXPECT_FALSE(parseAsPath("1\0"sv));
}

TEST(RoutingAsPathText, longSegmentsAreSplit) {
    String text = "{";
    for (Asn const asn : numbers(1, 300)) {
        text += std::to_string(asn) + " ";
    }
    EXPECT_EQ(segmentLengths(path(text + "}")), (std::vector<U32>{255, 45}));
    EXPECT_EQ(segmentLengths(path(text.substr(1))), (std::vector<U32>{255, 45}));
    EXPECT_EQ(path(text.substr(1)).asns().size(), 300U);
}

TEST(RoutingAsPath, lengthOriginAndLastAs) {
    struct Case {
        std::string_view text;
        U32 length;
        U32 origin; ///< 64999 is the session's own AS
        bool originKnown;
        U32 last;
    };
    constexpr Case cases[] = {
        {"", 0, 64999, true, 0},
        {"1", 1, 1, true, 1},
        {"1 2 3 3", 4, 3, true, 1},
        {"1 2 {3,4,5}", 3, 0, false, 1},
        {"{3,4} 1 2", 3, 2, true, 3},
        {"{7}", 1, 0, false, 7},
        {"(10 11) 1 2", 2, 2, true, 1},
        {"(10 11) [12 13] 1", 1, 1, true, 1},
        {"(10 11) {5 6}", 1, 0, false, 5},
        {"(10 11)", 0, 64999, true, 0},
        {"[10 11]", 0, 64999, true, 0},
        {"1 2 (10 11)", 2, 64999, true, 1},
        {"0", 1, 0, true, 0},
    };
    for (Case const & c : cases) {
        AsPath const canonical(path(c.text));
        AspathContainerFromExisting container;
        container.existingPathIs(&canonical);
        for (bool const expanded : {false, true}) {
            if (expanded) {
                container.expand();
            }
            bool known = !c.originKnown;
            EXPECT_EQ(pathLength(container), c.length) << c.text;
            EXPECT_EQ(originAs(container, 64999, known), c.origin) << c.text;
            EXPECT_EQ(known, c.originKnown) << c.text;
            EXPECT_EQ(lastAs(container), c.last) << c.text;
        }
        bool known = false;
        EXPECT_EQ(pathLength(canonical), c.length);
        EXPECT_EQ(originAs(canonical, 64999, known), c.origin);
        EXPECT_EQ(lastAs(canonical), c.last);
    }
}

TEST(RoutingAsPath, cachedLengthFollowsThePath) {
    AsPath p(path("1 2 3"));
    p.asnsIs(path("{1,2}"));
    EXPECT_EQ(p.length(), 1U);
    p.clear();
    EXPECT_EQ(p.length(), 0U);
    EXPECT_EQ(p, AsPath());
}

TEST(RoutingAsnVector, equalityIsOfSegments) {
    AsnVector split;
    split.append(SegmentType::sequence, std::vector<Asn>{1});
    split.append(SegmentType::sequence, std::vector<Asn>{2});
    EXPECT_EQ(split.toString(), "1 2");
    EXPECT_NE(split, path("1 2"));
    EXPECT_NE(path("{1,2}"), path("1 2"));
    EXPECT_NE(path("{1,2}"), path("{2,1}"));
    split.append(SegmentType::set, std::span<Asn const>());
    EXPECT_EQ(split.segments().size(), 2U);
}

/// What a speaker does for every AS number it prepends.
void prependOne(std::deque<std::pair<SegmentType, std::deque<Asn>>> & model, Asn asn) {
    if (model.empty() || model.front().first != SegmentType::sequence ||
        model.front().second.size() == AsnVector::maxSegmentLength) {
        model.push_front({SegmentType::sequence, {}});
    }
    model.front().second.push_front(asn);
}

TEST(RoutingAsnVector, prependIsOneByOneFromTheLast) {
    for (std::size_t const held : {0U, 1U, 200U, 254U, 255U, 256U, 600U}) {
        for (std::size_t const added : {0U, 1U, 2U, 54U, 55U, 56U, 255U, 256U, 510U, 511U, 1000U}) {
            for (SegmentType const type :
                 {SegmentType::sequence, SegmentType::set, SegmentType::confedSequence}) {
                AsnVector p;
                p.append(type, numbers(1, held));
                std::deque<std::pair<SegmentType, std::deque<Asn>>> model;
                for (AsPathSegmentView const segment : p) {
                    model.push_back({segment.type, {segment.asns.begin(), segment.asns.end()}});
                }
                auto const front = numbers(100000, added);
                std::for_each(front.rbegin(), front.rend(),
                              [&](Asn asn) { prependOne(model, asn); });
                p.prepend(front);
                AsnVector expected;
                for (auto const & [segmentType, asns] : model) {
                    expected.append(segmentType, std::vector<Asn>(asns.begin(), asns.end()));
                }
                ASSERT_EQ(p, expected) << held << " " << added;
            }
        }
    }
}

TEST(RoutingAsnVector, assignSequenceReplacesEverything) {
    AsnVector p = path("(1 2) 3 {4}");
    p.assignSequence(numbers(7, 3));
    EXPECT_EQ(p, path("7 8 9"));
    p.assignSequence(numbers(1, 511));
    EXPECT_EQ(segmentLengths(p), (std::vector<U32>{255, 255, 1}));
    p.assignSequence({});
    EXPECT_EQ(p, AsnVector());
}

TEST(RoutingAsnVector, replaceAndRemoveWorkInEverySegment) {
    struct Case {
        std::string_view text;
        std::set<Asn> chosen;
        std::string_view removed;
        std::string_view replaced; ///< by 99
    };
    Case const cases[] = {
        {"", {1}, "", ""},
        {"1 2 3", {}, "1 2 3", "1 2 3"},
        {"1 2 3", {1, 2, 3}, "", "99 99 99"},
        {"1 2 {1,3} (1 4) [1]", {1}, "2 {3} (4)", "99 2 {99,3} (99 4) [99]"},
        {"{1,2} 3 {4}", {3}, "{1,2} {4}", "{1,2} 99 {4}"},
        {"5 5 6 5", {5}, "6", "99 99 6 99"},
    };
    for (Case const & c : cases) {
        auto const chosen = [&c](Asn asn) { return c.chosen.contains(asn); };
        AsnVector p = path(c.text);
        auto const hits = std::count_if(p.asns().begin(), p.asns().end(), chosen);
        EXPECT_EQ(p.replaceIf(chosen, 99), hits);
        EXPECT_EQ(p.toString(), c.replaced);
        p = path(c.text);
        EXPECT_EQ(p.removeIf(chosen), hits);
        EXPECT_EQ(p, path(c.removed)) << c.text;
    }
}

TEST(RoutingAsPathContainer, copiesOnceAndLeavesTheOriginalAlone) {
    AsPath const first(path("1 2"));
    AsPath const second(path("3"));
    AspathContainerFromExisting container;
    EXPECT_TRUE(container.asns().empty());
    EXPECT_EQ(pathLength(container), 0U);

    container.existingPathIs(&first);
    EXPECT_EQ(container.expanded(), nullptr);
    EXPECT_EQ(&container.asns(), &first.asns());
    container.expand().prepend(numbers(9, 1));
    container.expand().prepend(numbers(8, 1));
    EXPECT_EQ(container.asns(), path("8 9 1 2"));
    EXPECT_EQ(container.expanded(), &container.asns());
    EXPECT_EQ(first.asns(), path("1 2"));
    EXPECT_EQ(pathLength(container), 4U);

    container.existingPathIs(&second);
    EXPECT_EQ(container.expanded(), nullptr);
    EXPECT_EQ(container.toString(), "3");
    EXPECT_TRUE(container.expandEmpty().empty());
    EXPECT_TRUE(container.asns().empty());
    EXPECT_EQ(container.existingPath(), &second);
    container.clear();
    container.expand();
    EXPECT_TRUE(container.asns().empty());
}

TEST(RoutingAsPathContainer, storageIsReused) {
    AsPath const usual(path("1 2 3 4 5 6 {7,8} 9"));
    AspathContainerFromExisting container;
    container.existingPathIs(&usual);
    auto const * const inside = reinterpret_cast<char const *>(container.expand().asns().data());
    EXPECT_GE(inside, reinterpret_cast<char const *>(&container));
    EXPECT_LT(inside, reinterpret_cast<char const *>(&container + 1));

    AsnVector longOne;
    longOne.append(SegmentType::sequence, numbers(1, 2000));
    AsPath const longest(longOne);
    container.existingPathIs(&longest);
    Asn const * const grown = container.expand().asns().data();
    for (AsPath const * const next : {&usual, &longest, &usual}) {
        container.existingPathIs(next);
        EXPECT_EQ(container.expand().asns().data(), grown);
        EXPECT_EQ(container.asns(), next->asns());
    }
}

TEST(RoutingAs4Path, mergesAsATwoOctetSpeakerMeantIt) {
    struct Case {
        std::string_view asPath;
        std::string_view as4Path;
        std::string_view merged;
    };
    constexpr Case cases[] = {
        // The usual ones: nothing, everything, or the tail was known to wide speakers only.
        {"1 2 3", "", "1 2 3"},
        {"", "", ""},
        {"23456 23456", "70000 70001", "70000 70001"},
        {"1 2 23456 23456", "70000 70001", "1 2 70000 70001"},
        {"1 23456 2", "70000 2", "1 70000 2"},
        // A longer AS4_PATH is not believed.
        {"1 2", "70000 70001 70002", "1 2"},
        {"", "70000", ""},
        {"(64512 64513) 1", "70000 70001", "(64512 64513) 1"},
        // A set counts 1 on either side.
        {"1 23456 {23456,3}", "70000 {70001,3}", "1 70000 {70001,3}"},
        {"1 {2,3,4} 23456", "70000", "1 {2,3,4} 70000"},
        {"1 {2,3,4} 23456", "5 70000", "1 5 70000"},
        {"{1,2} 23456", "70000", "{1,2} 70000"},
        {"1 2", "{70000,70001}", "1 {70000,70001}"},
        // Confederation segments that lead, or adjoin what is kept, are kept.
        {"(64512) 23456", "70000", "(64512) 70000"},
        {"(64512) [64513] 1 23456", "70000", "(64512) [64513] 1 70000"},
        {"1 (64512) 23456", "70000", "1 (64512) 70000"},
        {"1 23456 (64512) 2", "70000 2", "1 70000 2"},
        // Those in AS4_PATH are passed over and do not count.
        {"1 23456", "(64512 64513) 70000", "1 70000"},
        {"1 2", "(64512 64513)", "1 2"},
    };
    AsnVector out = path("77 {78}");
    for (Case const & c : cases) {
        mergeAs4Path(path(c.asPath), path(c.as4Path), out);
        EXPECT_EQ(out, path(c.merged)) << c.asPath << " | " << c.as4Path << " -> " << out;
    }
}

TEST(RoutingAs4Path, keepsLengthAndTail) {
    std::mt19937 random(4);
    for (int i = 0; i < 2000; ++i) {
        auto const randomPath = [&random] {
            AsnVector p;
            for (auto segments = random() % 4; segments > 0; --segments) {
                auto const type = static_cast<SegmentType>(1 + random() % 4);
                p.append(type, numbers(static_cast<Asn>(random() % 1000), 1 + random() % 300));
            }
            return p;
        };
        AsnVector const asPath = randomPath();
        AsnVector const as4Path = randomPath();
        AsnVector merged;
        mergeAs4Path(asPath, as4Path, merged);
        ASSERT_EQ(pathLength(merged), pathLength(asPath)) << asPath << " | " << as4Path;
        if (pathLength(as4Path) > pathLength(asPath)) {
            ASSERT_EQ(merged, asPath);
            continue;
        }
        std::vector<Asn> tail;
        for (AsPathSegmentView const segment : as4Path) {
            if (!isConfed(segment.type)) {
                tail.insert(tail.end(), segment.asns.begin(), segment.asns.end());
            }
        }
        ASSERT_GE(merged.asns().size(), tail.size());
        ASSERT_TRUE(std::equal(tail.rbegin(), tail.rend(), merged.asns().rbegin()));
        for (U32 const length : segmentLengths(merged)) {
            ASSERT_LE(length, AsnVector::maxSegmentLength);
        }
    }
}

} // namespace
} // namespace Routing::Bgp
