#include "Platform/Routing/CommunityText.h"
#include "QcfLib/AetNode.h"
#include "QcfLib/NodeClass.h"
#include "Questions/AddressBits.h"
#include "Questions/MutantEdits.h"

#include <algorithm>
#include <charconv>

/// What constants are changed into: the value beside it, so that a test has to look closely.
namespace Qcf::Questions {

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// The number that stands in `word` from `begin` to before `end`, moved by one.
String moved(std::string_view word, std::size_t begin, std::size_t end, bool up) {
    U64 number = 0;
    auto const parsed = std::from_chars(word.data() + begin, word.data() + end, number);
    bool const canMove = up ? number != ~U64{0} : number != 0;
    if (parsed.ec != std::errc() || parsed.ptr != word.data() + end || !canMove) {
        return {};
    }
    return String(word.substr(0, begin)) + std::to_string(up ? number + 1 : number - 1) +
           String(word.substr(end));
}

void addIfAny(std::vector<String> & to, String text) {
    if (!text.empty()) {
        to.push_back(std::move(text));
    }
}

/// `5`, `-5`, `AS65001`: all of it but what stands before the digits.
bool addNumber(std::vector<String> & to, std::string_view word, bool isBound) {
    std::size_t const begin = word.starts_with("AS") ? 2 : word.starts_with('-') ? 1 : 0;
    bool const isNumber = word.size() > begin && std::ranges::all_of(word.substr(begin), isDigit);
    if (isNumber) {
        addIfAny(to, moved(word, begin, word.size(), true));
        addIfAny(to, isBound ? moved(word, begin, word.size(), false) : String());
    }
    return isNumber;
}

bool addPrefix(std::vector<String> & to, std::string_view word) {
    auto const prefix = IpGenPrefix::parse(word);
    auto const slash = word.find('/');
    if (!prefix || slash == std::string_view::npos) {
        return false;
    }
    U8 const length = prefix->len();
    if (length == 0) {
        to.push_back(IpGenPrefix(prefix->addr(), 1).toString());
        return true;
    }
    IpGenAddr const neighbour = turned(prefix->addr(), static_cast<U8>(length - 1));
    to.push_back(IpGenPrefix(neighbour, length).toString());
    return true;
}

bool addAddress(std::vector<String> & to, std::string_view word) {
    auto const address = IpGenAddr::parse(word);
    if (!address || address->af() == AddressFamily::none) {
        return false;
    }
    auto const last = static_cast<U8>(addressWidth(address->af()) - 1);
    to.push_back(turned(*address, last).toString());
    return true;
}

/// Communities, bandwidths, hexadecimal and whatever else begins with a digit: a number in it.
bool addOther(std::vector<String> & to, std::string_view word) {
    bool const isCommunity = word.find(':') != std::string_view::npos &&
                             (isDigit(word[0]) || word.starts_with("rt:") ||
                              word.starts_with("soo:") || word.starts_with("lbw:"));
    if (word.starts_with("0x") || std::ranges::count(word, ':') > 2) {
        String other(word);
        other.back() = other.back() == '0' ? '1' : '0';
        to.push_back(std::move(other));
    } else if (isCommunity) {
        std::size_t const begin = word.rfind(':') + 1;
        String up = moved(word, begin, word.size(), true);
        bool const isFull = word.substr(begin) == "65535" || word.substr(begin) == "4294967295";
        addIfAny(to, isFull ? moved(word, begin, word.size(), false) : std::move(up));
    } else if (isDigit(word[0])) {
        auto const end = std::min(word.find_first_not_of("0123456789"), word.size());
        addIfAny(to, moved(word, 0, end, true));
    }
    return !to.empty();
}

/// The name behind it among those of the same values.
template <typename Names>
bool addNext(std::vector<String> & to, std::string_view word, Names const & names) {
    auto const at = std::ranges::find(names, word);
    if (at == names.end() || names.size() < 2) {
        return false;
    }
    to.emplace_back(at + 1 == names.end() ? names.front() : *(at + 1));
    return true;
}

bool addNamed(std::vector<String> & to, std::string_view word) {
    static constexpr std::string_view truths[] = {"true", "false"};
    if (word == "unknown") {
        to.emplace_back("false");
        return true;
    }
    if (addNext(to, word, std::span(truths)) || addNext(to, word, wellKnownCommunityNames())) {
        return true;
    }
    for (Eval::NodeClass const & nodeClass : Eval::nodeClasses()) {
        if (nodeClass.attribute != nullptr && addNext(to, word, nodeClass.attribute->valueNames)) {
            return true;
        }
    }
    return false;
}

} // namespace

std::vector<String> otherConstants(std::string_view word, bool isBound) {
    std::vector<String> others;
    bool const isKnown = word.empty() || addNumber(others, word, isBound) ||
                         addPrefix(others, word) || addAddress(others, word) ||
                         addNamed(others, word);
    if (!isKnown) {
        addOther(others, word);
    }
    return others;
}

} // namespace Qcf::Questions
