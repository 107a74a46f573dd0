#include "Text/ListEntryReader.h"

#include "Platform/Routing/TextPieces.h"
#include "Text/Literal.h"

#include <array>
#include <limits>
#include <utility>

namespace Qcf::Text {

using Lists::ListAction;
using Lists::ListKind;

namespace {

constexpr U64 max32 = std::numeric_limits<U32>::max();
/// How far the number of an entry is from that of the one before, unless it is written.
constexpr U32 seqStep = 10;

/// What an entry of a kind looks like, by ListKind.
constexpr char const * entryForms[] = {
    "an entry is: permit 10.0.0.0/8 ge 9 le 24",
    "such a list is: vrfs { 1 } v4 { permit 10.0.0.0/8 } v6 { permit 2001:db8::/32 }",
    "an entry is: permit { 65000:1, 65000:2 }, permit { 65000:* } or permit \"PATTERN\"",
    "an entry is: permit { rt:65000:1 } or permit \"PATTERN\"",
    "an entry is: permit { 65000:1:2 }, permit { 65000:1:* } or permit \"PATTERN\"",
    "an entry is: permit \"PATTERN\" or permit contains { 65000, 64512..65534 }",
    "an entry is a number: 7, 77",
    "an entry is: 10.0.0.0/8 max 24 AS65000",
};

/// What others call the two actions.
struct ForeignAction {
    std::string_view word;
    char const * action;
};
constexpr ForeignAction foreignActions[] = {
    {"accept", "permit"}, {"allow", "permit"}, {"pass", "permit"}, {"true", "permit"},
    {"reject", "deny"},   {"drop", "deny"},    {"block", "deny"},  {"false", "deny"},
};

String suggestedAction(std::string_view word) {
    auto const * const foreign = std::ranges::find(foreignActions, word, &ForeignAction::word);
    constexpr std::array<std::string_view, 2> actions{"permit", "deny"};
    return foreign != std::end(foreignActions) ? foreign->action : nearest(word, actions);
}

char const * wantedPrefix(AddressFamily family) {
    return family == AddressFamily::ipv4   ? "an IPv4 prefix"
           : family == AddressFamily::ipv6 ? "an IPv6 prefix"
                                           : "a prefix";
}

/// The prefix that was meant: without bits behind its length, or an address as one.
String suggestedPrefix(std::string_view word, AddressFamily family) {
    auto prefix = IpGenPrefix::parse(word, HostBits::mask);
    if (auto const addr = IpGenAddr::parse(word)) {
        prefix = IpGenPrefix::host(*addr);
    }
    bool const fits = prefix && prefix->af() != AddressFamily::none &&
                      (family == AddressFamily::none || prefix->af() == family);
    return fits ? prefix->toString() : String();
}

bool startsDeclaration(Cursor const & cursor) {
    constexpr std::string_view starts[] = {"list", "function", "const", "import", "test"};
    return cursor.now().startsLine &&
           std::ranges::any_of(starts, [&](auto each) { return cursor.is(each); });
}

/// Braces that are open behind the text, which began outside of them.
U32 openBraces(std::string_view text) {
    U32 open = 0;
    Lexer lexer(text);
    for (Token token = lexer.next(); token.kind != TokenKind::end; token = lexer.next()) {
        std::string_view const sign = text.substr(token.begin, token.end - token.begin);
        open += sign == "{" ? 1 : 0;
        open -= sign == "}" && open != 0 ? 1 : 0;
    }
    return open;
}

} // namespace

// Entries.

// The closing brace is taken.
bool ListEntryReader::atEndOfList(Token const & opening) {
    if (cursor_.accept("}")) {
        return true;
    }
    if (cursor_.atEnd() || startsDeclaration(cursor_)) {
        cursor_.fail(cursor_.here(), "syntax",
                     "wants '}' at the end of the list's entries, found " + cursor_.found(), {},
                     "the list's '{' stands at " +
                         cursor_.sources().placeText(cursor_.spanOf(opening)));
    }
    return false;
}

void ListEntryReader::passSeparator() {
    if (!cursor_.accept(",")) {
        cursor_.accept(";");
    }
}

/// Entries begin with a word that nothing else begins with, or a line.
bool ListEntryReader::startsEntry() const {
    bool const isPayload = kind_ == ListKind::roaTable && cursor_.isWord() &&
                           cursor_.text().find('/') != std::string_view::npos;
    bool const isSection = kind_ == ListKind::dynamicPrefixList && !inSection_ &&
                           (cursor_.is("vrfs") || cursor_.is("v4") || cursor_.is("v6"));
    return cursor_.now().startsLine || isPayload || isSection;
}

void ListEntryReader::skipEntry(Token const & first) {
    bool const hasActions = kind_ != ListKind::dynamicPrefixList || inSection_;
    std::string_view const text = cursor_.sources()[cursor_.file()].text();
    U32 open = openBraces(text.substr(first.begin, cursor_.now().begin - first.begin));
    while (!cursor_.atEnd() && !startsDeclaration(cursor_)) {
        bool const moved = cursor_.now().begin != first.begin;
        bool const isAction =
            hasActions && (cursor_.is("permit") || cursor_.is("deny") || cursor_.is("seq"));
        bool const ends = open == 0 && (cursor_.is("}") || (moved && startsEntry()));
        if (ends || (moved && isAction)) {
            return;
        }
        Token const passed = cursor_.take();
        std::string_view const sign = cursor_.text(passed);
        if (open == 0 && (sign == "," || sign == ";")) {
            return;
        }
        open += sign == "{" ? 1 : 0;
        open -= sign == "}" ? 1 : 0;
    }
}

void ListEntryReader::failEntry(String const & wanted, String suggestion) {
    cursor_.fail(cursor_.here(), "list-entry", "wants " + wanted + ", found " + cursor_.found(),
                 std::move(suggestion), entryForms[static_cast<U8>(kind_)]);
}

// What several kinds have.

ListEntryReader::Front ListEntryReader::readFront(std::optional<U32> & lastSeq) {
    U32 const seq = readSeq(lastSeq);
    lastSeq = seq;
    return {seq, readAction()};
}

U32 ListEntryReader::readSeq(std::optional<U32> lastSeq) {
    Token const first = cursor_.now();
    if (!cursor_.accept("seq")) {
        if (lastSeq && *lastSeq > max32 - seqStep) {
            cursor_.fail(cursor_.here(), "list-seq",
                         "the number of the entry would be above 4294967295");
        }
        return lastSeq.value_or(0) + seqStep;
    }
    auto const seq = static_cast<U32>(readNumber(max32, "the number of the entry"));
    if (lastSeq && seq <= *lastSeq) {
        cursor_.fail(cursor_.since(first), "list-seq",
                     seq == *lastSeq ? "two entries have the number " + std::to_string(seq)
                                     : "the numbers of entries rise: " + std::to_string(seq) +
                                           " stands behind " + std::to_string(*lastSeq));
    }
    return seq;
}

ListAction ListEntryReader::readAction() {
    auto const action = cursor_.isWord() ? Lists::actionNamed(cursor_.text()) : std::nullopt;
    if (!action) {
        failEntry("'permit' or 'deny'",
                  cursor_.isWord() ? suggestedAction(cursor_.text()) : String());
    }
    cursor_.take();
    return *action;
}

U64 ListEntryReader::readNumber(U64 most, char const * what) {
    auto const number =
        cursor_.isWord() ? Routing::TextPieces::parseDecimal(cursor_.text(), most) : std::nullopt;
    if (!number) {
        failEntry(String(what) + ", 0 to " + std::to_string(most));
    }
    cursor_.take();
    return *number;
}

Lists::WrittenPattern
ListEntryReader::readPattern(Lists::WrittenPattern (*make)(std::string_view)) {
    Token const token = cursor_.take();
    try {
        return make(unquoted(cursor_.text(token)));
    } catch (Lists::PatternError const & error) {
        cursor_.fail(cursor_.spanOf(token), "list-pattern",
                     String("no regular expression: ") + error.what());
    }
}

std::span<String const> ListEntryReader::constantWords() const {
    auto const words =
        cursor_.isWord() ? constants_.wordsOf(cursor_.text()) : std::span<String const>();
    if (constants_.isExhausted()) {
        cursor_.fail(cursor_.here(), "constants",
                     "constants stand for too many elements in this text");
    }
    return words;
}

void ListEntryReader::failName(std::span<std::string_view const> others) {
    std::vector<std::string_view> known = constants_.names();
    known.insert(known.end(), others.begin(), others.end());
    cursor_.fail(cursor_.here(), "unknown-name", "unknown name " + cursor_.found(),
                 nearest(cursor_.text(), known), entryForms[static_cast<U8>(kind_)]);
}

// Prefixes.

IpGenPrefix ListEntryReader::readPrefix(AddressFamily family) {
    String const wanted = wantedPrefix(family);
    auto const prefix = cursor_.isWord() ? IpGenPrefix::parse(cursor_.text()) : std::nullopt;
    bool const isPrefix = prefix && prefix->af() != AddressFamily::none;
    if (isPrefix && (family == AddressFamily::none || prefix->af() == family)) {
        cursor_.take();
        return *prefix;
    }
    String const suggestion = cursor_.isWord() ? suggestedPrefix(cursor_.text(), family) : String();
    bool const hasHostBits =
        !isPrefix && !suggestion.empty() && cursor_.text().find('/') != std::string_view::npos;
    if (hasHostBits) {
        cursor_.fail(cursor_.here(), "list-prefix",
                     cursor_.found() + " has bits set behind the prefix's length", suggestion);
    }
    failEntry(wanted, suggestion);
}

U8 ListEntryReader::readLength(char const * word, Lists::LengthBounds bounds, AddressFamily family,
                               String const & least) {
    Token const first = cursor_.take();
    constexpr U64 most = 999;
    U64 const length = readNumber(most, "a length");
    if (!bounds.contain(length)) {
        String const found = String(word) + ' ' + std::to_string(length);
        String const ip = family == AddressFamily::ipv4 ? "IPv4" : "IPv6";
        cursor_.fail(cursor_.since(first), "list-length",
                     length < bounds.least
                         ? "'" + found + "' is below " + least
                         : "'" + found + "' is above " + std::to_string(bounds.most) +
                               ", the length of an " + ip + " address");
    }
    return static_cast<U8>(length);
}

void ListEntryReader::readLengths(Lists::PrefixListEntry & entry) {
    auto const family = entry.prefix.af();
    String const own = "the prefix's length, " + std::to_string(entry.prefix.len());
    Token const first = cursor_.now();
    std::optional<U8> ge;
    std::optional<U8> le;
    if (cursor_.is("ge")) {
        ge = readLength("ge", Lists::boundsOfLonger(entry.prefix), family, own);
    }
    if (cursor_.is("le")) {
        le = readLength("le", Lists::boundsOfLe(entry.prefix, ge), family,
                        ge ? "'ge " + std::to_string(*ge) + "'" : own);
    }
    if (cursor_.text() == "+" || cursor_.is("orlonger")) {
        cursor_.fail(cursor_.here(), "list-length",
                     "no " + cursor_.found() + ": 'le " + std::to_string(addressWidth(family)) +
                         "' takes what is longer, too");
    }
    if (cursor_.is("ge")) {
        cursor_.fail(cursor_.here(), "list-length",
                     le && !ge ? "'ge' stands before 'le'" : "'ge' stands twice");
    }
    if (isCovered_ && (ge || le)) {
        cursor_.warn(
            cursor_.since(first), "covered-length",
            "a covered list takes all that lies in its prefixes: 'ge' and 'le' do nothing");
    }
    lengthsAre(entry, ge, le);
}

void ListEntryReader::readPrefixEntries(AddressFamily family,
                                        std::vector<Lists::PrefixListEntry> & entries) {
    std::optional<U32> lastSeq;
    eachEntry([&] {
        Front const front = readFront(lastSeq);
        Lists::PrefixListEntry entry;
        entry.seq = front.seq;
        entry.action = front.action;
        entry.prefix = readPrefix(family);
        readLengths(entry);
        entries.push_back(entry);
    });
}

void ListEntryReader::read(Lists::PrefixListRecord & list) {
    isCovered_ = list.covered;
    readPrefixEntries(list.family, list.entries);
}

void ListEntryReader::readVrf(Lists::DynamicPrefixListRecord & list) {
    Span const span = cursor_.here();
    auto const id = static_cast<U32>(readNumber(max32, "the id of a VRF"));
    bool const active = !cursor_.accept("false");
    if (!list.vrfs.emplace(id, active).second) {
        cursor_.fail(span, "list-entry", "VRF " + std::to_string(id) + " stands twice");
    }
}

template <typename ReadSection>
void ListEntryReader::readSection(bool & seen, ReadSection const & readContent) {
    Token const word = cursor_.take();
    if (std::exchange(seen, true)) {
        cursor_.fail(cursor_.spanOf(word), "list-entry",
                     "'" + String(cursor_.text(word)) + "' stands twice in the list");
    }
    inSection_ = true;
    readContent();
    inSection_ = false;
}

void ListEntryReader::read(Lists::DynamicPrefixListRecord & list) {
    bool hasVrfs = false;
    bool hasV4 = false;
    bool hasV6 = false;
    eachEntry([&] {
        inSection_ = false;
        if (cursor_.is("vrfs")) {
            readSection(hasVrfs, [&] { eachEntry([&] { readVrf(list); }); });
        } else if (cursor_.is("v4")) {
            readSection(hasV4, [&] { readPrefixEntries(AddressFamily::ipv4, list.v4); });
        } else if (cursor_.is("v6")) {
            readSection(hasV6, [&] { readPrefixEntries(AddressFamily::ipv6, list.v6); });
        } else {
            failEntry("'vrfs', 'v4' or 'v6'");
        }
    });
}

} // namespace Qcf::Text
