#include "Documents/ScalarReader.h"

#include "Documents/Words.h"
#include "Platform/Render/JsonObjectReader.h"
#include "Platform/Render/NearestWord.h"
#include "Platform/Routing/CommunityText.h"

#include <limits>
#include <vector>

/// One overload a type of field. What a value means within its node, and which values fit each
/// other, is no matter here: that is checked on nodes.
namespace Qcf::Documents {

namespace {

[[noreturn]] void fail(JsonValue const & json, String const & subject, std::string_view wanted) {
    json.fail(subject, wanted, describe(json));
}

// A number with sign, fraction or exponent is none of an unsigned field, even where its value would
// fit.
template <typename Integer>
void readInteger(JsonValue const & json, String const & subject, Integer & value) {
    constexpr U64 most = std::numeric_limits<Integer>::max();
    auto const number = json.asU64();
    if (!number || *number > most) {
        fail(json, subject, "integer from 0 to " + std::to_string(most));
    }
    value = static_cast<Integer>(*number);
}

/// A value that its own type reads from a text.
template <typename Value, typename Parse>
void readText(JsonValue const & json, String const & subject, char const * wanted, Parse parse,
              Value & value) {
    auto parsed = json.isString() ? parse(json.asString()) : decltype(parse(""))();
    if (!parsed) {
        fail(json, subject, wanted);
    }
    value = *std::move(parsed);
}

String readString(JsonValue const & json, String const & subject) {
    String text;
    readScalar(json, subject, text);
    return text;
}

void checkArray(JsonValue const & json, String const & subject, char const * wanted) {
    if (!json.isArray()) {
        fail(json, subject, wanted);
    }
}

/// A member that must not be left out.
template <typename Value>
void readMember(JsonObjectReader & reader, String const & subject, char const * name,
                Value & value) {
    readScalar(reader.require(name), subject + '.' + name, value);
}

/// A set of attributes; a member that is left out stands for none.
template <typename Set>
void readFlags(JsonObjectReader & reader, String const & owner, char const * member, Set & set) {
    auto const names = reader.optional(member);
    if (!names) {
        return;
    }
    String const subject = owner + '.' + member;
    checkArray(*names, subject, "array of attribute names");
    for (JsonValue const name : *names) {
        // A name that the set does not know is an error, not passed over: a misspelt attribute
        // would make a function's declaration say less than was meant.
        std::size_t const bit = name.isString() ? Set::bitOf(name.asString()) : Set::width;
        if (bit == Set::width) {
            std::vector<std::string_view> known;
            for (std::size_t each = 0; each < Set::width; ++each) {
                known.emplace_back(Set::nameOf(each));
            }
            name.fail(subject, "name of an attribute-set flag, as qcf schema lists them",
                      describe(name) +
                          (name.isString() ? didYouMean(name.asString(), known) : String()));
        }
        set.insert(bit);
    }
}

void readSlots(JsonValue const & json, String const & subject, SlotMap & slots) {
    if (!json.isObject()) {
        fail(json, subject, "object from name to slot");
    }
    for (JsonValue const slot : json) {
        auto const [at, isNew] = slots.emplace(String(slot.key()), U16{0});
        if (!isNew) { // under the member's other name
            slot.fail(subject, "each name once", describe(slot));
        }
        readScalar(slot, subject, at->second);
    }
}

} // namespace

void readScalar(JsonValue const & json, String const & subject, U8 & value) {
    readInteger(json, subject, value);
}
void readScalar(JsonValue const & json, String const & subject, U16 & value) {
    readInteger(json, subject, value);
}
void readScalar(JsonValue const & json, String const & subject, U32 & value) {
    readInteger(json, subject, value);
}
void readScalar(JsonValue const & json, String const & subject, U64 & value) {
    readInteger(json, subject, value);
}

void readScalar(JsonValue const & json, String const & subject, F32 & value) {
    auto const number = json.asFloat();
    if (!number) {
        fail(json, subject, "number within the range of a 32-bit float");
    }
    value = *number;
}

void readScalar(JsonValue const & json, String const & subject, bool & value) {
    if (!json.isBool()) {
        fail(json, subject, "true or false");
    }
    value = json.asBool();
}

void readScalar(JsonValue const & json, String const & subject, String & value) {
    if (!json.isString()) {
        fail(json, subject, "string");
    }
    value = json.asString();
}

// True and false may stand as JSON has them or as texts; unknown, which JSON lacks, as a text
// alone.
void readScalar(JsonValue const & json, String const & subject, TriStateBoolValue & value) {
    if (json.isBool()) {
        value = json.asBool() ? Eval::QcfTrue() : Eval::QcfFalse();
        return;
    }
    for (TriStateBoolValue const each : {Eval::QcfUnknown(), Eval::QcfFalse(), Eval::QcfTrue()}) {
        if (json.isString() && json.asString() == Eval::toString(each)) {
            value = each;
            return;
        }
    }
    fail(json, subject, "\"true\", \"false\" or \"unknown\"");
}

void readScalar(JsonValue const & json, String const & subject, IpGenAddr & value) {
    readText(json, subject, "IP address", IpGenAddr::parse, value);
}
void readScalar(JsonValue const & json, String const & subject, IpGenPrefix & value) {
    auto const parse = [](std::string_view text) { return IpGenPrefix::parse(text); };
    readText(json, subject, "prefix without host bits", parse, value);
}
void readScalar(JsonValue const & json, String const & subject, EthAddr & value) {
    readText(json, subject, "MAC address", EthAddr::parse, value);
}
void readScalar(JsonValue const & json, String const & subject, IntfId & value) {
    readText(json, subject, "interface name", IntfId::parse, value);
}

void readScalar(JsonValue const & json, String const & subject, std::optional<Evpn::Esid> & value) {
    // An unset segment is a value, too.
    value = std::nullopt;
    if (!json.isNull()) {
        readText(json, subject, "null or ten octets joined by colons", Evpn::Esid::parse, value);
    }
}

void readScalar(JsonValue const & json, String const & subject, Acl::CommunityValue & value) {
    if (!json.isObject()) {
        readText(json, subject, "large or extended community", parseCommunityValue, value);
        return;
    }
    JsonObjectReader reader(json, subject);
    U64 valueWord = 0;
    U32 typeWord = 0;
    readMember(reader, subject, word::communityValue, valueWord);
    readMember(reader, subject, word::communityType, typeWord);
    reader.done();
    value = Acl::CommunityValue(valueWord, typeWord);
}

void readScalar(JsonValue const & json, String const & subject,
                Routing::Rib::ResolutionRibProfileConfig & value) {
    JsonObjectReader reader(json, subject);
    JsonValue const entries = reader.require(word::ribEntries);
    bool useDefault = false;
    readMember(reader, subject, word::useDefaultRib, useDefault);
    reader.done();
    checkArray(entries, subject, "array of entries");
    // The value has a fixed room and asserts that an index lies in it: a document must not come so
    // far.
    if (entries.size() > Routing::Rib::ResolutionRibProfileConfig::maxEntries) {
        entries.fail(subject, "at most 3 entries", std::to_string(entries.size()));
    }
    value = Routing::Rib::ResolutionRibProfileConfig(useDefault);
    std::size_t index = 0;
    for (JsonValue const entry : entries) {
        JsonObjectReader members(entry, subject);
        Routing::Rib::ResolutionRibEntry rib;
        readMember(members, subject, word::ribName, rib.name);
        readMember(members, subject, word::ribKind, rib.kind);
        members.done();
        value.entryIs(index++, std::move(rib));
    }
}

void readScalar(JsonValue const & json, String const & subject,
                Routing::Policy::RouteMapFeatures & value) {
    checkArray(json, subject, "array of strings");
    for (JsonValue const feature : json) {
        value.featureIs(readString(feature, subject));
    }
}

void readScalar(JsonValue const & json, String const & subject, AccessibleAttributes & value) {
    JsonObjectReader reader(json, subject);
    readFlags(reader, subject, word::readAttributes, value.readableAttributes);
    readFlags(reader, subject, word::writtenAttributes, value.writableAttributes);
    reader.done();
}

// A kind that is left out has no names. Both ways of writing the odd kind's name may stand in one
// object, so that the second adds to what the first gave.
void readScalar(JsonValue const & json, String const & subject, FunctionMetadata & value) {
    JsonObjectReader reader(json, subject);
    FunctionMetadata::eachKind(value, [&](char const * kind, SlotMap & slots) {
        if (auto const names = reader.optional(kind)) {
            readSlots(*names, subject + "." + kind, slots);
        }
    });
    if (auto const names = reader.optional(word::dynamicPrefixLists)) {
        readSlots(*names, subject + '.' + word::dynamicPrefixLists, value.DynPrefixListsUsed);
    }
    reader.done();
}

} // namespace Qcf::Documents
