#pragma once

#include "Agent/MrtMessage.h"
#include "Agent/MrtTable.h"
#include "Agent/ReportLog.h"

namespace Qcf::Agent {

/// Reads the routes of an MRT file. Use it through `openRoutes` or `makeMrtReader`.
///
/// Damage inside a record costs that record, or the rest of it: what was whole before is handed
/// out. Where the frame of the records itself is broken the reader looks for the next place where a
/// record starts that is followed by another one or by the end of the data.
class MrtReader final : public RouteReader {
public:
    MrtReader(ByteSource source, String const & name, Reporter report);

    bool next(Route & route) override;
    ReadStatistics const & statistics() const override { return statistics_; }

private:
    enum class Content : U8 { nothing, table, message };

    bool openRecord();
    bool findRecord();
    void leaveRecord();
    Content startRecord();
    Content startTableV2(ByteCursor body);

    void recordIsDamaged(Damage const & damage);
    void recordIsCut(String const & what, std::size_t wanted);
    void noRecordIsHere(std::size_t size);
    void recoverFrame(String const & problem);
    void finish();
    void reportAt(U64 offset, String const & text);
    String currentName() const { return Mrt::recordName(header_.type, header_.subtype); }

    ByteSource source_;
    ReportLog log_;
    ReadStatistics statistics_;
    MrtTable table_;
    MrtMessage message_;

    Mrt::Header header_{};
    std::size_t recordSize_ = 0; ///< with its header; 0 between records
    Content content_ = Content::nothing;
    bool damaged_ = false; ///< the current record was reported
    bool unknownPeersTold_ = false;
    bool finished_ = false;
    /// Bytes of damaged records that may still be searched for records in their midst; without a
    /// bound, nested false records would be read over and over.
    U64 searchBudget_ = U64{64} << 20;
};

/// True when the data are MRT: they start with a record, or one starts within the first 64 KiB.
bool looksLikeMrt(ByteSource & source);

} // namespace Qcf::Agent
