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
/// It is a pointer that hazard pointers protect: a reader writes the version that it is about to
/// use into a hazard pointer of its own, and whoever lets versions go looks at all of those first.
/// So pinning takes no lock, waits for nobody and writes only to memory of the thread's own, and
/// the publishing thread never waits for a reader.
///
/// What runs while a new version comes goes on with the old one. A version that was replaced is
/// retired; it is let go of when the last pin of it ends, in the thread that ends it. Contexts may
/// hold the function that they evaluated last for longer.
///
/// `currentIs` belongs to one thread at a time; everything else to any thread.
class VersionedView {
    /// The version that one reader uses; null between its pins. Alone in its cache line, so that
    /// readers do not slow each other down.
    struct alignas(64) HazardPointer {
        std::atomic<PolicyVersion const *> version{nullptr};
    };

public:
    /// Keeps a version for as long as it lives; ends in the thread that pinned. Cheap: two stores
    /// and two loads. It must not outlive its reader, nor be copied or moved.
    class Pin {
    public:
        Pin(Pin const &) = delete;
        Pin & operator=(Pin const &) = delete;
        ~Pin() { view_.release(hazard_); }

        /// The version; valid as long as the pin.
        PolicyVersion const & operator*() const { return *version_; }
        PolicyVersion const * operator->() const { return version_; }
        PolicyVersion const * get() const { return version_; }

    private:
        friend class VersionedView;
        Pin(VersionedView & view, HazardPointer & hazard)
            : view_(view), hazard_(hazard), version_(view.protect(hazard)) {}

        VersionedView & view_;
        HazardPointer & hazard_;
        PolicyVersion const * version_;
    };

    /// A thread's access to the view, which must outlive it. Making and destroying one takes a
    /// lock and memory: do it once a thread, not once a route.
    class Reader {
    public:
        explicit Reader(VersionedView & view) : view_(view), hazard_(view.hazardPointerIs()) {}
        Reader(Reader const &) = delete;
        Reader & operator=(Reader const &) = delete;
        ~Reader();

        /// The current version. A reader pins one at a time. Tries again only when a version is
        /// replaced at that very moment.
        Pin pin() { return Pin(view_, hazard_); }

    private:
        VersionedView & view_;
        HazardPointer & hazard_;
    };

    /// Starts with an empty version.
    VersionedView();
    /// All readers must be gone.
    ~VersionedView();
    VersionedView(VersionedView const &) = delete;
    VersionedView & operator=(VersionedView const &) = delete;

    /// Replaces the current version, for whoever pins from now on. Never waits for readers: what is
    /// still pinned is kept until it is not.
    void currentIs(PtrConst<PolicyVersion> version);
    /// The current version, held by count: for work that goes on for long. Takes a lock.
    PtrConst<PolicyVersion> current();
    /// Replaced versions that are still pinned.
    std::size_t retired() const { return retiredCount_.load(); }

private:
    /// The current version, which the hazard pointer protects from here on.
    PolicyVersion const * protect(HazardPointer & hazard) const {
        // A version seen current after it stands in the hazard pointer cannot have been let go of
        // before.
        PolicyVersion const * version = current_.load();
        for (;;) {
            hazard.version.store(version);
            PolicyVersion const * const now = current_.load();
            if (now == version) {
                return version;
            }
            version = now;
        }
    }
    /// Ends the protection, and lets go of versions that only waited for it.
    void release(HazardPointer & hazard) {
        hazard.version.store(nullptr);
        if (retiredCount_.load() != 0) [[unlikely]] {
            reclaim();
        }
    }
    /// A hazard pointer for a reader that comes, and its end.
    HazardPointer & hazardPointerIs();
    void hazardPointerDel(HazardPointer & hazard);
    /// Lets go of the retired versions that no hazard pointer protects, outside the lock.
    void reclaim();
    /// Takes those versions out of the retired ones.
    std::vector<PtrConst<PolicyVersion>> takeUnprotected();

    /// What readers look at; `held_` keeps it alive.
    std::atomic<PolicyVersion const *> current_;
    /// Lets a reader see without a lock that there is something to let go of.
    std::atomic<std::size_t> retiredCount_{0};
    /// Whether a thread is at it, and whether it has to look once more.
    std::atomic<bool> reclaiming_{false};
    std::atomic<bool> lookAgain_{false};

    std::mutex mutex_;             // guards what follows
    PtrConst<PolicyVersion> held_; ///< the current version
    /// Replaced, and perhaps still protected.
    std::vector<PtrConst<PolicyVersion>> retired_;
    std::list<HazardPointer> hazards_; ///< one a reader
};

} // namespace Qcf::Mirror
