#pragma once

#include "QcfLib/AetNode.h"

/// What a document's reader knows of node classes beyond their fields. Everything here follows from
/// class and field names and a few small tables.
namespace Qcf::Documents {

/// By which container of a frame a value is passed, and `none` for what is no value.
enum class ArgumentKind : U8 { none, integer, bandwidth, triStateBool, prefixList, node };

/// Where a class names an outside list, and which slot stands for it.
struct SlotRule {
    char const * classSuffix; ///< for classes whose name ends so; empty for any with these fields
    char const * nameField;
    char const * slotField;
    SlotMap FunctionMetadata::*kind;
};

/// One record a class.
struct ClassRules {
    bool shared = false;     ///< equal nodes are one: values, and the lists that values consist of
    bool link = false;       ///< of a chain: fields `entry` and `next`
    bool returns = false;    ///< evaluating it can end the function, whatever its children do
    bool constant = false;   ///< a constant element of a literal list
    bool variable = false;   ///< an argument of the running function
    bool writesOnly = false; ///< replaces a Modifiable operand without reading it
    ArgumentKind argument = ArgumentKind::none;
    SlotRule const * slot =
        nullptr;                ///< null when it names no list; a prefix list's is the IPv4 one
    U64 reads = 0;              ///< bits of AttributeSet that the node itself reads
    U32 writes = 0;             ///< bits of ModifiableAttributeSet that it writes by itself
    U8 integers = 0;            ///< integer arguments that it reads by itself, each of 32 bits
    bool nodeArguments = false; ///< reads node arguments: singletons and bounds of ranges

    static ClassRules const & of(Eval::NodeClass const & nodeClass);
};

/// Whether the field's child is written to.
bool wantsModifiable(Eval::FieldInfo const & field);

/// Whether a return that the field's child yields is the node's own result too.
bool passesReturn(Eval::FieldInfo const & field);

/// Whether the field's child is an operand, which must not yield a return.
bool isOperandField(Eval::FieldInfo const & field);

} // namespace Qcf::Documents
