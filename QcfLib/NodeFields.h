#pragma once

#include "QcfLib/AetNode.h"
#include "QcfLib/QcfEvalAttributeSet.h"
#include "QcfLib/RoutingTypes.h"

/// The scalar types that node fields can have, one macro argument each.
/// A type that is not in the list cannot be a node's field: readers and writers have no operation
/// for it. Whoever adds one adds it to each of them.
#define QCF_FOR_EACH_SCALAR(APPLY)                                                                 \
    APPLY(U8)                                                                                      \
    APPLY(U16)                                                                                     \
    APPLY(U32)                                                                                     \
    APPLY(U64)                                                                                     \
    APPLY(F32)                                                                                     \
    APPLY(bool)                                                                                    \
    APPLY(String)                                                                                  \
    APPLY(TriStateBoolValue)                                                                       \
    APPLY(FunctionMetadata)                                                                        \
    APPLY(AccessibleAttributes)                                                                    \
    APPLY(IpGenAddr)                                                                               \
    APPLY(IpGenPrefix)                                                                             \
    APPLY(EthAddr)                                                                                 \
    APPLY(IntfId)                                                                                  \
    APPLY(std::optional<Evpn::Esid>)                                                               \
    APPLY(Acl::CommunityValue)                                                                     \
    APPLY(Routing::Rib::ResolutionRibProfileConfig)                                                \
    APPLY(Routing::Policy::RouteMapFeatures)

namespace Qcf::Eval {

/// Nodes as records of typed fields, for whoever turns them into another form and back: documents,
/// change streams, copies.
///
///     Ptr<AetNodeBase> node = nodeClass.create(key, reader); // asks the reader for each field
///     node->typeData().write(*node, writer);                 // hands each field to the writer
///
/// A FieldInfo says which field it is, what it wants, and what it means to the node (see
/// NodeClass.h). Both work on one thread and keep nothing.
///
/// Where NodeClass::create takes a node's fields from, in declared order. Whoever implements it
/// throws when the outside form does not hold what the field wants.
/// Each call is told the field, so that an error can name it.
class FieldReader {
public:
    virtual ~FieldReader() = default;
#define QCF_READ(Type) virtual void read(FieldInfo const & field, Type & value) = 0;
    QCF_FOR_EACH_SCALAR(QCF_READ)
#undef QCF_READ
    /// The child, which the field must accept; null only for an optional one.
    /// Anything else ends in an assertion: outside forms are to be checked before, by
    /// `FieldInfo::accepts`.
    virtual PtrConst<AetNodeBase> readNode(FieldInfo const & field) = 0;
};

/// What NodeClass::write hands a node's fields to, in declared order.
/// Nothing is checked on the way out: a node that exists is well formed.
class FieldWriter {
public:
    virtual ~FieldWriter() = default;
#define QCF_WRITE(Type) virtual void write(FieldInfo const & field, Type const & value) = 0;
    QCF_FOR_EACH_SCALAR(QCF_WRITE)
#undef QCF_WRITE
    /// Called for null children as well, so that positions stay the same. What is written of one
    /// (its key, or all of it) is the writer's choice.
    virtual void writeNode(FieldInfo const & field, AetNodeBase const * child) = 0;
};

} // namespace Qcf::Eval
