#include "Agent/MrtMessage.h"

#include <utility>

namespace Qcf::Agent {

namespace {

/// What a subtype of BGP4MP holds; all that are not listed hold no messages.
struct MessageForm {
    U16 subtype;
    bool as4;
    bool addPath;
};

constexpr MessageForm kForms[] = {
    {1, false, false}, // MESSAGE
    {4, true, false},  // MESSAGE_AS4
    {6, false, false}, // MESSAGE_LOCAL
    {7, true, false},  // MESSAGE_AS4_LOCAL
    {8, false, true},  // MESSAGE_ADDPATH
    {9, true, true},   // MESSAGE_AS4_ADDPATH
    {10, false, true}, // MESSAGE_LOCAL_ADDPATH
    {11, true, true},  // MESSAGE_AS4_LOCAL_ADDPATH
};

MessageForm const * findForm(U16 subtype) {
    for (MessageForm const & form : kForms) {
        if (form.subtype == subtype) {
            return &form;
        }
    }
    return nullptr;
}

} // namespace

void MrtMessage::startBgp4mp(U16 subtype, ByteCursor body, ReadStatistics & statistics) {
    announced_ = {};
    cut_ = false;
    MessageForm const * const form = findForm(subtype);
    if (form == nullptr) {
        ++statistics.skippedRecords;
        return;
    }
    shared_.clear();
    shared_.sourceSessionRemoteAs = form->as4 ? body.u32() : body.u16();
    body.skip(form->as4 ? 4 : 2); // the collector's AS
    body.skip(2);                 // interface
    AddressFamily const family = FamilyCode::addressFamily(body.u16());
    if (family == AddressFamily::none) {
        throw Damage("session", "is of an unknown address family");
    }
    shared_.sourceSessionRemoteIpAddress = readAddress(body, family);
    readAddress(body, family); // the collector's own

    constexpr std::size_t markerSize = 16;
    constexpr std::size_t headSize = markerSize + 3;
    body.skip(markerSize);
    std::size_t const length = body.u16();
    U8 const type = body.u8();
    if (length < headSize) {
        throw Damage("BGP message", "has a wrong length");
    }
    if (type != Mrt::update) {
        ++statistics.skippedRecords;
        return;
    }
    addPath_ = form->addPath;
    cut_ = body.left() < length - headSize;
    std::size_t const present = cut_ ? body.left() : length - headSize;
    readUpdate(body.take(present, "UPDATE message"), form->as4, statistics);
}

void MrtMessage::startBgp(U16 subtype, ByteCursor body, ReadStatistics & statistics) {
    announced_ = {};
    cut_ = false;
    constexpr U16 updateRecord = 1;
    if (subtype != updateRecord) {
        ++statistics.skippedRecords;
        return;
    }
    shared_.clear();
    shared_.sourceSessionRemoteAs = body.u16();
    shared_.sourceSessionRemoteIpAddress = readAddress(body, AddressFamily::ipv4);
    body.skip(6); // the collector's AS and address
    addPath_ = false;
    readUpdate(body, false, statistics);
}

void MrtMessage::readUpdate(ByteCursor body, bool as4, ReadStatistics & statistics) {
    std::size_t const withdrawnLength = body.u16();
    ByteCursor const withdrawn = body.take(withdrawnLength, "withdrawn routes");
    std::size_t const attributesLength = body.u16();
    ByteCursor const attributes = body.take(attributesLength, "path attributes");
    U64 const withdrawals = countPrefixes(withdrawn, AddressFamily::ipv4, addPath_);
    attributes_.decode(attributes.rest(), {.as4 = as4, .rib = false}, shared_);

    statistics.withdrawals += withdrawals;
    countUnreach(statistics);
    announced_[0] = {AddressFamily::ipv4, shared_.nextHop, body};
    takeReach(statistics);
}

void MrtMessage::takeReach(ReadStatistics & statistics) {
    PathAttributes::MpNlri const & reach = attributes_.reach();
    AddressFamily const family = reach.family.routeFamily();
    if (family != AddressFamily::none) {
        announced_[1] = {family, reach.nextHop, reach.nlri};
    } else if (reach.present) {
        ++statistics.skippedFamilies;
    }
}

void MrtMessage::countUnreach(ReadStatistics & statistics) const {
    PathAttributes::MpNlri const & unreach = attributes_.unreach();
    AddressFamily const family = unreach.family.routeFamily();
    if (family != AddressFamily::none) {
        statistics.withdrawals += countPrefixes(unreach.nlri, family, addPath_);
    } else if (unreach.present) {
        ++statistics.skippedFamilies;
    }
}

bool MrtMessage::next(Route & route) {
    for (Announced & announced : announced_) {
        if (announced.nlri.atEnd()) {
            continue;
        }
        // Stays empty when the prefix is damaged: where the next one starts is not known then.
        ByteCursor rest = std::exchange(announced.nlri, ByteCursor());
        if (addPath_) {
            rest.skip(4);
        }
        IpGenPrefix const prefix = readPrefix(rest, announced.family);
        announced.nlri = rest;
        route = shared_;
        route.ipPrefix = prefix;
        route.nextHop = announced.nextHop;
        return true;
    }
    if (std::exchange(cut_, false)) {
        throw Damage("BGP message", "is longer than its record");
    }
    return false;
}

} // namespace Qcf::Agent
