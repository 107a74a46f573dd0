#pragma once

#include "Text/Policy.h"
#include "bench/EngineProgram.h"

namespace Qcf::Bench {

/// A policy text with its lists, ready for the engine.
///
///     TextPolicy const policy = TextPolicy::ofFile("examples/leaks.qcf");
///     for (auto const & function : policy.entries()) {
///         engineRunner(policy.program(function), EngineForm::plan);
///     }
///
/// What is wrong with a text ends the process with the text's messages.
class TextPolicy {
public:
    static TextPolicy ofFile(String const & path);
    /// `name` is what messages call it.
    static TextPolicy ofText(String text, String const & name);

    /// The function of that name, which must be there.
    EngineProgram program(String const & function) const;
    /// The functions that an agent would evaluate: they take no arguments and nobody calls them.
    std::vector<String> entries() const;

private:
    TextPolicy(std::optional<Text::Policy> policy, Text::Sources const & sources,
               Text::Messages const & messages);

    Text::Policy policy_;
    PtrConst<ExternalMatchersBase> matchers_;
};

} // namespace Qcf::Bench
