#include "Mirror/VersionedView.h"

#include "Platform/Framework/Assert.h"

#include <algorithm>

/// Replacing versions and letting them go. Pinning stands in the header; readers come here when
/// they begin and end, and when they let go of a version while replaced ones are waiting.
namespace Qcf::Mirror {

VersionedView::Reader::~Reader() { view_.hazardPointerDel(hazard_); }

VersionedView::VersionedView()
    : held_(makePtr<PolicyVersion>(VersionId(), FunctionTable(), U64{0})) {
    current_.store(held_.get());
}

VersionedView::~VersionedView() {
    QCF_ASSERT_TEXT(hazards_.empty(), "readers end before their view");
}

void VersionedView::currentIs(PtrConst<PolicyVersion> version) {
    {
        std::lock_guard const lock(mutex_);
        // First: whoever pins from here on gets the new one, and only those can hold the old one
        // whose hazard pointer says so.
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

VersionedView::HazardPointer & VersionedView::hazardPointerIs() {
    std::lock_guard const lock(mutex_);
    // In a list, so that it stays where its reader knows it.
    return hazards_.emplace_back();
}

void VersionedView::hazardPointerDel(HazardPointer & hazard) {
    std::lock_guard const lock(mutex_);
    QCF_ASSERT_TEXT(hazard.version.load() == nullptr, "a reader's pin ends before the reader");
    hazards_.remove_if([&](HazardPointer const & each) { return &each == &hazard; });
}

// One thread at a time looks for versions that no hazard pointer protects; whoever comes meanwhile
// does not wait for it but has it look again.
void VersionedView::reclaim() {
    do {
        // Before the question: the thread that is at it sees this when it has finished its round.
        lookAgain_.store(true);
        if (reclaiming_.exchange(true)) {
            return;
        }
        lookAgain_.store(false);
        auto const unprotected = takeUnprotected(); // let go of at the end of this round
        reclaiming_.store(false);
    } while (lookAgain_.load());
}

std::vector<PtrConst<PolicyVersion>> VersionedView::takeUnprotected() {
    // What is taken is destroyed by the caller, without the lock: that may take as long as there
    // are nodes.
    std::lock_guard const lock(mutex_);
    auto const isProtected = [this](PtrConst<PolicyVersion> const & version) {
        return std::any_of(hazards_.begin(), hazards_.end(), [&](HazardPointer const & hazard) {
            return hazard.version.load() == version.get();
        });
    };
    auto const unprotected = std::partition(retired_.begin(), retired_.end(), isProtected);
    std::vector<PtrConst<PolicyVersion>> taken(std::make_move_iterator(unprotected),
                                               std::make_move_iterator(retired_.end()));
    retired_.erase(unprotected, retired_.end());
    retiredCount_.store(retired_.size());
    return taken;
}

} // namespace Qcf::Mirror
