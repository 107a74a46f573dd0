#pragma once

#include "Questions/SequencePairs.h"
#include "Watch/TraceNode.h"

namespace Qcf::Questions {

/// The first statement by which two evaluations part. Where only one of the functions has such a
/// statement the other side is null; both are null where the traces show no difference.
struct Divergence {
    Watch::TraceNode const * older = nullptr;
    Watch::TraceNode const * newer = nullptr;
};

/// Finds where two evaluations part by walking what was seen of them in step.
///
///     TraceComparison comparison;
///     Divergence const at = comparison.of(*older.root(), *newer.root());
///
/// Statements of the two functions are paired by their text, whether they were evaluated or not, so
/// that one that was put in or taken out does not shift the others. A pair whose part of the
/// evaluation came to the same, in its outcome and in what it changed, is passed over. Of what is
/// left the statement is told in which the difference arises: one that was edited, or was put in or
/// taken out, and else, as where lists differ, the innermost one.
///
/// Keeps how statements are paired and spelled; belongs to one thread. The functions must outlive
/// it.
class TraceComparison {
public:
    Divergence of(Watch::TraceNode const & older, Watch::TraceNode const & newer);

private:
    using Node = Watch::TraceNode;
    struct Found {
        Divergence at;
        bool isEdited; ///< the texts differ
    };
    /// By what parts of evaluations are told apart, the next one where the one before shows
    /// nothing.
    enum class Measure : U8 {
        effects, ///< by outcomes, and by changes that had an effect
        writes,  ///< by outcomes, and by all changes
        texts,   ///< by what was evaluated
    };
    /// What of an outcome makes a difference to who asked for it.
    enum class Counts : U8 { leaving, truth, value };
    /// A part of a sequence with its evaluation; null where it was not evaluated.
    struct Parts {
        std::vector<SequencePart> parts;
        std::vector<Node const *> evaluated;

        /// Also null where a pair has no such part.
        Node const * at(std::size_t place) const {
            return place == PartPair::none ? nullptr : evaluated[place];
        }
    };
    using NodePair = std::pair<Eval::Expression const *, Eval::Expression const *>;

    std::optional<Found> statement(Node const & older, Node const & newer);
    std::optional<Found> block(Node const & older, Node const & newer);
    std::optional<Found> chain(Node const & older, Node const & newer);
    std::optional<Found> arm(Node const & older, Node const & newer);
    std::optional<Found> operand(Node const & older, Node const & newer, Counts counts);
    std::optional<Found> inside(Node const & older, Node const & newer);
    std::optional<Found> operands(Node const & older, Node const & newer);
    std::optional<Found> lone(Node const & node, bool isOlder);

    /// The statement itself, or what was found inside.
    Found chosen(Node const & older, Node const & newer, std::optional<Found> const & inner);

    Parts statementsOf(Node const & block);
    Parts armsOf(Node const & chain);
    Parts operandsOf(Node const & chain);
    SequencePart partOf(Eval::Expression const & node, Node const & within);
    std::vector<PartPair> const & pairs(NodePair const & nodes, Parts const & older,
                                        Parts const & newer);

    bool isSame(Node const & older, Node const & newer, Counts counts);
    bool isLoneEffective(Node const & node);
    void appendTexts(String & out, Node const & node);
    String const & head(Node const & node);

    StatementTexts texts_;
    std::map<NodePair, std::vector<PartPair>> pairs_;
    Measure measure_ = Measure::effects;
};

} // namespace Qcf::Questions
