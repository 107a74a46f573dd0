#pragma once

#include "QcfLib/QcfAetCollections.h"
#include "QcfLib/QcfEvalBases.h"

#include <map>
#include <string_view>

namespace Qcf {

class AllAetEntities;

/// The published root: every compiled function by name, the store of all their nodes, and the
/// markers by which a writer brackets a batch of updates. What a publisher fills, a mirror copies
/// and an agent takes its functions from.
///
///     status->startOfDedupedFunctionUpdatesMarkerIs(5);
///     auto function = status->aetNodes()->functionCollIs(key, ...);
///     status->aetIs("import", function);
///     status->endOfDedupedFunctionUpdatesMarkerIs(5);
///
/// One publishing thread changes it. Each effective change is published by the entity's publisher:
/// "aet" with the function's name, or the attribute's own name. Setting what is there already is no
/// change.
///
/// Evaluating threads do not read it: they evaluate functions that were handed to them, and a
/// function keeps all nodes of its tree alive, whatever happens to its name or to the store.
class AllFunctionStatus final : public Entity {
public:
    using Functions = std::map<String, PtrConst<Eval::FunctionBase>, std::less<>>;

    /// Without functions, and with an empty store.
    explicit AllFunctionStatus(String name);
    ~AllFunctionStatus() override;
    TypeData const & typeData() const override;
    static Ptr<AllFunctionStatus> AllFunctionStatusIs(String name);

    /// As it was given to the constructor; never changes.
    String const & name() const { return name_; }

    /// The functions, in name order.
    Functions const & aet() const { return aet_; }
    /// The function of that name; null when there is none.
    PtrConst<Eval::FunctionBase> aet(std::string_view name) const;
    /// Sets the entry, which need not be the function's own name; null takes it away, the pointer
    /// that is there already changes nothing.
    void aetIs(String const & name, PtrConst<Eval::FunctionBase> const & function);
    /// Take away one entry, or all of them in name order. Nothing for a name that has none.
    void aetDel(std::string_view name);
    void aetDelAll();

    /// The store; null after `aetNodesDel`. Its typed view is in QcfAllAetEntities.h.
    Ptr<AllAetEntities> const & aetNodes() const { return aetNodes_; }
    /// The store, made empty if there is none.
    Ptr<AllAetEntities> const & aetNodesIs();
    /// Lets go of the store; nodes that functions hold stay good.
    void aetNodesDel();
    /// The store without its typed view; it must be there.
    AetCollections & nodes() const;

    /// Whether the functions share de-duplicated nodes.
    bool dedupedFunctionsPresent() const { return dedupedFunctionsPresent_; }
    /// The numbers of the batch that was begun last and of the one that was completed last.
    U32 startOfDedupedFunctionUpdatesMarker() const { return startOfUpdates_; }
    U32 endOfDedupedFunctionUpdatesMarker() const { return endOfUpdates_; }
    void dedupedFunctionsPresentIs(bool present);
    void startOfDedupedFunctionUpdatesMarkerIs(U32 marker);
    void endOfDedupedFunctionUpdatesMarkerIs(U32 marker);
    /// Whether a batch is under way; a reader must not evaluate from it then.
    bool dedupedFunctionUpdatesInProgress() const { return startOfUpdates_ > endOfUpdates_; }

    /// No functions and a fresh, empty store; the markers stay.
    void reset();

    /// Every function as text, each function object once, and the markers.
    void dumpState(PtrConst<DumpContext> const & dumpContext, U32 indent) const;

private:
    /// Tells of an attribute by its name.
    void publish(char const * attribute);
    void publishAet(String const & name, Notification::Kind kind);

    String name_;
    Functions aet_;
    Ptr<AllAetEntities> aetNodes_;
    bool dedupedFunctionsPresent_ = false;
    U32 startOfUpdates_ = 0;
    U32 endOfUpdates_ = 0;
};

/// The same as AllFunctionStatusIs.
Ptr<AllFunctionStatus> allFunctionStatusFactory(String name);

} // namespace Qcf
