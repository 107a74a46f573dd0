#include "Agent/Mrt/MrtFrames.h"

#include <algorithm>
#include <utility>

/// Nothing marks the start of a record but a header whose length leads to the next one. So a place
/// is believed to start a record by what stands where its length leads, and every place of doubt is
/// reported with its offset.
namespace Qcf::Agent {

namespace {

using Mrt::Header;

/// True when a record may start at `at` bytes from here, or the data end right there.
bool recordOrEndAt(Lists::ByteSource & source, std::size_t at) {
    return source.ensure(at + Header::size) ? isPlausible(Header::load(source.data() + at))
                                            : source.available() == at;
}

/// True when a record stands at `at` bytes from here that reaches exactly to another record or to
/// the end of the data. Four bytes must fit for each header, so that noise hardly ever passes.
bool startsRecord(Lists::ByteSource & source, std::size_t at) {
    if (!source.ensure(at + Header::size)) {
        return false;
    }
    Header const header = Header::load(source.data() + at);
    return isWellKnown(header) && recordOrEndAt(source, at + Header::size + header.length);
}

/// Skips to the next record; false at the end of the data.
bool skipToRecord(Lists::ByteSource & source) {
    while (source.ensure(Header::size)) {
        if (startsRecord(source, 0)) {
            return true;
        }
        // Records are not aligned.
        source.skip(1);
    }
    return false;
}

bool isPeerTable(Header const & header) {
    return header.type == Mrt::tableDumpV2 && header.subtype == Mrt::peerIndexTable;
}

String nameOf(Header const & header) { return Mrt::recordName(header.type, header.subtype); }

} // namespace

bool looksLikeMrt(Lists::ByteSource & source) {
    constexpr std::size_t searched = std::size_t{64} << 10;
    // A first header that may be one is enough: if it is none, the reader finds the next and says
    // so.
    if (source.ensure(Header::size) && isPlausible(Header::load(source.data()))) {
        return true;
    }
    // Nothing is skipped while searching, for the reader is to start at the first byte.
    for (std::size_t at = 1; at < searched && source.ensure(at + Header::size); ++at) {
        if (startsRecord(source, at)) {
            return true;
        }
    }
    return false;
}

bool MrtFrames::next(MrtFindings & findings) {
    for (;;) {
        leaveStretch(findings);
        if (!findRecord(findings)) {
            finish(findings);
            return false;
        }
        Header const header = Header::load(stretch_.data);
        // No stretch of its own: what it says goes along with the stretches behind it.
        if (isPeerTable(header)) {
            readPeers(findings);
            continue;
        }
        if (isSpecial(header)) {
            // Told once, not for each record of the table.
            unknownPeersTold_ = true;
            findings.reportAt(stretch_.offset, nameOf(header) +
                                                   " record without a PEER_INDEX_TABLE before it: "
                                                   "the peers of its routes are not known");
        }
        extendStretch();
        return true;
    }
}

// The peers that hold are a matter of the order of the file, which only the cut sees.
bool MrtFrames::isSpecial(Header const & header) const {
    return isPeerTable(header) ||
           (!stretch_.peers && !unknownPeersTold_ && Mrt::holdsTableRoutes(header));
}

/// Takes in the records behind the first one that are whole, at hand and nothing special.
void MrtFrames::extendStretch() {
    std::size_t const most = std::min(most_, source_.available());
    for (std::size_t at = stretch_.size; at + Header::size <= most;) {
        Header const header = Header::load(stretch_.data + at);
        // Whatever wants care ends the stretch: the next one starts with it, and is looked at then.
        if (!isPlausible(header) || isSpecial(header) || most - at < Header::size + header.length) {
            return;
        }
        last_ = at;
        at += Header::size + header.length;
        stretch_.size = at;
    }
}

/// A table holds for all records behind it, whoever reads them.
void MrtFrames::readPeers(MrtFindings & findings) {
    looked_.stretchIs(stretch_);
    Route none;
    // There is no route in it; asking for one has the record read, and its damage told.
    looked_.next(none, findings);
    stretch_.peers = looked_.peers();
    unknownPeersTold_ = false;
}

/// Steps over the stretch. When its last record is damaged and no record follows it, its length is
/// not to be trusted, and the next record may well start inside it.
void MrtFrames::leaveStretch(MrtFindings & findings) {
    std::size_t const size = std::exchange(stretch_.size, 0);
    if (size == 0) {
        return;
    }
    std::size_t const lastSize = size - last_;
    bool const followed = recordOrEndAt(source_, size);
    // The record is decoded a second time only when there is doubt, and room in the budget.
    if (followed || lastSize > searchBudget_ || !lastIsDamaged(lastSize)) {
        source_.skip(size);
        return;
    }
    searchBudget_ -= lastSize;
    source_.skip(last_);
    recoverFrame("no record follows the damaged " + nameOf(Header::load(source_.data())) +
                     " record",
                 findings);
}

// Nothing of this trial is told: whoever reads the stretch meets the same damage and reports it.
bool MrtFrames::lastIsDamaged(std::size_t size) {
    looked_.stretchIs({.data = source_.data() + last_, .size = size, .peers = stretch_.peers});
    MrtFindings findings(false, {});
    Route route;
    while (looked_.next(route, findings)) {
    }
    return findings.statistics.damagedRecords > 0;
}

/// Makes the next whole record the stretch; false at the end of the data.
bool MrtFrames::findRecord(MrtFindings & findings) {
    while (source_.ensure(Header::size)) {
        Header const header = Header::load(source_.data());
        std::size_t const size = Header::size + header.length;
        if (!isPlausible(header)) {
            noRecordIsHere(header, findings);
            // A record is handed out whole or not at all.
        } else if (!source_.ensure(size)) {
            recordIsCut(nameOf(header) + " record", size, findings);
        } else {
            stretch_.data = source_.data();
            stretch_.size = size;
            stretch_.offset = source_.offset();
            last_ = 0;
            return true;
        }
    }
    // Fewer bytes than a header has.
    if (source_.available() > 0) {
        recordIsCut("record header", Header::size, findings);
    }
    return false;
}

/// The data end before the record does, or so it says: unless they were cut for certain, its
/// length may be what is wrong.
void MrtFrames::recordIsCut(String const & what, std::size_t wanted, MrtFindings & findings) {
    std::size_t const left = source_.available();
    ++findings.statistics.damagedRecords;
    String const problem = what + " is cut: " + std::to_string(left) + " of " +
                           std::to_string(wanted) + " bytes are there";
    if (source_.fault().empty()) {
        recoverFrame(problem, findings);
    } else {
        findings.reportAt(source_.offset(), problem);
        findings.statistics.cut = true;
        source_.skip(left);
    }
}

// An unknown type whose length leads on is a record of a kind that nobody here knows; anything else
// is a broken frame.
void MrtFrames::noRecordIsHere(Header const & header, MrtFindings & findings) {
    ++findings.statistics.damagedRecords;
    std::size_t const size = Header::size + header.length;
    if (header.length <= Mrt::maxRecordLength && recordOrEndAt(source_, size)) {
        findings.reportAt(source_.offset(), "record of unknown " + nameOf(header) + " skipped");
        source_.skip(size);
    } else {
        recoverFrame("no record starts here", findings);
    }
}

/// Looks for the next record behind a place where none can be read.
void MrtFrames::recoverFrame(String const & problem, MrtFindings & findings) {
    U64 const offset = source_.offset();
    // Or the search would find the place that it starts from.
    source_.skip(1);
    bool const found = skipToRecord(source_);
    if (!found) {
        findings.statistics.cut = true;
        source_.skip(source_.available());
    }
    findings.reportAt(
        offset, problem + (found ? ", reading on at offset " + std::to_string(source_.offset())
                                 : String(", no record follows")));
}

/// Tells, once, how the data ended.
void MrtFrames::finish(MrtFindings & findings) {
    if (std::exchange(finished_, true)) {
        return;
    }
    // What was passed over at the end counts as read.
    findings.statistics.bytes = source_.offset();
    if (!source_.note().empty()) {
        findings.log.add(source_.note());
    }
    if (!source_.fault().empty()) {
        findings.statistics.cut = true;
        findings.reportAt(source_.offset(), source_.fault());
    }
}

} // namespace Qcf::Agent
