#pragma once

#include "Platform/Framework/Slab.h"
#include "Platform/Framework/WideInt.h"
#include "QcfLib/QcfDebugEvaluationLog.h"
#include "QcfLib/RoutingTypes.h"

#include <iosfwd>

#include <boost/container/small_vector.hpp>

namespace Qcf {
// Texts of frames name nodes of a store; nothing else here needs one.
class AetCollections;
} // namespace Qcf

namespace Qcf::Eval {

class EvalContextBase;
class StorageType;
class Int;
class Bandwidth;
class PrefixList;
class TriStateBool;

/// Arguments of one type that a container holds without a heap block.
/// More are possible and cost a heap block, which goes with the container.
inline constexpr std::size_t inlineArgumentCapacity = 16;

template <typename Value>
using ArgumentVector = boost::container::small_vector<Value, inlineArgumentCapacity>;

// The argument types. What has none of its own is passed as a node.

/// Nodes passed by reference; kept alive by the function that is evaluated.
using AetNodePtrArgumentVector = ArgumentVector<StorageType const *>;
/// Bits per second.
using BandwidthTypeArgumentVector = ArgumentVector<F32>;
/// Signed integers of up to 128 bits.
/// Wide enough for a sign beside any magnitude of 64 bits.
using IntTypeArgumentVector = ArgumentVector<S128>;
/// Matchers lent by the external matchers; null where there is no list.
using PrefixListTypeArgumentVector = ArgumentVector<Routing::Policy::PrefixListMatcher const *>;
using TriStateBoolTypeArgumentVector = ArgumentVector<TriStateBoolValue>;

/// The arguments of one type of one call, in push order. Counted, so that a frame can be kept;
/// taken from a slab, so that a call allocates nothing after the first ones.
/// A callee reads them by position; several callees never share one.
template <typename Vector>
class ArgumentContainer final : public PtrInterface {
public:
    // Written out: where it is not, `new` clears the room for the values, too.
    ArgumentContainer() noexcept {} // NOLINT(modernize-use-equals-default)

    /// By position; a parameter that is not there is for its reader to notice.
    Vector values;

    static void * operator new(std::size_t) { return Slab<ArgumentContainer>::allocate(); }
    static void operator delete(void * memory) noexcept {
        Slab<ArgumentContainer>::deallocate(memory);
    }
};

// The names under which reflection shows them.
using AetNodePtrArgContainer = ArgumentContainer<AetNodePtrArgumentVector>;
using BandwidthTypeArgContainer = ArgumentContainer<BandwidthTypeArgumentVector>;
using IntTypeArgContainer = ArgumentContainer<IntTypeArgumentVector>;
using PrefixListTypeArgContainer = ArgumentContainer<PrefixListTypeArgumentVector>;
using TriStateBoolTypeArgContainer = ArgumentContainer<TriStateBoolTypeArgumentVector>;

/// The frame of one function call: its arguments, a container for each type in use, and the part of
/// the debug log that was written while it was current. Used by the evaluating thread alone. A call
/// makes a frame, pushes the values of its arguments, which are evaluated in the
/// caller's frame, and makes it current in the context until it returns:
///
///     StackFrameData_ frame;
///     frame.pushIntTypeArgToStack(context, *node); // or node->pushFuncArgToStack(context, &frame)
///     evalContext(context).stackFrameDataIs(&frame);
///
/// A parameter is found by its type and its position among the arguments of that type. Frames of
/// calls live on the stack of the evaluating thread; the outermost function's is the context's own.
/// An empty one costs some null pointers: calls without arguments allocate nothing.
class StackFrameData_ {
public:
    // What it has, and what puts it there as a whole: for debuggers and tests. Evaluation pushes.

    // The containers, each null until the first argument of its type, or set as a whole.
    Ptr<AetNodePtrArgContainer> const & aetNodePtrArgContainer() const { return aetNodePtrs_; }
    Ptr<BandwidthTypeArgContainer> const & bandwidthTypeArgContainer() const { return bandwidths_; }
    Ptr<IntTypeArgContainer> const & intTypeArgContainer() const { return ints_; }
    Ptr<PrefixListTypeArgContainer> const & prefixListTypeArgContainer() const {
        return prefixLists_;
    }
    Ptr<TriStateBoolTypeArgContainer> const & triStateBoolTypeArgContainer() const {
        return triStateBools_;
    }
    /// The first and the last record that were written; null while there is none.
    PtrConst<Debug::EvaluationLog> const & logHead() const { return logHead_; }
    Ptr<Debug::EvaluationLog> const & logCurrent() const { return logCurrent_; }
    void aetNodePtrArgContainerIs(Ptr<AetNodePtrArgContainer> container) {
        aetNodePtrs_ = std::move(container);
        touched_ = true;
    }
    void bandwidthTypeArgContainerIs(Ptr<BandwidthTypeArgContainer> container) {
        bandwidths_ = std::move(container);
        touched_ = true;
    }
    void intTypeArgContainerIs(Ptr<IntTypeArgContainer> container) {
        ints_ = std::move(container);
        touched_ = true;
    }
    void prefixListTypeArgContainerIs(Ptr<PrefixListTypeArgContainer> container) {
        prefixLists_ = std::move(container);
        touched_ = true;
    }
    void triStateBoolTypeArgContainerIs(Ptr<TriStateBoolTypeArgContainer> container) {
        triStateBools_ = std::move(container);
        touched_ = true;
    }
    /// The context appends to the last record; these two set both ends, and must agree.
    void logHeadIs(PtrConst<Debug::EvaluationLog> logHead) {
        logHead_ = std::move(logHead);
        touched_ = true;
    }
    void logCurrentIs(Ptr<Debug::EvaluationLog> logCurrent) {
        logCurrent_ = std::move(logCurrent);
        touched_ = true;
    }

    /// Evaluate a value in the caller's frame and append it. The container is made by the first.
    /// An integer's magnitude is asked for before its sign, once each.
    void pushIntTypeArgToStack(Ptr<EvalContextBase> const & context, Int const & node);
    void pushBandwidthTypeArgToStack(Ptr<EvalContextBase> const & context, Bandwidth const & node);
    /// The list's own matcher, whatever the family: candidates are known to the callee alone.
    void pushPrefixListTypeArgToStack(Ptr<EvalContextBase> const & context,
                                      PrefixList const & node);
    void pushTriStateBoolTypeArgToStack(Ptr<EvalContextBase> const & context,
                                        TriStateBool const & node);
    /// Append a value as it is.
    /// For who has the value already.
    void pushInt(S128 const & value);
    void pushBandwidth(F32 value);
    void pushTriStateBool(TriStateBoolValue value);
    /// Appends the node itself; nothing is evaluated.
    /// The node must outlive the frame; the callee reads it when it asks.
    void pushAetNodePtrArgToStack(StorageType const & node);

    // A frame as a value.

    /// True when anything was ever set; cheaper to ask than whether something is.
    bool touched() const { return touched_; }
    /// True when anything is set.
    /// A container without values counts as something.
    explicit operator bool() const;
    /// Equal when every container holds equal values, bandwidths by their bits, and the logs are
    /// the same objects.
    /// Nodes and prefix lists are compared as objects.
    bool isEq(StackFrameData_ const & other) const;
    bool operator==(StackFrameData_ const & other) const { return isEq(other); }

private:
    template <typename Container, typename Value>
    void push(Ptr<Container> & container, Value const & value);

    // What is not in use is a null pointer.
    Ptr<AetNodePtrArgContainer> aetNodePtrs_;
    Ptr<BandwidthTypeArgContainer> bandwidths_;
    Ptr<IntTypeArgContainer> ints_;
    Ptr<PrefixListTypeArgContainer> prefixLists_;
    Ptr<TriStateBoolTypeArgContainer> triStateBools_;
    // The chain is owned from its head; the other end is where the next record goes.
    PtrConst<Debug::EvaluationLog> logHead_;
    Ptr<Debug::EvaluationLog> logCurrent_;
    /// Stays true when something is set to null again.
    bool touched_ = false;
};

/// The frame as text, with each container that is set:
///
///     {ints: 1,-2; bandwidths: 8000; triStateBools: true; prefixLists: v4,null;
///      aetNodePtrs: Community#12; log: 5}
///
/// (on one line). A node is shown by its class and key, a prefix list by its family, a log by the
/// key of its first record. A container without values ends at its colon.
std::ostream & operator<<(std::ostream & out, StackFrameData_ const & frame);

/// Reads such a text back; throws ParseError on anything else. What comes back is equal to what was
/// written (a bandwidth that is no number loses the bits behind its sign).
///
/// - Values come back, and containers without any.
/// - Nodes come back from the store that is given, which must outlive the frame's use; without one,
///   or where it has no value node of that class and key, they are refused.
/// - Of prefix lists only null comes back: the others are lent by the external matchers of one
///   evaluation, and a log is a part of one; both are refused.
/// The text's kinds may stand in any order.
StackFrameData_ strepToStackFrameData(String const & text, AetCollections const * nodes = nullptr);

} // namespace Qcf::Eval
