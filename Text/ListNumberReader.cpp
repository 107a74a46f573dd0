#include "Platform/Routing/TextPieces.h"
#include "Text/ListEntryReader.h"
#include "Text/Words.h"

#include <array>
#include <limits>

/// Lists of numbers: AS numbers of paths and of ROAs, and tags.
namespace Qcf::Text {

namespace {

constexpr U32 max32 = std::numeric_limits<U32>::max();

/// The number of `AS65000`; lower case is forgiven where `forgiving`, to be suggested.
std::optional<U32> asNumber(std::string_view word, bool forgiving) {
    bool const hasPrefix =
        word.starts_with("AS") || (forgiving && (word.starts_with("as") || word.starts_with("As")));
    auto const number = Routing::TextPieces::parseDecimal(hasPrefix   ? word.substr(2)
                                                          : forgiving ? word
                                                                      : std::string_view(),
                                                          max32);
    return number ? std::optional(static_cast<U32>(*number)) : std::nullopt;
}

} // namespace

// AS paths.

void ListEntryReader::read(Lists::AsPathListRecord & list) {
    std::optional<U32> lastSeq;
    eachEntry([&] {
        auto const action = readFront(lastSeq).action;
        Lists::AsPathListRecord::Entry entry{action, readPathPattern(), {}};
        if (cursor_.is("origin")) {
            entry.origin = readOrigin();
        }
        list.entries.push_back(std::move(entry));
    });
}

Lists::WrittenPattern ListEntryReader::readPathPattern() {
    if (cursor_.isString()) {
        return readPattern(Lists::asPathPattern);
    }
    Token const first = cursor_.now();
    String const pattern = pathPattern(readPathEntry());
    try {
        return Lists::asPathPattern(pattern);
    } catch (Lists::PatternError const & error) {
        cursor_.fail(cursor_.since(first), "list-pattern",
                     String("the numbers make a pattern that is too large: ") + error.what());
    }
}

PathEntry ListEntryReader::readPathEntry() {
    auto const form = cursor_.isWord() ? pathFormOfWord(cursor_.text()) : std::nullopt;
    if (!form) {
        auto const asn = cursor_.isWord() ? asNumber(cursor_.text(), true) : std::nullopt;
        failEntry("a pattern in quotes, 'contains', 'starts', 'ends' or 'only'",
                  asn               ? "contains { " + std::to_string(*asn) + " }"
                  : cursor_.is("{") ? "contains {"
                                    : String());
    }
    cursor_.take();
    if (!cursor_.accept("{")) {
        failEntry("'{' and AS numbers");
    }
    PathEntry entry{*form, {}};
    do {
        readNumbers(entry.numbers);
    } while (cursor_.accept(",") && !cursor_.is("}"));
    if (!cursor_.accept("}")) {
        failEntry("',' or '}'");
    }
    return entry;
}

/// A number, a range, or the name of a constant that has some.
void ListEntryReader::readNumbers(std::vector<NumberRange> & numbers) {
    Token const first = cursor_.now();
    auto const words = constantWords();
    if (!words.empty()) {
        cursor_.take();
        for (String const & word : words) {
            numbers.push_back(numberRange(word, cursor_.spanOf(first)));
        }
        return;
    }
    if (!cursor_.isWord()) {
        failEntry("an AS number");
    }
    bool const isName = !cursor_.isAhead("..") && hasNameShape(cursor_.text());
    if (auto const asn = asNumber(cursor_.text(), true); isName && asn) {
        cursor_.fail(cursor_.here(), "list-number", "AS numbers of paths stand without 'AS'",
                     std::to_string(*asn));
    }
    if (isName) {
        failName({});
    }
    String text(cursor_.text(cursor_.take()));
    if (cursor_.accept("..")) {
        text += ".." + String(cursor_.isWord() ? cursor_.text(cursor_.take()) : "");
    }
    numbers.push_back(numberRange(text, cursor_.since(first)));
}

NumberRange ListEntryReader::numberRange(String const & text, Span const & span) {
    auto const range = parseNumberRange(text, max32);
    if (!range) {
        cursor_.fail(span, "list-number",
                     "wants a number up to 4294967295, or a range as 5..9 that does not fall, "
                     "found '" +
                         text + "'");
    }
    return *range;
}

std::optional<U64> ListEntryReader::readOrigin() {
    cursor_.take();
    constexpr std::array<std::string_view, 3> names{"igp", "egp", "incomplete"};
    auto const origin = cursor_.isWord() ? Lists::originNamed(cursor_.text()) : std::nullopt;
    if (!origin && !cursor_.is("any")) {
        failEntry("the origin, 'igp', 'egp' or 'incomplete'",
                  cursor_.isWord() ? nearest(cursor_.text(), names) : String());
    }
    cursor_.take();
    return origin;
}

// Tags and ROAs.

void ListEntryReader::read(Lists::TagSetRecord & list) {
    eachEntry([&] {
        auto const words = constantWords();
        if (words.empty()) {
            list.tags.push_back(static_cast<U32>(readNumber(max32, "a tag")));
            return;
        }
        Token const name = cursor_.take();
        for (String const & word : words) {
            auto const range = numberRange(word, cursor_.spanOf(name));
            if (range.isRange) {
                cursor_.fail(cursor_.spanOf(name), "list-number", "a tag set has no ranges");
            }
            list.tags.push_back(range.low);
        }
    });
}

U32 ListEntryReader::readAsToken() {
    auto const asn = cursor_.isWord() ? asNumber(cursor_.text(), false) : std::nullopt;
    if (!asn) {
        auto const meant = cursor_.isWord() ? asNumber(cursor_.text(), true) : std::nullopt;
        failEntry("the AS that may originate the prefix, as AS65000",
                  meant ? "AS" + std::to_string(*meant) : String());
    }
    cursor_.take();
    return *asn;
}

void ListEntryReader::read(Lists::RoaTableRecord & list) {
    eachEntry([&] {
        Lists::Roa roa;
        roa.prefix = readPrefix(AddressFamily::none);
        roa.maxLength = roa.prefix.len();
        if (cursor_.is("max")) {
            roa.maxLength = readLength("max", Lists::boundsOfLonger(roa.prefix), roa.prefix.af(),
                                       "the prefix's length, " + std::to_string(roa.prefix.len()));
        }
        roa.asn = readAsToken();
        list.roas.push_back(roa);
    });
}

} // namespace Qcf::Text
