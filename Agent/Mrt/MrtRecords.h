#pragma once

#include "Agent/Mrt/MrtMessage.h"
#include "Agent/Mrt/MrtTable.h"
#include "Agent/Routes/ReportLog.h"

namespace Qcf::Agent {

/// Whole records that stand one behind the other in memory.
struct MrtStretch {
    U8 const * data = nullptr;
    std::size_t size = 0;
    U64 offset = 0;                        ///< of `data` in the decompressed file
    std::shared_ptr<MrtPeers const> peers; ///< that hold at its start
};

/// What is met while records are read: the counts and the reports.
struct MrtFindings {
    MrtFindings(bool ofCompressed, Lists::Reporter report)
        : log(std::move(report)), compressed(ofCompressed) {}

    /// A report about what stands at the offset.
    void reportAt(U64 offset, String const & text);

    ReadStatistics statistics;
    ReportLog log;
    bool compressed; ///< offsets are those of the decompressed data
};

/// Reads the routes of the records of a stretch.
///
/// A damaged record costs that record: no route comes out of it.
class MrtRecords {
public:
    /// The stretch to read next; it must stay where it is until then.
    void stretchIs(MrtStretch const & stretch);

    /// The next route; false when the stretch has no more. Damage goes into the findings.
    bool next(Route & route, MrtFindings & findings);

    /// The peers that hold at the place that was reached.
    std::shared_ptr<MrtPeers const> const & peers() const { return table_.peers(); }

private:
    enum class Content : U8 { nothing, table, message };

    void openRecord(MrtFindings & findings);
    Content startRecord(ReadStatistics & statistics);
    Content startOther(ByteCursor body, ReadStatistics & statistics);
    void recordIsDamaged(Damage const & damage, MrtFindings & findings);

    MrtTable table_;
    MrtMessage message_;
    U8 const * at_ = nullptr; ///< the record after the current one
    std::size_t left_ = 0;    ///< bytes from there
    U64 end_ = 0;             ///< of the stretch, in the file

    Mrt::Header header_{}; ///< of the current record
    Content content_ = Content::nothing;
};

} // namespace Qcf::Agent
