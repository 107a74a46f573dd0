#include "Agent/Mrt/MrtRecords.h"

/// Goes through the records of a stretch and hands each to the decoder of its type. Whoever cut the
/// stretch has seen that the lengths are right: headers are not checked again.
namespace Qcf::Agent {

using Mrt::Header;

void MrtFindings::reportAt(U64 offset, String const & text) {
    log.add("offset " + std::to_string(offset) +
            (compressed ? " of the decompressed data: " : ": ") + text);
}

void MrtRecords::stretchIs(MrtStretch const & stretch) {
    table_.peersIs(stretch.peers);
    at_ = stretch.data;
    left_ = stretch.size;
    end_ = stretch.offset + stretch.size;
    content_ = Content::nothing;
}

// Damage may come up here, too: the only entry of a record is decoded when it is handed out.
bool MrtRecords::next(Route & route, MrtFindings & findings) {
    for (;;) {
        try {
            if ((content_ == Content::table && table_.next(route)) ||
                (content_ == Content::message && message_.next(route))) {
                ++findings.statistics.routes;
                return true;
            }
        } catch (Damage const & damage) {
            recordIsDamaged(damage, findings);
        }
        if (left_ == 0) {
            content_ = Content::nothing;
            return false;
        }
        openRecord(findings);
    }
}

// Apart: a record has several routes, which need none of its registers.
[[gnu::noinline]] void MrtRecords::openRecord(MrtFindings & findings) {
    header_ = Header::load(at_);
    std::size_t const size = Header::size + header_.length;
    // Before it is decoded: whatever the record turns out to be, the next one is found by its
    // length.
    at_ += size;
    left_ -= size;
    ++findings.statistics.records;
    // A place in the file, since a share knows of its own stretches alone.
    findings.statistics.bytes = end_ - left_;
    content_ = Content::nothing;
    try {
        content_ = startRecord(findings.statistics);
    } catch (Damage const & damage) {
        recordIsDamaged(damage, findings);
    }
}

MrtRecords::Content MrtRecords::startRecord(ReadStatistics & statistics) {
    std::span<U8 const> const bytes(at_ - header_.length, header_.length);
    // Tables first: in a dump of one, all records behind the first are such.
    if (Mrt::holdsTableRoutes(header_)) {
        if (!table_.startV2(header_.subtype, bytes)) {
            ++statistics.skippedFamilies;
            return Content::nothing;
        }
        return Content::table;
    }
    return startOther(ByteCursor(bytes, "record"), statistics);
}

MrtRecords::Content MrtRecords::startOther(ByteCursor body, ReadStatistics & statistics) {
    switch (header_.type) {
    case Mrt::tableDumpV2:
        if (header_.subtype == Mrt::peerIndexTable) {
            table_.readPeers(body);
        } else {
            ++statistics.skippedRecords;
        }
        return Content::nothing;
    case Mrt::tableDump:
        // The subtype is the address family.
        if (FamilyCode::addressFamily(header_.subtype) == AddressFamily::none) {
            ++statistics.skippedRecords;
            return Content::nothing;
        }
        table_.startV1(header_.subtype, body);
        return Content::table;
    case Mrt::bgp4mpEt:
        body.skip(4); // microseconds
        [[fallthrough]];
    case Mrt::bgp4mp:
        // Where it is no UPDATE, it has no announcements and counts as skipped.
        message_.startBgp4mp(header_.subtype, body, statistics);
        return Content::message;
    case Mrt::bgp:
        message_.startBgp(header_.subtype, body, statistics);
        return Content::message;
    default:
        ++statistics.skippedRecords;
        return Content::nothing;
    }
}

void MrtRecords::recordIsDamaged(Damage const & damage, MrtFindings & findings) {
    content_ = Content::nothing;
    ++findings.statistics.damagedRecords;
    // The text is made only where it will be shown: a file may consist of damage.
    if (findings.log.wantsLine()) {
        U64 const offset = end_ - left_ - Header::size - header_.length;
        findings.reportAt(offset, "damaged " + Mrt::recordName(header_.type, header_.subtype) +
                                      " record: " + damage.subject() + " " + damage.problem());
    } else {
        findings.log.addUnsaid();
    }
}

} // namespace Qcf::Agent
