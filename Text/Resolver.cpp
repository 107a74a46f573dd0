#include "QcfLib/QcfEval.h"
#include "Text/ArgumentChecks.h"
#include "Text/Compiler.h"
#include "Text/ListResolver.h"
#include "Text/Words.h"

#include <algorithm>
#include <unordered_map>

namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

class Resolver {
public:
    Resolver(Declarations & declarations, Sources const & sources, Messages & messages)
        : declarations_(declarations), sources_(sources), messages_(messages) {}

    void run() {
        collectFunctions();
        resolveLists(declarations_, sources_, messages_);
        order();
        for (FunctionDeclaration & function : declarations_.functions) {
            for (CallDraft & call : function.uses.calls) {
                arguments(call);
            }
        }
        for (TestDeclaration & test : declarations_.tests) {
            if (find(test.call)) {
                arguments(test.call);
            }
        }
    }

private:
    void error(Span const & span, char const * code, String text, String suggestion = {},
               String note = {}) {
        messages_.add(
            {span, Severity::error, code, std::move(text), std::move(suggestion), std::move(note)});
    }

    void collectFunctions() {
        for (std::size_t i = 0; i < declarations_.functions.size(); ++i) {
            FunctionDeclaration const & function = declarations_.functions[i];
            auto const [at, isNew] = functions_.emplace(function.name, i);
            if (!isNew) {
                error(function.nameSpan, "duplicate",
                      "the function '" + function.name + "' is declared twice, first at " +
                          sources_.placeText(declarations_.functions[at->second].nameSpan));
            }
        }
    }

    // Functions of the declared names; a built-in that nobody declared is declared by its first
    // call.
    std::optional<std::size_t> find(CallDraft const & call) {
        auto const found = functions_.find(call.name);
        if (found != functions_.end()) {
            return found->second;
        }
        NodeClass const * const body = findBuiltIn(call.name);
        if (body == nullptr) {
            failCall(call);
            return std::nullopt;
        }
        std::size_t const number = declarations_.functions.size();
        declarations_.functions.push_back(builtIn(call, *body));
        functions_.emplace(call.name, number);
        builtIns_.emplace(call.name, body);
        return number;
    }

    FunctionDeclaration builtIn(CallDraft const & call, NodeClass const & body) {
        FunctionDeclaration function{call.name, call.nameSpan, call.nameSpan};
        function.takesAnything = body.facts.integerArguments != 0 || body.facts.readsNodeArguments;
        DraftTree & tree = declarations_.tree;
        Draft * const block =
            tree.add<Block>(call.nameSpan, {DraftChain{tree.add(body, call.nameSpan)}});
        function.draft =
            tree.add<Function>(call.nameSpan, {call.name, DraftField(), DraftField(), DraftField(),
                                               function.takesAnything, block});
        return function;
    }

    void failCall(CallDraft const & call) {
        std::vector<std::string_view> known = builtInNames();
        for (auto const & [name, number] : functions_) {
            known.push_back(name);
        }
        String suggestion = nearest(call.name, known);
        if (suggestion.empty()) {
            String foreign = suggestName(call.name);
            foreign.resize(std::min(foreign.find('('), foreign.size()));
            suggestion = findBuiltIn(foreign) != nullptr ? foreign : "";
        }
        error(call.nameSpan, "unknown-function", "unknown function '" + call.name + "'",
              suggestion);
    }

    // Undeclared built-ins first, in the order of their first calls; then the order of the texts, a
    // callee that stands later directly before its first caller.
    void order() {
        std::size_t const declared = declarations_.functions.size();
        state_.assign(declared, State::open);
        for (std::size_t i = 0; i < declared; ++i) {
            // Calls are looked at in the order of the texts. They declare built-ins, which makes
            // the functions move.
            for (auto const member : {&BodyUses::calls, &BodyUses::rawCalls}) {
                std::size_t const count = (declarations_.functions[i].uses.*member).size();
                for (std::size_t k = 0; k < count; ++k) {
                    CallDraft const call = (declarations_.functions[i].uses.*member)[k];
                    callees_[i].push_back(find(call));
                }
            }
        }
        state_.resize(declarations_.functions.size(), State::open);
        for (std::size_t i = declared; i < declarations_.functions.size(); ++i) {
            state_[i] = State::placed;
            order_.push_back(i);
        }
        for (std::size_t i = 0; i < declared; ++i) {
            place(i);
        }
        apply();
    }

    // By a stack of its own: calls may be nested as deep as there are functions.
    void place(std::size_t root) {
        struct Frame {
            std::size_t function;
            std::size_t next = 0;
        };
        if (state_[root] != State::open) {
            return;
        }
        std::vector<Frame> stack{{root}};
        state_[root] = State::entered;
        while (!stack.empty()) {
            Frame & frame = stack.back();
            auto const & callees = callees_[frame.function];
            if (frame.next == callees.size()) {
                state_[frame.function] = State::placed;
                order_.push_back(frame.function);
                stack.pop_back();
                continue;
            }
            std::size_t const at = frame.next++;
            if (!callees[at]) {
                continue;
            }
            State const state = state_[*callees[at]];
            if (state == State::entered) {
                recursion(frame.function, at, *callees[at]);
            } else if (state == State::open) {
                state_[*callees[at]] = State::entered;
                stack.push_back({*callees[at]});
            }
        }
    }

    void recursion(std::size_t caller, std::size_t at, std::size_t callee) {
        FunctionDeclaration const & function = declarations_.functions[caller];
        auto const & calls = function.uses.calls;
        CallDraft const & call =
            at < calls.size() ? calls[at] : function.uses.rawCalls[at - calls.size()];
        String const & name = declarations_.functions[callee].name;
        error(call.nameSpan, "recursion",
              caller == callee
                  ? "the function '" + name + "' calls itself"
                  : "the function '" + name + "' calls itself by way of '" + function.name + "'");
    }

    void apply() {
        std::vector<FunctionDeclaration> ordered;
        ordered.reserve(order_.size());
        std::unordered_map<String, std::size_t> positions;
        for (std::size_t const number : order_) {
            positions.emplace(declarations_.functions[number].name, ordered.size());
            ordered.push_back(std::move(declarations_.functions[number]));
        }
        declarations_.functions = std::move(ordered);
        functions_ = std::move(positions);
    }

    // Kind by kind, as calls pass them.
    void arguments(CallDraft const & call) {
        auto const found = functions_.find(call.name);
        if (found == functions_.end()) {
            return;
        }
        FunctionDeclaration const & function = declarations_.functions[found->second];
        auto const builtIn = builtIns_.find(call.name);
        if (builtIn != builtIns_.end()) {
            checkBuiltInArguments(call, builtIn->second->facts, messages_);
        } else if (!function.takesAnything) {
            checkArguments(call, function, sources_, messages_);
        }
    }

    enum class State : U8 { open, entered, placed };

    Declarations & declarations_;
    Sources const & sources_;
    Messages & messages_;
    std::unordered_map<String, std::size_t> functions_;
    /// Built-in functions that their first call declared.
    std::unordered_map<String, NodeClass const *> builtIns_;
    std::vector<State> state_;
    std::vector<std::size_t> order_;
    std::unordered_map<std::size_t, std::vector<std::optional<std::size_t>>> callees_;
};

} // namespace

void resolve(Declarations & declarations, Sources const & sources, Messages & messages) {
    Resolver(declarations, sources, messages).run();
}

} // namespace Qcf::Text
