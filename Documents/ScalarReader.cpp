#include "Documents/ScalarReader.h"

#include "Platform/Render/JsonObjectReader.h"
#include "Platform/Routing/CommunityText.h"

#include <limits>

namespace Qcf::Documents {

namespace {

[[noreturn]] void fail(JsonValue const & json, String const & subject, std::string_view wanted) {
    json.fail(subject, wanted, describe(json));
}

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

template <typename Set>
void readFlags(JsonValue const & json, String const & subject, Set & set) {
    checkArray(json, subject, "array of attribute names");
    for (JsonValue const name : json) {
        std::size_t const bit = name.isString() ? Set::bitOf(name.asString()) : Set::width;
        if (bit == Set::width) {
            fail(name, subject, "name of an attribute-set flag");
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
    readScalar(reader.require("value"), subject + ".value", valueWord);
    readScalar(reader.require("type"), subject + ".type", typeWord);
    reader.done();
    value = Acl::CommunityValue(valueWord, typeWord);
}

void readScalar(JsonValue const & json, String const & subject,
                Routing::Rib::ResolutionRibProfileConfig & value) {
    JsonObjectReader reader(json, subject);
    JsonValue const entries = reader.require("entries");
    bool useDefault = false;
    readScalar(reader.require("useDefault"), subject + ".useDefault", useDefault);
    reader.done();
    checkArray(entries, subject, "array of entries");
    if (entries.size() > Routing::Rib::ResolutionRibProfileConfig::maxEntries) {
        entries.fail(subject, "at most 3 entries", std::to_string(entries.size()));
    }
    value = Routing::Rib::ResolutionRibProfileConfig(useDefault);
    std::size_t index = 0;
    for (JsonValue const entry : entries) {
        JsonObjectReader members(entry, subject);
        Routing::Rib::ResolutionRibEntry rib;
        readScalar(members.require("name"), subject + ".name", rib.name);
        readScalar(members.require("kind"), subject + ".kind", rib.kind);
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
    if (auto const names = reader.optional("read")) {
        readFlags(*names, subject + ".read", value.readableAttributes);
    }
    if (auto const names = reader.optional("write")) {
        readFlags(*names, subject + ".write", value.writableAttributes);
    }
    reader.done();
}

void readScalar(JsonValue const & json, String const & subject, FunctionMetadata & value) {
    JsonObjectReader reader(json, subject);
    FunctionMetadata::eachKind(value, [&](char const * kind, SlotMap & slots) {
        if (auto const names = reader.optional(kind)) {
            readSlots(*names, subject + "." + kind, slots);
        }
    });
    // The one member whose name other members' names would lead one to write in this way.
    if (auto const names = reader.optional("dynPrefixListsUsed")) {
        readSlots(*names, subject + ".dynPrefixListsUsed", value.DynPrefixListsUsed);
    }
    reader.done();
}

} // namespace Qcf::Documents
