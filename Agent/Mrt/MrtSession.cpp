#include "Agent/Mrt/MrtSession.h"

namespace Qcf::Agent {

namespace {

using Content = MrtSession::Content;

/// What a subtype of BGP4MP holds; all that are not listed are not read.
/// AS4 is about the width of AS numbers, in the head of the record as in AS_PATH; LOCAL, a message
/// that the collector sent itself, makes no difference here.
struct RecordForm {
    U16 subtype;
    Content content;
    bool as4;
    bool addPath;
};

constexpr RecordForm recordForms[] = {
    {0, Content::newState, false, false}, // STATE_CHANGE
    {1, Content::message, false, false},  // MESSAGE
    {4, Content::message, true, false},   // MESSAGE_AS4
    {5, Content::newState, true, false},  // STATE_CHANGE_AS4
    {6, Content::message, false, false},  // MESSAGE_LOCAL
    {7, Content::message, true, false},   // MESSAGE_AS4_LOCAL
    {8, Content::message, false, true},   // MESSAGE_ADDPATH
    {9, Content::message, true, true},    // MESSAGE_AS4_ADDPATH
    {10, Content::message, false, true},  // MESSAGE_LOCAL_ADDPATH
    {11, Content::message, true, true},   // MESSAGE_AS4_LOCAL_ADDPATH
};

RecordForm const * findForm(U16 subtype) {
    for (RecordForm const & form : recordForms) {
        if (form.subtype == subtype) {
            return &form;
        }
    }
    return nullptr;
}

} // namespace

std::optional<MrtSession> MrtSession::ofBgp4mp(U16 subtype, ByteCursor record) {
    RecordForm const * const form = findForm(subtype);
    if (form == nullptr) {
        return std::nullopt;
    }
    MrtSession session;
    session.peerAs = form->as4 ? record.u32() : record.u16();
    session.collectorAs = form->as4 ? record.u32() : record.u16();
    record.skip(2); // interface
    AddressFamily const family = FamilyCode::addressFamily(record.u16());
    if (family == AddressFamily::none) {
        throw Damage("session", "is of an unknown address family");
    }
    session.peer = readAddress(record, family);
    readAddress(record, family); // the collector's own
    session.form = {.as4 = form->as4, .ids4 = form->addPath, .ids6 = form->addPath};
    session.content = form->content;
    session.body = record;
    return session;
}

bool MrtSession::hasState(U16 subtype) {
    RecordForm const * const form = findForm(subtype);
    return form != nullptr && form->content == Content::newState;
}

std::optional<MrtSession> MrtSession::ofBgp(U16 subtype, ByteCursor record) {
    constexpr U16 updateRecord = 1;
    if (subtype != updateRecord) {
        return std::nullopt;
    }
    MrtSession session;
    session.peerAs = record.u16();
    session.peer = readAddress(record, AddressFamily::ipv4);
    session.collectorAs = record.u16();
    record.skip(4); // the collector's address
    session.content = Content::update;
    session.body = record;
    return session;
}

std::optional<ByteCursor> MrtSession::update() const {
    if (content != Content::message) {
        return content == Content::update ? std::optional(body) : std::nullopt;
    }
    ByteCursor message = body;
    constexpr std::size_t markerSize = 16;
    constexpr std::size_t headSize = markerSize + 3;
    // The marker means nothing any more (RFC 4271 4.1) and is not compared.
    message.skip(markerSize);
    std::size_t const length = message.u16();
    U8 const type = message.u8();
    if (length < headSize) {
        throw Damage("BGP message", "has a wrong length");
    }
    // Of other messages nothing more is looked at, not even whether they fit into their record.
    if (type != Mrt::update) {
        return std::nullopt;
    }
    if (message.left() < length - headSize) {
        throw Damage("BGP message", "is longer than its record");
    }
    // What stands behind the message in its record does no harm.
    return message.take(length - headSize, "UPDATE message");
}

} // namespace Qcf::Agent
