#pragma once

#include "QcfLib/QcfEvalValueBases.h"

/// Texts that many node classes share: value texts, operator dumps. Private to the
/// engine's sources.
namespace Qcf::Eval {

class IntLinkedList;
class CommunityLinkedList;

/// As values stand in dumps; an unset segment identifier is no text at all.
String textOf(U64 value);
String textOf(F32 value);
String textOf(TriStateBoolValue value);
String textOf(Acl::CommunityValue const & value);
String textOf(std::optional<Evpn::Esid> const & value);
template <typename Value>
String textOf(Value const & value) {
    return value.toString();
}

/// `NAME[index:C]`, where C is the index as one raw character.
/// The form is settled, as that of the dumps below.
String variableText(String const & name, U8 argVectorIndex);

/// Bracketed text of a literal's chain, which may be null.
String chainText(char const * open, PtrConst<IntLinkedList> const & head, char const * close);
String chainText(char const * open, PtrConst<CommunityLinkedList> const & head, char const * close);

/// Prints `indent` blanks; nothing for 0.
void dumpIndent(PtrConst<DumpContext> const & dumpContext, U32 indent);

/// The usual dump of an operator: left operand, blank, keyword, and right operand without a blank.
void dumpOperator(PtrConst<DumpContext> const & dumpContext, U32 indent,
                  PtrConst<StorageType> const & lhs, char const * keyword, String const & rhs = "");
void dumpOperator(PtrConst<DumpContext> const & dumpContext, U32 indent,
                  PtrConst<StorageType> const & lhs, char const * keyword,
                  PtrConst<StorageType> const & rhs);
/// The dump of a built-in function's body: a blank and the class name.
void dumpImplementation(PtrConst<DumpContext> const & dumpContext, U32 indent,
                        char const * className);

} // namespace Qcf::Eval
