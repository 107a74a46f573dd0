#pragma once

#include "Questions/NamedReaders.h"
#include "Watch/Deciding.h"

namespace Qcf::Questions {

/// Sees of an evaluation whether it was decided through a list or an attribute: whether a node
/// reads it on the deciding path (the chain of nodes from the function to the one whose result
/// became the verdict), in the condition of an `if` on that path, or in another operand of a node
/// on it that was evaluated. Statements that merely ran before do not count. A list that a function
/// is given as an argument counts where it is asked.
///
///     DecidedThrough through(thing, readers, *matchers, program.slots);
///     context->evaluationObserverIs(&through);
///     function->eval(context);
///     if (through.isDecidedThrough()) { ... through.deciding().statement() ... }
///
/// Tells of the evaluation that began last. Allocates nothing once it has seen the deepest one. One
/// thread at a time.
class DecidedThrough final : public Eval::EvaluationObserver {
public:
    /// The readers must outlive it.
    DecidedThrough(NamedThing const & thing, NamedReaders const & readers,
                   ExternalMatchersBase const & matchers, FunctionMetadata const & slots);

    void entered(Eval::Expression const & node, Eval::EvalContext & context) override;
    void left(Eval::Expression const & node, Eval::EvalResult result,
              Eval::EvalContext & context) override;
    void thrown(Eval::Expression const & node, Eval::EvalContext & context) override;

    bool isDecidedThrough() const { return isThrough_; }
    Watch::Deciding const & deciding() const { return deciding_; }
    /// Forgets the evaluation; the next one does so by itself.
    void clear();

private:
    /// A node that is open, and whether what counts of its parts so far read the thing.
    struct Open {
        bool isBlock;
        bool reads = false;
    };

    bool reads(Eval::Expression const & node, Eval::EvalContext & context) const;

    bool isList_;
    NamedReaders const & readers_;
    /// The prefix lists of that name, to know them where a parameter stands for one.
    std::vector<Routing::Policy::PrefixListMatcher const *> prefixLists_;
    std::optional<U16> roaSlot_;
    Watch::Deciding deciding_;
    std::vector<Open> open_;
    bool isThrough_ = false;
};

} // namespace Qcf::Questions
