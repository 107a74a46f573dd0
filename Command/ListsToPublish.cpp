#include "Command/ListsToPublish.h"

#include "Command/Readiness.h"
#include "Lists/ListUses.h"

#include <set>

namespace {

using Qcf::Lists::Finding;
using Qcf::Lists::ListRecord;

using ListNames = std::set<std::pair<Qcf::Lists::ListKind, String>>;

/// All names of the program, by the kinds of lists.
ListNames namesOf(Qcf::FunctionMetadata const & slots) {
    ListNames names;
    for (auto const & kind : Qcf::slotKinds) {
        if (auto const lists = Qcf::Lists::listKindOf(kind.kind)) {
            for (auto const & [name, slot] : slots.of(kind.kind)) {
                names.emplace(*lists, name);
            }
        }
    }
    return names;
}

/// What no list answers, over all functions; each once.
std::vector<Finding> unbound(PolicyFile const & policy, Qcf::Lists::NamedLists const & lists) {
    std::vector<Finding> findings;
    std::set<String> told;
    auto const placeOf = [&](auto const &... at) { return policy.placeOf(at...); };
    for (auto const & function : policy.program().functions) {
        for (Finding & finding :
             unboundUses(Qcf::Lists::reachedLists(*function, placeOf), &lists)) {
            if (told.insert(finding.text).second) {
                findings.push_back(std::move(finding));
            }
        }
    }
    return findings;
}

void checkLists(PolicyFile const & policy, std::vector<ListRecord> const & records) {
    auto const lists = makePtr<Qcf::Lists::NamedLists>();
    for (ListRecord const & record : records) {
        addList(*lists, record);
    }
    for (Finding const & finding : unbound(policy, *lists)) {
        if (finding.kind == Finding::Kind::wrongFamily) {
            throw DocumentError(finding.line());
        }
        tellLine("warning: " + finding.line() + "; agents want it from their own lists");
    }
}

} // namespace

std::vector<ListRecord> listsToPublish(PolicyFile const & policy, String const & file) {
    auto records = policy.listRecordsWith(file);
    ListNames const names = namesOf(policy.program().slots);
    std::erase_if(records, [&](ListRecord const & record) {
        return !names.contains({record.kind(), record.name});
    });
    checkLists(policy, records);
    return records;
}
