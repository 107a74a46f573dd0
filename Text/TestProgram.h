#pragma once

#include "Documents/Program.h"
#include "Text/Declarations.h"
#include "Text/SourceMap.h"

namespace Qcf::Text {

/// What a test evaluates.
struct TestFunctions {
    /// The function under test; where it takes arguments, one that returns a call with those of the
    /// test.
    PtrConst<Eval::Function> subject;
    /// One for each condition of the expectation, which returns its answer.
    std::vector<PtrConst<Eval::Function>> conditions = {};
};

/// The functions of a text with its tests made functions behind them, by the same compiler: so what
/// a test asks is answered by the engine.
///
///     TestProgram const made = makeTestProgram(policy->declarations(), sources, messages);
///     made.tests[0].subject->eval(context);
///
/// Nodes of the text's own functions have the keys that they have in the text's program. Slots are
/// those of all together, so that one binding of lists serves functions and conditions.
struct TestProgram {
    Documents::Program program;
    SourceMap map;
    /// In the order of the declarations; empty where a test could not be made, which was told.
    std::vector<TestFunctions> tests;
};

/// The declarations must have been resolved without an error. What the tree refuses of a test (one
/// too deep, lists beyond the slots) is told to the messages.
TestProgram makeTestProgram(Declarations const & declarations, Sources const & sources,
                            Messages & messages);

} // namespace Qcf::Text
