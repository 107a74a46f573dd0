#include "Lists/ListRecord.h"
#include "Platform/Routing/AsPath.h"
#include "Platform/Routing/CommunityText.h"
#include "Text/Patterns.h"
#include "tests/Text/ListTools.h"

#include <random>

#include <gmock/gmock.h>

using namespace Qcf::Text; // NOLINT(google-build-using-namespace): what is under test

namespace {

using Random = std::mt19937;
constexpr U32 max32 = ~U32{0};

U32 below(Random & random, U32 most) { return std::uniform_int_distribution<U32>(0, most)(random); }

/// A number up to `most` that is often short, round or at an end.
U32 anyNumber(Random & random, U32 most) {
    U32 const wide = below(random, most);
    switch (random() % 5) {
    case 0:
        return wide % 200;
    case 1:
        return wide - wide % 1000;
    case 2:
        return most - wide % 20;
    case 3:
        return wide >> random() % 32;
    default:
        return wide;
    }
}

NumberRange anyRange(Random & random, U32 most) {
    U32 const one = anyNumber(random, most);
    U32 const other = anyNumber(random, most);
    bool const isRange = random() % 3 != 0;
    return {std::min(one, other), isRange ? std::max(one, other) : std::min(one, other), isRange};
}

/// A number at an end of the range, just outside, within or anywhere.
U32 nearRange(Random & random, NumberRange const & range, U32 most) {
    U32 const candidates[] = {range.low,
                              range.high,
                              range.low == 0 ? 0 : range.low - 1,
                              range.high == most ? most : range.high + 1,
                              range.low + below(random, range.high - range.low),
                              anyNumber(random, most)};
    return candidates[random() % std::size(candidates)];
}

bool contains(NumberRange const & range, U32 number) {
    return range.low <= number && number <= range.high;
}

bool anyContains(std::vector<NumberRange> const & ranges, U32 number) {
    return std::ranges::any_of(ranges,
                               [&](NumberRange const & each) { return contains(each, number); });
}

/// What an entry means, by the numbers of a path; `sets` says which of them stand in a set.
bool means(PathEntry const & entry, std::vector<U32> const & path, std::vector<bool> const & sets) {
    auto const holds = [&](std::size_t at) { return anyContains(entry.numbers, path[at]); };
    switch (entry.form) {
    case PathForm::contains:
        return std::ranges::any_of(path, [&](U32 n) { return anyContains(entry.numbers, n); });
    case PathForm::starts:
        return !path.empty() && !sets.front() && holds(0);
    case PathForm::ends:
        return !path.empty() && !sets.back() && holds(path.size() - 1);
    default:
        return !path.empty() && std::ranges::count(sets, true) == 0 &&
               std::ranges::all_of(path, [&](U32 n) { return anyContains(entry.numbers, n); });
    }
}

} // namespace

TEST(Patterns, SpellRangesAsDigits) {
    struct Case {
        U32 low;
        U32 high;
        char const * alternatives;
    };
    constexpr Case cases[] = {
        {5, 5, "5"},
        {0, 9, "[0-9]"},
        {8, 12, "[8-9]|1[0-2]"},
        {0, 65535,
         "[0-9]|[1-9][0-9]|[1-9][0-9]{2}|[1-9][0-9]{3}|[1-5][0-9]{4}|6[0-4][0-9]{3}|65[0-4][0-9]{2}"
         "|655[0-2][0-9]|6553[0-5]"},
        {64496, 65534, "6449[6-9]|64[5-9][0-9]{2}|65[0-4][0-9]{2}|655[0-2][0-9]|6553[0-4]"},
        {4200000000, 4294967295,
         "42[0-8][0-9]{7}|429[0-3][0-9]{6}|4294[0-8][0-9]{5}|42949[0-5][0-9]{4}|429496[0-6][0-9]{3}"
         "|4294967[0-1][0-9]{2}|42949672[0-8][0-9]|429496729[0-5]"},
    };
    for (Case const & each : cases) {
        EXPECT_EQ(rangeAlternatives(each.low, each.high), each.alternatives);
    }
}

TEST(Patterns, RangesAreExact) {
    for (U32 low = 0; low <= 120; ++low) {
        for (U32 high = low; high <= 120; high += 1 + high % 3) {
            Qcf::Lists::Pattern const pattern("^(" + rangeAlternatives(low, high) + ")$");
            for (U32 number = 0; number <= 130; ++number) {
                ASSERT_EQ(pattern.foundIn(std::to_string(number)), low <= number && number <= high)
                    << low << ".." << high << " and " << number;
            }
        }
    }
}

TEST(Patterns, TemplatesMeanWhatTheySay) {
    Random random(1);
    for (U32 round = 0; round < 1000; ++round) {
        bool const isLarge = round % 2 == 1;
        U32 const most = isLarge ? max32 : 65535;
        std::vector<TemplatePart> parts(isLarge ? 3 : 2);
        for (auto & part : parts) {
            part = random() % 3 == 0 ? TemplatePart() : anyRange(random, most);
        }
        parts[random() % parts.size()] = NumberRange{7, 7000, true};
        String const pattern = templatePattern(parts);
        EXPECT_EQ(templateOf(pattern, parts.size(), most), parts) << toText(parts);
        Qcf::Lists::Pattern const compiled(pattern);
        for (U32 asked = 0; asked < 20; ++asked) {
            // Several communities in one text, as a route's.
            String text;
            bool expected = false;
            for (U32 count = random() % 4; count != 0; --count) {
                bool fits = true;
                text += text.empty() ? "" : " ";
                for (auto const & part : parts) {
                    U32 const number = part && random() % 4 != 0 ? nearRange(random, *part, most)
                                                                 : anyNumber(random, most);
                    text += (&part == parts.data() ? "" : ":") + std::to_string(number);
                    fits = fits && (!part || contains(*part, number));
                }
                expected = expected || fits;
            }
            ASSERT_EQ(compiled.foundIn(text), expected) << toText(parts) << " on " << text;
        }
    }
}

TEST(Patterns, PathEntriesMeanWhatTheySay) {
    Random random(2);
    for (U32 round = 0; round < 1000; ++round) {
        PathEntry entry{static_cast<PathForm>(round % 4), {}};
        for (U32 count = 1 + below(random, 4); count != 0; --count) {
            entry.numbers.push_back(anyRange(random, max32));
        }
        String const pattern = pathPattern(entry);
        auto const back = pathEntryOf(pattern);
        ASSERT_TRUE(back) << pattern;
        EXPECT_EQ(toText(*back), toText(entry));
        auto const compiled = Qcf::Lists::asPathPattern(pattern);
        for (U32 asked = 0; asked < 20; ++asked) {
            std::vector<U32> path(random() % 5);
            std::vector<bool> sets(path.size());
            String text;
            for (std::size_t i = 0; i < path.size(); ++i) {
                path[i] = nearRange(random, entry.numbers[random() % entry.numbers.size()], max32);
                sets[i] = random() % 8 == 0;
                String const number = std::to_string(path[i]);
                text += (i == 0 ? "" : " ") + (sets[i] ? '{' + number + '}' : number);
            }
            ASSERT_EQ(compiled.pattern.foundIn(text), means(entry, path, sets))
                << toText(entry) << " on " << text;
        }
    }
}

TEST(Patterns, AnyOtherPatternHasNoShortForm) {
    for (char const * pattern :
         {"(^| )65000:1( |$)", "(^| )65000:[0-9]*( |$)", "(^| )65000:[0-9]+( |$)x",
          "(^| )65000:[0-9]+:[0-9]+( |$)", "(^| )65536:[0-9]+( |$)", "(^| )065:[0-9]+( |$)",
          "(^| )65000:(1|2)( |$)", "(^| )65000:([0-8]{3})( |$)", "(^| )65000:([5-1])( |$)",
          "(^| )65000:([0-9]{9})( |$)", "(^| )65000:()( |$)", "(^| )[0-9]+:( |$)", "(^| )( |$)",
          "(^| )65000:1:( |$)", ""}) {
        EXPECT_TRUE(templateOf(pattern, 2, 65535).empty()) << pattern;
    }
    for (char const * pattern :
         {"_1_", "_()_", "_(1_", "_(1|)_", "_(01)_", "_(4294967296)_", "_(1[0-9])_", "^(1)( (2))*$",
          "^(1)( (1))*", "_((1|2))_", "_((1)", "^(1))*$", "_(1))_"}) {
        EXPECT_FALSE(pathEntryOf(pattern)) << pattern;
    }
}
