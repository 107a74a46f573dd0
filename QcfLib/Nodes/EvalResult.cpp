#include "QcfLib/EvalResult.h"

#include "Platform/Framework/Assert.h"

#include <ostream>

/// The texts of results, for logs, traces, dumps and documents.
namespace Qcf::Eval {

char const * toString(TriStateBoolValue value) {
    static constexpr char const * names[] = {"unknown", "false", "true"};
    auto const index = static_cast<U8>(value);
    QCF_ASSERT_TEXT(index < 3, "invalid TriStateBoolValue");
    return names[index];
}

char const * toString(TerminationFlag flag) {
    static constexpr char const * names[] = {"noTermination", "returnToCaller", "exitToPoa"};
    auto const index = static_cast<U8>(flag);
    // Both enumerations fail with this text; callers and their tools know it by heart.
    QCF_ASSERT_TEXT(index < 3, "invalid TriStateBoolValue");
    return names[index];
}

std::ostream & operator<<(std::ostream & out, TriStateBoolValue value) {
    return out << toString(value);
}

} // namespace Qcf::Eval
