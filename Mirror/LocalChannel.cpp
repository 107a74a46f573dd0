#include "Mirror/LocalChannel.h"

#include "Platform/Framework/Assert.h"

namespace Qcf::Mirror {

namespace {

StagedBatch staged(Batch batch) {
    StagedBatch result("in process", std::move(batch.pieces.front()));
    for (std::size_t i = 1; i + 1 < batch.pieces.size(); ++i) {
        result.add(std::move(batch.pieces[i]));
    }
    result.finish(std::move(batch.pieces.back()));
    return result;
}

void applyTo(Mirror & mirror, StagedBatch const & batch) {
    mirror.replica().apply(batch);
    mirror.show();
}

} // namespace

LocalChannel::LocalChannel(Ptr<AllFunctionStatus> const & status)
    : status_(status),
      source_(status),
      version_{1, newBatchId(), digests_.of(status->aet())},
      subscription_(status_->publisher().subscribe([this](Notification const & change) {
          if (std::string_view(change.attribute) == "endOfDedupedFunctionUpdatesMarker" &&
              !status_->dedupedFunctionUpdatesInProgress()) {
              batchEnded();
          }
      })) {}

LocalChannel::~LocalChannel() { status_->publisher().unsubscribe(subscription_); }

void LocalChannel::attach(Mirror & mirror) {
    QCF_ASSERT_TEXT(!status_->dedupedFunctionUpdatesInProgress(), "no batch is under way");
    BatchStart const start{version_.number, version_.id, ""};
    applyTo(mirror, staged(source_.snapshot(start, version_.digest)));
    mirrors_.push_back(&mirror);
}

void LocalChannel::detach(Mirror & mirror) { std::erase(mirrors_, &mirror); }

void LocalChannel::batchEnded() {
    if (!source_.hasChanges()) {
        return;
    }
    digests_.keepInUse();
    BatchStart const start{version_.number + 1, newBatchId(),
                           source_.replaced() ? String() : version_.id};
    Batch batch = source_.takeBatch(start, digests_.of(status_->aet()));
    version_ = batch.version();
    StagedBatch const change = staged(std::move(batch));
    for (Mirror * const mirror : mirrors_) {
        applyTo(*mirror, change);
    }
}

} // namespace Qcf::Mirror
