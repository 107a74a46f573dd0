#include "Text/ForeignLists.h"

#include "Lists/ListWords.h"
#include "Lists/RoaExport.h"
#include "Platform/Render/JsonObjectReader.h"
#include "Text/Patterns.h"

#include <limits>

namespace Qcf::Text {

using Lists::ListKind;
using Lists::ListRecord;
using As = std::optional<ImportRequest::As>;

namespace {

constexpr U64 max32 = std::numeric_limits<U32>::max();
constexpr U32 seqStep = 10;

[[noreturn]] void fail(JsonValue const & list, String const & path, char const * what) {
    throw DocumentError(path + ':' + list.pointer() + ": " + what);
}

std::optional<U8> readLength(std::optional<JsonValue> const & value, Lists::LengthBounds bounds) {
    return value ? std::optional(static_cast<U8>(value->expectU64(bounds.least, bounds.most)))
                 : std::nullopt;
}

Lists::PrefixListEntry readEntry(JsonValue const & value, AddressFamily family) {
    JsonObjectReader reader(value);
    Lists::PrefixListEntry entry;
    entry.prefix = Lists::readPrefix(reader.require(Lists::word::prefix), family);
    auto const exact = reader.optional("exact");
    auto const lower = reader.optional("greater-equal");
    auto const upper = reader.optional("less-equal");
    reader.done();
    bool const isExact = exact && exact->expectBool();
    if (isExact && (lower || upper)) {
        value.fail({}, "exact or a range of lengths", "both");
    }
    auto const ge = readLength(lower, Lists::boundsOfLonger(entry.prefix));
    lengthsAre(entry, ge, readLength(upper, Lists::boundsOfLe(entry.prefix, ge)));
    return entry;
}

/// The family of the list: the one that is asked for, else that of its first prefix, which all
/// others are to have.
AddressFamily familyOf(JsonValue const & list, String const & path, As const & as) {
    if (as && as->family != AddressFamily::none) {
        return as->family;
    }
    if (list.size() == 0) {
        fail(list, path,
             "is empty, so that its family is not known: import it 'as prefix_list NAME v4' or "
             "'v6'");
    }
    JsonObjectReader reader(list.at(0));
    return Lists::readPrefix(reader.require(Lists::word::prefix), AddressFamily::none).af();
}

Lists::PrefixListRecord readPrefixes(JsonValue const & list, String const & path, As const & as) {
    Lists::PrefixListRecord record;
    record.family = familyOf(list, path, as);
    record.entries.reserve(list.size());
    U32 seq = 0;
    for (JsonValue const element : list) {
        record.entries.push_back(readEntry(element, record.family));
        seq += seqStep;
        record.entries.back().seq = seq;
    }
    return record;
}

std::vector<U32> readNumbers(JsonValue const & list) {
    std::vector<U32> numbers;
    numbers.reserve(list.size());
    for (JsonValue const element : list) {
        numbers.push_back(static_cast<U32>(element.expectU64(0, max32)));
    }
    return numbers;
}

Lists::AsPathListRecord readOrigins(JsonValue const & list) {
    PathEntry entry{PathForm::ends, {}};
    for (U32 const number : readNumbers(list)) {
        entry.numbers.push_back({number, number, false});
    }
    Lists::AsPathListRecord record;
    if (entry.numbers.empty()) {
        return record;
    }
    try {
        record.entries.push_back(
            {Lists::ListAction::permit, Lists::asPathPattern(pathPattern(entry)), {}});
    } catch (Lists::PatternError const & error) {
        list.fail({}, "fewer AS numbers",
                  std::to_string(entry.numbers.size()) +
                      ", whose pattern is too large: " + error.what() + "; a tag set holds them");
    }
    return record;
}

Lists::ListContent readContent(JsonValue const & list, String const & path, As const & as) {
    bool const isNumbers = list.size() != 0 && list.at(0).isNumber();
    if (isNumbers && !as) {
        fail(list, path, "holds AS numbers: import it 'as as_path_list NAME' or 'as tag_set NAME'");
    }
    ListKind const kind = as ? as->kind : ListKind::prefixList;
    switch (kind) {
    case ListKind::prefixList:
        return readPrefixes(list, path, as);
    case ListKind::asPathAccessList:
        return readOrigins(list);
    case ListKind::tagSet:
        return Lists::TagSetRecord{readNumbers(list)};
    default:
        break;
    }
    fail(list, path, "becomes a prefix_list, an as_path_list or a tag_set, nothing else");
}

} // namespace

std::vector<ListRecord> readForeignLists(JsonValue const & root, String const & path, As const & as,
                                         Lists::Reporter const & warn) {
    root.expectObject();
    if (as && root.size() != 1) {
        root.fail({}, "one list for '" + as->name + "'", std::to_string(root.size()));
    }
    std::vector<ListRecord> lists;
    for (JsonValue const list : root) {
        list.expectArray();
        lists.push_back({as ? as->name : String(list.key()), readContent(list, path, as)});
        if (lists.back().empty() && warn) {
            warn(path + ':' + list.pointer() + ": the list is empty");
        }
    }
    return lists;
}

} // namespace Qcf::Text
