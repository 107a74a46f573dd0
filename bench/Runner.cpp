#include "bench/Runner.h"

#include "Agent/Routes/ValueRenderer.h"

#include <functional>

namespace Qcf::Bench {

void Checksum::add(bool accepted, Agent::RouteChanges const & changes) {
    using Attribute = Eval::ModifiableAttribute;
    constexpr auto flag = [](Attribute attribute) { return 1U << static_cast<U8>(attribute); };
    constexpr U32 known = flag(Attribute::community) | flag(Attribute::extCommunity) |
                          flag(Attribute::largeCommunity) | flag(Attribute::localPref) |
                          flag(Attribute::med) | flag(Attribute::origin);
    mix(accepted ? 1 : 2);
    mix(changes.flags);
    auto const integer = [&](Attribute attribute, U64 value) {
        if (changes.changed(attribute)) {
            mix(value);
        }
    };
    auto const communities = [&](Attribute attribute, std::span<Acl::CommunityValue const> set) {
        if (changes.changed(attribute)) {
            mix(set.size());
            for (Acl::CommunityValue const & value : set) {
                mix(value.value());
                mix(value.type());
            }
        }
    };
    if (changes.changed(Attribute::community)) {
        mix(changes.community.size());
        for (U64 const value : changes.community) {
            mix(value);
        }
    }
    communities(Attribute::extCommunity, changes.extCommunity);
    communities(Attribute::largeCommunity, changes.largeCommunity);
    integer(Attribute::localPref, changes.localPref);
    integer(Attribute::med, changes.med);
    integer(Attribute::origin, changes.origin);
    if ((changes.flags & ~known) != 0) {
        String text;
        RendererV2 json(text);
        json.beginArray();
        changes.eachChange([&](Attribute attribute, char const * /*name*/, auto const & value) {
            if ((flag(attribute) & known) == 0) {
                Agent::ValueRenderer(json).render(value, Agent::SetForm::numbers);
            }
        });
        json.endArray();
        mix(std::hash<String>()(text));
    }
}

} // namespace Qcf::Bench
