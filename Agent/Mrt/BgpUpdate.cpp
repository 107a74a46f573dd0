#include "Agent/Mrt/BgpUpdate.h"

namespace Qcf::Agent {

namespace {

/// Whether the attribute is there for a family that is not read.
bool isUnread(PathAttributes::MpNlri const & nlri) {
    return nlri.present && nlri.family.routeFamily() == AddressFamily::none;
}

} // namespace

BgpUpdate::Parts BgpUpdate::split(ByteCursor body) {
    Parts parts;
    std::size_t const withdrawnLength = body.u16();
    parts.withdrawn = body.take(withdrawnLength, "withdrawn routes");
    std::size_t const attributesLength = body.u16();
    parts.attributes = body.take(attributesLength, "path attributes");
    parts.announced = body;
    return parts;
}

void BgpUpdate::decode(ByteCursor body, UpdateForm form, Route & shared) {
    clear();
    Parts const parts = split(body);
    attributes_.decode(parts.attributes.rest(), {.as4 = form.as4, .rib = false}, shared);
    readPlaces(parts, form, shared.nextHop);
}

void BgpUpdate::check(ByteCursor body, UpdateForm form) {
    clear();
    Parts const parts = split(body);
    attributes_.check(parts.attributes.rest(), {.as4 = form.as4, .rib = false});
    readPlaces(parts, form, {});
}

void BgpUpdate::clear() {
    // Whatever is thrown or passed over later, no prefix of the message before may come out.
    announced_ = {};
    withdrawn_ = {};
    attributeBytes_ = {};
    announcements_ = 0;
    withdrawals_ = 0;
    skippedFamilies_ = 0;
    endOfRib_ = AddressFamily::none;
}

void BgpUpdate::readPlaces(Parts const & parts, UpdateForm form, IpGenAddr const & nextHop) {
    auto const & reach = attributes_.reach();
    auto const & unreach = attributes_.unreach();
    AddressFamily const reached = reach.family.routeFamily();
    AddressFamily const unreached = unreach.family.routeFamily();

    // Counting looks at every prefix: a damaged one throws before anything of the message counts.
    U64 withdrawals = countPrefixes(parts.withdrawn, AddressFamily::ipv4, form.ids4);
    withdrawals += countPrefixes(unreach.nlri, unreached, form.hasIds(unreached));
    U64 announcements = countPrefixes(reach.nlri, reached, form.hasIds(reached));
    announcements += countPrefixes(parts.announced, AddressFamily::ipv4, form.ids4);

    announcements_ = announcements;
    withdrawals_ = withdrawals;
    skippedFamilies_ = (isUnread(reach) ? 1U : 0U) + (isUnread(unreach) ? 1U : 0U);
    attributeBytes_ = parts.attributes.rest();
    withdrawn_[0] = {AddressFamily::ipv4, form.ids4, parts.withdrawn};
    if (unreached != AddressFamily::none) {
        withdrawn_[1] = {unreached, form.hasIds(unreached), unreach.nlri};
    }
    // What stands behind the attributes is IPv4 and has the next hop of NEXT_HOP; other families
    // are in MP_REACH_NLRI with a next hop of their own.
    announced_[0] = {AddressFamily::ipv4, form.ids4, parts.announced, nextHop};
    if (reached != AddressFamily::none) {
        announced_[1] = {reached, form.hasIds(reached), reach.nlri, reach.nextHop};
    }
    findEndOfRib(parts);
}

/// An UPDATE without anything for IPv4 unicast; for other families one with nothing but an empty
/// MP_UNREACH_NLRI.
void BgpUpdate::findEndOfRib(Parts const & parts) {
    if (announcements_ + withdrawals_ != 0 || attributes_.reach().present) {
        return;
    }
    auto const & unreach = attributes_.unreach();
    if (unreach.present) {
        endOfRib_ = unreach.nlri.atEnd() ? unreach.family.routeFamily() : AddressFamily::none;
    } else if (parts.attributes.atEnd()) {
        endOfRib_ = AddressFamily::ipv4;
    }
}

} // namespace Qcf::Agent
