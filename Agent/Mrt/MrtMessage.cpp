#include "Agent/Mrt/MrtMessage.h"

/// The BGP messages in records: what an UPDATE announces.
/// Withdrawals are only counted, for they are no routes.
namespace Qcf::Agent {

void MrtMessage::startBgp4mp(U16 subtype, ByteCursor body, ReadStatistics & statistics) {
    // First: whatever is thrown or passed over below, no route of the record before may come out.
    update_.clear();
    // States are not looked at, not even whether they are whole.
    start(MrtSession::hasState(subtype) ? std::nullopt : MrtSession::ofBgp4mp(subtype, body),
          statistics);
}

void MrtMessage::startBgp(U16 subtype, ByteCursor body, ReadStatistics & statistics) {
    update_.clear();
    start(MrtSession::ofBgp(subtype, body), statistics);
}

void MrtMessage::start(std::optional<MrtSession> const & session, ReadStatistics & statistics) {
    auto const update = session ? session->update() : std::nullopt;
    if (!update) {
        ++statistics.skippedRecords;
        return;
    }
    shared_.clear();
    shared_.sourceSessionRemoteAs = session->peerAs;
    shared_.sourceSessionRemoteIpAddress = session->peer;
    readUpdate(*update, session->form, statistics);
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
