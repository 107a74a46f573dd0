#include "Lists/NamedLists.h"

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
