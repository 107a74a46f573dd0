#include "QcfLib/QcfEval.h"
#include "Text/Compiler.h"
#include "Text/Words.h"

#include <algorithm>
#include <set>
#include <unordered_map>

namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

using Lists::ListKind;

/// The kind under which a list of that slot kind is declared.
ListKind declaredKind(SlotKind kind) {
    switch (kind) {
    case SlotKind::commList:
        return ListKind::communityList;
    case SlotKind::extCommList:
        return ListKind::extCommunityList;
    case SlotKind::largeCommList:
        return ListKind::largeCommunityList;
    case SlotKind::tagSet:
        return ListKind::tagSet;
    case SlotKind::asPathAccessList:
        return ListKind::asPathAccessList;
    case SlotKind::dynamicPrefixList:
        return ListKind::dynamicPrefixList;
    case SlotKind::roaTable:
        return ListKind::roaTable;
    default:
        return ListKind::prefixList;
    }
}

/// The lists that the texts declare, by kind and name.
class DeclaredLists {
public:
    explicit DeclaredLists(std::vector<ListDeclaration> const & lists, Sources const & sources,
                           Messages & messages) {
        for (ListDeclaration const & list : lists) {
            auto const [at, isNew] =
                lists_[static_cast<std::size_t>(list.kind())].emplace(list.name(), &list);
            if (!isNew) {
                messages.add({list.nameSpan, Severity::error, "duplicate",
                              "the " + String(kindWord(list.kind())) + " '" + list.name() +
                                  "' is declared twice, first at " +
                                  sources.placeText(at->second->nameSpan)});
            }
        }
    }

    ListDeclaration const * find(ListKind kind, std::string_view name) const {
        auto const & lists = lists_[static_cast<std::size_t>(kind)];
        auto const found = lists.find(name);
        return found == lists.end() ? nullptr : found->second;
    }

    /// Any list of that name but of another kind.
    ListDeclaration const * findOther(ListKind kind, std::string_view name) const {
        for (auto const & lists : lists_) {
            auto const found = lists.find(name);
            if (found != lists.end() && found->second->kind() != kind) {
                return found->second;
            }
        }
        return nullptr;
    }

    String nearestName(ListKind kind, std::string_view name) const {
        std::vector<std::string_view> names;
        for (auto const & [each, list] : lists_[static_cast<std::size_t>(kind)]) {
            names.push_back(each);
        }
        return nearest(name, names);
    }

private:
    std::array<std::map<std::string_view, ListDeclaration const *>, 8> lists_;
};

class Resolver {
public:
    Resolver(Declarations & declarations, Sources const & sources, Messages & messages)
        : declarations_(declarations),
          sources_(sources),
          messages_(messages),
          lists_(declarations.lists, sources, messages) {}

    void run() {
        collectFunctions();
        for (FunctionDeclaration & function : declarations_.functions) {
            lists(function.uses);
        }
        for (TestDeclaration & test : declarations_.tests) {
            lists(test.uses);
        }
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
            Constants const noConstants;
            Parameters const noParameters;
            String const foreign = suggestName(call.name, {noConstants, noParameters});
            suggestion = findBuiltIn(foreign) != nullptr ? foreign : "";
        }
        error(call.nameSpan, "unknown-function", "no function is called '" + call.name + "'",
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

    // Lists that a construct names.
    void lists(BodyUses & uses) {
        for (ListUse & use : uses.lists) {
            ListKind const kind = declaredKind(use.kind);
            ListDeclaration const * declared = lists_.find(kind, use.name);
            if (use.isOpen) {
                declared = openFamily(use, declared);
            } else if (declared == nullptr) {
                undeclared(use, kind);
            } else if (kind == ListKind::prefixList &&
                       declared->isV4() != (use.kind == SlotKind::v4PrefixList)) {
                error(use.span, "list-family",
                      "the prefix list '" + use.name + "' is of " +
                          (declared->isV4() ? "v4" : "v6") + ", declared at " +
                          sources_.placeText(declared->nameSpan));
            }
            if (declared != nullptr) {
                used_.insert(declared);
            }
        }
    }

    ListDeclaration const * openFamily(ListUse & use, ListDeclaration const * declared) {
        if (declared == nullptr) {
            declared = lists_.find(ListKind::dynamicPrefixList, use.name);
        }
        if (declared == nullptr) {
            ListDeclaration const * const other = lists_.findOther(ListKind::prefixList, use.name);
            String suggestion = lists_.nearestName(ListKind::prefixList, use.name);
            if (other != nullptr) {
                error(use.span, "list-kind",
                      "wants a prefix list, found the " + String(kindWord(other->kind())) + " '" +
                          use.name + "'");
            } else if (!suggestion.empty()) {
                error(use.span, "unknown-name", "unknown name '" + use.name + "'", suggestion);
            } else {
                error(use.span, "unknown-name",
                      "unknown name '" + use.name +
                          "'; a prefix list that is declared elsewhere is 'v4 " + use.name +
                          "' or 'v6 " + use.name + "'");
            }
            return nullptr;
        }
        Draft & draft = *use.draft;
        if (declared->kind() == ListKind::dynamicPrefixList) {
            auto const fields = draft.fields;
            draft.nodeClass = &nodeClassOf<DynamicPrefixListImmediate>();
            draft.fields.assign(fields.begin(), fields.begin() + 2);
        } else {
            draft.at(FieldRole::isV4) = declared->isV4();
        }
        return declared;
    }

    void undeclared(ListUse const & use, ListKind kind) {
        ListDeclaration const * const other = lists_.findOther(kind, use.name);
        if (other != nullptr) {
            error(use.span, "list-kind",
                  "wants a " + String(kindWord(kind)) + ", found the " +
                      String(kindWord(other->kind())) + " '" + use.name + "'",
                  {}, "declared at " + sources_.placeText(other->nameSpan));
            return;
        }
        String const suggestion = lists_.nearestName(kind, use.name);
        if (!suggestion.empty()) {
            messages_.add({use.span, Severity::warning, "undeclared-list",
                           "no " + String(kindWord(kind)) + " '" + use.name +
                               "' is declared; it is taken from outside",
                           suggestion});
        }
    }

    // Kind by kind, as calls pass them.
    void arguments(CallDraft const & call) {
        auto const found = functions_.find(call.name);
        if (found == functions_.end()) {
            return;
        }
        FunctionDeclaration const & function = declarations_.functions[found->second];
        if (function.takesAnything) {
            return;
        }
        if (call.arguments.size() != function.parameters.size()) {
            error(call.nameSpan, "arguments",
                  function.name + " wants " + countText(function.parameters.size()) + ", found " +
                      std::to_string(call.arguments.size()),
                  {}, "declared at " + sources_.placeText(function.nameSpan));
            return;
        }
        for (std::size_t i = 0; i < call.arguments.size(); ++i) {
            Draft const & argument = *call.arguments[i];
            Parameter const & parameter = function.parameters[i];
            if (argument.nodeClass->facts.argument != parameter.kind) {
                error(argument.span, "argument-type",
                      "argument '" + parameter.name + "' of " + function.name + " wants " +
                          parameterWord(parameter.kind) + ", found " +
                          describeDraft(argument, sources_));
            }
        }
    }

    static String countText(std::size_t count) {
        return std::to_string(count) + (count == 1 ? " argument" : " arguments");
    }

    enum class State : U8 { open, entered, placed };

    Declarations & declarations_;
    Sources const & sources_;
    Messages & messages_;
    DeclaredLists lists_;
    std::set<ListDeclaration const *> used_;
    std::unordered_map<String, std::size_t> functions_;
    std::vector<State> state_;
    std::vector<std::size_t> order_;
    std::unordered_map<std::size_t, std::vector<std::optional<std::size_t>>> callees_;
};

} // namespace

void resolve(Declarations & declarations, Sources const & sources, Messages & messages) {
    Resolver(declarations, sources, messages).run();
}

} // namespace Qcf::Text
