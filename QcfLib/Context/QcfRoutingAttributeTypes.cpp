#include "QcfLib/ClientPlugin/QcfRoutingAttributeTypes.h"

#include "Platform/Framework/Assert.h"
#include "Platform/Framework/ValueText.h"
#include "QcfLib/Reflection.h"

#include <array>
#include <charconv>
#include <ostream>

/// The language's view of source protocols and IS-IS levels against the routing library's.
/// The records come first: names are read and written by them.
TypeData const & TypeDataOf<Qcf::Eval::SourceProtocolType>::get() {
    static constexpr EnumeratorInfo enumerators[] = {
        {"ATTACHED_HOST", 0}, {"CONNECTED", 1}, {"DHCP", 2}, {"DYNAMIC", 3}, {"ISIS", 4},
        {"KERNEL", 5},        {"NO_MATCH", 6},  {"OSPF", 7}, {"OSPFv3", 8},  {"STATIC", 9}};
    static TypeData const data{
        TypeData::Kind::enumeration, "SourceProtocolType", "Qcf::Eval", "", {}, enumerators};
    return data;
}

TypeData const & TypeDataOf<Qcf::Eval::RecmpStateType>::get() {
    static constexpr EnumeratorInfo enumerators[] = {{"RECMP_DEFAULT", 0}, {"RECMP_ENABLED", 1}};
    static TypeData const data{
        TypeData::Kind::enumeration, "RecmpStateType", "Qcf::Eval", "", {}, enumerators};
    return data;
}

namespace Qcf::Eval {

namespace {

/// The number below `limit` that a text names or writes.
U8 numberOf(TypeData const & type, U8 limit, String const & text, char const * wanted) {
    if (EnumeratorInfo const * const named = type.enumerator(std::string_view(text))) {
        return static_cast<U8>(named->number);
    }
    U8 number = 0;
    // Not a name: a number in decimal, without sign, blanks or anything behind it.
    auto const * const end = text.data() + text.size();
    auto const [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || number >= limit) {
        throw ParseError(wanted, text);
    }
    return number;
}

// Numbers without a name are values, too, as long as they are below the limit.
U8 below(U8 limit, U64 number, char const * wanted) {
    if (number >= limit) {
        throw ParseError(wanted, std::to_string(number));
    }
    return static_cast<U8>(number);
}

constexpr U8 recmpStateTypeCount = 2;
constexpr char const * aSourceProtocol = "a source protocol or its number, 0 to 11";
constexpr char const * aRecmpState = "RECMP_DEFAULT, RECMP_ENABLED, 0 or 1";

// No source protocol has this number.
constexpr U8 invalidProto = 0xff;

/// Route-protocol codes by the source protocol that they stand for.
struct ProtoGroup {
    U8 sourceProtocol;
    std::initializer_list<U8> codes;
};

// Several protocols of the routing library are one to the language; the rest are none.
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
        // The last two have no name in the language.
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

String stringValue(SourceProtocolType value) {
    return enumeratorText(TypeDataOf<SourceProtocolType>::get(), static_cast<U8>(value));
}
String stringValue(RecmpStateType value) {
    return enumeratorText(TypeDataOf<RecmpStateType>::get(), static_cast<U8>(value));
}

std::ostream & operator<<(std::ostream & out, SourceProtocolType value) {
    return out << stringValue(value);
}
std::ostream & operator<<(std::ostream & out, RecmpStateType value) {
    return out << stringValue(value);
}

SourceProtocolType SourceProtocolTypeInstance(U64 number) {
    return static_cast<SourceProtocolType>(below(sourceProtocolTypeCount, number, aSourceProtocol));
}
SourceProtocolType SourceProtocolTypeInstance(String const & text) {
    return static_cast<SourceProtocolType>(numberOf(
        TypeDataOf<SourceProtocolType>::get(), sourceProtocolTypeCount, text, aSourceProtocol));
}

RecmpStateType RecmpStateTypeInstance(U64 number) {
    return static_cast<RecmpStateType>(below(recmpStateTypeCount, number, aRecmpState));
}
RecmpStateType RecmpStateTypeInstance(String const & text) {
    return static_cast<RecmpStateType>(
        numberOf(TypeDataOf<RecmpStateType>::get(), recmpStateTypeCount, text, aRecmpState));
}

SourceProtocolType routeProtoToSourceProtocol(Routing::RouteProto proto) {
    // Made by the first who asks; any thread may.
    static std::array<U8, 256> const table = protoTable();
    U8 const sourceProtocol = table[static_cast<U8>(proto)];
    QCF_ASSERT_TEXT(sourceProtocol != invalidProto, "invalid Routing::RouteProto value");
    return static_cast<SourceProtocolType>(sourceProtocol);
}

void isisLevelPopulateVector(Ptr<U64SmallVector> const & set, Routing::Isis::Level level) {
    using Routing::Isis::Level;
    // Unset and none append nothing: the empty set.
    if (level == Level::level1 || level == Level::level1And2) {
        set->insert(1);
    }
    if (level == Level::level2 || level == Level::level1And2) {
        set->insert(2);
    }
}

Routing::Isis::Level isisLevelFromVector(Ptr<U64SmallVector const> const & set) {
    using Routing::Isis::Level;
    // Null stands for the empty set, as everywhere.
    if (!set || set->empty()) {
        return Level::none;
    }
    bool const one = set->contains(1);
    bool const two = set->contains(2);
    bool const valid =
        // As many values as levels among them: there is no other.
        set->count() == static_cast<std::size_t>(one) + static_cast<std::size_t>(two);
    QCF_ASSERT_TEXT(valid, "0 && \"isisLevel does not have a valid value\"");
    if (one && two) {
        return Level::level1And2;
    }
    return one ? Level::level1 : Level::level2;
}

} // namespace Qcf::Eval
