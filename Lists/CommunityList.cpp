#include "Lists/CommunityList.h"

#include "Platform/Routing/CommunityText.h"

/// What patterns are written against is part of what a list means, and must not change with the way
/// in which communities are printed elsewhere. Each kind has one form.
namespace Qcf::Lists {

template <>
StandardCommunityList::Matcher::AppendText StandardCommunityList::appendText() {
    return [](String & out, U64 const & community) { appendStandardCommunityText(out, community); };
}
template <>
ExtCommunityList::Matcher::AppendText ExtCommunityList::appendText() {
    return appendExtCommunityText;
}
template <>
LargeCommunityList::Matcher::AppendText LargeCommunityList::appendText() {
    return appendLargeCommunityText;
}

} // namespace Qcf::Lists
