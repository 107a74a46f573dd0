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

} // namespace

char const * kindText(ListKind kind) { return kindTexts[static_cast<U8>(kind)].text; }
char const * sectionName(ListKind kind) { return kindTexts[static_cast<U8>(kind)].section; }

} // namespace Qcf::Lists
