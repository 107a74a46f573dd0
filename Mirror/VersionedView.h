#pragma once

#include "Mirror/PolicyVersion.h"

#include <atomic>
#include <list>
#include <mutex>
#include <vector>

namespace Qcf::Mirror {

/// The version that evaluating threads work with; it changes in one step.
///
///     VersionedView::Reader reader(view);          // one a thread, made once
///     for (Route const & route : routes) {
///         auto const version = reader.pin();       // this route keeps this version
///         ... version->find("import")->eval(context) ...
///     }
///
/// Pinning takes no lock and writes only to memory of the thread's own. A version that was replaced
/// is let go of when the last pin of it ends, in the thread that ends it; contexts may hold the
/// function that they evaluated last for longer. `currentIs` belongs to one thread at a time.
class VersionedView {
    struct alignas(64) Slot {
        std::atomic<PolicyVersion const *> pinned{nullptr};
    };

public:
    /// Keeps a version for as long as it lives; ends in the thread that pinned.
    class Pin {
    public:
        Pin(Pin const &) = delete;
        Pin & operator=(Pin const &) = delete;
        ~Pin() { view_.leave(slot_); }

        PolicyVersion const & operator*() const { return *version_; }
        PolicyVersion const * operator->() const { return version_; }
        PolicyVersion const * get() const { return version_; }

    private:
        friend class VersionedView;
        Pin(VersionedView & view, Slot & slot)
            : view_(view), slot_(slot), version_(view.enter(slot)) {}

        VersionedView & view_;
        Slot & slot_;
        PolicyVersion const * version_;
    };

    /// A thread's access to the view, which must outlive it.
    class Reader {
    public:
        explicit Reader(VersionedView & view) : view_(view), slot_(view.slotIs()) {}
        Reader(Reader const &) = delete;
        Reader & operator=(Reader const &) = delete;
        ~Reader();

        /// The current version. A reader pins one at a time.
        Pin pin() { return Pin(view_, slot_); }

    private:
        VersionedView & view_;
        Slot & slot_;
    };

    /// Starts with an empty version.
    VersionedView();
    ~VersionedView();
    VersionedView(VersionedView const &) = delete;
    VersionedView & operator=(VersionedView const &) = delete;

    /// Replaces the current version, for whoever pins from now on.
    void currentIs(PtrConst<PolicyVersion> version);
    /// The current version, held by count: for work that goes on for long.
    PtrConst<PolicyVersion> current();
    /// Replaced versions that are still pinned.
    std::size_t retired() const { return retiredCount_.load(); }

private:
    PolicyVersion const * enter(Slot & slot) const {
        // A version seen current after it was noted in the slot cannot have been let go of before.
        PolicyVersion const * version = current_.load();
        for (;;) {
            slot.pinned.store(version);
            PolicyVersion const * const now = current_.load();
            if (now == version) {
                return version;
            }
            version = now;
        }
    }
    void leave(Slot & slot) {
        slot.pinned.store(nullptr);
        if (retiredCount_.load() != 0) [[unlikely]] {
            reclaim();
        }
    }
    Slot & slotIs();
    void slotDel(Slot & slot);
    void reclaim();
    std::vector<PtrConst<PolicyVersion>> takeUnpinned();

    std::atomic<PolicyVersion const *> current_;
    std::atomic<std::size_t> retiredCount_{0};
    std::atomic<bool> reclaiming_{false};
    std::atomic<bool> lookAgain_{false};

    std::mutex mutex_; // guards what follows
    PtrConst<PolicyVersion> held_;
    std::vector<PtrConst<PolicyVersion>> retired_;
    std::list<Slot> slots_;
};

} // namespace Qcf::Mirror
