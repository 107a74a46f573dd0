#pragma once

#include "Platform/Framework/TypeData.h"
#include "QcfLib/ClientPlugin/QcfRoutingAttributeTypes.h"
#include "QcfLib/QcfEvalContext.h"
#include "QcfLib/QcfLib.h"

#include <span>
#include <string_view>

/// What the engine's types are, at run time.
///
///     TypeData const & type = context->typeData();     // of an entity: its class
///     for (FieldInfo const & field : type.fields)
///         out << field.name << ' ' << field.text(&*context);
///     String const name = TypeDataOf<TerminationFlag>::get().enumerator(2)->name; // "exitToPoa"
///
/// Node classes are NodeClass, a TypeData with more. A field's text is for people: it shows sets
/// and values whole, and entities that are pointed to by name. Only the thread that may read the
/// object may ask for it.
///
/// A record stands as long as the process does, and any thread may read it. It names the class that
/// its own derives from, whose fields it does not repeat: whoever wants all of them goes up by
/// `findType`. Values that belong to an earlier route, and may be gone, are not shown.
///
/// Costly to include: the headers of most types come along.
namespace Qcf {

/// The records of all types below; those of node classes are in Eval::nodeClasses().
/// In the order of the list, and complete: a type without a record does not link.
std::span<TypeData const * const> reflectedTypes();

/// The record of a type or of a node class by its qualified name, "Qcf::Eval::EvalResult"; null
/// when there is none.
/// Tables are built by the first call; any thread may ask.
/// Node classes are found by it, too: one look-up for every name that a record tells.
TypeData const * findType(std::string_view qualifiedName);

} // namespace Qcf

/// Every type with a record of its own, one macro argument each. A new type is added here, and its
/// record to the *Reflection.cpp of the wing that owns it.
///
///     #define SHOW(Type) out << TypeDataOf<Type>::get().qualifiedName() << '\n';
///     QCF_FOR_EACH_REFLECTED(SHOW)
#define QCF_FOR_EACH_REFLECTED(APPLY)                                                              \
    APPLY(AddressFamily)                                                                           \
    APPLY(Routing::Isis::Level)                                                                    \
    APPLY(Qcf::AetCollections)                                                                     \
    APPLY(Qcf::AllAetEntities)                                                                     \
    APPLY(Qcf::AllFunctionStatus)                                                                  \
    APPLY(Qcf::Debug::EvaluationLog)                                                               \
    APPLY(Qcf::ExternalMatchersBase)                                                               \
    APPLY(Qcf::FunctionMetadata)                                                                   \
    APPLY(Qcf::Eval::AccessibleAttributes)                                                         \
    APPLY(Qcf::Eval::AetNodeBase)                                                                  \
    APPLY(Qcf::Eval::AetNodePtrArgContainer)                                                       \
    APPLY(Qcf::Eval::AttributeContent)                                                             \
    APPLY(Qcf::Eval::AttributeSet)                                                                 \
    APPLY(Qcf::Eval::BandwidthTypeArgContainer)                                                    \
    APPLY(Qcf::Eval::CommunitySmallVector)                                                         \
    APPLY(Qcf::Eval::EvalContext)                                                                  \
    APPLY(Qcf::Eval::EvalContextBase)                                                              \
    APPLY(Qcf::Eval::EvalResult)                                                                   \
    APPLY(Qcf::Eval::FunctionBase)                                                                 \
    APPLY(Qcf::Eval::GeneratedEvalContext)                                                         \
    APPLY(Qcf::Eval::IntTypeArgContainer)                                                          \
    APPLY(Qcf::Eval::ModifiableAttribute)                                                          \
    APPLY(Qcf::Eval::ModifiableAttributeSet)                                                       \
    APPLY(Qcf::Eval::ModifyFlag)                                                                   \
    APPLY(Qcf::Eval::PrefixListTypeArgContainer)                                                   \
    APPLY(Qcf::Eval::QcfEvalContextCacheGenerated)                                                 \
    APPLY(Qcf::Eval::QcfEvalContextCacheGenerated::Input)                                          \
    APPLY(Qcf::Eval::RecmpStateType)                                                               \
    APPLY(Qcf::Eval::SourceProtocolType)                                                           \
    APPLY(Qcf::Eval::StackFrameData_)                                                              \
    APPLY(Qcf::Eval::TerminationFlag)                                                              \
    APPLY(Qcf::Eval::TriStateBoolTypeArgContainer)                                                 \
    APPLY(Qcf::Eval::TriStateBoolValue)                                                            \
    APPLY(Qcf::Eval::U64SmallVector)                                                               \
    APPLY(Qcf::Eval::U64UnsortedSmallVector)

// The types are declared by their own headers; only here are their records.
#define QCF_REFLECTED(Type)                                                                        \
    template <>                                                                                    \
    struct TypeDataOf<Type> {                                                                      \
        static TypeData const & get();                                                             \
    };
QCF_FOR_EACH_REFLECTED(QCF_REFLECTED)
#undef QCF_REFLECTED
