#include "Text/Compiler.h"

#include "Documents/FunctionFaults.h"
#include "QcfLib/QcfEval.h"
#include "Text/DraftEmitter.h"

#include <unordered_map>

namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

namespace {

/// Slots that are written come before any that is counted.
class GivenSlots {
public:
    GivenSlots(Documents::ListNames & names, Messages & messages)
        : names_(names), messages_(messages) {}

    void note(FunctionDeclaration const & function) {
        DraftField const & field = function.draft->at(FieldRole::metadata);
        auto const * const content = std::get_if<std::shared_ptr<DraftValue const>>(&field);
        if (content != nullptr) {
            SlotsPlace const place(function, messages_);
            names_.metadataIs(place, std::get<FunctionMetadata>((*content)->value));
        }
    }
    void note(ListUse const & use) {
        auto const list = DraftEmitter::listOf(*use.draft);
        if (list && list->slot) {
            names_.slotIs(list->kind, list->name, *list->slot);
        }
    }

private:
    /// The annotation of a function.
    class SlotsPlace final : public Documents::Place {
    public:
        SlotsPlace(FunctionDeclaration const & function, Messages & messages)
            : function_(function), messages_(messages) {}
        String text() const override { return {}; }
        void note(AetNodeBase const & /*node*/) const override {}

    private:
        void throwError(std::string_view subject, std::string_view wanted,
                        std::string_view found) const override {
            messages_.add(
                {function_.nameSpan, Severity::error, "slots",
                 String(subject) + " wants " + String(wanted) + ", found " + String(found)});
            throw Recovery{};
        }
        FunctionDeclaration const & function_;
        Messages & messages_;
    };

    Documents::ListNames & names_;
    Messages & messages_;
};

} // namespace

Documents::Program makeProgram(std::span<FunctionDeclaration const> functions,
                               Sources const & sources, Messages & messages, SourceMap & map) {
    Documents::Program program;
    Documents::ListNames names;
    Documents::NodeBuilder builder(names);
    DraftEmitter emitter(builder, sources, messages, map);
    GivenSlots given(names, messages);
    try {
        for (FunctionDeclaration const & function : functions) {
            given.note(function);
        }
        for (FunctionDeclaration const & function : functions) {
            for (ListUse const & use : function.uses.lists) {
                given.note(use);
            }
        }
    } catch (Recovery const &) {
        return program;
    }
    std::unordered_map<String, U32> numbers;
    for (FunctionDeclaration const & function : functions) {
        for (auto const * const calls : {&function.uses.calls, &function.uses.rawCalls}) {
            for (CallDraft const & call : *calls) {
                call.call->at(FieldRole::callee) = U64{numbers.at(call.name)};
            }
        }
        try {
            U32 const number = emitter.emit(*function.draft, function.key);
            numbers.emplace(function.name, number);
            auto const node = ptrCast<Function const>(builder.node(number));
            program.faults.push_back(Documents::faultOf(*node, builder.facts(number)));
            program.functions.push_back(node);
        } catch (Recovery const &) {
            // Whoever calls it has nothing to call.
            break;
        }
    }
    map.seal();
    program.nodes = builder.takeNodes();
    program.slots = names.slots();
    program.lists = names.lists();
    return program;
}

} // namespace Qcf::Text
