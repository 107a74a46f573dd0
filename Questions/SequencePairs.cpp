#include "Questions/SequencePairs.h"

#include <algorithm>

/// The pairing of best score, by the table of all beginnings. Equal ends are taken off before, so
/// that the table is as small as what was edited.
namespace Qcf::Questions {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

// An equal part is worth more than any two that are alike.
constexpr U32 equalScore = 1000;
constexpr U32 sameHeadScore = 450;
constexpr U32 sameSubjectScore = 200;
constexpr U32 sameClassScore = 100;
constexpr U32 mostLikeness = 100;
constexpr U32 leastLikeness = 50; ///< of parts that share their class alone
/// Beyond so many cells only parts in the same place are compared.
constexpr std::size_t mostCells = 4'000'000;

/// How much of the longer text stands at the ends of both, in hundredths.
U32 likeness(String const & a, String const & b) {
    std::size_t const shorter = std::min(a.size(), b.size());
    std::size_t const longer = std::max(a.size(), b.size());
    if (longer == 0) {
        return mostLikeness;
    }
    auto const begin = static_cast<std::size_t>(
        std::mismatch(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(shorter), b.begin())
            .first -
        a.begin());
    std::size_t end = 0;
    while (end < shorter - begin && a[a.size() - 1 - end] == b[b.size() - 1 - end]) {
        ++end;
    }
    return static_cast<U32>((begin + end) * mostLikeness / longer);
}

/// What it is about: the attribute that is written or compared, the function that is called.
std::string_view subjectOf(String const & text) {
    return std::string_view(text).substr(0, text.find_first_of(" ("));
}

bool leaves(SequencePart const & part) {
    return is<ReturnExpression>(*part.node) || is<ExitExpression>(*part.node);
}

/// 0 for what cannot be the same part.
U32 score(SequencePart const & older, SequencePart const & newer) {
    if (older.isElse != newer.isElse) {
        return 0;
    }
    if (*older.whole == *newer.whole) {
        return equalScore;
    }
    if (older.isElse) {
        return sameHeadScore;
    }
    U32 const alike = likeness(*older.head, *newer.head);
    bool const isBranch = is<IfExpression>(*older.node);
    if (isBranch != is<IfExpression>(*newer.node)) {
        return 0;
    }
    if (isBranch) {
        return *older.head == *newer.head ? sameHeadScore : sameClassScore + 2 * alike;
    }
    bool const isLeave = leaves(older);
    if (isLeave || leaves(newer)) {
        return isLeave && leaves(newer) ? sameSubjectScore + alike : 0;
    }
    if (subjectOf(*older.head) == subjectOf(*newer.head)) {
        return sameSubjectScore + alike;
    }
    bool const isSameClass = &older.node->typeData() == &newer.node->typeData();
    return isSameClass && alike >= leastLikeness ? alike : 0;
}

class PairTable {
public:
    PairTable(std::span<SequencePart const> older, std::span<SequencePart const> newer)
        : older_(older),
          newer_(newer),
          width_(newer.size() + 1),
          best_((older.size() + 1) * width_) {
        // From the ends, so that the way through the table goes forward.
        for (std::size_t i = older_.size(); i-- > 0;) {
            for (std::size_t j = newer_.size(); j-- > 0;) {
                U32 const pair = score(older_[i], newer_[j]);
                U32 const paired = pair == 0 ? 0 : pair + at(i + 1, j + 1);
                at(i, j) = std::max({paired, at(i + 1, j), at(i, j + 1)});
            }
        }
    }

    void append(std::vector<PartPair> & pairs, std::size_t from) {
        std::size_t i = 0;
        std::size_t j = 0;
        while (i < older_.size() && j < newer_.size()) {
            U32 const pair = score(older_[i], newer_[j]);
            if (pair != 0 && at(i, j) == pair + at(i + 1, j + 1)) {
                pairs.push_back({from + i++, from + j++});
            } else if (at(i, j) == at(i + 1, j)) {
                pairs.push_back({from + i++, PartPair::none});
            } else {
                pairs.push_back({PartPair::none, from + j++});
            }
        }
        for (; i < older_.size(); ++i) {
            pairs.push_back({from + i, PartPair::none});
        }
        for (; j < newer_.size(); ++j) {
            pairs.push_back({PartPair::none, from + j});
        }
    }

private:
    U32 & at(std::size_t i, std::size_t j) { return best_[i * width_ + j]; }

    std::span<SequencePart const> older_;
    std::span<SequencePart const> newer_;
    std::size_t width_;
    /// What the parts from here on are worth.
    std::vector<U32> best_;
};

void appendInPlace(std::vector<PartPair> & pairs, std::span<SequencePart const> older,
                   std::span<SequencePart const> newer, std::size_t from) {
    for (std::size_t i = 0; i < std::max(older.size(), newer.size()); ++i) {
        bool const isPair = i < older.size() && i < newer.size() && score(older[i], newer[i]) != 0;
        if (isPair) {
            pairs.push_back({from + i, from + i});
            continue;
        }
        if (i < older.size()) {
            pairs.push_back({from + i, PartPair::none});
        }
        if (i < newer.size()) {
            pairs.push_back({PartPair::none, from + i});
        }
    }
}

bool isEqual(SequencePart const & a, SequencePart const & b) {
    return a.isElse == b.isElse && *a.whole == *b.whole;
}

} // namespace

std::vector<PartPair> pairsOf(std::span<SequencePart const> older,
                              std::span<SequencePart const> newer) {
    std::size_t const shorter = std::min(older.size(), newer.size());
    std::size_t begin = 0;
    while (begin < shorter && isEqual(older[begin], newer[begin])) {
        ++begin;
    }
    std::size_t end = 0;
    while (end < shorter - begin &&
           isEqual(older[older.size() - 1 - end], newer[newer.size() - 1 - end])) {
        ++end;
    }
    std::vector<PartPair> pairs;
    for (std::size_t i = 0; i < begin; ++i) {
        pairs.push_back({i, i});
    }
    auto const olderPart = older.subspan(begin, older.size() - begin - end);
    auto const newerPart = newer.subspan(begin, newer.size() - begin - end);
    if ((olderPart.size() + 1) * (newerPart.size() + 1) <= mostCells) {
        PairTable(olderPart, newerPart).append(pairs, begin);
    } else {
        appendInPlace(pairs, olderPart, newerPart, begin);
    }
    for (std::size_t i = end; i > 0; --i) {
        pairs.push_back({older.size() - i, newer.size() - i});
    }
    return pairs;
}

} // namespace Qcf::Questions
