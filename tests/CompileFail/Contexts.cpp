// Misuse of contexts by an agent: operations that do not exist, and values that are not its own.
// How a case reads is told in Pointers.cpp.

#include "QcfLib/QcfEval.h"

namespace Qcf::Eval {

class Agent final : public EvalContext {
public:
    Agent() : EvalContext(nullptr, nullptr, nullptr) {}

    U64 medInput() const override { return 1; }
    void localPrefIs(U64 value) override { static_cast<void>(value); }

    // misuse: U32 localPrefInput() const override { return 1; }
    // says: conflicting return type|different return type|not covariant

    // misuse: U64 tagInput() override { return 1; }
    // says: marked 'override'

    // misuse: void afiIs(U64) override {}
    // says: marked 'override'

    // misuse: void communityIs(PtrConst<U64SmallVector> const & set) override { set->clear(); }
    // says: discards qualifiers|not marked const

    // misuse: void communityIs(Ptr<U64SmallVector> const &) override {}
    // says: marked 'override'
};

class Partial : public EvalContextBase {
    using EvalContextBase::EvalContextBase;
};

void evaluate(Ptr<Agent> const & agent, Function const & function) {
    Ptr<EvalContextBase> const context = agent;
    static_cast<void>(function.eval(context));

    // misuse: Agent copy = *agent;
    // says: use of deleted function|implicitly-deleted

    // misuse: makePtr<EvalContext>();
    // says: no matching (function|constructor)

    // misuse: makePtr<Partial>(nullptr, nullptr);
    // says: abstract class type|is an abstract class

    // misuse: function.eval(*agent);
    // says: cannot convert|no viable conversion
}

} // namespace Qcf::Eval
