#pragma once

namespace Qcf::Eval {

/// One flag of AttributeSet, as the table `attributeFlags` has it: an attribute that a function can
/// declare to read. The table is in the order of the flags' bits; internal attributes have no flag.
/// Whoever shows a set to people takes the language name, whoever writes its text form the other.
/// A flag has no more than that: ranges and defaults stand in AttributeInfo.
struct AttributeFlag {
    char const * name;         ///< as the set's text form spells it, "local_preference"
    char const * languageName; ///< as functions spell it, "isis.levels"
    int writeBit;              ///< its bit in ModifiableAttributeSet; -1 when it cannot be modified
};

} // namespace Qcf::Eval
