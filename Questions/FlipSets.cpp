#include "Platform/Routing/CommunityText.h"
#include "Questions/FlipCandidates.h"

/// Candidates for sets: elements put in and taken out, one by one and as they stand together in the
/// function and in its lists.
namespace Qcf::Questions {

namespace {

using IntegerSet = std::vector<U64>;
using CommunitySet = std::vector<Acl::CommunityValue>;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// A text that such a pattern may find, as far as communities go: what stands for any digits
/// becomes one.
String withoutClasses(String pattern) {
    for (std::string_view const any : {"[0-9]+", "[0-9]*", "\\d+", "\\d*", ".*", ".+"}) {
        for (auto at = pattern.find(any); at != String::npos; at = pattern.find(any, at)) {
            pattern.replace(at, any.size(), "1");
        }
    }
    return pattern;
}

/// What the pattern's text has of `A:B` and `A:B:C`.
std::vector<String> communitiesIn(String const & pattern) {
    std::vector<String> found;
    String const text = withoutClasses(pattern);
    for (std::size_t at = 0; at < text.size();) {
        std::size_t end = at;
        while (end < text.size() && (isDigit(text[end]) || (end != at && text[end] == ':'))) {
            ++end;
        }
        if (end > at && text.substr(at, end - at).find(':') != String::npos) {
            found.push_back(text.substr(at, end - at));
        }
        at = end + 1;
    }
    return found;
}

std::optional<U64> parseElement(String const & text, IntegerSet const & /*of*/) {
    return parseStandardCommunity(text);
}
std::optional<Acl::CommunityValue> parseElement(String const & text, CommunitySet const & /*of*/) {
    return parseCommunityValue(text);
}

std::vector<U64> const & literalsOf(Constants const & constants, IntegerSet const & /*of*/) {
    return constants.integers;
}
std::vector<Acl::CommunityValue> const & literalsOf(Constants const & constants,
                                                    CommunitySet const & /*of*/) {
    return constants.communities;
}
std::vector<std::vector<U64>> const & setsOf(Constants const & constants,
                                             IntegerSet const & /*of*/) {
    return constants.integerSets;
}
std::vector<std::vector<Acl::CommunityValue>> const & setsOf(Constants const & constants,
                                                             CommunitySet const & /*of*/) {
    return constants.communitySets;
}

U64 nthElement(U64 n, IntegerSet const & /*of*/) { return n + 1; }
Acl::CommunityValue nthElement(U64 n, CommunitySet const & /*of*/) {
    return {(U64{64496} << 32) + n, 1};
}

bool fits(U64 element, Agent::RouteAttribute const & limits) {
    return element >= limits.least && element <= limits.most;
}
bool fits(Acl::CommunityValue const & /*element*/, Agent::RouteAttribute const & /*limits*/) {
    return true;
}

template <typename Set>
class SetEdits {
public:
    using Element = typename Set::value_type;
    using Elements = std::vector<Element>;

    SetEdits(Candidates<Set> & to, Set const & current, Asked const & asked)
        : to_(to), current_(current), asked_(asked) {
        groups_ = setsOf(asked.questions.constants, current);
        for (Element const & element : literalsOf(asked.questions.constants, current)) {
            groups_.push_back({element});
        }
        for (Lists::ListRecord const * const list : asked.questions.constants.lists) {
            std::visit([this](auto const & content) { this->addGroups(content); }, list->content);
        }
    }

    void addAll() {
        add({});
        for (Element const & element : current_) {
            add(without({element}));
        }
        for (Elements const & group : groups_) {
            add(with(current_, group));
            add(without(group));
            add(with({}, group));
            for (Element const & element : group) {
                add(with(current_, {element}));
                add(without({element}));
            }
        }
        replaceOne();
        addSizes();
    }

private:
    static constexpr std::size_t mostReplaced = 512;
    static constexpr U64 mostElements = 256;

    template <typename Record>
    void addGroups(Record const & record) {
        if constexpr (requires { record.entries.front().communities; }) {
            for (auto const & entry : record.entries) {
                if constexpr (std::is_constructible_v<Elements, decltype(entry.communities)>) {
                    groups_.push_back(entry.communities);
                }
                for (String const & text :
                     communitiesIn(entry.pattern ? entry.pattern->text : String())) {
                    if (auto const element = parseElement(text, current_)) {
                        groups_.push_back({*element});
                    }
                }
            }
        }
    }

    static Set with(Set set, Elements const & more) {
        for (Element const & element : more) {
            auto const at = std::ranges::lower_bound(set, element);
            if (at == set.end() || *at != element) {
                set.insert(at, element);
            }
        }
        return set;
    }
    Set without(Elements const & elements) const {
        Set set;
        for (Element const & element : current_) {
            if (std::ranges::find(elements, element) == elements.end()) {
                set.push_back(element);
            }
        }
        return set;
    }

    void add(Set set) {
        auto const & limits = Agent::routeAttributes()[asked_.part];
        if (std::ranges::all_of(set, [&](Element const & e) { return fits(e, limits); })) {
            std::vector<Element> apart;
            std::ranges::set_symmetric_difference(set, current_, std::back_inserter(apart));
            to_.add(std::move(set), apart.size());
        }
    }

    void replaceOne() {
        std::size_t replaced = 0;
        for (Elements const & group : groups_) {
            for (Element const & element : current_) {
                if (group.size() != 1 || ++replaced > mostReplaced) {
                    break;
                }
                add(with(without({element}), group));
            }
        }
    }

    // Sizes that are asked for, by the first elements or by new ones.
    void addSizes() {
        for (U64 const size : turningPoints(asked_.questions.lengths, 0, mostElements)) {
            Set set = current_;
            set.resize(std::min<std::size_t>(set.size(), size));
            for (U64 n = 0; set.size() < size && n <= 2 * mostElements; ++n) {
                set = with(std::move(set), {nthElement(n, current_)});
            }
            add(std::move(set));
        }
    }

    Candidates<Set> & to_;
    Set const & current_;
    Asked const & asked_;
    std::vector<Elements> groups_;
};

} // namespace

void addCandidates(Candidates<IntegerSet> & to, IntegerSet const & current, Asked const & asked) {
    SetEdits(to, current, asked).addAll();
}

void addCandidates(Candidates<CommunitySet> & to, CommunitySet const & current,
                   Asked const & asked) {
    SetEdits(to, current, asked).addAll();
}

} // namespace Qcf::Questions
