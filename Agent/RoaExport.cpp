#include "Agent/RoaExport.h"

#include "Platform/Render/JsonObjectReader.h"
#include "Platform/Routing/TextPieces.h"

#include <limits>

namespace Qcf::Agent {

namespace {

constexpr U64 max32 = std::numeric_limits<U32>::max();

/// An AS number as exports write it: 65001, "65001" or "AS65001".
U32 readAsn(JsonValue const & value) {
    std::optional<U64> asn = value.asU64();
    if (value.isString()) {
        std::string_view text = value.asString();
        bool const isPrefixed = text.starts_with("AS") || text.starts_with("as");
        text.remove_prefix(isPrefixed ? 2 : 0);
        asn = Routing::TextPieces::parseDecimal(text, max32);
    }
    if (!asn || *asn > max32) {
        value.fail("AS number");
    }
    return static_cast<U32>(*asn);
}

Roa readRoa(JsonValue const & value, OtherKeys otherKeys) {
    JsonObjectReader reader(value);
    Roa roa;
    roa.prefix = readPrefix(reader.require("prefix"), AddressFamily::none);
    auto const maxLength = reader.optional("maxLength");
    roa.asn = readAsn(reader.require("asn"));
    if (otherKeys == OtherKeys::refuse) {
        reader.done();
    }
    U8 const own = roa.prefix.len();
    U8 const width = addressWidth(roa.prefix.af());
    roa.maxLength = maxLength ? static_cast<U8>(maxLength->expectU64(own, width)) : own;
    return roa;
}

} // namespace

IpGenPrefix readPrefix(JsonValue const & value, AddressFamily family) {
    std::string_view const wanted = family == AddressFamily::ipv4   ? "IPv4 prefix"
                                    : family == AddressFamily::ipv6 ? "IPv6 prefix"
                                                                    : "prefix";
    auto const prefix = IpGenPrefix::parse(value.expectString(wanted));
    bool const fits = prefix && prefix->af() != AddressFamily::none &&
                      (family == AddressFamily::none || prefix->af() == family);
    if (!fits) {
        value.fail(wanted);
    }
    return *prefix;
}

std::vector<Roa> readRoas(JsonValue const & array, OtherKeys otherKeys) {
    std::vector<Roa> roas;
    roas.reserve(array.expectArray().size());
    for (JsonValue const element : array) {
        roas.push_back(readRoa(element, otherKeys));
    }
    return roas;
}

std::vector<Roa> readRoaExport(String text, String const & fileName) {
    auto const json = JsonDocument::parse(std::move(text), fileName);
    JsonValue const root = json.root().expectObject();
    if (root.find("slurmVersion")) {
        root.fail({}, "export of validated ROAs", "SLURM file of local exceptions");
    }
    return readRoas(JsonObjectReader(root).require("roas"), OtherKeys::ignore);
}

} // namespace Qcf::Agent
