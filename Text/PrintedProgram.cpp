#include "Text/PrintedProgram.h"

#include "Text/Scope.h"
#include "Text/Words.h"

#include <algorithm>
#include <array>
#include <unordered_set>

namespace Qcf::Text {

using Eval::ArgumentKind;
using Eval::Function;
using Eval::FunctionCallExpression;

namespace {

/// In the order of parameters that no call tells another order of.
constexpr ArgumentKind parameterKinds[] = {ArgumentKind::integer, ArgumentKind::bandwidth,
                                           ArgumentKind::triStateBool, ArgumentKind::prefixList};
/// No call passes more arguments of a kind.
constexpr U8 mostOfKind = 16;

std::vector<ArgumentKind> passedBy(FunctionCallExpression const & call) {
    std::vector<ArgumentKind> kinds;
    for (auto const * link = call.argListHead().get(); link != nullptr; link = link->next().get()) {
        kinds.push_back(link->entry()->typeData().facts.argument);
    }
    return kinds;
}

/// A function that stands in no list of the program is found by its calls.
class TextOrder {
public:
    explicit TextOrder(Documents::Program const & program) {
        for (auto const & function : program.functions) {
            listed_.insert(function.get());
        }
        for (auto const & function : program.functions) {
            place(*function);
        }
    }

    std::vector<FunctionContent> contents;

private:
    // As deep as calls of such functions are nested.
    void place(Function const & function) {
        if (!placed_.insert(&function).second) {
            return;
        }
        FunctionContent content = contentOf(function);
        for (FunctionCallExpression const * const call : content.calls) {
            Function const & callee = *call->calleePtr();
            if (!listed_.contains(&callee)) {
                place(callee);
            }
        }
        contents.push_back(std::move(content));
    }

    std::unordered_set<Function const *> listed_;
    std::unordered_set<Function const *> placed_;
};

/// A value name means its number wherever it may stand.
bool isValueName(std::string_view name) {
    static std::set<std::string_view> const names = [] {
        std::set<std::string_view> all;
        for (Eval::NodeClass const & nodeClass : Eval::nodeClasses()) {
            if (nodeClass.attribute != nullptr) {
                auto const & ofAttribute = nodeClass.attribute->valueNames;
                all.insert(ofAttribute.begin(), ofAttribute.end());
            }
        }
        return all;
    }();
    return names.contains(name);
}

} // namespace

/// Makes the parameters of one function.
class SignatureMaker {
public:
    SignatureMaker(FunctionContent const & content, FunctionCallExpression const * firstCall,
                   PrintedLists const & lists)
        : lists_(lists) {
        signature_.isOpen_ = content.readsUnnamedArguments;
        if (!signature_.isOpen_) {
            addParameters(content, firstCall);
            nameParameters(content);
        }
    }

    Signature take() { return std::move(signature_); }

private:
    // A call may pass more than is read: it is taken for how the function is meant.
    void addParameters(FunctionContent const & content, FunctionCallExpression const * firstCall) {
        std::array<U8, std::size(parameterKinds)> wanted{};
        for (PrintedVariable const & variable : content.variables) {
            U8 & count = wanted.at(kindNumber(variable.kind));
            count = std::max<U8>(count, variable.index < mostOfKind ? variable.index + 1 : 0);
        }
        auto const kinds =
            firstCall != nullptr ? passedBy(*firstCall) : std::vector<ArgumentKind>();
        std::array<U8, std::size(parameterKinds)> passed{};
        bool isMeant = true;
        for (ArgumentKind const kind : kinds) {
            isMeant = isMeant && kindNumber(kind) < passed.size();
            if (isMeant) {
                ++passed.at(kindNumber(kind));
            }
        }
        if (isMeant && std::ranges::equal(passed, wanted, std::ranges::greater_equal())) {
            std::ranges::for_each(kinds, [this](ArgumentKind kind) { add(kind); });
            return;
        }
        for (std::size_t number = 0; number < wanted.size(); ++number) {
            for (U8 i = 0; i < wanted.at(number); ++i) {
                add(parameterKinds[number]);
            }
        }
    }

    static std::size_t kindNumber(ArgumentKind kind) {
        return static_cast<std::size_t>(std::ranges::find(parameterKinds, kind) -
                                        std::begin(parameterKinds));
    }

    void add(ArgumentKind kind) {
        auto const before =
            std::ranges::count(signature_.parameters_, kind, &PrintedVariable::kind);
        signature_.parameters_.push_back({kind, static_cast<U8>(before), {}});
    }

    // The body's names first: a free name must not take one of them.
    void nameParameters(FunctionContent const & content) {
        for (PrintedVariable const & variable : content.variables) {
            PrintedVariable * const parameter = find(variable.kind, variable.index);
            if (parameter != nullptr && isFree(variable.name)) {
                parameter->name = variable.name;
                taken_.insert(variable.name);
            }
        }
        for (PrintedVariable & parameter : signature_.parameters_) {
            if (parameter.name.empty()) {
                parameter.name = freeName(parameter);
                taken_.insert(parameter.name);
            }
        }
    }

    PrintedVariable * find(ArgumentKind kind, U8 index) {
        auto const found = std::ranges::find_if(signature_.parameters_, [&](auto const & each) {
            return each.kind == kind && each.index == index;
        });
        return found == signature_.parameters_.end() ? nullptr : &*found;
    }

    bool isFree(String const & name) const {
        return !name.empty() && !isValueName(name) && !lists_.isListName(name) &&
               !taken_.contains(name);
    }

    String freeName(PrintedVariable const & parameter) const {
        String name = String(parameterWord(parameter.kind)) + '_';
        name += std::to_string(parameter.index + 1);
        while (!isFree(name)) {
            name += '_';
        }
        return name;
    }

    PrintedLists const & lists_;
    Signature signature_;
    std::set<String> taken_;
};

String const * Signature::find(PrintedVariable const & variable) const {
    auto const found = std::ranges::find_if(parameters_, [&](PrintedVariable const & each) {
        return each.kind == variable.kind && each.index == variable.index &&
               each.name == variable.name;
    });
    return found == parameters_.end() ? nullptr : &found->name;
}

bool Signature::takes(FunctionCallExpression const & call) const {
    return isOpen_ ||
           std::ranges::equal(passedBy(call), parameters_, {}, {}, &PrintedVariable::kind);
}

PrintedProgram::PrintedProgram(Documents::Program const & program)
    : contents_(TextOrder(program).contents), lists_(contents_) {
    std::unordered_map<Function const *, FunctionCallExpression const *> firstCalls;
    for (FunctionContent const & content : contents_) {
        for (FunctionCallExpression const * const call : content.calls) {
            firstCalls.emplace(call->calleePtr().get(), call);
        }
    }
    for (FunctionContent const & content : contents_) {
        auto const call = firstCalls.find(content.function);
        SignatureMaker maker(content, call == firstCalls.end() ? nullptr : call->second, lists_);
        signatures_.emplace(content.function, maker.take());
    }
}

} // namespace Qcf::Text
