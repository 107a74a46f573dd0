#pragma once

#include "QcfLib/QcfEval.h"

#include <unordered_map>

namespace Qcf::Documents {

/// Works out whether calling a function does anything beside answering: it changes the route, or
/// may exit. Callees are looked through. What is not known of a class is taken for doing something:
/// an answer that nothing is done is certain.
///
/// Keeps what it worked out, so that functions which many call are looked at once; they must
/// outlive it. Recurses from function to callee alone.
class ActionAnalysis {
public:
    /// Of the body of a built-in function, too, which is a node of that function.
    bool acts(Eval::Function const & function);

private:
    /// The same without looking at what is known already.
    bool workOut(Eval::Function const & function);

    std::unordered_map<Eval::Function const *, bool> known_;
};

} // namespace Qcf::Documents
