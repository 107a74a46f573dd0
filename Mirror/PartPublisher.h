#pragma once

#include "Mirror/ProgramPublication.h"
#include "Mirror/StoreUse.h"

#include <span>

namespace Qcf::Mirror {

/// Publishes some functions of a status whose others stay as they are, at a cost in proportion to
/// what is given: for whoever changes one function of many.
///
///     PartPublisher publisher(status);
///     Program const part = readProgram(text, "change"); // the function, and what it calls
///     publisher.publish(part, {}, ++marker);
///
/// The first publication counts what the status holds, which costs a walk over its functions; so
/// does one after others changed functions or store. A callee that is none of the part's functions
/// is the caller's own, whatever its name means. Belongs to the publishing thread.
class PartPublisher {
public:
    /// What is published already stays. A status without a store gets one.
    explicit PartPublisher(Ptr<AllFunctionStatus> status);
    PartPublisher(PartPublisher const &) = delete;
    PartPublisher & operator=(PartPublisher const &) = delete;
    ~PartPublisher();

    /// Makes the part's functions those of their names, and takes the names of `gone` away that the
    /// part does not have. Functions that are published with equal content stay as they are, with
    /// their nodes and keys; of others the values are shared that are in use, and new nodes get
    /// keys above all others in the part's order. Nodes that no function uses any more go, as far
    /// as this publication let go of them. The changes are bracketed by the status's markers; there
    /// are none when nothing differs.
    ///
    /// Throws MirrorError before anything is changed: for a function that cannot be published, or
    /// is given twice, for one that changes or goes while one that is not given calls it, and where
    /// no keys are left above those in use.
    PublishCounts publish(Documents::Program const & part, std::vector<String> const & gone,
                          U32 marker);
    /// Makes the program's functions those of the status, as above: a look at each function, and at
    /// the nodes of those that are not the published objects themselves.
    PublishCounts publishWhole(Documents::Program const & program, U32 marker);

private:
    /// Counts anew what it does not know any more.
    void know();
    void count();
    void followStore();
    void unfollowStore();

    Ptr<AllFunctionStatus> status_;
    SubscriptionId subscription_;
    Ptr<AetCollections> store_; ///< that is followed
    AetChanges changes_;        ///< of the store since it was counted
    StoreUse use_;
    U64 largestKey_ = 0;
    bool isKnown_ = false;
    U64 told_ = 0; ///< changes of names that the status told of
};

} // namespace Qcf::Mirror
