#include "Lists/NamedLists.h"

/// The names of kinds, for messages and for documents, side by side: a new kind is a row here, and
/// a map in the class.
namespace Qcf::Lists {

namespace {

struct KindTexts {
    char const * text;
    char const * section;
};

/// By ListKind.
constexpr KindTexts kindTexts[] = {
    {"prefix list", "prefixLists"},
    {"dynamic prefix list", "dynamicPrefixLists"},
    {"community list", "communityLists"},
    {"extended community list", "extCommunityLists"},
    {"large community list", "largeCommunityLists"},
    {"AS-path access list", "asPathAccessLists"},
    {"tag set", "tagSets"},
    {"ROA table", "roaTables"},
};

/// A member of an object as a JSON pointer writes it. Escaped as RFC 6901 wants it, since names may
/// be any texts.
String pointerStep(std::string_view key) {
    String step = "/";
    for (char const c : key) {
        step += c == '~' ? "~0" : c == '/' ? "~1" : String(1, c);
    }
    return step;
}

} // namespace

char const * kindText(ListKind kind) { return kindTexts[static_cast<U8>(kind)].text; }
char const * sectionName(ListKind kind) { return kindTexts[static_cast<U8>(kind)].section; }

String NamedLists::placeOf(ListKind kind, String const & name) const {
    auto const own = places.find({kind, name});
    return own != places.end() ? own->second : fileName + ':' + pointerOf(kind, name);
}

String NamedLists::pointerOf(ListKind kind, String const & name) {
    return String("/") + sectionName(kind) + pointerStep(name);
}

} // namespace Qcf::Lists
