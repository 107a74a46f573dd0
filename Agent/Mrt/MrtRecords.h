#pragma once

#include "Agent/Mrt/MrtMessage.h"
#include "Agent/Mrt/MrtTable.h"
#include "Agent/Routes/ReportLog.h"

namespace Qcf::Agent {

/// Whole records that stand one behind the other in memory, and what is to be known to read them
/// apart from the rest of the file. The bytes are somebody else's.
struct MrtStretch {
    U8 const * data = nullptr;
    std::size_t size = 0;
    U64 offset = 0;                        ///< of `data` in the decompressed file
    std::shared_ptr<MrtPeers const> peers; ///< that hold at its start
};

/// What is met while records are read: the counts and the reports. Shares gather their own, which
/// are joined in the order of the file.
struct MrtFindings {
    /// An empty `report` drops the lines.
    MrtFindings(bool ofCompressed, Lists::Reporter report)
        : log(std::move(report)), compressed(ofCompressed) {}

    /// A report about what stands at the offset. Only counted when the log has enough.
    void reportAt(U64 offset, String const & text);

    /// What programs are told.
    ReadStatistics statistics;
    /// What people are told, up to a bound.
    ReportLog log;
    bool compressed; ///< offsets are those of the decompressed data
};

/// Reads the routes of the records of a stretch.
///
/// A damaged record costs that record: no route comes out of it, so that nobody acts on half of
/// what it said. Records of types without routes are counted as skipped. Used by one thread at a
/// time; after the largest record nothing is allocated.
///
///     records.stretchIs(stretch);
///     while (records.next(route, findings)) {
///         ...
///     }
class MrtRecords {
public:
    /// The stretch to read next; it must stay where it is until then. What was left of the one
    /// before is forgotten.
    void stretchIs(MrtStretch const & stretch);

    /// The next route; false when the stretch has no more. Damage goes into the findings. The route
    /// is overwritten, reusing its storage.
    bool next(Route & route, MrtFindings & findings);

    /// The peers that hold at the place that was reached.
    std::shared_ptr<MrtPeers const> const & peers() const { return table_.peers(); }

private:
    /// What the current record hands out.
    enum class Content : U8 { nothing, table, message };

    /// Comes to the next record; its damage goes into the findings.
    void openRecord(MrtFindings & findings);
    /// Hands the current record to the decoder of its type.
    Content startRecord(ReadStatistics & statistics);
    /// The types beside routes of TABLE_DUMP_V2.
    Content startOther(ByteCursor body, ReadStatistics & statistics);
    /// Counts the current record as damaged and reports why.
    void recordIsDamaged(Damage const & damage, MrtFindings & findings);

    /// One decoder a kind of record, each with storage that is kept.
    MrtTable table_;
    MrtMessage message_;
    U8 const * at_ = nullptr; ///< the record after the current one
    std::size_t left_ = 0;    ///< bytes from there
    U64 end_ = 0;             ///< of the stretch, in the file

    Mrt::Header header_{}; ///< of the current record
    Content content_ = Content::nothing;
};

} // namespace Qcf::Agent
