#include "Mirror/VersionedView.h"

#include "Platform/Framework/Assert.h"

#include <algorithm>

namespace Qcf::Mirror {

VersionedView::Reader::~Reader() { view_.slotDel(slot_); }

VersionedView::VersionedView()
    : held_(makePtr<PolicyVersion>(VersionId(), PolicyVersion::Functions(), U64{0})) {
    current_.store(held_.get());
}

VersionedView::~VersionedView() {
    QCF_ASSERT_TEXT(slots_.empty(), "readers end before their view");
}

void VersionedView::currentIs(PtrConst<PolicyVersion> version) {
    {
        std::lock_guard const lock(mutex_);
        current_.store(version.get());
        retired_.push_back(std::exchange(held_, std::move(version)));
        retiredCount_.store(retired_.size());
    }
    reclaim();
}

PtrConst<PolicyVersion> VersionedView::current() {
    std::lock_guard const lock(mutex_);
    return held_;
}

VersionedView::Slot & VersionedView::slotIs() {
    std::lock_guard const lock(mutex_);
    return slots_.emplace_back();
}

void VersionedView::slotDel(Slot & slot) {
    std::lock_guard const lock(mutex_);
    QCF_ASSERT_TEXT(slot.pinned.load() == nullptr, "a reader's pin ends before the reader");
    slots_.remove_if([&](Slot const & each) { return &each == &slot; });
}

// One thread at a time looks for versions that nobody pins; whoever comes meanwhile does not wait
// for it but has it look again.
void VersionedView::reclaim() {
    do {
        lookAgain_.store(true);
        if (reclaiming_.exchange(true)) {
            return;
        }
        lookAgain_.store(false);
        auto const unpinned = takeUnpinned();
        reclaiming_.store(false);
    } while (lookAgain_.load());
}

std::vector<PtrConst<PolicyVersion>> VersionedView::takeUnpinned() {
    std::lock_guard const lock(mutex_);
    auto const isPinned = [this](PtrConst<PolicyVersion> const & version) {
        return std::any_of(slots_.begin(), slots_.end(),
                           [&](Slot const & slot) { return slot.pinned.load() == version.get(); });
    };
    auto const unpinned = std::partition(retired_.begin(), retired_.end(), isPinned);
    std::vector<PtrConst<PolicyVersion>> taken(std::make_move_iterator(unpinned),
                                               std::make_move_iterator(retired_.end()));
    retired_.erase(unpinned, retired_.end());
    retiredCount_.store(retired_.size());
    return taken;
}

} // namespace Qcf::Mirror
