#include "Agent/MrtReader.h"

#include <utility>

namespace Qcf::Agent {

namespace {

using Mrt::Header;

/// True when a record may start at `at` bytes from here, or the data end right there.
bool recordOrEndAt(ByteSource & source, std::size_t at) {
    return source.ensure(at + Header::size) ? isPlausible(Header::load(source.data() + at))
                                            : source.available() == at;
}

/// True when a record stands at `at` bytes from here that reaches exactly to another record or to
/// the end of the data. Four bytes must fit for each header, so that noise hardly ever passes.
bool startsRecord(ByteSource & source, std::size_t at) {
    if (!source.ensure(at + Header::size)) {
        return false;
    }
    Header const header = Header::load(source.data() + at);
    return isWellKnown(header) && recordOrEndAt(source, at + Header::size + header.length);
}

/// Skips to the next record; false at the end of the data.
bool skipToRecord(ByteSource & source) {
    while (source.ensure(Header::size)) {
        if (startsRecord(source, 0)) {
            return true;
        }
        source.skip(1);
    }
    return false;
}

} // namespace

bool looksLikeMrt(ByteSource & source) {
    constexpr std::size_t searched = std::size_t{64} << 10;
    if (source.ensure(Header::size) && isPlausible(Header::load(source.data()))) {
        return true;
    }
    for (std::size_t at = 1; at < searched && source.ensure(at + Header::size); ++at) {
        if (startsRecord(source, at)) {
            return true;
        }
    }
    return false;
}

std::unique_ptr<RouteReader> makeMrtReader(ByteSource source, String const & name,
                                           Reporter report) {
    return std::make_unique<MrtReader>(std::move(source), name, std::move(report));
}

MrtReader::MrtReader(ByteSource source, String const & name, Reporter report)
    : source_(std::move(source)), log_(name, std::move(report)) {}

bool MrtReader::next(Route & route) {
    for (;;) {
        try {
            if ((content_ == Content::table && table_.next(route)) ||
                (content_ == Content::message && message_.next(route))) {
                ++statistics_.routes;
                return true;
            }
        } catch (Damage const & damage) {
            // What is left of the record, if anything can be told apart, comes with the next turn.
            recordIsDamaged(damage);
            continue;
        }
        if (!openRecord()) {
            return false;
        }
    }
}

/// Steps to the next record that may have routes.
bool MrtReader::openRecord() {
    content_ = Content::nothing;
    while (content_ == Content::nothing) {
        leaveRecord();
        if (!findRecord()) {
            finish();
            return false;
        }
        ++statistics_.records;
        statistics_.bytes = source_.offset() + recordSize_;
        try {
            content_ = startRecord();
        } catch (Damage const & damage) {
            recordIsDamaged(damage);
        }
    }
    return true;
}

/// Steps over the current record. When it was damaged and no record follows it, its length is not
/// to be trusted, and the next record may well start inside it.
void MrtReader::leaveRecord() {
    std::size_t const size = std::exchange(recordSize_, 0);
    bool const damaged = std::exchange(damaged_, false);
    if (!damaged || size > searchBudget_ || recordOrEndAt(source_, size)) {
        source_.skip(size);
        return;
    }
    searchBudget_ -= size;
    recoverFrame("no record follows the damaged " + currentName() + " record");
}

/// Makes the next whole record stand at the source; false at the end of the data.
bool MrtReader::findRecord() {
    while (source_.ensure(Header::size)) {
        header_ = Header::load(source_.data());
        std::size_t const size = Header::size + header_.length;
        if (isPlausible(header_)) {
            if (source_.ensure(size)) {
                recordSize_ = size;
                return true;
            }
            recordIsCut(currentName() + " record", size);
        } else {
            noRecordIsHere(size);
        }
    }
    if (source_.available() > 0) {
        recordIsCut("record header", Header::size);
    }
    return false;
}

/// The data end before the record does, or so it says: unless they were cut for certain, its
/// length may be what is wrong.
void MrtReader::recordIsCut(String const & what, std::size_t wanted) {
    std::size_t const left = source_.available();
    ++statistics_.damagedRecords;
    String const problem = what + " is cut: " + std::to_string(left) + " of " +
                           std::to_string(wanted) + " bytes are there";
    if (source_.fault().empty()) {
        recoverFrame(problem);
    } else {
        reportAt(source_.offset(), problem);
        statistics_.cut = true;
        source_.skip(left);
    }
}

void MrtReader::noRecordIsHere(std::size_t size) {
    ++statistics_.damagedRecords;
    if (header_.length <= Mrt::maxRecordLength && recordOrEndAt(source_, size)) {
        reportAt(source_.offset(), "record of unknown " + currentName() + " skipped");
        source_.skip(size);
    } else {
        recoverFrame("no record starts here");
    }
}

/// Looks for the next record behind a place where none can be read.
void MrtReader::recoverFrame(String const & problem) {
    U64 const offset = source_.offset();
    source_.skip(1);
    bool const found = skipToRecord(source_);
    if (!found) {
        statistics_.cut = true;
        source_.skip(source_.available());
    }
    reportAt(offset, problem + (found ? ", reading on at offset " + std::to_string(source_.offset())
                                      : String(", no record follows")));
}

MrtReader::Content MrtReader::startRecord() {
    ByteCursor body(source_.data() + Header::size, header_.length, "record");
    switch (header_.type) {
    case Mrt::tableDumpV2:
        return startTableV2(body);
    case Mrt::tableDump:
        if (FamilyCode::addressFamily(header_.subtype) == AddressFamily::none) {
            ++statistics_.skippedRecords;
            return Content::nothing;
        }
        table_.startV1(header_.subtype, body);
        return Content::table;
    case Mrt::bgp4mpEt:
        body.skip(4); // microseconds
        [[fallthrough]];
    case Mrt::bgp4mp:
        message_.startBgp4mp(header_.subtype, body, statistics_);
        return Content::message;
    case Mrt::bgp:
        message_.startBgp(header_.subtype, body, statistics_);
        return Content::message;
    default:
        ++statistics_.skippedRecords;
        return Content::nothing;
    }
}

MrtReader::Content MrtReader::startTableV2(ByteCursor body) {
    U16 const subtype = header_.subtype;
    if (subtype == Mrt::peerIndexTable) {
        table_.readPeers(body);
        return Content::nothing;
    }
    if (subtype == Mrt::geoPeerTable || !isWellKnown(header_)) {
        ++statistics_.skippedRecords;
        return Content::nothing;
    }
    if (!table_.peersKnown() && !std::exchange(unknownPeersTold_, true)) {
        reportAt(source_.offset(), currentName() + " record without a PEER_INDEX_TABLE before it: "
                                                   "the peers of its routes are not known");
    }
    if (!table_.startV2(subtype, body)) {
        ++statistics_.skippedFamilies;
        return Content::nothing;
    }
    return Content::table;
}

void MrtReader::recordIsDamaged(Damage const & damage) {
    if (std::exchange(damaged_, true)) {
        return;
    }
    ++statistics_.damagedRecords;
    if (log_.wantsLine()) {
        reportAt(source_.offset(), "damaged " + currentName() + " record: " + damage.subject() +
                                       " " + damage.problem());
    } else {
        log_.addUnsaid();
    }
}

/// Tells, once, how the data ended.
void MrtReader::finish() {
    if (std::exchange(finished_, true)) {
        return;
    }
    statistics_.bytes = source_.offset();
    if (!source_.fault().empty()) {
        statistics_.cut = true;
        reportAt(source_.offset(), source_.fault());
    }
    log_.close();
}

void MrtReader::reportAt(U64 offset, String const & text) {
    log_.add("offset " + std::to_string(offset) +
             (source_.compressed() ? " of the decompressed data: " : ": ") + text);
}

} // namespace Qcf::Agent
