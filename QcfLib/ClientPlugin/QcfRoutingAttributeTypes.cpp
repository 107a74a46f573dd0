#include "QcfLib/ClientPlugin/QcfRoutingAttributeTypes.h"

#include "Platform/Framework/Assert.h"

#include <array>
#include <charconv>
#include <ostream>

namespace Qcf::Eval {

namespace {

// Ten names are known, alphabetical; which numbers the remaining two take is not settled, so that
// no number can be given a name.
constexpr std::array<char const *, 2> recmpNames{"RECMP_DEFAULT", "RECMP_ENABLED"};

U64 numberOf(String const & text, char const * wanted) {
    U64 number = 0;
    auto const * const end = text.data() + text.size();
    auto const [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end) {
        throw ParseError(wanted, text);
    }
    return number;
}

U64 below(U64 number, U64 limit, char const * wanted) {
    if (number >= limit) {
        throw ParseError(wanted, std::to_string(number));
    }
    return number;
}

constexpr U8 invalidProto = 0xff;

/// Route-protocol codes by the source protocol that they stand for.
struct ProtoGroup {
    U8 sourceProtocol;
    std::initializer_list<U8> codes;
};

std::array<U8, 256> protoTable() {
    static constexpr ProtoGroup groups[] = {
        {0, {0, 3, 8, 11, 12, 13, 14, 28, 53, 56, 57, 68, 69, 70, 118, 119, 120, 121}},
        {1, {1, 101}},
        {2, {2, 102}},
        {3, {4, 103}},
        {4, {49, 115}},
        {5, {52, 116}},
        {6, {9, 106}},
        {7, {24, 25, 30, 47, 110, 111, 112, 114}},
        {8, {5, 6, 31, 104, 105, 113}},
        {9, {15, 107}},
        {10, {10, 20, 109, 117}},
        {11, {16, 108}},
    };
    std::array<U8, 256> table{};
    table.fill(invalidProto);
    for (auto const & group : groups) {
        for (U8 const code : group.codes) {
            table[code] = group.sourceProtocol;
        }
    }
    return table;
}

} // namespace

String stringValue(SourceProtocolType value) { return std::to_string(static_cast<U8>(value)); }

String stringValue(RecmpStateType value) {
    auto const index = static_cast<U8>(value);
    return index < recmpNames.size() ? recmpNames[index] : std::to_string(index);
}

std::ostream & operator<<(std::ostream & out, SourceProtocolType value) {
    return out << stringValue(value);
}
std::ostream & operator<<(std::ostream & out, RecmpStateType value) {
    return out << stringValue(value);
}

SourceProtocolType SourceProtocolTypeInstance(U64 number) {
    return static_cast<SourceProtocolType>(
        below(number, sourceProtocolTypeCount, "a source protocol from 0 to 11"));
}
SourceProtocolType SourceProtocolTypeInstance(String const & text) {
    return SourceProtocolTypeInstance(numberOf(text, "a source protocol"));
}

RecmpStateType RecmpStateTypeInstance(U64 number) {
    return static_cast<RecmpStateType>(below(number, recmpNames.size(), "0 or 1"));
}
RecmpStateType RecmpStateTypeInstance(String const & text) {
    for (std::size_t i = 0; i < recmpNames.size(); ++i) {
        if (text == recmpNames[i]) {
            return static_cast<RecmpStateType>(i);
        }
    }
    return RecmpStateTypeInstance(numberOf(text, "RECMP_DEFAULT or RECMP_ENABLED"));
}

SourceProtocolType routeProtoToSourceProtocol(Routing::RouteProto proto) {
    static std::array<U8, 256> const table = protoTable();
    U8 const sourceProtocol = table[static_cast<U8>(proto)];
    QCF_ASSERT_TEXT(sourceProtocol != invalidProto, "invalid Routing::RouteProto value");
    return static_cast<SourceProtocolType>(sourceProtocol);
}

void isisLevelPopulateVector(Ptr<U64SmallVector> const & set, Routing::Isis::Level level) {
    using Routing::Isis::Level;
    if (level == Level::level1 || level == Level::level1And2) {
        set->insert(1);
    }
    if (level == Level::level2 || level == Level::level1And2) {
        set->insert(2);
    }
}

Routing::Isis::Level isisLevelFromVector(Ptr<U64SmallVector const> const & set) {
    using Routing::Isis::Level;
    if (!set || set->empty()) {
        return Level::none;
    }
    bool const one = set->contains(1);
    bool const two = set->contains(2);
    bool const valid =
        set->count() == static_cast<std::size_t>(one) + static_cast<std::size_t>(two);
    QCF_ASSERT_TEXT(valid, "0 && \"isisLevel does not have a valid value\"");
    if (one && two) {
        return Level::level1And2;
    }
    return one ? Level::level1 : Level::level2;
}

} // namespace Qcf::Eval
