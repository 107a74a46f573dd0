#include "Documents/FunctionFaults.h"

namespace Qcf::Documents {

using Eval::Function;

// Neither keeps a document from being read: such a function may still be called, or evaluated. A
// function that expects arguments refuses by itself when it gets none, so that it can be evaluated.
FunctionFault faultOf(Function const & function, NodeFacts const & facts) {
    FunctionFault fault;
    if (facts.needs.any() && !function.argumentsExpected()) {
        fault.eval =
            "function \"" + function.funcName() + "\" reads arguments, which only a call gives it";
    }
    if (!facts.dumpable) {
        fault.dump = "function \"" + function.funcName() +
                     "\" has a logical chain whose operators do not stand between its operands";
    }
    return fault;
}

} // namespace Qcf::Documents
