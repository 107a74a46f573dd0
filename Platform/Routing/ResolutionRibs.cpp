#include "Platform/Routing/ResolutionRibs.h"

#include "Platform/Framework/Assert.h"
#include "Platform/Routing/TextPieces.h"

#include <ostream>
#include <utility>

namespace Routing::Rib {

void ResolutionRibProfileConfig::entryIs(std::size_t index, ResolutionRibEntry entry) {
    // Misuse of the caller: readers of outside data count before.
    QCF_ASSERT(index < maxEntries);
    entries_[index] = std::move(entry);
}

std::size_t ResolutionRibProfileConfig::entryCount() const {
    // From the end: an unused entry between used ones keeps its place.
    std::size_t count = maxEntries;
    while (count > 0 && entries_[count - 1].isUnset()) {
        --count;
    }
    return count;
}

void ResolutionRibProfileConfig::hash(Hash & hash) const {
    // All places, unused ones too, as equality compares them.
    for (ResolutionRibEntry const & entry : entries_) {
        hash.hashMix(entry.name);
        hash.hashMix(entry.kind);
    }
    hash.hashMix(static_cast<U8>(useDefault_));
}

U32 ResolutionRibProfileConfig::hash(U32 seed) const {
    Hash mixed(seed);
    hash(mixed);
    return mixed.result();
}

String ResolutionRibProfileConfig::toString() const {
    String text;
    for (std::size_t i = 0; i < entryCount(); ++i) {
        text += i == 0 ? "" : ",";
        text += entries_[i].name;
        text.push_back(':');
        TextPieces::appendDecimal(text, entries_[i].kind);
    }
    if (useDefault_) {
        text += text.empty() ? "default" : ",default";
    }
    return text;
}

std::ostream & operator<<(std::ostream & out, ResolutionRibProfileConfig const & profile) {
    return out << profile.toString();
}

} // namespace Routing::Rib
