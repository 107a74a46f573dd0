#include "Agent/Mrt/MrtMessage.h"

/// The BGP messages in records: over which session one came, and what an UPDATE announces.
/// Withdrawals are only counted, for they are no routes.
namespace Qcf::Agent {

namespace {

/// What a subtype of BGP4MP holds; all that are not listed hold no messages.
/// AS4 is about the width of AS numbers, in the head of the record as in AS_PATH; LOCAL, a message
/// that the collector sent itself, makes no difference here.
struct MessageForm {
    U16 subtype;
    bool as4;
    bool addPath;
};

constexpr MessageForm messageForms[] = {
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
    for (MessageForm const & form : messageForms) {
        if (form.subtype == subtype) {
            return &form;
        }
    }
    return nullptr;
}

/// Whether the attribute is there for a family that is not read.
bool isUnread(PathAttributes::MpNlri const & nlri) {
    return nlri.present && nlri.family.routeFamily() == AddressFamily::none;
}

} // namespace

void MrtMessage::startBgp4mp(U16 subtype, ByteCursor body, ReadStatistics & statistics) {
    // First: whatever is thrown or passed over below, no route of the record before may come out.
    announced_ = {};
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
    // The marker means nothing any more (RFC 4271 4.1) and is not compared.
    body.skip(markerSize);
    std::size_t const length = body.u16();
    U8 const type = body.u8();
    if (length < headSize) {
        throw Damage("BGP message", "has a wrong length");
    }
    // Of other messages nothing more is looked at, not even whether they fit into their record.
    if (type != Mrt::update) {
        ++statistics.skippedRecords;
        return;
    }
    addPath_ = form->addPath;
    if (body.left() < length - headSize) {
        throw Damage("BGP message", "is longer than its record");
    }
    // What stands behind the message in its record does no harm.
    readUpdate(body.take(length - headSize, "UPDATE message"), form->as4, statistics);
}

void MrtMessage::startBgp(U16 subtype, ByteCursor body, ReadStatistics & statistics) {
    announced_ = {};
    // The deprecated type: sessions of IPv4, AS numbers of two bytes, and an UPDATE without its
    // header.
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
    attributes_.decode(attributes.rest(), {.as4 = as4, .rib = false}, shared_);
    auto const & reach = attributes_.reach();
    auto const & unreach = attributes_.unreach();
    AddressFamily const reached = reach.family.routeFamily();
    AddressFamily const unreached = unreach.family.routeFamily();

    // Counting looks at every prefix: a damaged one throws before anything of the message counts.
    U64 withdrawals = countPrefixes(withdrawn, AddressFamily::ipv4, addPath_);
    withdrawals += countPrefixes(unreach.nlri, unreached, addPath_);
    countPrefixes(reach.nlri, reached, addPath_);
    countPrefixes(body, AddressFamily::ipv4, addPath_);

    statistics.withdrawals += withdrawals;
    statistics.skippedFamilies += isUnread(reach) ? 1 : 0;
    statistics.skippedFamilies += isUnread(unreach) ? 1 : 0;
    // What stands behind the attributes is IPv4 and has the next hop of NEXT_HOP; other families
    // are in MP_REACH_NLRI with a next hop of their own.
    announced_[0] = {AddressFamily::ipv4, shared_.nextHop, body};
    if (reached != AddressFamily::none) {
        announced_[1] = {reached, reach.nextHop, reach.nlri};
    }
}

bool MrtMessage::next(Route & route) {
    for (Announced & announced : announced_) {
        if (announced.nlri.atEnd()) {
            continue;
        }
        if (addPath_) {
            // Identifiers tell several paths of a peer apart; a route has no place for them.
            announced.nlri.skip(4);
        }
        // Into the caller's storage, which is kept from route to route.
        route = shared_;
        route.ipPrefix = readPrefix(announced.nlri, announced.family);
        route.nextHop = announced.nextHop;
        return true;
    }
    return false;
}

} // namespace Qcf::Agent
