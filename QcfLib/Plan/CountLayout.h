#pragma once

#include "QcfLib/StatementCounts.h"

#include <deque>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

namespace Qcf::Eval {

struct CountedStatement;
using CountedStatements = std::vector<CountedStatement>;

/// The counters of a `return` or `exit`: how often it decided what its function answers, and how
/// often of those the caller went its own way.
struct DeciderCounters {
    U32 decided = 0;
    U32 discounted = 0;
};

/// What is counted of a statement, and what stands below it.
struct CountedStatement {
    /// A link of a chain of `else if`: how often its block was taken, and, where that does not
    /// follow, how often it was passed.
    struct Link {
        Expression const * node = nullptr;
        U32 taken = 0;
        std::optional<U32> passed = {};
        CountedStatements block = {};
    };

    Expression const * node = nullptr;
    bool leaves = false; ///< a `return` or `exit`
    /// Of those. Each entry decides unless `decidesApart`: then `decided` is counted.
    DeciderCounters counters = {};
    bool decidesApart = false;
    /// How often evaluation went on behind it, where that does not follow.
    std::optional<U32> behind = {};
    CountedStatements block = {};     ///< of a block
    std::vector<Link> links{};        ///< of a branch
    CountedStatements otherwise = {}; ///< of a branch without link; one or none
};
using CountedLink = CountedStatement::Link;

/// A function's body in its plan, or in that of a caller that inlined it.
struct CountedBody {
    Function const * function = nullptr;
    U32 entered = 0;
    CountedStatements statements = {};
    bool isInlined = false;
    /// What ended evaluations without a `return` or `exit`, beside the end of the body.
    DeciderCounters end = {};
};

/// A node that is counted by looking on.
struct ObservedNode {
    Function const * function = nullptr;
    Expression const * node = nullptr;
    U32 entered = 0;
    DeciderCounters counters = {};
};

/// Which counters a plan has and what follows from them: statements in a line are entered as often
/// as the line, but for those that leave before; an `else if` as often as the one before it, less
/// those that were taken.
///
/// Made with its plan, constant from `publish` on.
class CountLayout {
public:
    CountLayout() = default;
    CountLayout(CountLayout const &) = delete;
    CountLayout & operator=(CountLayout const &) = delete;
    /// Gives the counters back.
    ~CountLayout();

    /// A counter of this plan.
    U32 take();
    DeciderCounters takeDecider() { return {take(), take()}; }
    /// The counter of the plan's evaluations.
    U32 entered() const {
        return bodies.empty() ? observed.front().entered : bodies.front().entered;
    }
    /// Behind the largest index that was taken.
    U32 end() const { return end_; }
    std::size_t counterCount() const { return taken_.size(); }
    /// From here on its counts can be asked for.
    void publish();

    /// Adds what follows from the counters' sums.
    void addTo(StatementCounts & counts, std::vector<U64> const & sums) const;

    /// The function's own first. A list that keeps its places: they are filled while it grows.
    std::deque<CountedBody> bodies;
    std::vector<ObservedNode> observed;

private:
    class Sum;

    std::vector<U32> taken_;
    U32 end_ = 0;
    bool isPublished_ = false;
};

/// The statements of a function and its `return`s and `exit`s elsewhere, in the order of the text,
/// each once.
std::vector<Expression const *> statementsOf(Function const & function);

} // namespace Qcf::Eval
