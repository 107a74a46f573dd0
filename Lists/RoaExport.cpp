#include "Lists/RoaExport.h"

#include "Lists/ListRecord.h"
#include "Lists/ListWords.h"
#include "Lists/PlainText.h"
#include "Lists/RoaScan.h"
#include "Platform/Render/JsonObjectReader.h"

#include <limits>
#include <utility>

/// Two sources of payloads that are judged differently: what a person wrote into a lists document
/// is taken at its word, what a relying party's program exported may have more members, and less
/// content.
namespace Qcf::Lists {

namespace {

constexpr U64 max32 = std::numeric_limits<U32>::max();

std::string_view withoutAs(std::string_view text) {
    bool const isPrefixed = text.starts_with("AS") || text.starts_with("as");
    return text.substr(isPrefixed ? 2 : 0);
}

/// An AS number as exports write it: 65001, "65001" or "AS65001". None can be
/// taken for another.
U32 readAsn(JsonValue const & value) {
    std::optional<U64> asn = value.asU64();
    if (value.isString()) {
        asn = parseAsn(value.asString());
    }
    if (!asn || *asn > max32) {
        value.fail("AS number");
    }
    return static_cast<U32>(*asn);
}

/// Reads a payload; keys that say nothing of it are the caller's to judge. A length outside of the
/// prefix and its family is a fault: it cannot be meant.
Roa readRoa(JsonObjectReader & reader) {
    Roa roa;
    roa.prefix = readPrefix(reader.require(word::prefix), AddressFamily::none);
    auto const maxLength = reader.optional(word::maxLength);
    roa.asn = readAsn(reader.require(word::asn));
    auto const [least, most] = boundsOfLonger(roa.prefix);
    roa.maxLength = maxLength ? static_cast<U8>(maxLength->expectU64(least, most)) : least;
    return roa;
}

/// What keeps an export's entry from being a payload: a prefix that is none, or an AS number.
std::optional<JsonValue> missingIn(JsonValue const & entry) {
    auto const prefix = entry.find(word::prefix);
    if (prefix && (prefix->isNull() || (prefix->isString() && prefix->asString().empty()))) {
        return prefix;
    }
    auto const asn = entry.find(word::asn);
    bool const isMissing =
        asn && (asn->isNull() || (asn->isString() && withoutAs(asn->asString()).empty()));
    return isMissing ? asn : std::nullopt;
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

Roa readRoa(JsonValue const & value) {
    JsonObjectReader reader(value);
    Roa const roa = readRoa(reader);
    reader.done();
    return roa;
}

std::vector<Roa> readRoas(JsonValue const & array) {
    std::vector<Roa> roas;
    roas.reserve(array.expectArray().size());
    for (JsonValue const element : array) {
        roas.push_back(readRoa(element));
    }
    return roas;
}

// Exports are written by programs and by the hundred thousand. Entries that are plainly empty are
// left out with one warning; anything else that does not fit is a fault, lest a change of the
// format goes unseen.
std::vector<Roa> readRoaExport(JsonValue const & root, String const & fileName,
                               Reporter const & warn) {
    root.expectObject();
    // Such a file has ROAs, too, under other names: read as an export it would grant nothing.
    if (root.find("slurmVersion")) {
        root.fail({}, "export of validated ROAs", "SLURM file of local exceptions");
    }
    JsonValue const array = JsonObjectReader(root).require("roas");
    std::vector<Roa> roas;
    roas.reserve(array.expectArray().size());
    std::optional<JsonValue> firstMissing;
    for (JsonValue const element : array) {
        if (auto const missing = missingIn(element)) {
            firstMissing = firstMissing ? firstMissing : missing;
            continue;
        }
        JsonObjectReader reader(element);
        roas.push_back(readRoa(reader));
    }
    if (firstMissing && warn) {
        std::size_t const left = array.size() - roas.size();
        warn(
            fileName + ":" + firstMissing->pointer() + ": found " + describe(*firstMissing) +
            ", which is no payload: " + std::to_string(left) +
            (left == 1 ? " entry of this kind is left out" : " entries of this kind are left out"));
    }
    return roas;
}

std::vector<Roa> readRoaExport(String text, String const & fileName, Reporter const & warn) {
    return readRoaExport(JsonDocument::parse(std::move(text), fileName).root(), fileName, warn);
}

std::vector<Roa> readRoaExportFile(String const & path, Reporter const & warn) {
    if (auto roas = scanRoaExport(path)) {
        return std::move(*roas);
    }
    return readRoaExport(readPlainText(path, warn), path, warn);
}

} // namespace Qcf::Lists
