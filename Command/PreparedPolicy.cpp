#include "Command/PreparedPolicy.h"

#include "Command/Command.h"
#include "Command/ProgramFile.h"
#include "Command/Readiness.h"
#include "Lists/ListBinding.h"

#include <algorithm>

namespace {

/// The function to evaluate, which must be one that can be.
PtrConst<Qcf::Eval::Function> chosenFunction(Qcf::Documents::Program const & program,
                                             PolicyArguments const & arguments) {
    auto function = findFunction(program, arguments.policy.path, arguments.function);
    if (auto const & fault = program.faultOf(*function).eval; !fault.empty()) {
        throw DocumentError(arguments.policy.path + ": function " + arguments.function + ": " +
                            fault);
    }
    return function;
}

} // namespace

void PolicyArguments::addTo(CLI::App & command) {
    policy.addTo(command);
    command.add_option("--function", function, "Function to evaluate")
        ->required()
        ->type_name("NAME");
    command
        .add_option("--lists", lists,
                    "Lists that the policy refers to by name: a document or a text")
        ->type_name("FILE");
    addAllowUndefinedLists(command, allowUndefinedLists);
}

// A stream cannot be read twice; the second reader would find it empty and call that a fault.
void PolicyArguments::checkInputs(std::vector<String> const & routes) const {
    std::vector<String> files = routes;
    files.insert(files.end(), {policy.path, policy.map, lists});
    if (std::ranges::count(files, "-") > 1) {
        throw UsageError("only one file can be standard input");
    }
}

PreparedPolicy preparePolicy(PolicyArguments const & arguments) {
    PreparedPolicy prepared{std::make_shared<PolicyFile const>(PolicyFile::read(arguments.policy))};
    PolicyFile const & policy = *prepared.file;
    auto function = chosenFunction(policy.program(), arguments);
    auto const lists = policy.listsWith(arguments.lists);
    auto const placeOf = [&policy](auto const &... at) { return policy.placeOf(at...); };
    Readiness const readiness(arguments.policy.path, arguments.allowUndefinedLists);
    if (readiness.of(*function, placeOf, lists.get())) {
        prepared.matchers = Qcf::Lists::bindLists(policy.program().slots, lists.get());
        prepared.function = std::move(function);
        prepared.lists = lists;
    }
    return prepared;
}
