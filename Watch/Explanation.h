#pragma once

#include "Agent/Evaluation/AgentContext.h"
#include "Watch/NodePlaces.h"
#include "Watch/TraceTree.h"

namespace Qcf::Watch {

/// What decided about one route.
struct Decision {
    /// The innermost `return` or `exit` on the deciding path; null where the end was reached.
    Eval::AetNodeBase const * statement = nullptr;
    Eval::Function const * within = nullptr; ///< the function in which the statement stands
    /// The innermost node whose result became the verdict; null where nothing was evaluated.
    Eval::Expression const * leaf = nullptr;
    /// Of the innermost deciding statement that gives one; else empty.
    String reason = {};
};

/// Watches the evaluations of one context as long as it lives, and tells of the last one what
/// decided and why.
///
///     Watched watched(*context);
///     context->routeIs(route);
///     function->eval(context);
///     std::cout << decidingText(watched, places);
///
/// Takes the context's place for an observer. Must not outlive the context. One thread at a time.
class Watched {
public:
    explicit Watched(Eval::EvalContext & context);
    ~Watched();
    Watched(Watched const &) = delete;
    Watched & operator=(Watched const &) = delete;

    /// The outermost function as it was evaluated last; null before, and after `clear`.
    TraceNode const * root() const { return tree_.root(); }
    /// What decided about that evaluation.
    Decision decision(NodePlaces const & places) const;
    /// Forgets the evaluation; the next one does so by itself.
    void clear() { tree_.clear(); }

private:
    Eval::EvalContext & context_;
    TraceTree tree_;
};

/// The deciding path for people: a line a test that led to the verdict, with the values that it
/// read. Each line begins with `indent` blanks and ends with a line's end.
///
///     line 46: match_origin_as_validity(roa_table RPKI, 2)  false   [prefix 8.8.8.0/24, ...]
String decidingText(Watched const & watched, NodePlaces const & places, std::size_t indent = 0);

} // namespace Qcf::Watch
