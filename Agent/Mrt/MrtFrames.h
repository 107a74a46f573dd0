#pragma once

#include "Agent/Mrt/MrtRecords.h"
#include "Lists/ByteSource.h"

namespace Qcf::Agent {

/// Cuts an MRT file into stretches of whole records, which takes a look at their headers alone.
/// Decoding, which is the work, can so be done by several threads at once.
///
/// Where the frame of the records is broken it looks for the next place where a record starts that
/// is followed by another one or by the end of the data. How much of damaged records is
/// searched for others is bounded over the whole file, so that false records within each other do
/// not make it quadratic. Used by one thread at a time.
///
///     MrtFrames frames(std::move(source), std::size_t{16} << 10);
///     while (frames.next(findings)) {
///         records.stretchIs(frames.stretch());
///         ...
///     }
class MrtFrames {
public:
    /// A stretch has up to `most` bytes, or one record.
    MrtFrames(Lists::ByteSource source, std::size_t most)
        : source_(std::move(source)), most_(most) {}

    /// Cuts the next stretch; false at the end of the data. What the findings are given stands
    /// before the stretch, peer index tables included. Waits for no more data than one record
    /// needs.
    bool next(MrtFindings & findings);

    /// The current stretch, until `next` is called again.
    MrtStretch const & stretch() const { return stretch_; }

    /// Whether offsets are those of decompressed data, which reports then say.
    bool compressed() const { return source_.compressed(); }

private:
    /// Comes to the next record that can be read; false at the end of the data.
    bool findRecord(MrtFindings & findings);
    /// Takes further records that are in the window already.
    void extendStretch();
    /// Steps over the current stretch.
    void leaveStretch(MrtFindings & findings);
    /// Whether the last record of the stretch, of so many bytes, cannot be decoded.
    bool lastIsDamaged(std::size_t size);
    /// Keeps the peers of a table that begins here, for the stretches behind it.
    void readPeers(MrtFindings & findings);
    /// A record that the cut itself has to look at: it starts a stretch.
    bool isSpecial(Mrt::Header const & header) const;

    /// The kinds of trouble, each told once where it is met.
    void recordIsCut(String const & what, std::size_t wanted, MrtFindings & findings);
    void noRecordIsHere(Mrt::Header const & header, MrtFindings & findings);
    /// Searches for the next record and tells how much was passed over.
    void recoverFrame(String const & problem, MrtFindings & findings);
    /// Tells how the data ended.
    void finish(MrtFindings & findings);

    Lists::ByteSource source_;
    std::size_t most_;
    MrtStretch stretch_;            ///< stands at the source
    std::size_t last_ = 0;          ///< where the last record of the stretch starts
    MrtRecords looked_;             ///< for the records that the cut looks at
    bool unknownPeersTold_ = false; ///< since the last peer index table
    bool finished_ = false;
    /// Bytes of damaged records that may still be searched for records in their midst; without a
    /// bound, nested false records would be read over and over.
    U64 searchBudget_ = U64{64} << 20;
};

/// True when the data are MRT: they start with a record, or one starts within the first 64 KiB.
/// Nothing is skipped: a reader can start at the first byte afterwards.
bool looksLikeMrt(Lists::ByteSource & source);

} // namespace Qcf::Agent
