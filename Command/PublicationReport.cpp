#include "Command/PublicationReport.h"

#include "Mirror/ListDifference.h"
#include "Mirror/ProgramDifference.h"
#include "Platform/Render/Utf8.h"

#include <map>

namespace {

using Qcf::Mirror::PublishedLists;
using Qcf::Mirror::PublishOutcome;

String lineText(char const * verb, PublishOutcome const & outcome, String const & name) {
    auto const count = [](U64 number, char const * what) {
        return std::to_string(number) + ' ' + what;
    };
    auto const & counts = outcome.counts;
    String text = outcome.changed ? String(verb) + ' ' : String("unchanged: ");
    text += name + ' ' + outcome.version.toString() + ": " +
            count(outcome.functions, "functions, ") + count(outcome.nodes, "nodes");
    auto const & lists = outcome.listCounts;
    bool const hasLists = outcome.lists + lists.removed != 0;
    text += hasLists ? ", " + count(outcome.lists, "lists") : String();
    if (outcome.changed) {
        text += "; " + count(counts.functionsSet, "functions set, ") +
                count(counts.functionsRemoved, "removed; ") +
                count(counts.nodesAdded, "nodes added, ") + count(counts.nodesRemoved, "removed");
    }
    if (outcome.changed && hasLists) {
        text += "; " + count(lists.set, "lists set, ") + count(lists.removed, "removed; ") +
                count(lists.entriesAdded, "entries added, ") +
                count(lists.entriesRemoved, "removed");
    }
    if (outcome.changed && outcome.placesSet != 0) {
        text += "; places of " + count(outcome.placesSet, "functions");
    }
    return text + '\n';
}

/// What would happen to functions, by their names.
std::map<String, char> changesOf(Qcf::Documents::Program const & program,
                                 Qcf::Mirror::Replica & live) {
    auto const & status = *live.status();
    Qcf::Mirror::ProgramDifference const difference(program, status, live.digests());
    std::map<String, char> changes;
    for (auto const * const function : difference.changedFunctions()) {
        String const & name = function->funcName();
        changes[name] = status.aet(std::string_view(name)) ? '~' : '+';
    }
    for (String const & name : difference.vanishedFunctions()) {
        changes[name] = '-';
    }
    return changes;
}

/// What would happen to lists, a row each in their order.
std::vector<String> listRows(PublishedLists const & before, PublishedLists const & after) {
    std::map<Qcf::Mirror::ListKey, char> changes;
    for (auto const & [key, list] : before) {
        changes[key] = '-';
    }
    for (auto const & [key, list] : after) {
        auto const found = before.find(key);
        bool const isEqual = found != before.end() && found->second->digest() == list->digest();
        changes[key] = found == before.end() ? '+' : isEqual ? '=' : '~';
    }
    std::vector<String> rows;
    for (auto const & [key, sign] : changes) {
        if (sign != '=') {
            rows.push_back(String(1, sign) + ' ' + kindText(key.kind) + ' ' + key.name);
        }
    }
    return rows;
}

/// The numbers of a change of lists, as its batch would have them.
Qcf::Mirror::ListCounts countChanges(PublishedLists const & before, PublishedLists const & after) {
    Qcf::Mirror::BatchWriter writer(Qcf::Mirror::BatchStart{});
    return writeListChanges(writer, before, after);
}

} // namespace

void addKeep(CLI::App & command, std::optional<U64> & target) {
    addNumber(command, "--keep", target,
              "Versions to keep on the server from now on, the live one among them; 20 before\n"
              "anybody says so",
              1, 1000);
}

String outcomeText(PublishOutcome const & outcome, String const & name) {
    return lineText("published", outcome, name);
}

// It is done to the copy, so that the numbers are those of the publication itself.
String previewText(Qcf::Documents::Program const & program,
                   std::vector<Qcf::Lists::ListRecord> lists,
                   Qcf::Mirror::PlaceOfNode const & placeOf, Qcf::Mirror::LoadedStore & store,
                   Qcf::Mirror::RedisKeys const & keys) {
    U64 const next = store.nextVersion(keys);
    auto & live = *store.replica;
    auto & status = *live.status();
    // A program is compared with a store, even if that is empty.
    status.aetNodesIs();
    auto const changes = changesOf(program, live);
    PublishedLists const before = live.lists();
    PublishedLists const after = publishedLists(std::move(lists), before);
    auto const changedLists = listRows(before, after);
    PublishOutcome outcome;
    outcome.version = live.version();
    outcome.counts = publishProgram(program, status, live.digests(), static_cast<U32>(next));
    outcome.placesSet =
        placesThatDiffer(live.places(), placesOf(program, status, placeOf, live.places()));
    // What is not there as a whole is published whatever it was.
    outcome.changed =
        !changes.empty() || !changedLists.empty() || outcome.placesSet != 0 || store.isAnew();
    outcome.version.number = outcome.changed ? next : outcome.version.number;
    live.listsIs(after);
    if (outcome.changed) {
        outcome.version.digest = live.digest();
    }
    outcome.lists = after.size();
    outcome.listCounts = countChanges(store.isAnew() ? PublishedLists() : before, after);
    outcome.functions = status.aet().size();
    outcome.nodes = status.nodes().size();
    String text = lineText("would publish", outcome, keys.name);
    for (auto const & [function, sign] : changes) {
        // Names of what is live come from a server.
        text += "  " + String(1, sign) + ' ' + visibleText(function) + '\n';
    }
    for (String const & row : changedLists) {
        text += "  " + visibleText(row) + '\n';
    }
    return text;
}
