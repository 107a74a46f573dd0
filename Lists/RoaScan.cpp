#include "Lists/RoaScan.h"

#include "Lists/ListRecord.h"
#include "Lists/ListWords.h"
#include "Lists/PlainJson.h"
#include "Platform/Routing/TextPieces.h"

#include <filesystem>
#include <limits>
#include <utility>

namespace Qcf::Lists {

namespace {

constexpr U64 max32 = std::numeric_limits<U32>::max();

Roa readEntry(PlainJson & json) {
    std::optional<IpGenPrefix> prefix;
    std::optional<U32> asn;
    std::optional<U64> maxLength;
    json.object([&](std::string_view key) {
        if (key == word::prefix) {
            prefix = IpGenPrefix::parse(json.text());
            PlainJson::doubtUnless(prefix && prefix->af() != AddressFamily::none);
        } else if (key == word::asn) {
            asn = parseAsn(json.isText() ? json.text() : json.plainNumber());
            PlainJson::doubtUnless(asn.has_value());
        } else if (key == word::maxLength) {
            maxLength = Routing::TextPieces::parseDecimal(json.plainNumber(), max32);
            PlainJson::doubtUnless(maxLength.has_value());
        } else {
            json.skip();
        }
    });
    PlainJson::doubtUnless(prefix && asn);
    auto const [least, most] = boundsOfLonger(*prefix);
    PlainJson::doubtUnless(!maxLength || (*maxLength >= least && *maxLength <= most));
    return {*prefix, static_cast<U8>(maxLength.value_or(least)), *asn};
}

void readExport(PlainJson & json, std::vector<Roa> & roas) {
    bool hasRoas = false;
    json.document([&](std::string_view key) {
        // Local exceptions have ROAs under other names, a lists document its own lists.
        PlainJson::doubtUnless(key != "slurmVersion" && key != word::format);
        if (key == "roas") {
            hasRoas = true;
            json.array([&] { roas.push_back(readEntry(json)); });
        } else {
            json.skip();
        }
    });
    PlainJson::doubtUnless(hasRoas);
}

} // namespace

std::optional<U32> parseAsn(std::string_view text) {
    bool const isPrefixed = text.starts_with("AS") || text.starts_with("as");
    auto const asn = Routing::TextPieces::parseDecimal(text.substr(isPrefixed ? 2 : 0), max32);
    return asn ? std::optional(static_cast<U32>(*asn)) : std::nullopt;
}

std::optional<std::vector<Roa>> scanRoaExport(std::unique_ptr<ByteStream> stream, U64 size) {
    // As many as entries of this size would be: room that is not needed is never touched.
    constexpr std::size_t shortEntry = 40;
    try {
        ByteSource source(std::move(stream));
        std::vector<Roa> roas;
        roas.reserve(size / shortEntry);
        PlainJson json(source);
        readExport(json, roas);
        return roas;
    } catch (PlainJson::Doubt const &) {
        return std::nullopt;
    }
}

std::optional<std::vector<Roa>> scanRoaExport(String const & path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        return std::nullopt;
    }
    auto const size = std::filesystem::file_size(path, error);
    try {
        return error ? std::nullopt : scanRoaExport(openFileStream(path), size);
    } catch (FileError const &) {
        return std::nullopt;
    }
}

} // namespace Qcf::Lists
