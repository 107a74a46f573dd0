#include "Lists/RoaTable.h"
#include "Questions/FlipCandidates.h"

/// Candidates for AS paths: one AS dropped, replaced, put in front or behind, and other lengths.
namespace Qcf::Questions {

namespace {

using Routing::Bgp::Asn;
using Routing::Bgp::AsnVector;
using Routing::Bgp::AsPath;
using Routing::Bgp::AsPathSegmentView;
using Routing::Bgp::SegmentType;

constexpr U64 largestAs = 0xffffffff;
/// Places of a path at which something is changed.
constexpr std::size_t mostPlaces = 24;
/// An AS for documentation, where a path has none to repeat.
constexpr Asn anyAs = 64496;

/// The path with `change(asns, i)` done to the segment that has AS number `place`, as its number i.
template <typename Change>
AsnVector changedAt(AsnVector const & path, std::size_t place, Change const & change) {
    AsnVector changed;
    std::size_t start = 0;
    for (AsPathSegmentView const segment : path) {
        std::vector<Asn> asns(segment.asns.begin(), segment.asns.end());
        if (place >= start && place < start + asns.size()) {
            change(asns, place - start);
        }
        start += segment.asns.size();
        changed.append(segment.type, asns);
    }
    return changed;
}

AsnVector without(AsnVector const & path, std::size_t place) {
    return changedAt(path, place, [](std::vector<Asn> & asns, std::size_t i) {
        asns.erase(asns.begin() + static_cast<std::ptrdiff_t>(i));
    });
}

AsnVector replaced(AsnVector const & path, std::size_t place, Asn by) {
    return changedAt(path, place, [&](std::vector<Asn> & asns, std::size_t i) { asns[i] = by; });
}

/// The AS numbers that a pattern names; those in classes of characters are parts of numbers.
void addAsesOf(std::vector<U64> & to, String const & pattern) {
    bool inClass = false;
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        inClass = pattern[at] == '[' || (inClass && pattern[at] != ']');
        U64 number = 0;
        std::size_t end = at;
        while (!inClass && end < pattern.size() && pattern[end] >= '0' && pattern[end] <= '9' &&
               number <= largestAs) {
            number = 10 * number + static_cast<U64>(pattern[end++] - '0');
        }
        if (end > at && number <= largestAs) {
            to.push_back(number);
            at = end - 1;
        }
    }
}

class PathEdits {
public:
    PathEdits(Candidates<AsPath> & to, AsPath const & current, Asked const & asked)
        : to_(to), current_(current.asns()), asked_(asked) {
        auto const & constants = asked.questions.constants;
        std::vector<U64> all = turningPoints(constants.integers, 0, largestAs);
        auto const listed = asesOf(constants.lists, asked.route.ipPrefix);
        all.insert(all.end(), listed.begin(), listed.end());
        for (std::vector<U64> const & set : constants.integerSets) {
            all.insert(all.end(), set.begin(), set.end());
        }
        std::ranges::sort(all);
        all.erase(std::unique(all.begin(), all.end()), all.end());
        std::erase_if(all, [](U64 as) { return as > largestAs; });
        ases_.assign(all.begin(), all.end());
    }

    void addAll() {
        // First, because of changes of one size the first is told.
        if (!asked_.questions.lengths.empty()) {
            addLengths();
        }
        std::size_t const count = current_.asns().size();
        add(AsnVector(), count);
        for (std::size_t const place : places(count)) {
            add(without(current_, place), 1);
            for (Asn const as : ases_) {
                add(replaced(current_, place, as), 1);
            }
        }
        for (Asn const as : ases_) {
            AsnVector longer = current_;
            longer.prepend({&as, 1});
            add(std::move(longer), 1);
            longer = current_;
            longer.appendJoined(SegmentType::sequence, {&as, 1});
            add(std::move(longer), 1);
        }
        addSequences();
    }

private:
    // The ends count most.
    static std::vector<std::size_t> places(std::size_t count) {
        std::vector<std::size_t> chosen;
        for (std::size_t i = 0; i < count; ++i) {
            if (i < mostPlaces / 2 || i + mostPlaces / 2 >= count) {
                chosen.push_back(i);
            }
        }
        return chosen;
    }

    void add(AsnVector path, U64 distance) { to_.add(AsPath(std::move(path)), distance); }

    // What a pattern names in a row: the first of its ASes, and all of them as they stand.
    void addSequences() {
        for (Lists::ListRecord const * const list : asked_.questions.constants.lists) {
            auto const * const record = std::get_if<Lists::AsPathListRecord>(&list->content);
            for (std::size_t i = 0; record != nullptr && i < record->entries.size(); ++i) {
                std::vector<U64> named;
                addAsesOf(named, record->entries[i].pattern.text);
                std::vector<Asn> const asns(named.begin(), named.end());
                AsnVector path;
                path.assignSequence(asns);
                add(std::move(path), asns.size() + current_.asns().size());
            }
        }
    }

    void addLengths() {
        for (U64 const length : turningPoints(asked_.questions.lengths, 0, longestMadePath)) {
            bool const isAsked = length != longestMadePath;
            isAsked ? addLength(length) : void();
        }
    }

    // Shorter from the neighbour's side, longer by repeating the neighbour: the origin stays.
    void addLength(U64 length) {
        AsnVector path = current_;
        while (Routing::Bgp::pathLength(path) > length) {
            path = without(path, 0);
        }
        Asn const first = path.empty() ? anyAs : path.asns().front();
        while (Routing::Bgp::pathLength(path) < length) {
            path.prepend({&first, 1});
        }
        std::size_t const before = current_.asns().size();
        std::size_t const after = path.asns().size();
        add(std::move(path), before > after ? before - after : after - before);
    }

    Candidates<AsPath> & to_;
    AsnVector const & current_;
    Asked const & asked_;
    std::vector<Asn> ases_;
};

} // namespace

std::vector<U64> asesOf(std::vector<Lists::ListRecord const *> const & lists,
                        IpGenPrefix const & prefix) {
    std::vector<U64> ases;
    for (Lists::ListRecord const * const list : lists) {
        if (auto const * const paths = std::get_if<Lists::AsPathListRecord>(&list->content)) {
            for (auto const & entry : paths->entries) {
                addAsesOf(ases, entry.pattern.text);
            }
        } else if (auto const * const table = std::get_if<Lists::RoaTableRecord>(&list->content)) {
            for (Lists::Roa const & roa : table->roas) {
                if (roa.prefix.contains(prefix)) {
                    ases.push_back(roa.asn);
                }
            }
        }
    }
    return ases;
}

void addCandidates(Candidates<AsPath> & to, AsPath const & current, Asked const & asked) {
    PathEdits(to, current, asked).addAll();
}

} // namespace Qcf::Questions
