// Misuse of plain values: results with three states taken for two, kinds of flags and numbers that
// look alike. How a case reads is told in Pointers.cpp.

#include "QcfLib/EvalResult.h"
#include "QcfLib/QcfEvalAttributeSet.h"
#include "QcfLib/RoutingTypes.h"

namespace Qcf::Eval {

void use(EvalResult const & result, AttributeSet reads, ModifiableAttributeSet writes) {
    TriStateBoolValue answer = result.retVal();
    bool const isTrue = result == EvalResult(QcfTrue()) && answer == QcfTrue();
    static_cast<void>(isTrue);
    Hash hash(1);
    hash.hashMix(U64{1});
    reads.insert(1);
    writes.insert(1);

    // misuse: if (result) {}
    // says: could not convert|cannot convert|not contextually convertible

    // misuse: if (answer) {}
    // says: could not convert|cannot convert|not contextually convertible

    // misuse: bool const equal = result == true;
    // says: no match for 'operator=='|invalid operands

    // misuse: bool const equal = answer == true;
    // says: no match for 'operator=='|invalid operands

    // misuse: answer = true;
    // says: cannot convert|incompatible type

    // misuse: EvalResult const implicit = QcfTrue();
    // says: conversion from|no viable conversion

    // misuse: EvalResult const swapped(TerminationFlag::exitToPoa);
    // says: no matching function|no matching constructor|no matching conversion

    // misuse: switch (answer) { case QcfTrue(): break; case QcfFalse(): break; }
    // says: not handled in switch

    // misuse: writes = reads;
    // says: no match for 'operator='|no viable overloaded '='

    // misuse: bool const equal = reads == writes;
    // says: no match for 'operator=='|invalid operands

    // misuse: AttributeSet const bits = 5;
    // says: conversion from|no viable conversion

    // misuse: hash.hashMix(1);
    // says: use of deleted function|call to deleted

    // misuse: Acl::CommunityValue const large = 5;
    // says: conversion from|no viable conversion

    // misuse: IntfId const name = String("et1");
    // says: conversion from|no viable conversion

    // misuse: IpGenPrefix const prefix = IpGenAddr();
    // says: conversion from|no viable conversion
}

} // namespace Qcf::Eval
