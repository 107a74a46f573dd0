#include "Command/PublishedPolicy.h"

#include "Command/PolicyPlaces.h"
#include "Command/ProgramFile.h"
#include "Command/Readiness.h"
#include "Documents/Program.h"
#include "Lists/ListRecord.h"
#include "Mirror/NodeCopy.h"
#include "Mirror/Redis/RedisStore.h"
#include "Mirror/WireText.h"
#include "Platform/Render/Utf8.h"
#include "QcfLib/NodeWalk.h"

#include <cmath>
#include <unordered_map>

using Qcf::Eval::AetNodeBase;
using Qcf::Eval::Function;

namespace {

/// Writes what documents have no text for as something else: it is not what they are asked about. A
/// name with odd bytes, or an infinite constant, is no reason to turn a published function down.
class CheckedStyle final : public Qcf::Documents::NodeStyle {
public:
    void text(std::string_view text, RendererV2 & out) const override {
        out.value(Qcf::Mirror::wireText(text));
    }
    void name(std::string_view name, RendererV2 & out) const override {
        out.key(Qcf::Mirror::wireText(name));
    }
    void number(F32 value, RendererV2 & out) const override {
        out.value(std::isfinite(value) ? value : 0);
    }
};

} // namespace

void checkFunction(Function const & function) {
    Qcf::Documents::Program program;
    std::unordered_map<AetNodeBase const *, PtrConst<AetNodeBase>> copies;
    // Children are left before their parents are, so that their copies are there.
    auto const copyOf = [&](AetNodeBase const & child) { return copies.at(&child); };
    walkTree(
        function,
        [&](Qcf::Eval::WalkedNode const & at) { return copies.try_emplace(&at.node).second; },
        [&](AetNodeBase const & node) {
            auto const copy = Qcf::Mirror::copyNode(node, program.nodes.size() + 1, copyOf);
            copies[&node] = copy;
            program.nodes.push_back(copy);
            if (Qcf::Eval::is<Function>(node)) {
                program.functions.push_back(ptrCast<Function const>(copy));
            }
        });
    String text;
    RendererV2 renderer(text);
    Qcf::Documents::writeProgram(program, renderer, CheckedStyle());
    auto const read = Qcf::Documents::readProgram(text, "published function");
    // The walk leaves the function itself last of all, and so it stands last in the document.
    auto const & fault = read.faults.back().eval;
    if (!fault.empty()) {
        throw DocumentError("function " + function.funcName() + ": " + fault);
    }
}

// Writers may go on meanwhile: what was read may be newer than what was the live version first.
PtrConst<Qcf::Mirror::PolicyVersion> readLiveVersion(RedisArguments const & redis) {
    Qcf::Mirror::RedisConnection connection(redis.options());
    Qcf::Mirror::RedisKeys const keys(redis.name);
    auto const state = readState(connection, keys);
    if (!state.exists()) {
        throw DocumentError("nothing is published under " + redis.name);
    }
    Qcf::Mirror::Replica replica(redis.name, redis.signer());
    Qcf::Mirror::StreamReader reader(replica, tellLine);
    loadReplica(connection, keys, replica, reader, tellLine);
    if (replica.version().number < state.version.number) {
        throw DocumentError(redis.name + ": " + state.version.toString() +
                            " is not there as a whole");
    }
    return replica.policy();
}

Function const & findFunction(Qcf::Mirror::PolicyVersion const & version, String const & subject,
                              String const & name) {
    if (auto const * const function = version.find(name)) {
        return *function;
    }
    std::vector<String> known;
    for (auto const * const each : version.functions().inOrder()) {
        known.push_back(each->name);
    }
    failFunction(subject, name, known);
}

PtrConst<Qcf::Lists::NamedLists> listsFor(Qcf::Mirror::PolicyVersion const & version,
                                          PtrConst<Qcf::Lists::NamedLists> const & over) {
    auto const & own = version.lists();
    return own && over ? Qcf::Lists::mergeLists(*own, *over) : own ? own : over;
}

// What it says comes from a server, and goes to terminals.
PublishedPlaces::PublishedPlaces(String subject, PtrConst<Qcf::Mirror::PolicyVersion> version)
    : subject_(std::move(subject)), version_(std::move(version)) {
    version_->places().each([this](Qcf::Mirror::VersionPlaces::Entry const & function) {
        for (auto const & row : function.value.table->rows()) {
            if (!row.reason.empty()) {
                reasons_.emplace(row.key, visibleText(row.reason));
            }
        }
    });
}

Qcf::Watch::NodePlace PublishedPlaces::of(AetNodeBase const & node, Function const & within) const {
    if (auto const * const known = version_->places().find(within.funcName())) {
        if (auto const at = known->find(node.aetNodeKey())) {
            return {visibleText(at->file), {}, at->line, at->column, at->endLine, at->endColumn};
        }
    }
    return {subject_, '/' + within.funcName() + '/' + std::to_string(node.aetNodeKey())};
}

String PublishedPlaces::reason(AetNodeBase const & node) const {
    auto const known = reasons_.find(node.aetNodeKey());
    return known != reasons_.end() && Qcf::Watch::leavesFunction(node) ? known->second : String();
}

String PublishedPlaces::line(AetNodeBase const & node, Function const & within) const {
    return spelledLine(node, within);
}
