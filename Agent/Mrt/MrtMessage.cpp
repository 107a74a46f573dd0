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

} // namespace

void MrtMessage::startBgp4mp(U16 subtype, ByteCursor body, ReadStatistics & statistics) {
    // First: whatever is thrown or passed over below, no route of the record before may come out.
    update_.clear();
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
    if (body.left() < length - headSize) {
        throw Damage("BGP message", "is longer than its record");
    }
    // What stands behind the message in its record does no harm.
    readUpdate(body.take(length - headSize, "UPDATE message"),
               {.as4 = form->as4, .ids4 = form->addPath, .ids6 = form->addPath}, statistics);
}

void MrtMessage::startBgp(U16 subtype, ByteCursor body, ReadStatistics & statistics) {
    update_.clear();
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
    readUpdate(body, {}, statistics);
}

void MrtMessage::readUpdate(ByteCursor body, UpdateForm form, ReadStatistics & statistics) {
    update_.decode(body, form, shared_);
    statistics.withdrawals += update_.withdrawals();
    statistics.skippedFamilies += update_.skippedFamilies();
}

// Identifiers tell several paths of a peer apart; a route has no place for them.
bool MrtMessage::next(Route & route) {
    UpdatePrefix announced;
    for (BgpUpdate::Prefixes & place : update_.announced()) {
        if (place.next(announced)) {
            // Into the caller's storage, which is kept from route to route.
            route = shared_;
            route.ipPrefix = announced.prefix;
            route.nextHop = place.nextHop();
            return true;
        }
    }
    return false;
}

} // namespace Qcf::Agent
