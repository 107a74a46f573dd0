#include "QcfLib/QcfEvalStackFrameData.h"

#include "QcfLib/QcfEvalBasicTypes.h"

#include <ostream>

namespace Qcf::Eval {

namespace {

template <typename Container, typename Value>
void push(Ptr<Container> & container, Value const & value) {
    if (!container) {
        container = makePtr<Container>();
    }
    container->values.push_back(value);
}

template <typename Container> bool sameValues(Ptr<Container> const & a, Ptr<Container> const & b) {
    return a == b || (a && b && a->values == b->values);
}

template <typename Container>
void print(std::ostream & out, char const *& separator, char const * name,
           Ptr<Container> const & container) {
    if (!container) {
        return;
    }
    out << separator << name << ':';
    separator = "; ";
    for (char const * comma = " "; auto const & value : container->values) {
        out << comma << value;
        comma = ",";
    }
}

} // namespace

void StackFrameData_::pushIntTypeArgToStack(Ptr<EvalContextBase> const & context,
                                            Int const & node) {
    S128 const magnitude = node.getVal(context);
    push(ints_, node.negative(context) ? S128(-magnitude) : magnitude);
}
void StackFrameData_::pushBandwidthTypeArgToStack(Ptr<EvalContextBase> const & context,
                                                  Bandwidth const & node) {
    push(bandwidths_, node.getVal(context));
}
void StackFrameData_::pushPrefixListTypeArgToStack(Ptr<EvalContextBase> const & context,
                                                   PrefixList const & node) {
    // The family is the candidate's, which only the callee knows: the list's own matcher is passed.
    push(prefixLists_, node.getValWithArgs(context, AddressFamily::none));
}
void StackFrameData_::pushTriStateBoolTypeArgToStack(Ptr<EvalContextBase> const & context,
                                                     TriStateBool const & node) {
    push(triStateBools_, node.getVal(context));
}
void StackFrameData_::pushAetNodePtrArgToStack(StorageType const & node) {
    push(aetNodePtrs_, &node);
}

StackFrameData_::operator bool() const {
    return aetNodePtrs_ || bandwidths_ || ints_ || prefixLists_ || triStateBools_ || logHead_ ||
           logCurrent_;
}

bool StackFrameData_::isEq(StackFrameData_ const & other) const {
    return sameValues(aetNodePtrs_, other.aetNodePtrs_) &&
           sameValues(bandwidths_, other.bandwidths_) && sameValues(ints_, other.ints_) &&
           sameValues(prefixLists_, other.prefixLists_) &&
           sameValues(triStateBools_, other.triStateBools_) && logHead_ == other.logHead_ &&
           logCurrent_ == other.logCurrent_;
}

std::ostream & operator<<(std::ostream & out, StackFrameData_ const & frame) {
    char const * separator = "";
    out << '{';
    print(out, separator, "ints", frame.intTypeArgContainer());
    print(out, separator, "bandwidths", frame.bandwidthTypeArgContainer());
    print(out, separator, "triStateBools", frame.triStateBoolTypeArgContainer());
    auto const count = [&](char const * name, auto const & container) {
        if (container) {
            out << separator << name << ": " << container->values.size();
            separator = "; ";
        }
    };
    count("prefixLists", frame.prefixListTypeArgContainer());
    count("aetNodePtrs", frame.aetNodePtrArgContainer());
    if (frame.logHead()) {
        out << separator << "log: " << frame.logHead()->aetNodeKey();
    }
    return out << '}';
}

} // namespace Qcf::Eval
