#include "Documents/Program.h"
#include "QcfLib/EvaluationObserver.h"
#include "QcfLib/Plan.h"
#include "tests/Documents/JsonMutator.h"
#include "tests/support/Cases.h"
#include "tests/support/RandomDocument.h"
#include "tests/support/RandomRoute.h"
#include "tests/support/Trees.h"

#include <tuple>
#include <unordered_map>
#include <unordered_set>

#include <gtest/gtest.h>

using namespace Qcf::Eval;
using namespace Qcf::Eval::test;
using Qcf::Documents::Program;

namespace {

#ifdef NDEBUG
constexpr U32 usualDocuments = 100'000;
#else
constexpr U32 usualDocuments = 4'000; // with assertions of the libraries, or under a sanitizer
#endif
constexpr U32 routesOfDocument = 4;

/// A number from the environment, for longer runs and for others.
U32 setting(char const * name, U32 usual) { return static_cast<U32>(casesWanted(usual, name)); }

/// What came of some routes: results, write-backs and what stayed modified, in order, and which
/// questions the agent was asked.
struct Outcome {
    std::vector<String> effects;
    std::vector<String> asked;

    bool operator==(Outcome const &) const = default;

    void take(std::vector<String> & calls) {
        for (String & call : calls) {
            bool const writes = call.ends_with("Is") || call.find("Is ") != String::npos;
            (writes ? effects : asked).push_back(std::move(call));
        }
        calls.clear();
    }
    String text() const {
        String text;
        for (String const & line : effects) {
            text += line + "; ";
        }
        for (String const & line : asked) {
            text += "\n    " + line;
        }
        return text;
    }
};

/// How functions are evaluated.
enum class Way : U8 { tree, plan, logged, watched, watchedAndLogged };
constexpr char const * wayNames[] = {"tree", "plan", "logged", "watched", "watched and logged"};

/// Holds the order in which it is told of nodes to that of a tree.
class NestingObserver final : public EvaluationObserver {
public:
    void entered(Expression const & node, EvalContext & /*context*/) override {
        open_.push_back(&node);
    }
    void left(Expression const & node, EvalResult /*result*/, EvalContext & context) override {
        thrown(node, context);
    }
    void thrown(Expression const & node, EvalContext & /*context*/) override {
        isTree = isTree && !open_.empty() && open_.back() == &node;
        open_.resize(open_.empty() ? 0 : open_.size() - 1);
        isTree = isTree && (!open_.empty() || is<Function>(node));
        ++nodes;
    }

    bool isTree = true;
    std::size_t nodes = 0;

private:
    std::vector<Expression const *> open_;
};

/// One context that serves function after function and route after route.
class Evaluation {
public:
    explicit Evaluation(Way way) : way_(way) {
        if (way == Way::watched || way == Way::watchedAndLogged) {
            context_->evaluationObserverIs(&observer);
        }
    }

    Outcome outcome(Program const & program, U64 routeSeed) {
        Outcome outcome;
        for (U32 i = 0; i < routesOfDocument; ++i) {
            RandomRoute route(routeSeed + i);
            context_->reset();
            context_->shouldLogEvalIs(way_ == Way::logged || way_ == Way::watchedAndLogged);
            route.fill(*context_);
            auto const sets = [this] {
                return std::tuple(context_->community, context_->isisLevel, context_->extCommunity,
                                  context_->largeCommunity);
            };
            auto const before = sets();
            static constexpr char const * throwing[] = {"medInput", "communityInputPopulate",
                                                        "matchCommList", "tagInput"};
            context_->throwAt = route.below(16) == 0 ? throwing[route.below(4)] : "";
            // A context meets both forms: a route now and then is evaluated by the tree anyhow.
            bool const byTree = route.below(8) == 0;
            Plan::enabledIs(way_ != Way::tree && !byTree);
            auto const & other =
                program.functions[route.below(static_cast<U32>(program.functions.size()))];
            auto const & main = program.functions.back();
            for (auto const & function : {main, other, main}) {
                if (program.faultOf(*function).eval.empty()) {
                    evaluate(*function, outcome);
                }
            }
            outcome.effects.emplace_back(context_->nextHopSetToSelf() ? "left self" : "left");
            context_->flushModifiedAttributes();
            outcome.take(context_->calls);
            outcome.effects.emplace_back(sets() == before ? "" : "the route's own sets changed");
        }
        std::sort(outcome.asked.begin(), outcome.asked.end());
        outcome.asked.erase(std::unique(outcome.asked.begin(), outcome.asked.end()),
                            outcome.asked.end());
        return outcome;
    }
    Way way() const { return way_; }

    NestingObserver observer;

private:
    void evaluate(Function const & function, Outcome & outcome) {
        String result = "threw";
        try {
            result = textOf(function.eval(context_));
        } catch (std::runtime_error const &) {
        }
        outcome.effects.push_back(result);
        outcome.take(context_->calls);
    }

    Way way_;
    Ptr<ListContext> context_ = makePtr<ListContext>();
};

/// Evaluates programs by their trees, and in each other way.
class Comparison {
public:
    Comparison() = default;
    Comparison(Comparison const &) = delete;
    Comparison & operator=(Comparison const &) = delete;
    ~Comparison() { Plan::enabledIs(true); }

    /// How another way and the tree differ; "" when they do not. All routes go through the tree
    /// before the first goes through the plan: what a plan does to a constant of the tree shows as
    /// well.
    String difference(Program const & program, U64 routeSeed) {
        Outcome const expected = walked_.outcome(program, routeSeed);
        effects += expected.effects.size();
        for (Evaluation & other : others_) {
            Outcome const outcome = other.outcome(program, routeSeed);
            if (!(outcome == expected) || !other.observer.isTree) {
                return wayNames[static_cast<U8>(other.way())] + (": " + outcome.text()) +
                       "\ntree: " + expected.text() + "\n";
            }
        }
        return "";
    }
    std::size_t nodesSeen() const { return others_[2].observer.nodes; }

    std::size_t effects = 0;

private:
    Evaluation walked_{Way::tree};
    Evaluation others_[4] = {Evaluation(Way::plan), Evaluation(Way::logged),
                             Evaluation(Way::watched), Evaluation(Way::watchedAndLogged)};
};

String differenceOf(String const & document, U64 routeSeed) {
    try {
        Program const program = Qcf::Documents::readProgram(document, "f.json");
        return program.functions.empty() ? "" : Comparison().difference(program, routeSeed);
    } catch (DocumentError const &) {
        return "";
    }
}

/// A small document on which they differ too.
String shrunk(String document, U64 routeSeed) {
    std::erase(document, '\n');
    if (differenceOf(document, routeSeed).empty()) {
        return "(only after the documents before it) " + document;
    }
    Qcf::Documents::test::JsonMutator mutator(1);
    for (U32 tries = 0; tries < 30'000; ++tries) {
        String const other = mutator.mutate(document);
        if (other.size() < document.size() && !differenceOf(other, routeSeed).empty()) {
            document = other;
        }
    }
    return differenceOf(document, routeSeed) + document;
}

/// Which classes were evaluated, as far as a log shows, or else stood in an evaluated tree.
class Coverage {
public:
    void add(Program const & program, U64 routeSeed) {
        auto const & main = program.functions.back();
        visited_.clear();
        visit(*main);
        std::unordered_map<U64, NodeClass const *> classes;
        for (auto const & node : program.nodes) {
            classes[node->aetNodeKey()] = &node->typeData();
        }
        for (U32 i = 0; i < routesOfDocument; ++i) {
            RandomRoute(routeSeed + i).fill(*context_);
            context_->reset();
            context_->shouldLogEvalIs(true);
            main->eval(context_);
            note(context_->evaluationLog().get(), classes);
        }
    }

    String missing() const {
        String text;
        for (NodeClass const & nodeClass : nodeClasses()) {
            auto const & found = isLogged(nodeClass) ? evaluated_ : standing_;
            text += found.contains(&nodeClass) ? "" : String(nodeClass.name) + " ";
        }
        return text;
    }

private:
    static bool isLogged(NodeClass const & nodeClass) {
        std::string_view const base = nodeClass.base;
        return base == "Expression" || base == "FunctionBase" || base == "LogicalOperator";
    }
    void visit(AetNodeBase const & node) {
        if (visited_.insert(&node).second) {
            standing_.insert(&node.typeData());
            node.typeData().visitChildren(node,
                                          [this](FieldInfo const &, AetNodeBase const * child) {
                                              if (child != nullptr) {
                                                  visit(*child);
                                              }
                                          });
        }
    }
    void note(Qcf::Debug::EvaluationLog const * record,
              std::unordered_map<U64, NodeClass const *> const & classes) {
        for (; record != nullptr; record = record->nextLog().get()) {
            evaluated_.insert(classes.at(record->aetNodeKey()));
            auto const * const callee = record->functionCallLog().get();
            note(static_cast<Qcf::Debug::EvaluationLog const *>(callee), classes);
        }
    }

    std::unordered_set<NodeClass const *> evaluated_;
    std::unordered_set<NodeClass const *> standing_;
    std::unordered_set<AetNodeBase const *> visited_;
    Ptr<ListContext> context_ = makePtr<ListContext>();
};

} // namespace

// A plan is another way to the same results, write-backs and stored values, by the same questions
// to the agent, whatever the context has served before; and whoever looks on changes nothing. Every
// class of node takes part.
TEST(Plans, AgreeWithTheTreesOfRandomDocuments) {
    U32 const first = setting("QCF_PLAN_SEED", 0);
    U32 const last = first + setting("QCF_PLAN_DOCUMENTS", usualDocuments);
    Comparison comparison;
    Coverage coverage;
    bool complete = false;
    for (U32 seed = first; seed < last; ++seed) {
        Qcf::test::RandomDocument::Options const options{
            .references = seed % 4 == 3, .calls = seed % 3 != 2, .depth = 1 + seed % 4};
        String const text = Qcf::test::RandomDocument(seed, options).functions(1 + seed % 3);
        Program const program = Qcf::Documents::readProgram(text, "f.json");
        U64 const routeSeed = U64{seed} << 8;
        String const difference = comparison.difference(program, routeSeed);
        ASSERT_EQ(difference, "") << "seed " << seed << "\n" << shrunk(text, routeSeed);
        if (!complete && !options.references) {
            coverage.add(program, routeSeed);
            complete = seed % 64 == 0 && coverage.missing().empty();
        }
    }
    EXPECT_EQ(coverage.missing(), "");
    EXPECT_GT(comparison.nodesSeen(), comparison.effects);
    EXPECT_GT(comparison.effects, U64{last - first} * routesOfDocument * 3);
}
