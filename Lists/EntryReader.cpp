#include "Lists/EntryReader.h"

#include "Lists/ListWords.h"
#include "Lists/RoaExport.h"
#include "Platform/Render/JsonObjectReader.h"
#include "Platform/Routing/CommunityText.h"
#include "Platform/Routing/TextPieces.h"

#include <limits>

/// Each object says when it is done, and members that are left then are faults: an entry that was
/// understood only in part would permit or deny what nobody wrote.
namespace Qcf::Lists {

namespace {

constexpr U64 max32 = std::numeric_limits<U32>::max();

ListAction readAction(JsonValue const & value) {
    auto const action = actionNamed(value.expectString("\"permit\" or \"deny\""));
    if (!action) {
        value.fail("\"permit\" or \"deny\"");
    }
    return *action;
}

/// `make` is communityPattern or asPathPattern.
WrittenPattern readPattern(JsonValue const & value, WrittenPattern (*make)(std::string_view)) {
    std::string_view const text = value.expectString("regular expression");
    try {
        return make(text);
    } catch (PatternError const & error) {
        value.fail({}, "regular expression", describe(value) + " (" + error.what() + ")");
    }
}

std::optional<U8> readLength(std::optional<JsonValue> const & value, LengthBounds bounds) {
    return value ? std::optional(static_cast<U8>(value->expectU64(bounds.least, bounds.most)))
                 : std::nullopt;
}

// A number is the community as one word of 32 bits.
U64 readStandardCommunity(JsonValue const & value) {
    constexpr std::string_view wanted = "standard community";
    if (value.isNumber()) {
        return value.expectU64(0, max32);
    }
    auto const community = parseStandardCommunity(value.expectString(wanted));
    if (!community) {
        value.fail(wanted);
    }
    return *community;
}

/// Large communities are written A:B:C, extended ones begin with a word.
Acl::CommunityValue readCommunityValue(JsonValue const & value, bool isLarge) {
    if (value.isObject()) {
        JsonObjectReader reader(value);
        U64 const word = reader.require("value").expectU64();
        // Extended communities have 64 bits in all, large ones 96.
        U64 const type = reader.require("type").expectU64(0, isLarge ? max32 : 0);
        reader.done();
        return {word, static_cast<U32>(type)};
    }
    std::string_view const wanted = isLarge ? "large community" : "extended community";
    std::string_view const text = value.expectString(wanted);
    auto const community = isLarge ? parseLargeCommunity(text) : parseExtendedCommunity(text);
    if (!community) {
        value.fail(wanted);
    }
    return *community;
}

// The kind of list chooses the reader; the pointer is never followed.
U64 readCommunity(JsonValue const & value, StandardCommunityList const *) {
    return readStandardCommunity(value);
}
Acl::CommunityValue readCommunity(JsonValue const & value, ExtCommunityList const *) {
    return readCommunityValue(value, false);
}
Acl::CommunityValue readCommunity(JsonValue const & value, LargeCommunityList const *) {
    return readCommunityValue(value, true);
}

// "any" is the same as nothing; it is there to be written out.
std::optional<U64> readOrigin(JsonValue const & value) {
    constexpr std::string_view wanted = R"("any", "igp", "egp" or "incomplete")";
    std::string_view const text = value.expectString(wanted);
    auto const origin = originNamed(text);
    if (!origin && text != word::anyOrigin) {
        value.fail(wanted);
    }
    return origin;
}

} // namespace

PrefixListEntry readPrefixListEntry(JsonValue const & value, AddressFamily family) {
    JsonObjectReader reader(value);
    PrefixListEntry entry;
    entry.seq = static_cast<U32>(reader.require(word::seq).expectU64(0, max32));
    entry.action = readAction(reader.require(word::action));
    entry.prefix = readPrefix(reader.require(word::prefix), family);
    auto const lower = reader.optional(word::ge);
    auto const upper = reader.optional(word::le);
    reader.done();
    auto const ge = readLength(lower, boundsOfLonger(entry.prefix));
    lengthsAre(entry, ge, readLength(upper, boundsOfLe(entry.prefix, ge)));
    return entry;
}

AddressFamily readListFamily(JsonValue const & value) {
    std::string_view const text = value.expectString("\"v4\" or \"v6\"");
    if (text != word::v4 && text != word::v6) {
        value.fail("\"v4\" or \"v6\"");
    }
    return text == word::v4 ? AddressFamily::ipv4 : AddressFamily::ipv6;
}

std::map<U32, bool> readVrfs(JsonValue const & value) {
    std::map<U32, bool> vrfs;
    for (JsonValue const vrf : value.expectObject()) {
        auto const id = Routing::TextPieces::parseDecimal(vrf.key(), max32);
        if (!id) {
            vrf.fail({}, "VRF id as key", '"' + String(vrf.key()) + '"');
        }
        vrfs.insert_or_assign(static_cast<U32>(*id), vrf.expectBool());
    }
    return vrfs;
}

template <typename List>
typename CommunityListRecord<List>::Entry readCommunityEntry(JsonValue const & value) {
    JsonObjectReader reader(value);
    typename CommunityListRecord<List>::Entry entry;
    entry.action = readAction(reader.require(word::action));
    auto const communities = reader.optional(word::communities);
    auto const regex = reader.optional(word::regex);
    reader.done();
    // An entry of both would have to say which one decides.
    if (communities.has_value() == regex.has_value()) {
        value.fail({}, "either communities or regex", regex ? "both" : "neither");
    }
    if (regex) {
        entry.pattern = readPattern(*regex, communityPattern);
        return entry;
    }
    for (JsonValue const community : communities->expectArray()) {
        entry.communities.push_back(readCommunity(community, static_cast<List const *>(nullptr)));
    }
    return entry;
}

template CommunityListRecord<StandardCommunityList>::Entry
readCommunityEntry<StandardCommunityList>(JsonValue const & value);
template CommunityListRecord<ExtCommunityList>::Entry
readCommunityEntry<ExtCommunityList>(JsonValue const & value);
template CommunityListRecord<LargeCommunityList>::Entry
readCommunityEntry<LargeCommunityList>(JsonValue const & value);

AsPathListRecord::Entry readAsPathEntry(JsonValue const & value) {
    JsonObjectReader reader(value);
    ListAction const action = readAction(reader.require(word::action));
    JsonValue const regex = reader.require(word::regex);
    auto const origin = reader.optional(word::origin);
    reader.done();
    return {action, readPattern(regex, asPathPattern),
            origin ? readOrigin(*origin) : std::optional<U64>()};
}

U32 readTag(JsonValue const & value) { return static_cast<U32>(value.expectU64(0, max32)); }

} // namespace Qcf::Lists
