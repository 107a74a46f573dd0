#include "Questions/ChangeComparison.h"

#include "Agent/Routes/AppliedChanges.h"
#include "QcfLib/NodeClass.h"

#include <algorithm>

namespace Qcf::Questions {

namespace {

using Agent::RouteChanges;

constexpr char const * nextHopSelf = "next_hop_self";

template <typename Value>
bool isSameValue(Value const & a, Value const & b) {
    if constexpr (requires { std::ranges::equal(a, b); }) {
        return std::ranges::equal(a, b);
    } else {
        return a == b;
    }
}

template <auto... members>
bool isSameWritten(Agent::MemberList<members...> /*all*/, RouteChanges const & a,
                   RouteChanges const & b) {
    U8 number = 0;
    auto const isSame = [&](auto member) {
        bool const isWritten = a.changed(RouteChanges::Attribute{number++});
        return !isWritten || isSameValue(a.*member, b.*member);
    };
    return a.flags == b.flags && (isSame(members) && ...);
}

String verdictText(Eval::EvalResult result) {
    return result.isTrue()                         ? "accepted"
           : result.retVal() == Eval::QcfUnknown() ? "unknown"
                                                   : "rejected";
}

/// Elements of a set, as the text of a route has them between its brackets.
std::vector<std::string_view> elementsOf(std::string_view set) {
    std::vector<std::string_view> elements;
    set = set.substr(1, set.size() - 2);
    while (!set.empty()) {
        std::size_t const end = std::min(set.find(','), set.size());
        elements.push_back(set.substr(0, end));
        set.remove_prefix(std::min(end + 1, set.size()));
    }
    std::ranges::sort(elements);
    return elements;
}

// Elements that are objects have commas of their own.
bool isPlainSet(std::string_view text) {
    return text.starts_with('[') && text.find('{') == std::string_view::npos;
}

void appendMissing(String & out, char sign, std::vector<std::string_view> const & from,
                   std::vector<std::string_view> const & in) {
    for (std::string_view element : from) {
        if (!std::ranges::binary_search(in, element)) {
            out += ' ';
            out += sign;
            std::ranges::remove_copy(element, std::back_inserter(out), '"');
        }
    }
}

/// The value in the attribute's own words.
String spelled(std::string_view name, String const & value) {
    auto const * const node = Eval::findAttribute(name);
    auto const names =
        node == nullptr ? std::span<std::string_view const>() : node->attribute->valueNames;
    bool const isNumber =
        !value.empty() && std::ranges::all_of(value, [](char c) { return c >= '0' && c <= '9'; });
    bool const isNamed = isNumber && value.size() < 3 && std::stoul(value) < names.size();
    return isNamed ? String(names[std::stoul(value)]) : value;
}

String valuesText(std::string_view name, String const & before, String const & after) {
    String text(name);
    if (isPlainSet(before) && isPlainSet(after)) {
        auto const first = elementsOf(before);
        auto const second = elementsOf(after);
        appendMissing(text, '+', second, first);
        appendMissing(text, '-', first, second);
        return text;
    }
    return text + ' ' + spelled(name, before) + " -> " + spelled(name, after);
}

struct Written {
    std::string_view name;
    bool older;
    bool newer;
};

/// The attributes that either has written.
std::vector<Written> writtenBy(RouteChanges const & older, RouteChanges const & newer) {
    std::vector<Written> written;
    auto const names = Agent::modifiableAttributeNames();
    for (std::size_t i = 0; i < names.size(); ++i) {
        auto const attribute = static_cast<RouteChanges::Attribute>(i);
        if (older.changed(attribute) || newer.changed(attribute)) {
            written.push_back({names[i], older.changed(attribute), newer.changed(attribute)});
        }
    }
    return written;
}

class DifferenceText {
public:
    void add(std::string_view name, String const & text) {
        difference.kind += (difference.kind.empty() ? "" : ", ") + String(name);
        difference.values += (difference.values.empty() ? "" : ", ") + text;
    }
    OutcomeDifference difference;
};

String writtenText(bool isWritten) { return isWritten ? "written" : "not written"; }

} // namespace

bool isSameOutcome(Outcome const & older, Outcome const & newer) {
    return older.result == newer.result &&
           older.context.nextHopSetToSelf() == newer.context.nextHopSetToSelf() &&
           isSameWritten(Agent::ChangeMembers(), older.context.changes(), newer.context.changes());
}

OutcomeDifference differenceOf(Outcome const & older, Outcome const & newer) {
    if (older.result.retVal() != newer.result.retVal()) {
        return {true, verdictText(older.result) + " -> " + verdictText(newer.result)};
    }
    if (older.result != newer.result) {
        auto const text = [](Eval::EvalResult result) {
            return verdictText(result) + " (" + (result.terminates() ? "exit" : "return") + ')';
        };
        return {true, text(older.result) + " -> " + text(newer.result)};
    }
    DifferenceText text;
    RouteChanges const & first = older.context.changes();
    RouteChanges const & second = newer.context.changes();
    auto const before = appliedTo(older.context.route(), first);
    auto const after = appliedTo(newer.context.route(), second);
    auto const differing = differences(before, after);
    for (Written const & each : writtenBy(first, second)) {
        auto const at = std::ranges::find(differing, each.name, &Agent::AttributeDifference::name);
        if (at != differing.end()) {
            text.add(each.name, valuesText(each.name, at->before, at->after));
        } else if (each.older != each.newer) {
            text.add(each.name, String(each.name) + ' ' + writtenText(each.older) + " -> " +
                                    writtenText(each.newer));
        }
    }
    if (older.context.nextHopSetToSelf() != newer.context.nextHopSetToSelf()) {
        auto const flag = [](Outcome const & of) {
            return String(of.context.nextHopSetToSelf() ? "true" : "false");
        };
        text.add(nextHopSelf, String(nextHopSelf) + ' ' + flag(older) + " -> " + flag(newer));
    }
    return text.difference;
}

} // namespace Qcf::Questions
